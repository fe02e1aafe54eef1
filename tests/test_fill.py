import numpy as np
import pygame
import pytest

import korvel
from pixelmodel import fill_mix, noise, raw_words

RECTS = [
    (0, 0, 10, 10),        # eleven rows, ten columns
    (3, 2, 200, 200),      # clamped: last column w - 2, last row h - 1
    (5, 5, 5, 9),          # x1 == x2: nothing
    (9, 5, 2, 9),          # x1 > x2: nothing
    (1, 9, 8, 3),          # y1 > y2: nothing
    (-4, -6, 6, 4),        # partly outside, clipped
    (-50, -50, -10, -10),  # wholly outside
    (30, 40, 90, 90),      # beyond the surface
]


# Covered: columns [x1, min(x2, w - 1)), rows [y1, min(y2, h - 1)]; the top
# byte of a covered pixel is cleared, the row padding untouched.
@pytest.mark.parametrize("flags", [0, pygame.SRCALPHA], ids=["XRGB", "ARGB"])
@pytest.mark.parametrize("size", [(33, 21), (16, 12), (1, 1), (2, 2)])
@pytest.mark.parametrize("rect", RECTS)
@pytest.mark.parametrize("color,alpha", [(0x00C08040, 128), (0x7FFFFFFF, 255), (0x123456, 0),
                                         (0x00FF00FF, 256 + 77)])
def test_fill_matches_model(flags, size, rect, color, alpha):
    (w, h), (x1, y1, x2, y2) = size, rect
    s = noise(w, h, flags, seed=w * 100 + h)
    want = raw_words(s)
    korvel.fill_translucent(s, *rect, color, alpha)
    xe, ye, x1, y1 = min(x2, w - 1), min(y2, h - 1), max(x1, 0), max(y1, 0)
    if x1 < xe and y1 <= ye:
        want[y1:ye + 1, x1:xe] = fill_mix(want[y1:ye + 1, x1:xe], color, alpha)
    np.testing.assert_array_equal(raw_words(s), want)


@pytest.mark.parametrize("args,error", [
    ((None, 0, 0, 1, 1, 0, 0), TypeError),
    (("surface", 0, 0, 1, 1, 0, 0), TypeError),
    ((pygame.Rect(0, 0, 1, 1), 0, 0, 1, 1, 0, 0), TypeError),
    ((0, 0, 1, 1, 0, 0), TypeError),
    ((pygame.Surface((4, 4)), 0, 0, "1", 1, 0, 0), TypeError),
    ((pygame.Surface((4, 4)), 0, 0, 1, 1, 2**40, 0), OverflowError),
])
def test_fill_bad_arguments_raise(args, error):
    with pytest.raises(error):
        korvel.fill_translucent(*args)


@pytest.mark.parametrize("depth", [8, 16, 24])
def test_fill_refuses_non_32_bit_surfaces_and_changes_nothing(depth):
    s = pygame.Surface((8, 8), 0, depth)
    s.fill((200, 100, 50))
    before = pygame.image.tostring(s, "RGB")
    with pytest.raises(ValueError):
        korvel.fill_translucent(s, 0, 0, 8, 8, 0, 128)
    assert pygame.image.tostring(s, "RGB") == before
