"""Module calls at particle sizes: korvel against pygame's fastest equivalent.

Particles are 8 to 64 pixels, and an additive particle runs the additive
blit on its own small image every frame; fills and gradients are drawn at
such sizes too. At these sizes the call, the argument parsing and the row
setup weigh as much as the pixels. Each operation is timed on 16x16, 32x32
and 64x64 pixels of a 1280x720 32-bit screen, from Python, as the fastest of
many calls after warm-up:

- the additive blit of a particle image, through the module's own particle
  drawing (CParticle_dec_ttl_and_render of a particle whose opaque,
  untinted image is drawn as it is), against blit with BLEND_RGB_ADD or
  BLEND_RGBA_ADD;
- fill_translucent against the blit of a surface with per-surface alpha;
- fast_draw_gradient_v against the blit of a prebuilt gradient band with
  per-surface alpha.
"""
import argparse

import pygame

from _report import Row, Table, print_table
from _timing import best, korvel_with_pygame, machine

W, H = 1280, 720
SIZES = (16, 32, 64)
ALPHA = 128
# The additive blit at 32x32 should be at least this much faster than pygame's.
ADDITIVE_MIN = 3.0


def faster(reps, **ways):
    """(name, seconds) of the fastest of several pygame ways."""
    return min(((name, best(fn, reps)) for name, fn in ways.items()), key=lambda r: r[1])


def screen():
    s = pygame.Surface((W, H), 0, 32)
    s.fill((20, 30, 40))
    return s


def square(size, rgb):
    s = pygame.Surface((size, size), 0, 32)
    s.fill(rgb)
    return s


def additive_row(korvel, size, reps):
    dst = screen()
    korvel.set_SDL_screen(dst)
    image = square(size, (40, 80, 20))
    glow = korvel.part_type_create()
    korvel.part_type_shape(glow, image)
    korvel.part_type_blend(glow, 1)
    korvel.part_type_life(glow, 1e9, 1e9)
    p = korvel.CParticle_new(glow, W / 2, H / 2)
    k = best(lambda: korvel.CParticle_dec_ttl_and_render(p, 0, 0), reps)
    at = (W // 2 - size // 2, H // 2 - size // 2)
    name, peer = faster(
        reps, **{"blit BLEND_RGB_ADD": lambda: dst.blit(image, at, special_flags=pygame.BLEND_RGB_ADD),
                 "blit BLEND_RGBA_ADD": lambda: dst.blit(image, at,
                                                         special_flags=pygame.BLEND_RGBA_ADD)})
    return Row(f"additive blit {size}x{size}", k, "CParticle_dec_ttl_and_render", peer, name,
               speedup_min=ADDITIVE_MIN if size == 32 else None)


def fill_row(korvel, size, reps):
    dst = screen()
    word = dst.map_rgb((64, 128, 192)) & 0xFFFFFF
    # right edge exclusive, bottom inclusive: size x size pixels
    k = best(lambda: korvel.fill_translucent(dst, 100, 100, 100 + size, 99 + size, word, ALPHA),
             reps)
    overlay = square(size, (64, 128, 192))
    overlay.set_alpha(ALPHA)
    peer = best(lambda: dst.blit(overlay, (100, 100)), reps)
    return Row(f"fill_translucent {size}x{size}", k, "fill_translucent", peer,
               "blit, per-surface alpha")


def gradient_row(korvel, size, reps):
    dst = screen()
    k = best(lambda: korvel.fast_draw_gradient_v(dst, 100, 100, 100 + size, 100 + size,
                                                 0x0000FF, 0xFF0000, ALPHA), reps)
    strip = pygame.Surface((1, size), 0, 32)
    for y in range(size):
        t = y / (size - 1)
        strip.set_at((0, y), (round(255 * (1 - t)), 0, round(255 * t)))
    band = pygame.transform.scale(strip, (size, size))
    band.set_alpha(ALPHA)
    peer = best(lambda: dst.blit(band, (100, 100)), reps)
    return Row(f"fast_draw_gradient_v {size}x{size}", k, "fast_draw_gradient_v", peer,
               "blit of a prebuilt band, per-surface alpha")


def collect(reps=2000):
    """One row per operation and size."""
    korvel = korvel_with_pygame(pygame)
    rows = []
    for make in (additive_row, fill_row, gradient_row):
        rows += [make(korvel, size, reps) for size in SIZES]
    return rows


def table(rows):
    def us(t):
        return f"{t * 1e6:.2f}"
    lines = [[r.op, us(r.korvel), r.korvel_how, us(r.peer), r.peer_name,
              f"{r.speedup:.2f}" + (f" (>= {r.speedup_min:g})" if r.speedup_min else ""),
              ("yes" if r.met else "NO") if r.speedup_min else "-"] for r in rows]
    return Table(
        "Module calls at particle sizes",
        "Microseconds per call from Python on a 1280x720 32-bit screen, the fastest of many "
        "calls after warm-up, against pygame's fastest equivalent. Target: the additive "
        f"blit at least {ADDITIVE_MIN:g}x faster than pygame's at 32x32.",
        ["operation", "korvel us", "korvel call", "peer us", "peer", "speed-up over peer",
         "target met"], lines)


def figures(rows):
    return {f"call {r.op}": r.korvel for r in rows}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--reps", type=int, default=2000)
    args = parser.parse_args()
    print(f"module calls at particle sizes, best of {args.reps} after warm-up ({machine()})")
    print_table(table(collect(args.reps)))


if __name__ == "__main__":
    main()
