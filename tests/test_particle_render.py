"""Particles drawn onto the stored screen: the four ways of drawing, colour
and opacity by age, position, the per-type cache and the guards."""
import gc
import os
import subprocess
import sys
import textwrap
import tracemalloc

import numpy as np
import pygame
import pytest

import korvel
from particlehelp import (blitted, particle_type, random_screen, render, shape, surface_like)
from pixelmodel import (add_saturate, age_alpha, age_of, age_tint, raw_words, sub_saturate,
                        tint_subtractor, tint_words)

ARGB = (0x00FF0000, 0x0000FF00, 0x000000FF, 0xFF000000)
RED, GREEN, BLUE = 0x0000FF, 0x00FF00, 0xFF0000


def added(before, image, x, y):
    """An on-screen additive blit at (x, y)."""
    out = before.copy()
    h, w = image.shape
    out[y:y + h, x:x + w] = add_saturate(out[y:y + h, x:x + w], image)
    return out


def step_and_render(p, steps, xoff=0, yoff=0):
    for _ in range(steps - 1):
        korvel.CParticle_step(p)
    return korvel.CParticle_dec_ttl_and_render(p, xoff, yoff)


@pytest.mark.parametrize("angle", [0, 45])  # never rotated
def test_plain_particle_is_the_shape_blitted(runtime, screen, angle):
    before = random_screen(screen, seed=1)
    s = shape(5, 4, seed=1)
    p = korvel.CParticle_new(particle_type(s, orientation=(angle, angle, 0, 0, 0)), 20, 10)
    assert korvel.CParticle_dec_ttl_and_render(p, 0, 0) == 29
    np.testing.assert_array_equal(raw_words(screen), blitted(before, s, 18, 8))


@pytest.mark.parametrize("steps", [1, 10, 15, 16, 22, 29])
def test_colour_follows_the_particle_age(runtime, screen, steps):
    before = random_screen(screen, seed=3)
    s = shape(4, 3, seed=3)
    p = korvel.CParticle_new(particle_type(s, color3=(RED, GREEN, BLUE), blend=(1,)), 20, 20)
    ttl = step_and_render(p, steps)
    tint = age_tint(RED, GREEN, BLUE, age_of(ttl, 30))
    tinted = tint_words(raw_words(s), tint_subtractor(ARGB, tint))
    np.testing.assert_array_equal(raw_words(screen), added(added(before, tinted, 18, 19),
                                                           tinted, 18, 19))


def test_colours_are_copied_at_birth(runtime, screen):
    s = shape(2, 2, seed=4)
    t = particle_type(s, blend=(1,))
    p = korvel.CParticle_new(t, 20, 20)
    korvel.part_type_color3(t, 0, 0, 0)  # living particles keep white
    before = random_screen(screen, seed=4)
    korvel.CParticle_dec_ttl_and_render(p, 0, 0)
    np.testing.assert_array_equal(raw_words(screen), added(before, raw_words(s), 19, 19))


@pytest.mark.parametrize("steps", [1, 14, 15, 16, 28])
def test_opacity_follows_the_type_at_once(runtime, screen, steps):
    s = shape(3, 3, seed=5)
    t = particle_type(s, blend=(1,))
    p = korvel.CParticle_new(t, 20, 20)
    korvel.part_type_alpha2(t, 1.0, 0.0)  # applies to the living particle
    for _ in range(steps - 1):
        korvel.CParticle_step(p)
    before = random_screen(screen, seed=5)
    ttl = korvel.CParticle_dec_ttl_and_render(p, 0, 0)
    a = age_alpha(1.0, 0.5, 0.0, age_of(ttl, 30))
    darkened = sub_saturate(raw_words(s.convert(screen)),
                            ~(a | a << 8 | a << 16 | a << 24) & 0xFFFFFFFF)
    np.testing.assert_array_equal(raw_words(screen), added(before, darkened, 19, 19))


@pytest.mark.parametrize("size", [2.0, 4.0])  # powers of two: zoomSurface repeats exactly
def test_size_scales_the_shape(runtime, screen, size):
    before = random_screen(screen, seed=6)
    s = shape(2, 2, seed=6)
    t = particle_type(s, blend=(1,))
    korvel.CParticle_dec_ttl_and_render(korvel.CParticle_new_size_color(t, 20, 20, size, 0xFFFFFF),
                                        0, 0)
    k = int(size)
    zoomed = np.repeat(np.repeat(raw_words(s), k, axis=0), k, axis=1)
    np.testing.assert_array_equal(raw_words(screen), added(before, zoomed, 20 - k, 20 - k))


