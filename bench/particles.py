"""Particle stepping and rendering: korvel against the demo's plain-Python particles.

The demo's fire and smoke (one additive and one alpha-blended particle type)
kept at a steady population on a 1280x720 screen: each frame births new
particles, then steps and draws every live one, as the demo's particle
systems do. Each implementation runs in its own process.
"""
import argparse
import json
import os
import statistics
import subprocess
import sys
import time

from _timing import machine

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def run(pure, per_frame, frames, warmup):
    os.environ["SDL_VIDEODRIVER"] = "dummy"
    sys.path.insert(0, os.path.join(ROOT, "demo", "runtime"))
    import pygame
    pygame.display.init()
    screen = pygame.display.set_mode((1280, 720), 0, 32)
    import tamapi  # the runtime's modules first: korvel binds them by name
    import scene
    if pure:
        import purekorvel as impl
    else:
        import korvel as impl
    game, _ = scene.build(impl, (1280, 720), 1, balls=0, stars=0, gems=0, torches=0)
    systems = [(game.fire, game.part_fire), (game.smoke, game.part_smoke)]
    times = []
    for frame in range(warmup + frames):
        screen.fill((30, 40, 60))
        for ps, ptype in systems:
            for k in range(per_frame):
                ps.burst(ptype, 100 + (k * 97 + frame * 13) % 1080, 600, 1)
        t0 = time.perf_counter()
        for ps, _ in systems:
            ps.py_RealDraw(0, 0)
        if frame >= warmup:
            times.append(time.perf_counter() - t0)
    live = tamapi.particle_count()
    return {"time": statistics.median(times), "live": live}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--per-frame", type=int, default=20, help="births per system per frame")
    parser.add_argument("--frames", type=int, default=100)
    parser.add_argument("--warmup", type=int, default=100)
    parser.add_argument("--mode", choices=["korvel", "pure"], help=argparse.SUPPRESS)
    args = parser.parse_args()
    if args.mode:
        print(json.dumps(run(args.mode == "pure", args.per_frame, args.frames, args.warmup)))
        return
    results = {}
    for mode in ("korvel", "pure"):
        out = subprocess.run([sys.executable, __file__, "--mode", mode, "--per-frame",
                              str(args.per_frame), "--frames", str(args.frames),
                              "--warmup", str(args.warmup)],
                             check=True, capture_output=True, text=True).stdout
        results[mode] = json.loads(out.strip().splitlines()[-1])
    k, p = results["korvel"], results["pure"]
    print(f"fire + smoke, about {k['live']} live particles, step and draw per frame; median of "
          f"{args.frames} frames after {args.warmup} warm-up ({machine()})")
    print(f"korvel        {k['time'] * 1e3:8.2f} ms  ({k['time'] / max(k['live'], 1) * 1e6:.2f} us per particle)")
    print(f"plain Python  {p['time'] * 1e3:8.2f} ms  ({p['time'] / max(p['live'], 1) * 1e6:.2f} us per particle)")
    print(f"speed-up: {p['time'] / k['time']:.2f}x")


if __name__ == "__main__":
    main()
