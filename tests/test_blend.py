# The blending kernels as the particle renderer uses them: additive blits
# with their own clipping, darkening by saturating subtraction, alpha fading
# and tinting, each against a numpy model of the bytes.
import numpy as np
import pygame
import pytest

import korvel
from pixelmodel import (additive_model, age_alpha, age_tint, blitted, bytewise, particle_type, random_screen,
                        raw_words, render, shape, surface_like, tint_words, translucentify)

pytestmark = pytest.mark.kernels  # runs once per pixel-kernel path

RED, GREEN, BLUE, WHITE = 0x0000FF, 0x00FF00, 0xFF0000, 0xFFFFFF


# Above the top edge an image is drawn from row 0 with all its rows (a top
# on row 1 from row 1); touching or crossing the right edge it is not drawn;
# at the left edge it is cut; a tall one stops at the last row.
@pytest.mark.parametrize("size,centre", [
    ((5, 3), (20, 15)), ((1, 1), (20, 15)), ((13, 7), (20, 15)), ((6, 4), (20, -1)), ((6, 4), (20, -30)),
    ((6, 4), (-2, 20)), ((6, 4), (60, 20)), ((6, 4), (61, 20)), ((6, 4), (59, 20)), ((6, 4), (3, 0)),
    ((6, 4), (20, 3)), ((6, 4), (20, 47)), ((6, 4), (20, 50)), ((4, 100), (10, 20))])
@pytest.mark.parametrize("mode,fill", [(1, None), (128, 0), (1, 0xFFFFFFFF)])
def test_additive_clipping(runtime, screen, size, centre, mode, fill):
    # the screen is a subsurface: its parent's pixels around it stay as they were
    parent = pygame.Surface((70, 52), 0, 32)
    before = random_screen(parent, seed=size[1] * 100 + centre[1], value=fill)
    s = shape(*size, seed=size[0], alpha=0x80)
    korvel.set_SDL_screen(parent.subsurface((2, 1, 64, 48)))  # the next test's screen fixture stores its own
    render(particle_type(s, blend=(mode,)), *centre)
    want, (x, y) = before.copy(), (centre[0] - size[0] // 2, centre[1] - size[1] // 2)
    want[1:49, 2:66] = additive_model(before[1:49, 2:66], raw_words(s), x, y)
    np.testing.assert_array_equal(raw_words(parent), want)


# Opacities set after the particle's birth apply to it at once. Unscaled
# additive images are darkened by the complement of the opacity in every
# byte; scaled ones (zoomed by size and scale) lose 255 - alpha when
# additive or have their alpha byte scaled, and are left alone from 255 on.
# Tints come from the particle's own colours, copied at birth; a tinted image
# loses the complement of the tint (its crossed last pixel reversed) and is
# drawn twice on the frame it is made; an untinted one is drawn once.
@pytest.mark.parametrize("mode,alphas,zoom,colours,steps", [
    *[(1, alphas, (1, 1, 1), None, steps) for alphas, steps in [
        ((0.2, 0.9, 0.0), 1), ((1.5,) * 3, 1), ((1.0, 0.0), 15), ((1.0, 0.0), 16)]],
    *[(mode, (a,) * 3, (1, 2, 1), None, 1) for mode, a in [(128, 0.5), (0, 0.0), (0, 0.999), (0, 1.3)]],
    (1, (1.0,) * 3, (2, 1, 1), None, 1), (1, (1.0,) * 3, (1, 2, 4), None, 1),
    *[(1, None, (1, 1, 1), (RED, GREEN, BLUE), steps) for steps in (1, 10, 15, 16, 29)],
    *[(1, None, (1, 1, 1), (c,) * 3, 1) for c in (0x123456, WHITE)]])
def test_faded_tinted_and_scaled_images(runtime, screen, mode, alphas, zoom, colours, steps):
    s = shape(3 + steps % 2, 2 + (colours is not None), seed=8, alpha=0xC0)
    size, xscale, yscale = zoom
    t = particle_type(s, blend=(mode,), scale=(xscale, yscale), **({"color3": colours} if colours else {}))
    p = korvel.CParticle_new_size_color(t, 20, 20, size, WHITE) if alphas else korvel.CParticle_new(t, 20, 20)
    if alphas:
        getattr(korvel, "part_type_alpha%d" % len(alphas))(t, *alphas)
    else:  # a later change of the type does not reach the particle
        korvel.part_type_color3(t, 0x808080, 0x808080, 0x808080)
    for _ in range(steps - 1):
        korvel.CParticle_step(p)
    before = random_screen(screen, seed=11)
    pos = np.float32(korvel.CParticle_dec_ttl_and_render(p, 0, 0) / 30)
    image = np.repeat(np.repeat(raw_words(s), size * yscale, axis=0), size * xscale, axis=1)
    x, y = 20 - image.shape[1] // 2, 20 - image.shape[0] // 2
    if colours:
        c = 0xFFFFFF - age_tint(*colours, pos)
        tinted = tint_words(image, (c & 0xFF) << 16 | (c & 0xFF00) | (c >> 16))
        once = additive_model(before, tinted, x, y)
        want = additive_model(once, tinted, x, y) if c else once
    else:
        a = age_alpha(*alphas if len(alphas) == 3 else (alphas[0], 0.5, alphas[1]), pos)
        want = faded(before, image, screen, mode, zoom, a, x, y)
    np.testing.assert_array_equal(raw_words(screen), want)


def faded(before, image, screen, mode, zoom, a, x, y):
    if zoom == (1, 1, 1) or a < 255 and mode:
        less = ~(a | a << 8 | a << 16 | a << 24) if zoom == (1, 1, 1) else (255 - a) * 0x01010101
        image = bytewise(np.subtract, raw_words(surface_like(image).convert(screen)), less & 0xFFFFFFFF)
    elif a < 255:
        image = translucentify(image, a)
    return additive_model(before, image, x, y) if mode else blitted(before, surface_like(image), x, y)