def test_scale_factors_stretch_each_axis(runtime, screen):
    before = random_screen(screen, seed=7)
    s = shape(3, 2, seed=7)
    render(particle_type(s, scale=(2, 4), blend=(1,)), 20, 20)
    zoomed = np.repeat(np.repeat(raw_words(s), 4, axis=0), 2, axis=1)
    np.testing.assert_array_equal(raw_words(screen), added(before, zoomed, 17, 16))


def test_offset_is_added_and_the_position_wraps_in_16_bits(runtime, screen):
    s = shape(3, 3, seed=8)
    for xoff, yoff in [(10, 20), (65536 + 10, 20)]:
        before = random_screen(screen, seed=8)
        korvel.CParticle_dec_ttl_and_render(korvel.CParticle_new(particle_type(s, blend=(1,)),
                                                                 5.7, 3.2), xoff, yoff)
        np.testing.assert_array_equal(raw_words(screen), added(before, raw_words(s), 14, 22))


def rendered(s, angle, **settings):
    """The screen after one particle at a fixed angle, from a fresh type."""
    screen = pygame.display.get_surface()
    screen.fill((0, 0, 0))
    render(particle_type(s, orientation=(angle, angle, 0, 0, 0), **settings), 32, 24)
    return raw_words(screen)


def test_scaled_particles_rotate_in_16_degree_steps(runtime, screen):
    s = shape(14, 6, seed=9)
    scaled = {"scale": (2, 2)}
    assert not np.array_equal(rendered(s, 90, **scaled), rendered(s, 0, **scaled))
    np.testing.assert_array_equal(rendered(s, 90, **scaled), rendered(s, 85, **scaled))
    np.testing.assert_array_equal(rendered(s, 359.9, **scaled), rendered(s, 352, **scaled))
    assert not np.array_equal(rendered(s, 96, **scaled), rendered(s, 90, **scaled))


def test_translucent_particles_rotate_by_the_truncated_angle(runtime, screen):
    s = shape(30, 12, seed=10)
    faded = {"alpha3": (0.5, 0.5, 0.5), "blend": (1,)}
    np.testing.assert_array_equal(rendered(s, 359.9, **faded), rendered(s, 359, **faded))
    assert not np.array_equal(rendered(s, 352, **faded), rendered(s, 359, **faded))
    assert not np.array_equal(rendered(s, 30, **faded), rendered(s, 0, **faded))


@pytest.mark.parametrize("make,ttl", [
    (lambda: korvel.CParticle_new_size_color(particle_type(shape(4, 4, seed=11)), 20, 20, 0.1,
                                             0xFFFFFF), 29),
    (lambda: korvel.CParticle_new(particle_type(shape(4, 4, seed=12), life=(1, 1)), 20, 20), 0),
    (lambda: korvel.CParticle_new(korvel.part_type_create(), 20, 20), 29),
], ids=["zero size", "dying", "no shape"])
def test_nothing_is_drawn(runtime, screen, make, ttl):
    before = random_screen(screen, seed=11)
    assert korvel.CParticle_dec_ttl_and_render(make(), 0, 0) == ttl
    np.testing.assert_array_equal(raw_words(screen), before)


@pytest.mark.parametrize("settings", [{"color3": (RED, RED, RED)},
                                      {"alpha3": (0.5, 0.5, 0.5)},
                                      {"scale": (2, 2)}], ids=["tinted", "translucent", "scaled"])
def test_cache_serves_images_of_a_former_shape_until_cleared(runtime, screen, settings):
    old, new = shape(4, 4, seed=14), shape(4, 4, seed=15)
    t = particle_type(old, blend=(1,), **settings)
    render(t, 20, 20)
    korvel.part_type_shape(t, new)
    screen.fill((0, 0, 0))
    render(t, 20, 20)
    from_old = raw_words(screen)
    screen.fill((0, 0, 0))
    render(particle_type(old, blend=(1,), **settings), 20, 20)
    render(particle_type(old, blend=(1,), **settings), 40, 20)  # drawn again elsewhere
    screen.fill((0, 0, 0))
    render(particle_type(old, blend=(1,), **settings), 20, 20)
    fresh_old_twice = raw_words(screen)
    korvel.CParticle_type_cache_clear(t)
    screen.fill((0, 0, 0))
    render(t, 20, 20)
    from_new = raw_words(screen)
    screen.fill((0, 0, 0))
    render(particle_type(new, blend=(1,), **settings), 20, 20)
    np.testing.assert_array_equal(from_new, raw_words(screen))
    assert not np.array_equal(from_old, from_new)
    if "color3" not in settings:  # tinted images are drawn twice on the frame they are made
        np.testing.assert_array_equal(from_old, fresh_old_twice)


