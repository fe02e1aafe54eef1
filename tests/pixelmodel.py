# numpy models of korvel's lane arithmetic, written from the lane rules, and
# the surfaces and particle types the pixel tests draw with.
import gc
import tracemalloc

import numpy as np
import pygame

import korvel


def raw_words(surface):
    # The surface's pixel words including row padding, shape (h, pitch / 4).
    buf = np.frombuffer(surface.get_buffer().raw, dtype=np.uint32)
    return buf.reshape(surface.get_height(), surface.get_pitch() // 4).copy()


def write_words(surface, words):
    buf = surface.get_buffer()
    buf.write(np.ascontiguousarray(words, dtype=np.uint32).tobytes())


def noise(w, h, flags=0, depth=32, seed=1):
    # A surface of random bytes, row padding included.
    s = pygame.Surface((w, h), flags, depth)
    rng = np.random.default_rng(seed)
    write_words(s, rng.integers(0, 256, size=s.get_pitch() * h, dtype=np.uint8).view(np.uint32))
    return s


def pixels(s):
    # The w x h words of a 32-bit surface.
    return raw_words(s)[:, :s.get_width()]


def fill_mix(p, color, alpha):
    # One covered pixel of a translucent fill: each colour lane weighted
    # alpha / 256 and the pixel's (256 - alpha) / 256 less one, top byte dropped.
    a, k = int(alpha) & 0xFF, np.array([0, 8, 16])
    lanes = lambda w, f: (np.asarray(w, dtype=np.int64)[..., None] >> k & 0xFF) * f >> 8
    return ((lanes(p, 255 - a) + lanes(color, a)) << k).sum(-1).astype(np.uint32)


def bytewise(op, d, s):
    # op applied to the four bytes of each word of d and s, clamped to a byte.
    as_bytes = lambda w: np.ascontiguousarray(w, dtype=np.uint32)[..., None].view(np.uint8)
    out = np.clip(op(as_bytes(d).astype(np.int64), as_bytes(s).astype(np.int64)), 0, 255)
    return np.ascontiguousarray(out, dtype=np.uint8).view(np.uint32)[..., 0]


def tint_words(words, sub):
    # Pairs of words lose the subtractor's bytes in order, a lone last word loses them reversed.
    flat = np.asarray(words, dtype=np.uint32).ravel().copy()
    body = len(flat) // 2 * 2
    flat[:body] = bytewise(np.subtract, flat[:body], sub)
    flat[body:] = bytewise(np.subtract, flat[body:], int.from_bytes(sub.to_bytes(4, "little"), "big"))
    return flat.reshape(np.shape(words))


def translucentify(words, a):
    # ARGB alpha scaled by a / 256, taking the colour bits below it along.
    w = np.asarray(words, dtype=np.uint64)
    return ((w & 0xFFFFFF) | ((((w >> 8) * a) & 0xFFFFFFFF) & 0xFF000000)).astype(np.uint32)


def age_mix(c1, c2, e):
    # c1 weighted by e / 256 and c2 by the rest, lane by lane, top byte dropped.
    lo = ((c1 & 0xFF) * e + (c2 & 0xFF) * (256 - e)) >> 8
    mid = (((c1 & 0xFF00) * e >> 8) + ((c2 & 0xFF00) * (256 - e) >> 8)) & 0xFF00
    return lo + mid + (((c1 & 0xFF0000) * e + (c2 & 0xFF0000) * (256 - e)) >> 8 & 0xFF0000)


def age_tint(start, half, end, pos):
    # The colour of a particle at age fraction pos (a float32).
    if pos > 0.5:
        return age_mix(start, half, int(np.float32(2.0 * (float(pos) - 0.5)) * 256.0))
    return age_mix(half, end, int(np.float32(pos + pos) * np.float32(256.0)))


def age_alpha(startalpha, halfalpha, endalpha, pos):
    # The opacity (0..255, more above 1.0) of a particle at age fraction pos.
    pos, sa, ha, ea = (np.float32(v) for v in (pos, startalpha, halfalpha, endalpha))
    if pos > 0.5:
        f = np.float32((pos - np.float32(0.5)) + (pos - np.float32(0.5)))
        a = float(np.float32(f * sa)) + float(ha) * (1.0 - float(f))
    else:
        f = np.float32(pos + pos)
        a = float(ea) * (1.0 - float(f)) + float(np.float32(f * ha))
    return max(0, min(int(a * 255.0), 4294967295))


def shape(w, h, seed, alpha=0xFF):
    # An ARGB particle shape of random colours with the given alpha in every pixel.
    words = np.random.default_rng(seed).integers(0, 2**24, size=(h, w), dtype=np.uint32)
    return surface_like(words | np.uint32(alpha << 24))


def surface_like(words):
    # An ARGB surface holding the given (h, w) words.
    s = pygame.Surface(words.shape[::-1], pygame.SRCALPHA, 32)
    write_words(s, words)
    return s


def random_screen(screen, seed, value=None):
    # Random words (or `value` in every word) on the stored screen, returned.
    words = np.random.default_rng(seed).integers(0, 2**32, size=raw_words(screen).shape,
                                                 dtype=np.uint32)
    write_words(screen, words if value is None else np.full_like(words, value))
    return raw_words(screen)


def particle_type(surface=None, **settings):
    # A new type with a shape and any part_type_* settings given as tuples.
    t = korvel.part_type_create()
    if surface is not None:
        korvel.part_type_shape(t, surface)
    for name, args in settings.items():
        getattr(korvel, "part_type_" + name)(t, *args)
    return t


def render(t, x, y, xoff=0, yoff=0):
    # Births a particle at (x, y), steps it once and draws it; returns its ttl.
    return korvel.CParticle_dec_ttl_and_render(korvel.CParticle_new(t, x, y), xoff, yoff)


def blitted(screen_words, image, x, y):
    # SDL's own blit of image (a surface) at (x, y) onto a copy of the screen words.
    target = pygame.display.get_surface().copy()
    write_words(target, screen_words)
    target.blit(image, (x, y), special_flags=pygame.BLEND_ALPHA_SDL2)
    return raw_words(target)


def additive_model(before, image, rx, ry):
    # The additive blit's placement: drawn from row 0 when above the top
    # edge, not at all when touching the right edge, cut at the left edge.
    out, (H, W), (h, w) = before.copy(), before.shape, image.shape
    cut, top = max(-rx, 0), max(ry, 0)
    if ry < H and rx + w < W and w - cut > 0:
        rows = min(h, H - top)
        region = out[top:top + rows, rx + cut:rx + w]
        out[top:top + rows, rx + cut:rx + w] = bytewise(np.add, region, image[:rows, cut:])
    return out


def allocation_growth(churn):
    # Bytes still allocated after a measured run of churn (the first warms caches);
    # the smaller of two, since a leak shows in both and the allocator's noise not.
    churn()
    gc.collect()
    tracemalloc.start()
    try:
        growth = []
        for _ in range(2):
            before = tracemalloc.get_traced_memory()[0]
            churn()
            gc.collect()
            growth.append(tracemalloc.get_traced_memory()[0] - before)
        return min(growth)
    finally:
        tracemalloc.stop()
