import numpy as np
import pygame
import pytest
from hypothesis import given, settings
from hypothesis import strategies as st

import korvel
from pixelmodel import fill_mix, noise, raw_words

pytestmark = pytest.mark.kernels  # runs once per pixel-kernel path
coords = st.integers(-60, 60)


# Covered: columns [x1, min(x2, w - 1)), rows [y1, min(y2, h - 1)] of the
# surface, a subsurface's row padding (its parent's pixels) untouched.
@settings(max_examples=150, deadline=None)
@given(st.sampled_from([0, pygame.SRCALPHA]), st.integers(1, 33), st.integers(1, 21), st.booleans(),
       st.tuples(*[coords] * 4), st.sampled_from([0x00C08040, 0x7FFFFFFF, 0x123456, 0x00FF00FF]), st.integers(0, 400))
def test_fill_matches_the_model(flags, w, h, sub, rect, color, alpha):
    parent = noise(w + 5 * sub, h + 2 * sub, flags, seed=w * 100 + h)
    s = parent.subsurface((3, 1, w, h)) if sub else parent
    want = raw_words(parent)
    korvel.fill_translucent(s, *rect, color, alpha)
    xe, ye, x1, y1 = min(rect[2], w - 1), min(rect[3], h - 1), max(rect[0], 0), max(rect[1], 0)
    dx, dy = (3, 1) if sub else (0, 0)
    if x1 < xe and y1 <= ye:
        area = np.s_[dy + y1:dy + ye + 1, dx + x1:dx + xe]
        want[area] = fill_mix(want[area], color, alpha)
    np.testing.assert_array_equal(raw_words(parent), want)
