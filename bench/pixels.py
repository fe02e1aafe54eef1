"""Whole-surface pixel operations on 1280x720 32-bit surfaces.

One benchmark per operation: korvel against the fastest way pygame has to
do the same thing, and against a plain copy of the same number of bytes,
the bound for any one-pass operation.

The operations scripts call (fill_translucent, the gradients, the flips) are
timed as module calls from Python, and so is the additive blit, through a
particle whose image covers the screen. Saturating subtraction, tinting and
alpha fading have no script-level name and run on small prerendered images;
their figures come from bench/kernels.cpp, which runs korvel's core on the
same size of surface. Peers are timed from Python: a call costs well under
a microsecond against the hundreds each one takes.
"""
import argparse

import numpy as np
import pygame

import _kernels
from _report import Row, print_rows
from _timing import best, korvel_with_pygame, machine

W, H = 1280, 720
ALPHA = 128
COLOR = (64, 128, 192)


def surface(rgb=(200, 100, 50)):
    s = pygame.Surface((W, H), 0, 32)
    s.fill(rgb)
    return s


def faster(reps, **ways):
    """(name, seconds) of the fastest of several pygame ways."""
    return min(((name, best(fn, reps)) for name, fn in ways.items()), key=lambda r: r[1])


def fill_row(korvel, copy, reps):
    s = surface()
    word = s.map_rgb(COLOR) & 0xFFFFFF
    # x2 past the edge clamps to w - 1 (exclusive): 1279 columns, every row.
    k = best(lambda: korvel.fill_translucent(s, 0, 0, W, H, word, ALPHA), reps)
    overlay = surface(COLOR)
    overlay.set_alpha(ALPHA)
    peer = best(lambda: s.blit(overlay, (0, 0)), reps)
    return Row("fill_translucent", k, "module call", peer, "blit, per-surface alpha", copy,
               bound_max=2.0, speedup_min=1.0)


def blend_flag_row(op, times, copy, reps, label, **ways):
    isa, k = _kernels.best_isa(times, op)
    name, peer = faster(reps, **ways)
    return Row(label, k, f"core, {isa}", peer, name, copy,
               bound_max=2.0, speedup_min=10.0)


