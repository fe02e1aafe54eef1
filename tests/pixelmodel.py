"""numpy models of korvel's lane arithmetic, written from the lane rules, and
the surfaces and particle types the pixel tests draw with."""
import gc
import tracemalloc

import numpy as np
import pygame

import korvel

ARGB = (0x00FF0000, 0x0000FF00, 0x000000FF, 0xFF000000)


def raw_words(surface):
    """The surface's pixel words including row padding, shape (h, pitch / 4)."""
    buf = np.frombuffer(surface.get_buffer().raw, dtype=np.uint32)
    return buf.reshape(surface.get_height(), surface.get_pitch() // 4).copy()


def write_words(surface, words):
    """Fill a surface's pixel words (row padding included) from an array."""
    buf = surface.get_buffer()
    buf.write(np.ascontiguousarray(words, dtype=np.uint32).tobytes())
    del buf


def noise(w, h, flags=0, depth=32, seed=1):
    """A surface of random bytes, row padding included."""
    s = pygame.Surface((w, h), flags, depth)
    rng = np.random.default_rng(seed)
    write_words(s, rng.integers(0, 256, size=s.get_pitch() * h, dtype=np.uint8).view(np.uint32))
    return s


def pixels(s):
    """The w x h words of a 32-bit surface."""
    return raw_words(s)[:, :s.get_width()]


def lanes(w):
    w = np.asarray(w, dtype=np.int64)
    return [(w >> (8 * k)) & 0xFF for k in range(3)]


def join(ls):
    return (ls[0] | (ls[1] << 8) | (ls[2] << 16)).astype(np.uint32)


def multalpha(w, a):
    a = int(a) & 0xFF
    return join([(l * a) >> 8 for l in lanes(w)])


def fill_mix(p, color, alpha):
    """One covered pixel of a translucent fill."""
    a = int(alpha) & 0xFF
    return (multalpha(p, 255 - a).astype(np.int64) + multalpha(color, a)).astype(np.uint32)


def _bytes(words):
    """The four bytes of each word in memory order (little-endian), shape (..., 4)."""
    return np.ascontiguousarray(words, dtype=np.uint32)[..., None].view(np.uint8).astype(np.int64)


def _words(b):
    return np.ascontiguousarray(b, dtype=np.uint8).view(np.uint32)[..., 0]


def add_saturate(d, s):
    """Byte-wise saturating sum of two word arrays."""
    return _words(np.minimum(_bytes(d) + _bytes(s), 255))


def sub_saturate(w, val):
    """Every byte loses the byte of val in the same position of its word."""
    return _words(np.maximum(_bytes(w) - _bytes(val), 0))


def tint_words(words, subtractor):
    """The tint subtraction over a flat run of words: pairs of words lose the
    subtractor's bytes in order, a lone last word loses them reversed."""
    flat = np.asarray(words, dtype=np.uint32).ravel().copy()
    body = len(flat) // 2 * 2
    flat[:body] = sub_saturate(flat[:body], subtractor)
    if body < len(flat):
        flat[body:] = sub_saturate(flat[body:], int.from_bytes(subtractor.to_bytes(4, "little"),
                                                               "big"))
    return flat.reshape(np.shape(words))


def tint_subtractor(masks, tint):
    """The complement of a script colour in a format with 8-bit channels, alpha clear."""
    c = (0xFFFFFF - tint) & 0xFFFFFFFF
    shift = lambda m: (m & -m).bit_length() - 1
    return sum(((c >> (8 * k)) & 0xFF) << shift(m) for k, m in enumerate(masks[:3]))


def translucentify(words, masks, a):
    """Alpha scaled by a / 256; alpha in the top byte takes the colour bits along."""
    w = np.asarray(words, dtype=np.uint64)
    colour = w & (masks[0] | masks[1] | masks[2])
    if masks[3] >> 24:
        alpha = (((w >> 8) * a) & 0xFFFFFFFF) & masks[3]
    else:
        alpha = ((((w & masks[3]) * a) & 0xFFFFFFFF) >> 8) & masks[3]
    return (colour | alpha).astype(np.uint32)


def age_mix(c1, c2, e):
    """c1 weighted by e / 256 and c2 by the rest, lane by lane, top byte dropped."""
    lo = ((c1 & 0xFF) * e + (c2 & 0xFF) * (256 - e)) >> 8
    mid = (((c1 & 0xFF00) * e >> 8) + ((c2 & 0xFF00) * (256 - e) >> 8)) & 0xFF00
    hi = ((c1 & 0xFF0000) * e + (c2 & 0xFF0000) * (256 - e)) >> 8 & 0xFF0000
    return lo + mid + hi


def age_tint(start, half, end, pos):
    """The colour of a particle at age fraction pos (a float32)."""
    pos = np.float32(pos)
    if pos > 0.5:
        return age_mix(start, half, int(np.float32(2.0 * (float(pos) - 0.5)) * 256.0))
    return age_mix(half, end, int(np.float32(pos + pos) * np.float32(256.0)))


def age_alpha(startalpha, halfalpha, endalpha, pos):
    """The opacity (0..255, more above 1.0) of a particle at age fraction pos."""
    pos, sa, ha, ea = (np.float32(v) for v in (pos, startalpha, halfalpha, endalpha))
    if pos > 0.5:
        f = np.float32((pos - np.float32(0.5)) + (pos - np.float32(0.5)))
        a = float(np.float32(f * sa)) + float(ha) * (1.0 - float(f))
    else:
        f = np.float32(pos + pos)
        a = float(ea) * (1.0 - float(f)) + float(np.float32(f * ha))
    return max(0, min(int(a * 255.0), 4294967295))


def age_of(ttl, lifespan):
    return np.float32(ttl / lifespan)


def byte_of(v):
    """Low 8 bits of truncation toward zero; out of int range gives INT_MIN (x86)."""
    v = float(v)
    if not -2147483649.0 < v < 2147483648.0:
        return 0
    return int(v) & 0xFF


def gradient_weights(y1, y2, rows, signed=True):
    """t of the first `rows` rows: 255 at the first, falling by 255/(y2 - y1)."""
    span = (y2 - y1) & 0xFFFFFFFF
    if signed and span >= 2**31:
        span -= 2**32
    step = np.float32(1.0 / span) if span else np.float32(np.inf)
    g, out = np.float32(1.0), []
    for _ in range(rows):
        out.append(int(g * np.float32(255.0)))
        g = np.float32(g - step)
    return out


def mix(top, bottom, t):
    """Script colours top and bottom weighted t : 256 - t, lane by lane."""
    return int(join([(a * t + b * (256 - t)) >> 8 for a, b in zip(lanes(top), lanes(bottom))]))


def map_script(surface, colour):
    """A script colour 0x00BBGGRR as a pixel word of surface."""
    rgb = (colour & 0xFF, (colour >> 8) & 0xFF, (colour >> 16) & 0xFF)
    return surface.map_rgb(rgb) & 0xFFFFFFFF


def layers_model(surface, before, rect, layers, dest, signed=True):
    """Stacked layers over before[h, w]; layers are (top, bottom, factor) for
    gradients and (word, None, factor) for constant pixel words."""
    h, w = before.shape
    x1, y1, x2, y2 = rect
    past = (lambda b, n: b >= n) if signed else (lambda b, n: (b & 0xFFFFFFFF) >= n)
    xe = w - 1 if past(x2, w) else x2
    ye = h - 1 if past(y2, h) else y2
    want = before.copy()
    xs, ys = max(x1, 0), max(y1, 0)
    if xe <= xs or ye <= ys:
        return want
    ts = gradient_weights(y1, y2, ye - y1, signed)
    for y in range(ys, ye):
        row = 0
        for top, bottom, f in layers:
            word = top if bottom is None else map_script(surface, mix(top, bottom, ts[y - y1]))
            row += int(multalpha(word, f))
        old = multalpha(before[y, xs:xe], dest).astype(np.int64)
        want[y, xs:xe] = ((old + row) & 0xFFFFFFFF).astype(np.uint32)
    return want


def shape(w, h, seed, alpha=0xFF):
    """An ARGB particle shape of random colours with the given alpha in every pixel."""
    words = np.random.default_rng(seed).integers(0, 2**24, size=(h, w), dtype=np.uint32)
    return surface_like(words | np.uint32(alpha << 24))


def surface_like(words):
    """An ARGB surface holding the given (h, w) words."""
    s = pygame.Surface(words.shape[::-1], pygame.SRCALPHA, 32)
    write_words(s, words)
    return s


def random_screen(screen, seed, value=None):
    """Random words (or `value` in every word) on the stored screen, returned."""
    words = np.random.default_rng(seed).integers(0, 2**32, size=raw_words(screen).shape,
                                                 dtype=np.uint32)
    write_words(screen, words if value is None else np.full_like(words, value))
    return raw_words(screen)


def particle_type(surface=None, **settings):
    """A new type with a shape and any part_type_* settings given as tuples."""
    t = korvel.part_type_create()
    if surface is not None:
        korvel.part_type_shape(t, surface)
    for name, args in settings.items():
        getattr(korvel, "part_type_" + name)(t, *args)
    return t


def render(t, x, y, xoff=0, yoff=0):
    """Births a particle at (x, y), steps it once and draws it; returns its ttl."""
    return korvel.CParticle_dec_ttl_and_render(korvel.CParticle_new(t, x, y), xoff, yoff)


def blitted(screen_words, image, x, y):
    """SDL's own blit of image (a surface) at (x, y) onto a copy of the screen words."""
    target = pygame.display.get_surface().copy()
    write_words(target, screen_words)
    target.blit(image, (x, y), special_flags=pygame.BLEND_ALPHA_SDL2)
    return raw_words(target)


def additive_model(before, image, rx, ry):
    """The additive blit's placement: drawn from row 0 when above the top
    edge, not at all when touching the right edge, cut at the left edge."""
    out = before.copy()
    (H, W), (h, w) = before.shape, image.shape
    cut, top = max(-rx, 0), max(ry, 0)
    if ry >= H or rx + w >= W or w - cut <= 0:
        return out
    rows = min(h, H - top)
    region = out[top:top + rows, rx + cut:rx + w]
    out[top:top + rows, rx + cut:rx + w] = add_saturate(region, image[:rows, cut:])
    return out


def allocation_growth(churn):
    """Bytes still allocated after a second run of churn (the first warms caches)."""
    churn()
    gc.collect()
    tracemalloc.start()
    try:
        before = tracemalloc.get_traced_memory()[0]
        churn()
        gc.collect()
        return tracemalloc.get_traced_memory()[0] - before
    finally:
        tracemalloc.stop()
