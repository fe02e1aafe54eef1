"""The blending kernels as the particle renderer uses them: additive blits
with their own clipping, darkening by saturating subtraction, alpha fading
and tinting, each against a numpy model of the bytes."""
import numpy as np
import pygame
import pytest

import korvel
from particlehelp import blitted, particle_type, random_screen, render, shape, surface_like
from pixelmodel import (add_saturate, age_alpha, age_of, raw_words, sub_saturate,
                        tint_subtractor, tint_words, translucentify)

POS = age_of(29, 30)  # a particle's age on its first drawn frame
ARGB = (0x00FF0000, 0x0000FF00, 0x000000FF, 0xFF000000)


def additive_model(before, image, rx, ry):
    """The additive blit's placement: drawn from row 0 when above the top
    edge, not at all when touching the right edge, cut at the left edge."""
    out = before.copy()
    H, W = before.shape
    h, w = image.shape
    if ry >= H or rx >= W or rx + w >= W:
        return out
    top = max(ry, 0)
    rows = min(h, H - top)
    cut = max(-rx, 0)
    if w - cut <= 0:
        return out
    region = out[top:top + rows, rx + cut:rx + w]
    out[top:top + rows, rx + cut:rx + w] = add_saturate(region, image[:rows, cut:])
    return out


@pytest.fixture
def background(request, screen):
    kind = request.param
    if kind == "random":
        return random_screen(screen, seed=5)
    screen.fill((0, 0, 0) if kind == "black" else (255, 255, 255))
    if kind == "white":
        pygame.surfarray.pixels2d(screen)[:] = 0xFFFFFFFF  # every byte
    return raw_words(screen)


@pytest.mark.parametrize("background", ["random", "black", "white"], indirect=True)
@pytest.mark.parametrize("mode", [1, 128])
@pytest.mark.parametrize("size", [(5, 3), (8, 8), (1, 1), (13, 7)])
def test_additive_blit_adds_every_byte(runtime, screen, background, mode, size):
    s = shape(*size, seed=size[0], alpha=0x80)
    render(particle_type(s, blend=(mode,)), 20, 15)
    w, h = size
    want = additive_model(background, raw_words(s)[:, :w], 20 - (w >> 1), 15 - (h >> 1))
    np.testing.assert_array_equal(raw_words(screen), want)


PLACEMENTS = [
    (20, -1),   # above the top edge: drawn from row 0 with all its rows
    (20, -30),  # far above: still row 0
    (1, 20),    # two columns cut at the left edge
    (-2, 20),   # five columns cut
    (60, 20),   # right edge crossed: not drawn
    (61, 20),   # right edge touched: not drawn
    (60 - 1, 20),
    (20, 47),   # cut at the bottom
    (20, 50),   # below the screen
    (3, 0),
]


@pytest.mark.parametrize("cx,cy", PLACEMENTS)
def test_additive_clipping(runtime, screen, cx, cy):
    before = random_screen(screen, seed=abs(cx * 100 + cy))
    s = shape(6, 4, seed=3)
    render(particle_type(s, blend=(1,)), cx, cy)
    want = additive_model(before, raw_words(s), cx - 3, cy - 2)
    np.testing.assert_array_equal(raw_words(screen), want)


def test_additive_image_taller_than_the_screen_stops_at_the_last_row(runtime, screen):
    before = random_screen(screen, seed=8)
    s = shape(4, 100, seed=4)
    render(particle_type(s, blend=(1,)), 10, 20)  # placed at y = -30
    np.testing.assert_array_equal(raw_words(screen), additive_model(before, raw_words(s), 8, -30))


def test_unknown_mode_is_reported_and_blitted_normally(runtime, screen, capfd):
    before = random_screen(screen, seed=9)
    s = shape(4, 4, seed=5, alpha=0xFF)
    capfd.readouterr()
    render(particle_type(s, blend=(2,)), 10, 10)
    assert capfd.readouterr().out == "Error: Unexpected additive blend mode 2\n"
    np.testing.assert_array_equal(raw_words(screen), blitted(before, s, 8, 8))


