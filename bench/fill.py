"""Translucent rectangle over a whole 1280x720 32-bit surface.

korvel.fill_translucent (once per kernel path the processor has) against
pygame's own ways to draw the same translucent rectangle, and against plain
copies of the same bytes, which bound what any fill can reach.
"""
import argparse
import os
import subprocess
import sys

import numpy as np
import pygame

from _timing import cpu_isas, machine, measure, print_table

W, H = 1280, 720
COLOR = (64, 128, 192)
ALPHA = 128


def target():
    s = pygame.Surface((W, H), 0, 32)
    s.fill((200, 100, 50))
    return s


def korvel_fill(reps):
    sys.modules.setdefault("tam6", type(sys)("tam6"))
    sys.modules.setdefault("tamapi", type(sys)("tamapi"))
    import korvel
    s = target()
    word = s.map_rgb(COLOR) & 0xFFFFFF
    return measure(lambda: korvel.fill_translucent(s, 0, 0, W, H, word, ALPHA), reps)


def korvel_rows(reps):
    """One child process per kernel path: the path is chosen once, at import."""
    rows = []
    for isa in cpu_isas():
        env = dict(os.environ, KORVEL_ISA=isa)
        out = subprocess.run([sys.executable, __file__, "--korvel-only", "--reps", str(reps)],
                             env=env, check=True, capture_output=True, text=True).stdout
        best, med = map(float, out.split())
        rows.append((f"korvel.fill_translucent [{isa}]", best, med))
    return rows


def pygame_rows(reps):
    rows = []
    s = target()

    overlay = pygame.Surface((W, H), 0, 32)
    overlay.fill(COLOR)
    overlay.set_alpha(ALPHA)
    rows.append(("pygame blit, per-surface alpha", *measure(lambda: s.blit(overlay, (0, 0)), reps)))

    keep = (255 - ALPHA,) * 3
    add = tuple(c * ALPHA // 255 for c in COLOR)

    def mult_then_add():
        s.fill(keep, special_flags=pygame.BLEND_RGB_MULT)
        s.fill(add, special_flags=pygame.BLEND_RGB_ADD)
    rows.append(("pygame fill MULT then fill ADD", *measure(mult_then_add, reps)))

    opaque = target()
    rows.append(("pygame blit, no blending (copy)", *measure(lambda: s.blit(opaque, (0, 0)), reps)))

    src = np.ones(W * H, dtype=np.uint32)
    dst = np.zeros(W * H, dtype=np.uint32)
    rows.append(("numpy copyto (memory bound)", *measure(lambda: np.copyto(dst, src), reps)))
    return rows


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--reps", type=int, default=100)
    parser.add_argument("--korvel-only", action="store_true", help=argparse.SUPPRESS)
    args = parser.parse_args()
    if args.korvel_only:
        print(*korvel_fill(args.reps))
        return
    rows = korvel_rows(args.reps)
    best_korvel = min(rows, key=lambda r: r[2])[0]
    rows += pygame_rows(args.reps)
    print(f"fill of {W}x{H} at alpha {ALPHA}, {args.reps} repetitions after warm-up ({machine()})")
    print_table(rows, best_korvel)


if __name__ == "__main__":
    main()
