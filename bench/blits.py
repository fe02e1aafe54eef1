"""Additive and subtractive blits of a whole 1280x720 32-bit image.

korvel's additive particle blit (once per kernel path the processor has),
and its translucent additive particle rebuilt every frame (conversion,
saturating subtract, additive blit), against pygame's BLEND_RGB_ADD and
BLEND_RGB_SUB blits, the same rebuild done with pygame, and plain copies of
the same bytes.
"""
import argparse
import os
import subprocess
import sys

import numpy as np
import pygame

from _timing import cpu_isas, machine, measure, print_table

W, H = 1280, 720


def image():
    s = pygame.Surface((W, H), 0, 32)
    rng = np.random.default_rng(1)
    pygame.surfarray.pixels2d(s)[:] = rng.integers(0, 2**24, size=(W, H), dtype=np.uint32)
    return s


def target():
    # Two pixels wider and taller: an additive image that touches the right
    # edge is not drawn at all.
    s = pygame.Surface((W + 2, H + 2), 0, 32)
    s.fill((20, 30, 40))
    return s


def korvel_blits(reps):
    sys.modules.setdefault("tam6", type(sys)("tam6"))
    sys.modules.setdefault("tamapi", type(sys)("tamapi"))
    tamapi = sys.modules["tamapi"]
    tamapi.pygame = pygame
    import korvel
    korvel.RegisterInstancesDict({}, object, object, object)
    korvel.set_SDL_screen(target())
    shape = image()
    lasting = (1e9, 1e9)

    plain = korvel.part_type_create()
    korvel.part_type_shape(plain, shape)
    korvel.part_type_blend(plain, 1)
    korvel.part_type_life(plain, *lasting)
    p = korvel.CParticle_new(plain, W / 2, H / 2)
    add = measure(lambda: korvel.CParticle_dec_ttl_and_render(p, 0, 0), reps)

    faded = korvel.part_type_create()
    korvel.part_type_shape(faded, shape)
    korvel.part_type_blend(faded, 1)
    korvel.part_type_alpha3(faded, 0.5, 0.5, 0.5)
    korvel.part_type_life(faded, *lasting)
    q = korvel.CParticle_new(faded, W / 2, H / 2)

    def rebuild():
        korvel.CParticle_type_cache_clear(faded)
        korvel.CParticle_dec_ttl_and_render(q, 0, 0)
    sub = measure(rebuild, reps)
    return add + sub


def korvel_rows(reps):
    """One child process per kernel path: the path is chosen once, at import."""
    adds, rebuilds = [], []
    for isa in cpu_isas():
        env = dict(os.environ, KORVEL_ISA=isa)
        out = subprocess.run([sys.executable, __file__, "--korvel-only", "--reps", str(reps)],
                             env=env, check=True, capture_output=True, text=True).stdout
        add_best, add_med, sub_best, sub_med = map(float, out.split())
        adds.append((f"korvel additive particle [{isa}]", add_best, add_med))
        rebuilds.append((f"korvel translucent additive, rebuilt [{isa}]", sub_best, sub_med))
    return adds, rebuilds


def pygame_rows(reps):
    rows = []
    src, dst = image(), target()
    rows.append(("pygame blit BLEND_RGB_ADD",
                 *measure(lambda: dst.blit(src, (0, 0), special_flags=pygame.BLEND_RGB_ADD), reps)))
    rows.append(("pygame blit BLEND_RGB_SUB",
                 *measure(lambda: dst.blit(src, (0, 0), special_flags=pygame.BLEND_RGB_SUB), reps)))

    def rebuild():
        img = src.convert(dst)
        img.fill((128, 128, 128), special_flags=pygame.BLEND_RGB_SUB)
        dst.blit(img, (0, 0), special_flags=pygame.BLEND_RGB_ADD)
    rows.append(("pygame convert, fill SUB, blit ADD", *measure(rebuild, reps)))
    rows.append(("pygame blit, no blending (copy)", *measure(lambda: dst.blit(src, (0, 0)), reps)))
    a = np.ones(W * H, dtype=np.uint32)
    b = np.zeros(W * H, dtype=np.uint32)
    rows.append(("numpy copyto (memory bound)", *measure(lambda: np.copyto(b, a), reps)))
    return rows


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--reps", type=int, default=100)
    parser.add_argument("--korvel-only", action="store_true", help=argparse.SUPPRESS)
    args = parser.parse_args()
    pygame.display.init()
    pygame.display.set_mode((64, 48), 0, 32)  # convert() needs a display format
    if args.korvel_only:
        print(*korvel_blits(args.reps))
        return
    adds, rebuilds = korvel_rows(args.reps)
    best = min(adds, key=lambda r: r[2])[0]
    rows = adds + rebuilds + pygame_rows(args.reps)
    print(f"{W}x{H} blits, {args.reps} repetitions after warm-up ({machine()})")
    print_table(rows, best)


if __name__ == "__main__":
    main()