def additive_row(korvel, copy, reps):
    # A screen two pixels wider and taller than the image: an additive image
    # that touches the right edge is not drawn at all.
    screen = pygame.Surface((W + 2, H + 2), 0, 32)
    screen.fill((20, 30, 40))
    korvel.set_SDL_screen(screen)
    image = surface((40, 80, 20))
    glow = korvel.part_type_create()
    korvel.part_type_shape(glow, image)
    korvel.part_type_blend(glow, 1)
    korvel.part_type_life(glow, 1e9, 1e9)
    p = korvel.CParticle_new(glow, W / 2, H / 2)
    k = best(lambda: korvel.CParticle_dec_ttl_and_render(p, 0, 0), reps)
    peer = best(lambda: screen.blit(image, (0, 0), special_flags=pygame.BLEND_RGB_ADD),
                max(reps // 10, 5))
    return Row("additive blit", k, "module call (a particle as large as the screen)", peer,
               "blit BLEND_RGB_ADD", copy, bound_max=2.0, speedup_min=10.0)


def subtract_row(times, copy, reps):
    dst, src = surface(), surface((3, 3, 3))
    return blend_flag_row(
        "satusub", times, copy, reps, "saturating subtract",
        **{"fill BLEND_RGB_SUB": lambda: dst.fill((3, 3, 3), special_flags=pygame.BLEND_RGB_SUB),
           "blit BLEND_RGB_SUB": lambda: dst.blit(src, (0, 0), special_flags=pygame.BLEND_RGB_SUB)})


def multiply_row(op, label, colour, times, copy, reps):
    """The core kernel op against pygame multiplying an opaque surface by colour."""
    dst = pygame.Surface((W, H), pygame.SRCALPHA, 32)
    dst.fill((200, 100, 50, 255))
    src = pygame.Surface((W, H), pygame.SRCALPHA, 32)
    src.fill(colour)
    return blend_flag_row(
        op, times, copy, reps, label,
        **{"fill BLEND_RGBA_MULT": lambda: dst.fill(colour, special_flags=pygame.BLEND_RGBA_MULT),
           "blit BLEND_RGBA_MULT": lambda: dst.blit(src, (0, 0),
                                                    special_flags=pygame.BLEND_RGBA_MULT)})


def gradient_band(top, bottom):
    """A prebuilt W x H vertical gradient, the pygame way to draw one quickly."""
    strip = pygame.Surface((1, H), 0, 32)
    for y in range(H):
        t = y / (H - 1)
        strip.set_at((0, y), [round(a * (1 - t) + b * t) for a, b in zip(top, bottom)])
    return pygame.transform.scale(strip, (W, H))


def layer(band, alpha):
    band.set_alpha(alpha)
    return band


def gradient_rows(korvel, copy, reps):
    s = surface()
    one = layer(gradient_band((255, 0, 0), (0, 0, 255)), ALPHA)
    k = best(lambda: korvel.fast_draw_gradient_v(s, 0, 0, W, H, 0x0000FF, 0xFF0000, ALPHA), reps)
    peer = best(lambda: s.blit(one, (0, 0)), reps)
    rows = [Row("fast_draw_gradient_v (1 layer)", k, "module call", peer,
                "blit of a prebuilt band, per-surface alpha", copy, bound_max=2.0,
                speedup_min=1.0)]
    five = [layer(gradient_band((255, 0, 0), (0, 0, 255)), 200), layer(surface((0, 80, 0)), 64),
            layer(gradient_band((0, 255, 0), (255, 0, 255)), 128),
            layer(gradient_band((0, 0, 255), (255, 255, 0)), 96), layer(surface((90, 90, 90)), 32)]
    word = s.map_rgb(0, 80, 0) & 0xFFFFFF
    k = best(lambda: korvel.fast_draw_gradients_vcvvc(
        s, 0, 0, W, H, 0x0000FF, 0xFF0000, 0.8, word, 0.25, 0x00FF00, 0xFF00FF, 0.5,
        0xFF0000, 0x00FFFF, 0.4, word, 0.125), reps)
    peer = best(lambda: [s.blit(band, (0, 0)) for band in five], reps)
    rows.append(Row("fast_draw_gradients_vcvvc (5 layers)", k, "module call", peer,
                    "5 blits of prebuilt layers, per-surface alpha", copy, bound_max=2.0,
                    speedup_min=1.0))
    return rows


def flip_rows(korvel, copy, reps):
    s = surface()
    rows = []
    for name, xy in (("flip_h", (True, False)), ("flip_v", (False, True)), ("flip_vh", (True, True))):
        k = best(lambda: getattr(korvel, name)(s), reps)
        peer = best(lambda: pygame.transform.flip(s, *xy), reps)
        rows.append(Row(name, k, "module call, new surface", peer,
                        f"transform.flip{xy}".replace("True", "1").replace("False", "0"), copy,
                        bound_max=2.0, speedup_min=1.0))
    return rows


def python_copy(reps):
    """A plain copy of one surface's bytes into another, timed from Python."""
    src, dst = np.ones(W * H, dtype=np.uint32), np.zeros(W * H, dtype=np.uint32)
    return best(lambda: np.copyto(dst, src), reps)


def collect(times, reps=200):
    """The rows of every pixel operation."""
    korvel = korvel_with_pygame(pygame)
    copy, core_copy = python_copy(reps), times[f"copy/{_kernels.SCREEN}"]
    slow = max(reps // 10, 5)  # the blend-flag peers take milliseconds
    rows = [fill_row(korvel, copy, reps), additive_row(korvel, copy, reps),
            subtract_row(times, core_copy, slow),
            multiply_row("Tint_Surface", "tint", (255, 160, 64, 255), times, core_copy, slow),
            multiply_row("Translucentify", "alpha fade", (255, 255, 255, ALPHA), times, core_copy,
                         slow)]
    return rows + gradient_rows(korvel, copy, reps) + flip_rows(korvel, copy, reps)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--reps", type=int, default=200)
    args = parser.parse_args()
    times = _kernels.run()
    print(f"{W}x{H} 32-bit surfaces, best of {args.reps} after warm-up ({machine()})")
    print_rows(collect(times, args.reps))


if __name__ == "__main__":
    main()
