# Particles drawn onto the stored screen: which way of drawing, position,
# rotation, the per-type cache and the guards (the image kernels are in
# test_blend.py).
import ctypes

import numpy as np
import pygame
import pytest

import korvel
from pixelmodel import (blitted, noise, particle_type, random_screen, raw_words, render, shape,
                        surface_like)


# Opaque and untinted: the shape itself, never rotated, at the particle's
# position plus the offset, kept in 16 bits. An unknown additive mode is
# reported and blitted the same way, unless the image is off the screen.
@pytest.mark.parametrize("angle,at,offset,corner,mode", [
    (0, (20, 10), (0, 0), (18, 8), 0), (45, (20, 10), (0, 0), (18, 8), 0),
    (0, (5.7, 3.2), (10, 20), (13, 21), 0), (0, (5.7, 3.2), (65536 + 10, 20), (13, 21), 0),
    *[(0, at, (0, 0), corner, 2) for at, corner in [((20, 10), (18, 8)), ((62, 10), None),
                                                     ((10, 60), None)]]])
def test_plain_particle_is_the_shape_blitted(runtime, screen, capfd, angle, at, offset, corner,
                                             mode):
    before = random_screen(screen, seed=1)
    s = shape(5, 4, seed=1)
    assert render(particle_type(s, orientation=(angle, angle, 0, 0, 0), blend=(mode,)), *at,
                  *offset) == 29
    printed = "Error: Unexpected additive blend mode 2\n" if corner and mode else ""
    assert capfd.readouterr().out == printed
    want = blitted(before, s, *corner) if corner else before
    np.testing.assert_array_equal(raw_words(screen), want)


# Scaled images turn in 16-degree steps, unscaled translucent ones by the
# truncated angle.
@pytest.mark.parametrize("size,settings,same,different", [
    ((14, 6), {"scale": (2, 2)}, [(90, 85), (359.9, 352)], [(90, 0), (96, 90)]),
    ((30, 12), {"alpha3": (0.5, 0.5, 0.5), "blend": (1,)}, [(359.9, 359)], [(352, 359), (30, 0)]),
])
def test_rotation(runtime, screen, size, settings, same, different):
    def rendered(angle):
        screen.fill((0, 0, 0))
        render(particle_type(shape(*size, seed=9), orientation=(angle, angle, 0, 0, 0), **settings),
               32, 24)
        return raw_words(screen)

    for pairs, alike in [(same, True), (different, False)]:
        assert [np.array_equal(rendered(a), rendered(b)) for a, b in pairs] == [alike] * len(pairs)


# A zero size, a dying particle, no shape, an 8-bit shape mirrored, a size
# no surface can have; an additive image unless both it and the screen
# have 32 bits.
@pytest.mark.parametrize("shape_,settings,size,ttl,depth", [
    (shape(4, 4, seed=11), {}, 0.1, 29, 32), (shape(4, 4, seed=12), {"life": (1, 1)}, None, 0, 32),
    (None, {}, None, 29, 32), (pygame.Surface((2, 3), 0, 8), {"scale": (-2, 1)}, None, 29, 32),
    (shape(4, 4, seed=13), {"scale": (5000, 5000)}, None, 29, 32),
    *[(noise(4, 4, 0, d), {"blend": (1,)}, None, 29, 32) for d in (16, 24)],
    *[(shape(4, 4, seed=14), {"blend": (1,)}, None, 29, d) for d in (16, 24)]])
def test_nothing_is_drawn(runtime, screen, shape_, settings, size, ttl, depth):
    target = noise(64, 48, 0, depth, seed=11)
    before = target.get_buffer().raw
    korvel.set_SDL_screen(target)
    t = particle_type(shape_, **settings)
    p = korvel.CParticle_new(t, 20, 20) if size is None else \
        korvel.CParticle_new_size_color(t, 20, 20, size, 0xFFFFFF)
    assert korvel.CParticle_dec_ttl_and_render(p, 0, 0) == ttl and target.get_buffer().raw == before


def test_scaled_cache_is_emptied_after_a_hundred_entries(runtime, screen):
    red, green = (surface_like(np.full((1, 1), w, np.uint32)) for w in (0xFFFF0000, 0xFF00FF00))
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

