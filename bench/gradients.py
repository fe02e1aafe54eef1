"""Full-screen (1280x720) vertical gradients and flips against pygame.

korvel.fast_draw_gradient_v (once per kernel path the processor has) and the
five-layer fast_draw_gradients_vcvvc against pygame drawing the same rows one
at a time; korvel's flips against pygame.transform.flip.
"""
import argparse
import os
import subprocess
import sys

import pygame

from _timing import cpu_isas, machine, measure, print_table

W, H = 1280, 720
TOP, BOTTOM = 0x3080FF, 0xFF4010  # script colours 0x00BBGGRR
ALPHA = 128


def target():
    s = pygame.Surface((W, H), 0, 32)
    s.fill((200, 100, 50))
    return s


def import_korvel():
    sys.modules.setdefault("tam6", type(sys)("tam6"))
    sys.modules.setdefault("tamapi", type(sys)("tamapi"))
    import korvel
    return korvel


def korvel_gradients(reps):
    korvel = import_korvel()
    s = target()
    word = s.map_rgb((10, 20, 30)) & 0xFFFFFF
    translucent = measure(lambda: korvel.fast_draw_gradient_v(s, 0, 0, W, H, TOP, BOTTOM, ALPHA),
                          reps)
    layered = measure(lambda: korvel.fast_draw_gradients_vcvvc(
        s, 0, 0, W, H, TOP, BOTTOM, 0.5, word, 0.3, BOTTOM, TOP, 0.2, TOP, TOP, 0.4, word, 0.1),
        reps)
    return translucent + layered


def korvel_rows(reps):
    """One child process per kernel path: the path is chosen once, at import."""
    rows = []
    for isa in cpu_isas():
        env = dict(os.environ, KORVEL_ISA=isa)
        out = subprocess.run([sys.executable, __file__, "--korvel-only", "--reps", str(reps)],
                             env=env, check=True, capture_output=True, text=True).stdout
        b1, m1, b5, m5 = map(float, out.split())
        rows.append((f"korvel gradient_v, alpha {ALPHA} [{isa}]", b1, m1))
        rows.append((f"korvel gradients_vcvvc, 5 layers [{isa}]", b5, m5))
    return rows


def row_colours():
    """Each row's colour, top to bottom, as pygame colours."""
    out = []
    for y in range(H):
        t = 1.0 - y / H
        out.append(tuple(int(((TOP >> s) & 0xFF) * t + ((BOTTOM >> s) & 0xFF) * (1 - t))
                         for s in (0, 8, 16)))
    return out


def pygame_rows(reps):
    s = target()
    colours = row_colours()
    keep = (255 - ALPHA,) * 3
    adds = [tuple(c * ALPHA // 255 for c in rgb) for rgb in colours]

    def lines():
        for y, c in enumerate(colours):
            pygame.draw.line(s, c, (0, y), (W - 1, y))

    def fills():
        for y, c in enumerate(colours):
            s.fill(c, (0, y, W, 1))

    def translucent_fills():
        s.fill(keep, special_flags=pygame.BLEND_RGB_MULT)
        for y, c in enumerate(adds):
            s.fill(c, (0, y, W, 1), special_flags=pygame.BLEND_RGB_ADD)

    return [("pygame draw.line per row (opaque)", *measure(lines, reps)),
            ("pygame fill per row (opaque)", *measure(fills, reps)),
            (f"pygame MULT fill + ADD fill per row (alpha {ALPHA})",
             *measure(translucent_fills, reps))]


def flip_rows(reps):
    korvel = import_korvel()
    s = target()
    cases = [("pygame.transform.flip, horizontal", lambda: pygame.transform.flip(s, True, False)),
             ("korvel.flip_h", lambda: korvel.flip_h(s)),
             ("pygame.transform.flip, vertical", lambda: pygame.transform.flip(s, False, True)),
             ("korvel.flip_v", lambda: korvel.flip_v(s)),
             ("pygame.transform.flip, both", lambda: pygame.transform.flip(s, True, True)),
             ("korvel.flip_vh", lambda: korvel.flip_vh(s))]
    return [(name, *measure(fn, reps)) for name, fn in cases]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--reps", type=int, default=50)
    parser.add_argument("--korvel-only", action="store_true", help=argparse.SUPPRESS)
    args = parser.parse_args()
    if args.korvel_only:
        print(*korvel_gradients(args.reps))
        return
    rows = korvel_rows(args.reps)
    best = min((r for r in rows if "gradient_v" in r[0]), key=lambda r: r[2])[0]
    rows += pygame_rows(args.reps)
    print(f"vertical gradient over {W}x{H}, {args.reps} repetitions after warm-up ({machine()})")
    print_table(rows, best)
    print()
    print(f"flips of a {W}x{H} 32-bit surface, {args.reps} repetitions after warm-up")
    print_table(flip_rows(args.reps), "pygame.transform.flip, horizontal")


if __name__ == "__main__":
    main()
