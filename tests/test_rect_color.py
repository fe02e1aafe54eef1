import numpy as np
import pytest

import korvel
from pixelmodel import fill_mix, gradient_weights, map_script, mix, random_screen, raw_words

RED, BLUE, GREEN = 0x0000FF, 0xFF0000, 0x00FF00


@pytest.mark.parametrize("corners,alphaf,outline,line", [
    ((RED, RED, RED, RED), 1.0, 0, "BUG: should actually fill.\n"),
    ((RED, RED, RED, RED), 4.0, 1, "BUG: should actually fill.\n"),
    ((RED, RED, BLUE, BLUE), 1.004, 0,  # neither opaque nor translucent
     "Horizontal gradient, complex gradient, or no gradient. 256/0\n"),
    ((RED, RED, BLUE, BLUE), 0.5, 1, "BUG: need to draw translucent outline vgrad.\n"),
    ((RED, BLUE, BLUE, BLUE), 0.5, 0,
     "Horizontal gradient, complex gradient, or no gradient. 127/0\n"),
    ((RED, BLUE, GREEN, RED), 1.0, 3,
     "Horizontal gradient, complex gradient, or no gradient. 255/3\n"),
])
def test_declined_cases_print_and_draw_nothing(screen, capfd, corners, alphaf, outline, line):
    before = random_screen(screen, seed=8)
    assert korvel.fast_draw_rectangle_color(2, 2, 20, 20, *corners, alphaf, outline) is None
    assert capfd.readouterr().out == line
    np.testing.assert_array_equal(raw_words(screen), before)


def test_flat_translucent_outline_fills(screen, capfd):
    want = random_screen(screen, seed=8)
    korvel.fast_draw_rectangle_color(12, 9, 3, 4, *[0x00406080] * 4, 0.5, 1)
    want[4:10, 3:12] = fill_mix(want[4:10, 3:12], 0x00406080, 127)
    np.testing.assert_array_equal(raw_words(screen), want)
    assert capfd.readouterr().out == ""


def test_translucent_vertical_fill_is_the_gradient_function(screen):
    before = random_screen(screen, seed=8)
    copy = screen.copy()
    korvel.fast_draw_rectangle_color(40, 30, 5, 7, RED, RED, BLUE, BLUE, 0.7, 0)
    korvel.fast_draw_gradient_v(copy, 5, 7, 40, 30, RED, BLUE, int(np.float32(0.7) * 255))
    np.testing.assert_array_equal(raw_words(screen), raw_words(copy))
    assert (raw_words(screen) != before).any()


# The opaque colours in the screen's own format; the outline's right side
# one column out, its sides starting at weight 255 in the second row.
def test_opaque_outline_is_mapped_into_the_screen_format(screen):
    random_screen(screen, seed=8)
    korvel.fast_draw_rectangle_color(0, 0, 10, 10, RED, RED, BLUE, BLUE, 1.0, 1)
    words = raw_words(screen)
    assert (words[0, :10] == map_script(screen, RED)).all()
    assert (words[10, 1:10] == map_script(screen, BLUE)).all()
    sides = [map_script(screen, mix(RED, BLUE, t)) for t in gradient_weights(0, 10, 10)]
    np.testing.assert_array_equal(words[1:11, [0, 10]], np.array([sides, sides]).T)
