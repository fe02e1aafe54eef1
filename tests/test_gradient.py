import numpy as np
import pygame
import pytest
from hypothesis import assume, given, settings
from hypothesis import strategies as st

import korvel
from pixelmodel import (byte_of, fill_mix, gradient_weights, layers_model, map_script, mix, noise,
                        random_screen, raw_words)

f32 = np.float32


# Layer weights, bottom layer first, from the opacities as the caller passes them.
def factors_vc(a1, a2):
    rest = f32(1) - f32(a2)
    w1 = rest * f32(a1)
    return [byte_of(w1 * f32(256)), byte_of(f32(a2) * f32(256))], \
        byte_of(max(rest - w1, f32(0)) * f32(256))


def factors_vcv(a1, a2, a3):
    w3 = float(f32(a3))
    w2 = float(f32(a2)) * (1.0 - w3)
    s = f32(w3 + w2)
    w1 = float(f32(a1)) * (1.0 - float(s))
    dest = 255 - byte_of(float(f32(float(s) + w1)) * 255.0)
    return [byte_of(w1 * 255.0), byte_of(w2 * 255.0), byte_of(f32(a3) * f32(255))], dest


def factors_vcvvc(a1, a2, a3, a4, a5):
    ws, rem = [f32(a5)], f32(1) - f32(a5)
    for a in (a4, a3, a2):  # each layer below gets its share of what is left
        ws.insert(0, rem * f32(a))
        rem = rem - ws[0]
    w1 = rem * f32(a1)
    return [byte_of(w * f32(256)) for w in [w1] + ws], byte_of(max(rem - w1, f32(0)) * f32(256))


# The layers of each function, bottom first: g a gradient (top, bottom,
# opacity), c a constant pixel word (word, opacity).
LAYOUTS = {"v": "g", "vc": "gc", "vv": "gg", "vcv": "gcg", "vcvvc": "gcggc"}
FACTORS = {"v": lambda a: ([a & 0xFF], (255 - a) & 0xFF), "vc": factors_vc, "vv": factors_vc,
           "vcv": factors_vcv, "vcvvc": factors_vcvvc}
COLOURS = st.sampled_from([0x0000FF, 0xFF8040, 0x123456, 0xFFFFFF, 0x000000, 0x01FF0000])
OPACITIES = st.sampled_from([0.0, 0.25, 0.5, 0.75, 1.0, 0.3, 0.9, np.nan, 1e30, -2.0])
coords = st.integers(-110, 60)


# Rows [max(y1, 0), min(y2, h - 1)) and columns [max(x1, 0), min(x2, w - 1)) of
# the surface; rows above the top still move the gradient on; a subsurface's
# row padding (its parent's pixels) untouched.
@settings(max_examples=200, deadline=None)
@given(st.sampled_from(sorted(LAYOUTS)), st.sampled_from([0, pygame.SRCALPHA]), st.booleans(),
       st.tuples(coords, coords, coords, coords), st.data())
def test_gradients_match_the_model(name, flags, sub, rect, data):
    # unsigned bounds: a negative bottom is past the edge, the model's weights stay in range
    assume(name == "v" or rect[3] >= 0 or rect[1] >= 0)
    parent = noise(37 + 4 * sub, 21 + 3 * sub, flags, seed=rect[0] & 0xFF)
    s = parent.subsurface((2, 1, 37, 21)) if sub else parent
    before = raw_words(parent)
    layers, args = [], []
    for kind in LAYOUTS[name]:
        if kind == "g":
            layers.append((data.draw(COLOURS), data.draw(COLOURS)))
            args += list(layers[-1])
        else:
            layers.append((data.draw(st.integers(0, 2**32 - 1)), None))
            args.append(layers[-1][0])
        args.append(data.draw(st.integers(-300, 600) if name == "v" else OPACITIES))
    alphas = args[2::3] if name == "v" else [a for a in args if isinstance(a, float)]
    getattr(korvel, "fast_draw_gradient%s_%s" % ("" if name == "v" else "s", name))(
        s, *rect, *args)
    with np.errstate(over="ignore", invalid="ignore"):  # wild opacities leave float32's range
        factors, dest = FACTORS[name](*alphas)
    model = [(t, b, f) for (t, b), f in zip(layers, factors)]
    area = np.s_[1:22, 2:39] if sub else np.s_[:, :]
    want = before.copy()
    want[area] = layers_model(s, before[area], rect, model, dest, signed=name == "v")
    np.testing.assert_array_equal(raw_words(parent), want)


RED, BLUE, GREEN = 0x0000FF, 0xFF0000, 0x00FF00


def test_four_rows_step_by_a_quarter():
    s = pygame.Surface((4, 8), 0, 32)
    korvel.fast_draw_gradient_v(s, 0, 0, 3, 4, 0x0000FF, 0x000000, 255)
    # rows weigh red by t = 255, 191, 127, 63 (in 256ths), then scale by 255/256
    reds = [(255 * t >> 8) * 255 >> 8 for t in (255, 191, 127, 63)]
    assert [s.get_at((0, y)).r for y in range(4)] == reds


# Declined cases print their line and draw nothing; a flat translucent
# outline fills.
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
    ((0x00406080,) * 4, 0.5, 1, "")])  # corners given right to left, bottom up
def test_declined_cases_print_and_draw_nothing(screen, capfd, corners, alphaf, outline, line):
    want = random_screen(screen, seed=8)
    rect = (2, 2, 20, 20) if line else (12, 9, 3, 4)
    assert korvel.fast_draw_rectangle_color(*rect, *corners, alphaf, outline) is None
    if not line:
        want[4:10, 3:12] = fill_mix(want[4:10, 3:12], corners[0], 127)
    assert capfd.readouterr().out == line
    np.testing.assert_array_equal(raw_words(screen), want)


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