def test_plain_particles_are_not_cached(runtime, screen):
    old, new = shape(4, 4, seed=16), shape(4, 4, seed=17)
    t = particle_type(old)
    render(t, 20, 20)
    korvel.part_type_shape(t, new)
    before = random_screen(screen, seed=16)
    render(t, 20, 20)
    np.testing.assert_array_equal(raw_words(screen), blitted(before, new, 18, 18))


def centre_pixel(t, size):
    screen = pygame.display.get_surface()
    screen.fill((0, 0, 0))
    korvel.CParticle_dec_ttl_and_render(korvel.CParticle_new_size_color(t, 32, 24, size, 0xFFFFFF),
                                        0, 0)
    return raw_words(screen)[24, 32] & 0xFFFFFF


def test_scaled_cache_is_emptied_after_a_hundred_entries(runtime, screen):
    red, green = pygame.Surface((1, 1), pygame.SRCALPHA, 32), pygame.Surface((1, 1), pygame.SRCALPHA, 32)
    red.fill((255, 0, 0, 255))
    green.fill((0, 255, 0, 255))
    t = particle_type(red)
    for size in range(2, 103):  # 101 scaled entries
        assert centre_pixel(t, size) == 0xFF0000
    korvel.part_type_shape(t, green)
    assert centre_pixel(t, 2) == 0xFF0000  # a hit: the former shape
    assert centre_pixel(t, 103) == 0x00FF00  # a miss empties the full cache first
    assert centre_pixel(t, 2) == 0x00FF00


def test_cached_images_are_released(runtime, screen):
    s = shape(3, 3, seed=18)
    kinds = [particle_type(s, color3=(RED,) * 3), particle_type(s, alpha3=(0.5,) * 3),
             particle_type(s, scale=(2, 2))]

    def churn():
        for _ in range(300):
            for t in kinds:
                korvel.CParticle_type_cache_clear(t)
                render(t, 20, 20)
    churn()
    gc.collect()
    tracemalloc.start()
    try:
        before = tracemalloc.get_traced_memory()[0]
        churn()
        gc.collect()
        grown = tracemalloc.get_traced_memory()[0] - before
    finally:
        tracemalloc.stop()
    assert grown < 10_000  # a kept wrapper per image would be 900 Surfaces


def test_without_a_stored_screen(tmp_path):
    script = textwrap.dedent("""
        import os, sys
        sys.path.insert(0, %r)
        import standins
        standins.modules()
        standins.reset()
        import korvel, pygame
        korvel.RegisterInstancesDict({}, object, object, object)
        s = pygame.Surface((2, 2), pygame.SRCALPHA, 32)
        s.fill((255, 255, 255, 255))
        early = korvel.part_type_create()
        korvel.part_type_shape(early, s)
        p = korvel.CParticle_new(early, 2, 2)
        try:
            korvel.CParticle_dec_ttl_and_render(p, 0, 0)
        except RuntimeError:
            print("RuntimeError", korvel.CParticle_dec_ttl(p))
        pygame.display.init()
        screen = pygame.display.set_mode((8, 8), 0, 32)
        screen.fill((0, 0, 0))
        korvel.set_SDL_screen(screen)
        korvel.CParticle_dec_ttl_and_render(korvel.CParticle_new(early, 2, 2), 0, 0)
        late = korvel.part_type_create()
        korvel.part_type_shape(late, s)
        korvel.CParticle_dec_ttl_and_render(korvel.CParticle_new(late, 5, 5), 0, 0)
        print(hex(screen.get_at((2, 2))[0] << 16 | screen.get_at((2, 2))[1] << 8
                  | screen.get_at((2, 2))[2]),
              hex(screen.get_at((5, 5))[0] << 16 | screen.get_at((5, 5))[1] << 8
                  | screen.get_at((5, 5))[2]))
        pygame.display.quit()
        try:
            korvel.part_type_shape(late, screen)  # its SDL surface is gone
        except TypeError:
            print("TypeError")
    """) % os.path.dirname(__file__)
    env = dict(os.environ, SDL_VIDEODRIVER="dummy")
    out = subprocess.run([sys.executable, "-c", script], env=env, capture_output=True,
                         text=True, check=True).stdout.splitlines()
    assert out[0] == "RuntimeError 29"  # refused before the step
    # A type made before the screen keeps 0xFFFFFF00: mixed to 0xFFFF00 it drops red.
    assert out[1] == "0xffff 0xffffff"
    assert out[2] == "TypeError"
