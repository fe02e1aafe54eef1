# Particles drawn onto the stored screen: which way of drawing, position,
# rotation, the per-type cache and the guards (the image kernels are in
# test_blend.py).
import ctypes
import textwrap

import numpy as np
import pygame
import pytest

import korvel
import standins
from pixelmodel import blitted, particle_type, random_screen, raw_words, render, shape


# Opaque and untinted: the shape itself, never rotated, at the particle's
# position plus the offset, kept in 16 bits.
@pytest.mark.parametrize("angle,at,offset,corner", [
    (0, (20, 10), (0, 0), (18, 8)), (45, (20, 10), (0, 0), (18, 8)),
    (0, (5.7, 3.2), (10, 20), (13, 21)), (0, (5.7, 3.2), (65536 + 10, 20), (13, 21)),
])
def test_plain_particle_is_the_shape_blitted(runtime, screen, angle, at, offset, corner):
    before = random_screen(screen, seed=1)
    s = shape(5, 4, seed=1)
    assert render(particle_type(s, orientation=(angle, angle, 0, 0, 0)), *at, *offset) == 29
    np.testing.assert_array_equal(raw_words(screen), blitted(before, s, *corner))


# Scaled images turn in 16-degree steps, unscaled translucent ones by the
# truncated angle.
@pytest.mark.parametrize("size,settings,same,different", [
    ((14, 6), {"scale": (2, 2)}, [(90, 85), (359.9, 352)], [(90, 0), (96, 90)]),
    ((30, 12), {"alpha3": (0.5, 0.5, 0.5), "blend": (1,)}, [(359.9, 359)], [(352, 359), (30, 0)]),
])
def test_rotation(runtime, screen, size, settings, same, different):
    s = shape(*size, seed=9)

    def rendered(s, angle, **settings):
        screen.fill((0, 0, 0))
        render(particle_type(s, orientation=(angle, angle, 0, 0, 0), **settings), 32, 24)
        return raw_words(screen)

    for a, b in same:
        np.testing.assert_array_equal(rendered(s, a, **settings), rendered(s, b, **settings))
    for a, b in different:
        assert not np.array_equal(rendered(s, a, **settings), rendered(s, b, **settings))


# A zero size, a dying particle, no shape, an 8-bit shape mirrored, a size
# no surface can have.
@pytest.mark.parametrize("shape_,settings,size,ttl", [
    (shape(4, 4, seed=11), {}, 0.1, 29), (shape(4, 4, seed=12), {"life": (1, 1)}, None, 0),
    (None, {}, None, 29), (pygame.Surface((2, 3), 0, 8), {"scale": (-2, 1)}, None, 29),
    (shape(4, 4, seed=13), {"scale": (5000, 5000)}, None, 29)])
def test_nothing_is_drawn(runtime, screen, shape_, settings, size, ttl):
    before = random_screen(screen, seed=11)
    t = particle_type(shape_, **settings)
    p = korvel.CParticle_new(t, 20, 20) if size is None else \
        korvel.CParticle_new_size_color(t, 20, 20, size, 0xFFFFFF)
    assert korvel.CParticle_dec_ttl_and_render(p, 0, 0) == ttl
    np.testing.assert_array_equal(raw_words(screen), before)


# The shape is no part of a cache key: images of a former shape are served
# until the cache is cleared. Plain particles draw the shape itself.
@pytest.mark.parametrize("settings", [{}, {"color3": (0xFF,) * 3}, {"alpha3": (0.5,) * 3},
                                      {"scale": (2, 2)}])
def test_cache_serves_images_of_a_former_shape_until_cleared(runtime, screen, settings):
    old, new = shape(4, 4, seed=14), shape(4, 4, seed=15)

    def picture(t):
        screen.fill((0, 0, 0))
        render(t, 20, 20)
        return raw_words(screen)

    def hit(s):  # a fresh type's second picture: from its cache, if it has one
        t = particle_type(s, blend=(1,), **settings)
        picture(t)
        return picture(t)

    t = particle_type(old, blend=(1,), **settings)
    picture(t)
    korvel.part_type_shape(t, new)
    np.testing.assert_array_equal(picture(t), hit(old) if settings else hit(new))
    korvel.CParticle_type_cache_clear(t)
    np.testing.assert_array_equal(picture(t), picture(particle_type(new, blend=(1,), **settings)))
    assert not np.array_equal(hit(old), hit(new))


def test_scaled_cache_is_emptied_after_a_hundred_entries(runtime, screen):
    red, green = (pygame.Surface((1, 1), pygame.SRCALPHA, 32) for _ in range(2))
    red.fill((255, 0, 0, 255))
    green.fill((0, 255, 0, 255))
    t = particle_type(red)

    def centre_pixel(size):
        screen.fill((0, 0, 0))
        korvel.CParticle_dec_ttl_and_render(
            korvel.CParticle_new_size_color(t, 32, 24, size, 0xFFFFFF), 0, 0)
        return raw_words(screen)[24, 32] & 0xFFFFFF

    assert [centre_pixel(size) for size in range(2, 103)] == [0xFF0000] * 101
    korvel.part_type_shape(t, green)
    assert centre_pixel(2) == 0xFF0000  # a hit: the former shape
    assert centre_pixel(103) == 0x00FF00  # a miss empties the full cache first
    assert centre_pixel(2) == 0x00FF00
    # the counts bench/ reads through the module's C entry: hits, misses, emptyings
    entry = ctypes.PyDLL(korvel.__file__).korvel_image_cache_counts
    counts = (ctypes.c_uint64 * 3)()
    assert entry(ctypes.py_object(t), counts) == 0 and tuple(counts) == (1, 103, 1)


def test_without_a_stored_screen():
    out = standins.run_fresh(textwrap.dedent("""
        standins.reset()
        import korvel, pygame
        standins.register()
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
        print(*(hex(c.r << 16 | c.g << 8 | c.b) for c in map(screen.get_at, [(2, 2), (5, 5)])))
        pygame.display.quit()
        try:
            korvel.part_type_shape(late, screen)  # its SDL surface is gone
        except TypeError:
            print("TypeError")
    """))
    # refused before the step; a type made before the screen keeps 0xFFFFFF00,
    # mixed to 0xFFFF00 it drops red; a dead Surface is no shape
    assert out.splitlines() == ["RuntimeError 29", "0xffff 0xffffff", "TypeError"]
