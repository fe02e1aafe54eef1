import contextlib

import numpy as np
import pygame
import pytest
from hypothesis import given, settings
from hypothesis import strategies as st

import korvel
from pixelmodel import noise, pixels, raw_words


# A half turn is shifted down one row: row 0 stays blank, source row 0 is
# dropped. The source, also a subsurface with its parent's pitch, is unchanged.
@settings(max_examples=60, deadline=None)
@given(st.sampled_from([0, pygame.SRCALPHA]), st.integers(1, 17), st.integers(1, 9), st.booleans())
def test_flips_are_exact_copies(flags, w, h, sub):
    parent = noise(w + 3 * sub, h + 1 * sub, flags, seed=w)
    s = parent.subsurface((2, 1, w, h)) if sub else parent
    before, src = raw_words(parent), pixels(s)
    hh, v, vh = korvel.flip_h(s), korvel.flip_v(s), korvel.flip_vh(s)
    np.testing.assert_array_equal(pixels(hh), src[:, ::-1])
    np.testing.assert_array_equal(pixels(v), src[::-1, :])
    np.testing.assert_array_equal(pixels(vh), np.vstack([0 * src[:1], src[:0:-1, ::-1]]))
    fmt = lambda x: (x.get_size(), x.get_bitsize(), x.get_masks(), x.get_flags() & pygame.SRCALPHA)
    assert {fmt(hh), fmt(v), fmt(vh)} == {fmt(s)}
    np.testing.assert_array_equal(raw_words(parent), before)


# 16400 pixels make a 65600-byte pitch, read as 64: each row copies its
# first 16 pixels and the rest stays blank.
def test_flip_v_copies_the_16_bit_pitch_of_a_very_wide_surface():
    s = noise(16400, 3, seed=9)
    np.testing.assert_array_equal(pixels(korvel.flip_v(s)), np.hstack([pixels(s)[::-1, :16], 0 * pixels(s)[:, 16:]]))


# Such a surface has no pixel memory at all; nothing may be copied from it.
# Only flip_v takes other depths than 32 bits, the others print their line.
@pytest.mark.parametrize("name,line", [("flip_v", ""), ("flip_h", "Cannot horizontally flip non-32-bit surfaces.\n"),
                                       ("flip_vh", "Error: non-32bit surfaces not yet flippable.\n")])
@pytest.mark.parametrize("size,depth", [((0, 5), 16), ((0, 5), 32), ((4, 0), 32), ((5, 4), 16)])
def test_flips_of_surfaces_without_pixels(capfd, name, line, size, depth):
    refused = depth != 32 and line
    with pytest.raises(ValueError) if refused else contextlib.nullcontext():
        assert getattr(korvel, name)(pygame.Surface(size, 0, depth)).get_size() == size
    assert capfd.readouterr().err == (line if refused else "")


# Sizes follow the factors (-1 mirrors, 0 keeps a pixel); the colour key is carried over.
@pytest.mark.parametrize("depth", [8, 32])
def test_scale(depth):
    s = pygame.Surface((10, 7), 0, depth)
    assert korvel.scale(s, 2.0, 2.0).get_colorkey() is None
    s.set_colorkey(s.map_rgb((40, 120, 200)))
    for factors, size in [((2.0, 2.0), (20, 14)), ((0.5, 1.0), (5, 7)), ((0.26, 3.0), (3, 21)),
                          ((0.0, 1.0), (1, 7)), ((-1.0, 1.0), (10, 7))][:4 if depth == 8 else 5]:
        r = korvel.scale(s, *factors)  # 8-bit mirrors are refused: see test_refusals.py
        assert (r.get_size(), r.get_colorkey()[:3]) == (size, s.get_colorkey()[:3])