@pytest.mark.parametrize("cx,cy", [(62, 10), (10, 60)])
def test_unknown_mode_off_screen_prints_nothing(runtime, screen, capfd, cx, cy):
    before = random_screen(screen, seed=10)
    capfd.readouterr()
    render(particle_type(shape(4, 4, seed=5), blend=(2,)), cx, cy)
    assert capfd.readouterr().out == ""
    np.testing.assert_array_equal(raw_words(screen), before)


@pytest.mark.parametrize("alphas", [(0.5, 0.5, 0.5), (0.2, 0.9, 0.0), (1.5, 1.5, 1.5)])
def test_translucent_additive_image_is_darkened_then_added(runtime, screen, alphas):
    before = random_screen(screen, seed=11)
    s = shape(5, 3, seed=6)
    render(particle_type(s, blend=(1,), alpha3=alphas), 20, 20)
    a = age_alpha(*alphas, POS)
    darkened = sub_saturate(raw_words(s.convert(screen)),
                            ~(a | a << 8 | a << 16 | a << 24) & 0xFFFFFFFF)
    np.testing.assert_array_equal(raw_words(screen), additive_model(before, darkened, 18, 19))


@pytest.mark.parametrize("alpha", [0.5, 0.1, 0.95])
def test_scaled_additive_image_loses_255_minus_alpha(runtime, screen, alpha):
    before = random_screen(screen, seed=12)
    s = shape(3, 2, seed=7)
    render(particle_type(s, blend=(128,), alpha3=(alpha,) * 3, scale=(2, 1)), 20, 20)
    a = age_alpha(alpha, alpha, alpha, POS)
    zoomed = surface_like(np.repeat(raw_words(s), 2, axis=1))
    darkened = sub_saturate(raw_words(zoomed.convert(screen)), (255 - a) * 0x01010101)
    np.testing.assert_array_equal(raw_words(screen), additive_model(before, darkened, 17, 19))


@pytest.mark.parametrize("alpha", [0.5, 0.0, 0.999, 1.3])
def test_scaled_translucent_image_scales_its_alpha_byte(runtime, screen, alpha):
    before = random_screen(screen, seed=13)
    s = shape(3, 2, seed=8, alpha=0xC0)
    render(particle_type(s, alpha3=(alpha,) * 3, scale=(2, 1)), 20, 20)
    a = age_alpha(alpha, alpha, alpha, POS)
    zoomed = np.repeat(raw_words(s), 2, axis=1)
    faded = translucentify(zoomed, ARGB, a) if a < 255 else zoomed  # above 255: left alone
    np.testing.assert_array_equal(raw_words(screen), blitted(before, surface_like(faded), 17, 19))


@pytest.mark.parametrize("size", [(3, 3), (4, 2), (5, 1)])
@pytest.mark.parametrize("tint", [0x0000FF, 0x123456, 0x000000])
def test_tint_lowers_colour_bytes_with_the_crossed_last_pixel(runtime, screen, size, tint):
    before = random_screen(screen, seed=14)
    s = shape(*size, seed=9)
    render(particle_type(s, color3=(tint, tint, tint), blend=(1,)), 20, 20)
    tinted = tint_words(raw_words(s), tint_subtractor(ARGB, tint))
    w, h = size
    twice = additive_model(additive_model(before, tinted, 20 - (w >> 1), 20 - (h >> 1)),
                           tinted, 20 - (w >> 1), 20 - (h >> 1))
    np.testing.assert_array_equal(raw_words(screen), twice)  # made this frame: drawn twice


@pytest.mark.parametrize("shape_depth,screen_depth", [(24, 32), (16, 32), (32, 16), (32, 24)])
def test_additive_blit_draws_only_between_32_bit_surfaces(runtime, screen, shape_depth,
                                                          screen_depth):
    s = pygame.Surface((4, 4), 0, shape_depth)
    s.fill((200, 100, 50))
    target = pygame.Surface((16, 16), 0, screen_depth)
    target.fill((10, 20, 30))
    before = pygame.image.tostring(target, "RGB")
    korvel.set_SDL_screen(target)
    try:
        render(particle_type(s, blend=(1,)), 8, 8)
    finally:
        korvel.set_SDL_screen(screen)
    assert pygame.image.tostring(target, "RGB") == before
