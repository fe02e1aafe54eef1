"""10,000 particles stepped and drawn per frame: korvel against plain Python.

One particle type, an 8x8 shape fading from yellow through red to dark over
a life of 40 to 120 frames, moving at 1 to 3 pixels a frame in any
direction, drawn normally and additively on a 1280x720 screen. The dead are
replaced at once, so every frame steps and draws 10,000 particles. The
plain-Python loop does the same work per particle: the step, the colour for
its age, a tinted image from a dict cache, one blit.
"""
import argparse
import json
import math
import os
import random
import statistics
import subprocess
import sys
import time

import pygame

from _timing import cpu_isas, machine

W, H = 1280, 720
YELLOW, RED, DARK = 0x00FFFF, 0x0000FF, 0x000020
LIFE = (40, 120)


def make_shape():
    s = pygame.Surface((8, 8), pygame.SRCALPHA, 32)
    s.fill((255, 255, 255, 255))
    pygame.draw.circle(s, (200, 200, 200, 255), (4, 4), 2)
    return s


def korvel_frames(blend, count, frames, warmup):
    sys.modules.setdefault("tam6", type(sys)("tam6"))
    tamapi = sys.modules.setdefault("tamapi", type(sys)("tamapi"))
    tamapi.pygame = pygame
    import korvel
    korvel.RegisterInstancesDict({}, object, object, object)
    screen = pygame.Surface((W, H), 0, 32)
    korvel.set_SDL_screen(screen)
    t = korvel.part_type_create()
    korvel.part_type_shape(t, make_shape())
    korvel.part_type_blend(t, blend)
    korvel.part_type_life(t, *LIFE)
    korvel.part_type_speed(t, 1, 3, 0, 0)
    korvel.part_type_direction(t, 0, 360, 0, 0)
    korvel.part_type_color3(t, YELLOW, RED, DARK)
    rng = random.Random(1)

    def born():
        return korvel.CParticle_new(t, rng.uniform(0, W), rng.uniform(0, H))

    particles = [born() for _ in range(count)]
    render = korvel.CParticle_dec_ttl_and_render

    def frame():
        for i, p in enumerate(particles):
            if render(p, 0, 0) <= 0:
                particles[i] = born()
    return timed(frame, screen, frames, warmup)


class Particle:
    __slots__ = ("x", "y", "xvel", "yvel", "ttl", "lifespan")


def mix(c1, c2, e):
    n = 256 - e
    return ((((c1 & 0xFF) * e + (c2 & 0xFF) * n) >> 8)
            + (((c1 & 0xFF00) * e + (c2 & 0xFF00) * n) >> 8 & 0xFF00)
            + (((c1 & 0xFF0000) * e + (c2 & 0xFF0000) * n) >> 8 & 0xFF0000))


def python_frames(blend, count, frames, warmup):
    screen = pygame.Surface((W, H), 0, 32)
    shape = make_shape()
    rng = random.Random(1)
    cache = {}
    flags = pygame.BLEND_RGB_ADD if blend else 0

    def born():
        p = Particle()
        p.x, p.y = rng.uniform(0, W), rng.uniform(0, H)
        direction, speed = rng.uniform(0, 360), rng.uniform(1, 3)
        theta = math.radians(direction) + math.pi / 2
        p.xvel, p.yvel = speed * math.cos(theta), speed * math.sin(theta)
        p.ttl = rng.randrange(*LIFE)
        p.lifespan = float(p.ttl)
        return p

    def tinted(tint):
        img = cache.get(tint)
        if img is None:
            img = shape.copy()
            c = 0xFFFFFF - tint
            img.fill((c & 0xFF, c >> 8 & 0xFF, c >> 16), special_flags=pygame.BLEND_RGB_SUB)
            cache[tint] = img
        return img

    particles = [born() for _ in range(count)]
    blit = screen.blit

    def frame():
        for i, p in enumerate(particles):
            p.ttl -= 1
            if p.ttl <= 0:
                particles[i] = born()
                continue
            p.x += p.xvel
            p.y += p.yvel
            pos = p.ttl / p.lifespan
            if pos > 0.5:
                tint = mix(YELLOW, RED, int((pos - 0.5) * 512))
            else:
                tint = mix(RED, DARK, int(pos * 512))
            blit(tinted(tint), (int(p.x) - 4, int(p.y) - 4), special_flags=flags)
    return timed(frame, screen, frames, warmup)


def timed(frame, screen, frames, warmup):
    times = []
    for k in range(warmup + frames):
        screen.fill((10, 10, 30))
        t0 = time.perf_counter()
        frame()
        if k >= warmup:
            times.append(time.perf_counter() - t0)
    return min(times), statistics.median(times)


def child(args, mode, isa=None):
    env = dict(os.environ)
    if isa:
        env["KORVEL_ISA"] = isa
    out = subprocess.run([sys.executable, __file__, "--mode", mode, "--count", str(args.count),
                          "--frames", str(args.frames), "--warmup", str(args.warmup)],
                         env=env, check=True, capture_output=True, text=True).stdout
    return json.loads(out.strip().splitlines()[-1])


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--count", type=int, default=10_000)
    parser.add_argument("--frames", type=int, default=30)
    parser.add_argument("--warmup", type=int, default=130)  # past a first life: images cached
    parser.add_argument("--mode", help=argparse.SUPPRESS)
    args = parser.parse_args()
    if args.mode:
        kind, blend = args.mode.split(":")
        run = korvel_frames if kind == "korvel" else python_frames
        print(json.dumps(run(int(blend), args.count, args.frames, args.warmup)))
        return
    print(f"{args.count} particles stepped and drawn per frame, {W}x{H}; median of "
          f"{args.frames} frames after {args.warmup} warm-up ({machine()})")
    for blend, label in ((0, "normal"), (1, "additive")):
        plain = child(args, f"python:{blend}")
        print(f"{label}:")
        print(f"  plain Python        {plain[1] * 1e3:8.2f} ms/frame")
        for isa in cpu_isas():
            best, med = child(args, f"korvel:{blend}", isa)
            print(f"  korvel [{isa:6}]     {med * 1e3:8.2f} ms/frame  "
                  f"({med / args.count * 1e9:.0f} ns per particle, {plain[1] / med:.2f}x faster)")


if __name__ == "__main__":
    main()
