import numpy as np
import pygame
import pytest
from hypothesis import example, given, settings
from hypothesis import strategies as st

import korvel
from pixelmodel import fill_mix, noise, random_screen, raw_words

f32 = np.float32


def byte_of(v):
    # Low 8 bits of truncation toward zero; out of int range gives INT_MIN (x86).
    v = float(v)
    return int(v) & 0xFF if -2147483649.0 < v < 2147483648.0 else 0


# Layer weights, bottom layer first, from the opacities as the caller passes
# them: each layer from the top down gets its share of what those above left.
def factors_stack(*alphas):
    ws, rem = [f32(alphas[-1])], f32(1) - f32(alphas[-1])
    for a in alphas[-2:0:-1]:
        ws.insert(0, rem * f32(a))
        rem = rem - ws[0]
    w1 = rem * f32(alphas[0])
    return [byte_of(w * f32(256)) for w in [w1] + ws], byte_of(max(rem - w1, f32(0)) * f32(256))


def factors_vcv(a1, a2, a3):
    w3 = float(f32(a3))
    w2 = float(f32(a2)) * (1.0 - w3)
    s = f32(w3 + w2)
    w1 = float(f32(a1)) * (1.0 - float(s))
    dest = 255 - byte_of(float(f32(float(s) + w1)) * 255.0)
    return [byte_of(w1 * 255.0), byte_of(w2 * 255.0), byte_of(f32(a3) * f32(255))], dest


def scaled(words, f):
    # The three colour lanes of pixel words, each times f / 256.
    k = np.array([0, 8, 16])
    return ((np.asarray(words, dtype=np.int64)[..., None] >> k & 0xFF) * f >> 8 << k).sum(-1)


# The layers of each function, bottom first: g a gradient (top, bottom,
# opacity), c a constant pixel word (word, opacity).
LAYOUTS = {"v": "g", "vc": "gc", "vv": "gg", "vcv": "gcg", "vcvvc": "gcggc"}
FACTORS = dict.fromkeys(["vc", "vv", "vcvvc"], factors_stack) | {"v": lambda a: ([a & 0xFF], (255 - a) & 0xFF),
                                                                  "vcv": factors_vcv}
OPACITIES = st.sampled_from([0.0, 0.25, 0.5, 0.75, 1.0, 0.3, 0.9, np.nan, 1e30, -2.0])
coords = st.integers(-110, 60)


# The weights each function gives its layers, on the surface side: a
# subsurface with its parent's pitch (the parent's pixels untouched), in any
# format, rows [max(y1, 0), min(y2, h - 1)) and columns [max(x1, 0),
# min(x2, w - 1)) (the layered functions compare their right and bottom edges
# unsigned). The gradients here are flat: their steps are checked natively.
@settings(max_examples=200, deadline=None)
@given(st.sampled_from(sorted(LAYOUTS)), st.sampled_from([0, pygame.SRCALPHA]), st.tuples(*[coords] * 4),
       st.lists(st.integers(0, 2**32 - 1), min_size=5, max_size=5), st.lists(OPACITIES, min_size=5, max_size=5),
       st.integers(-300, 600))
# every weight of five layers and of the screen below them at once, which random draws
# reach only now and then
@example("vcvvc", 0, (3, 2, 30, 18), [0x123456, 0x654321, 0xABCDEF, 0x0F0F0F, 0xF0F0F0],
         [0.5, 0.25, 0.75, 0.3, 0.25], 0)
def test_gradients_match_the_model(name, flags, rect, words, opacities, level):
    parent = noise(41, 24, flags, seed=rect[0] & 0xFF)
    s, want, args = parent.subsurface((2, 1, 37, 21)), raw_words(parent), []
    words = words[:len(LAYOUTS[name])]
    alphas = [level] if name == "v" else opacities[:len(words)]
    for kind, word, a in zip(LAYOUTS[name], words, alphas):
        args += [word] * (1 + (kind == "g")) + [a]
    getattr(korvel, "fast_draw_gradient%s_%s" % ("" if name == "v" else "s", name))(s, *rect, *args)
    with np.errstate(over="ignore", invalid="ignore"):  # wild opacities leave float32's range
        factors, dest = FACTORS[name](*alphas)
    row = sum(int(scaled(s.map_rgb((w & 0xFF, w >> 8 & 0xFF, w >> 16 & 0xFF)) if k == "g" else w, f))
              for k, w, f in zip(LAYOUTS[name], words, factors))
    (x1, y1, x2, y2), past = rect, (lambda b, n: (b if name == "v" else b & 0xFFFFFFFF) >= n)
    box = np.s_[1 + max(y1, 0):1 + max(20 if past(y2, 21) else y2, 0),
                2 + max(x1, 0):2 + max(36 if past(x2, 37) else x2, 0)]
    want[box] = (scaled(want[box], dest) + row) & 0xFFFFFFFF
    np.testing.assert_array_equal(raw_words(parent), want)


RED, BLUE, GREEN = 0x0000FF, 0xFF0000, 0x00FF00


# Declined cases print their line and draw nothing; a flat translucent
# outline fills; a translucent vertical fill is the gradient function's.
@pytest.mark.parametrize("corners,alphaf,outline,line", [
    ((RED,) * 4, 4.0, 1, "BUG: should actually fill.\n"),
    ((RED, RED, BLUE, BLUE), 0.5, 1, "BUG: need to draw translucent outline vgrad.\n"),
    *[(corners, alphaf, outline, f"Horizontal gradient, complex gradient, or no gradient. {w}\n")
      for corners, alphaf, outline, w in [  # 1.004 is neither opaque nor translucent
          ((RED, RED, BLUE, BLUE), 1.004, 0, "256/0"), ((RED, BLUE, BLUE, BLUE), 0.5, 0, "127/0"),
          ((RED, BLUE, GREEN, RED), 1.0, 3, "255/3")]],
    ((0x00406080,) * 4, 0.5, 1, ""), ((RED, RED, BLUE, BLUE), 0.7, 0, None)])
def test_declined_cases_print_and_draw_nothing(screen, capfd, corners, alphaf, outline, line):
    want, copy = random_screen(screen, seed=8), screen.copy()
    rect = (2, 2, 20, 20) if line else (12, 9, 3, 4)  # corners given right to left, bottom up
    assert korvel.fast_draw_rectangle_color(*rect, *corners, alphaf, outline) is None
    if line == "":
        want[4:10, 3:12] = fill_mix(want[4:10, 3:12], corners[0], 127)
    elif line is None:
        korvel.fast_draw_gradient_v(copy, 3, 4, 12, 9, RED, BLUE, int(np.float32(0.7) * 255))
        want = raw_words(copy)
    assert capfd.readouterr().out == (line or "")
    np.testing.assert_array_equal(raw_words(screen), want)
