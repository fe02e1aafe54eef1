import zlib

import numpy as np
import pygame
import pytest

import korvel
from pixelmodel import byte_of, layers_model, noise, raw_words

f32 = np.float32


# Layer weights, bottom layer first, from the opacities as the caller passes them.
def factors_vc(a1, a2):
    a1, a2 = f32(a1), f32(a2)
    rest = f32(1) - a2
    w1 = rest * a1
    dest = byte_of(max(rest - w1, f32(0)) * f32(256))
    return [byte_of(w1 * f32(256)), byte_of(a2 * f32(256))], dest


def factors_vcv(a1, a2, a3):
    w3 = float(f32(a3))
    w2 = float(f32(a2)) * (1.0 - w3)
    s = f32(w3 + w2)
    w1 = float(f32(a1)) * (1.0 - float(s))
    dest = 255 - byte_of(float(f32(float(s) + w1)) * 255.0)
    return [byte_of(w1 * 255.0), byte_of(w2 * 255.0), byte_of(f32(a3) * f32(255))], dest


def factors_vcvvc(a1, a2, a3, a4, a5):
    a1, a2, a3, a4, a5 = map(f32, (a1, a2, a3, a4, a5))
    r = f32(1) - a5
    w4 = r * a4
    w3 = (r - w4) * a3
    w2 = (r - w4 - w3) * a2
    rem = r - w4 - w3 - w2
    w1 = rem * a1
    ws = [w1, w2, w3, w4, a5]
    return [byte_of(w * f32(256)) for w in ws], byte_of(max(rem - w1, f32(0)) * f32(256))


RECTS = [
    (0, 0, 37, 21),       # the whole surface: last column and row untouched
    (3, 2, 20, 6),        # four rows
    (5, 5, 30, 5),        # y1 == y2: nothing
    (4, 3, 300, 400),     # past the edges
    (-6, -4, 12, 10),     # guard: negative corners clipped
    (2, 1, -1, -1),       # negative right/bottom
    (-100, -100, 10, 8),  # guard: rows far above still move the gradient on
]
COLOURS = [0x0000FF, 0xFF8040, 0x123456, 0xFFFFFF, 0x000000]
# The layers of each function, bottom first: g a gradient (top, bottom,
# opacity), c a constant pixel word (word, opacity).
LAYOUTS = {"v": "g", "vc": "gc", "vv": "gg", "vcv": "gcg", "vcvvc": "gcggc"}
FACTORS = {"v": lambda a: ([a & 0xFF], (255 - a) & 0xFF), "vc": factors_vc, "vv": factors_vc,
           "vcv": factors_vcv, "vcvvc": factors_vcvvc}


def function(name):
    return getattr(korvel, "fast_draw_gradient%s_%s" % ("" if name == "v" else "s", name))


def call_and_model(name, surface, rect, rng):
    """Calls korvel's function with random layers; returns the model's layers."""
    pick = lambda: COLOURS[rng.integers(len(COLOURS))] | int(rng.integers(0, 2)) << 24
    layers = [(pick(), pick()) if kind == "g" else (int(rng.integers(0, 2**32)), None)
              for kind in LAYOUTS[name]]
    alphas = [int(rng.integers(-300, 600)) if name == "v"
              else float(rng.choice([0.0, 0.25, 0.5, 0.75, 1.0, 0.3, 0.9, np.nan, 1e30, -2.0]))
              for _ in layers]
    args = []
    for (top, bottom), a in zip(layers, alphas):
        args += [top, a] if bottom is None else [top, bottom, a]
    function(name)(surface, *rect, *args)
    with np.errstate(over="ignore", invalid="ignore"):  # wild opacities leave float32's range
        factors, dest = FACTORS[name](*alphas)
    return [(t, b, f) for (t, b), f in zip(layers, factors)], dest, name == "v"


@pytest.mark.parametrize("name", LAYOUTS)
@pytest.mark.parametrize("flags", [0, pygame.SRCALPHA], ids=["XRGB", "ARGB"])
@pytest.mark.parametrize("rect", RECTS)
def test_gradients_match_model(name, flags, rect):
    rng = np.random.default_rng(zlib.crc32(repr((name, flags, rect)).encode()))
    for _ in range(3):
        s = noise(37, 21, flags, seed=int(rng.integers(1000)))
        before = raw_words(s)  # 37 words a row: no padding
        layers, dest, signed = call_and_model(name, s, rect, rng)
        want = layers_model(s, before, rect, layers, dest, signed)
        np.testing.assert_array_equal(raw_words(s), want)


def test_four_rows_step_by_a_quarter():
    s = pygame.Surface((4, 8), 0, 32)
    korvel.fast_draw_gradient_v(s, 0, 0, 3, 4, 0x0000FF, 0x000000, 255)
    # rows weigh red by t = 255, 191, 127, 63 (in 256ths), then scale by 255/256
    reds = [(255 * t >> 8) * 255 >> 8 for t in (255, 191, 127, 63)]
    assert [s.get_at((0, y)).r for y in range(4)] == reds


NAMES_AND_ARGS = [
    ("v", (0, 0, 4, 4, 1, 2, 255)),
    ("vc", (0, 0, 4, 4, 1, 2, 0.5, 3, 0.5)),
    ("vv", (0, 0, 4, 4, 1, 2, 0.5, 3, 4, 0.5)),
    ("vcv", (0, 0, 4, 4, 1, 2, 0.5, 3, 0.5, 4, 5, 0.5)),
    ("vcvvc", (0, 0, 4, 4, 1, 2, .5, 3, .5, 4, 5, .5, 6, 7, .5, 8, .5)),
]


@pytest.mark.parametrize("name,args", NAMES_AND_ARGS)
@pytest.mark.parametrize("bad", [lambda a: (None, *a), lambda a: ("surface", *a),
                                 lambda a: (pygame.Rect(0, 0, 4, 4), *a),
                                 lambda a: (pygame.Surface((6, 6), 0, 32), *a[:-1]),
                                 lambda a: (pygame.Surface((6, 6), 0, 32), "0", *a[1:])],
                         ids=["None", "str", "Rect", "too few", "str coordinate"])
def test_gradients_reject_bad_arguments(name, args, bad):
    with pytest.raises(TypeError):
        function(name)(*bad(args))


@pytest.mark.parametrize("name,args", NAMES_AND_ARGS)
@pytest.mark.parametrize("depth", [8, 16, 24])
def test_gradients_refuse_other_depths(name, args, depth):
    s = pygame.Surface((6, 6), 0, depth)
    s.fill((9, 99, 199))
    before = pygame.image.tostring(s, "RGB")
    with pytest.raises(ValueError):
        function(name)(s, *args)
    assert pygame.image.tostring(s, "RGB") == before

