"""10,000 live particles stepped and drawn per frame: korvel against the demo's plain Python.

The demo's fire and smoke (one additive and one alpha-blended particle
type), 5,000 live particles of each on a 1280x720 screen. Before each frame
(untimed) the screen is cleared and each system is topped up to its
population with births spread along the bottom of the screen; then every
live particle is stepped and drawn through the demo's particle systems
(a list comprehension over CParticle_dec_ttl_and_render, as the runtime
does) and that is timed. Each implementation runs in its own processes;
of several runs, the one with the lowest median frame is kept.
"""
import argparse
import json
import os
import statistics
import subprocess
import sys
import time

from _report import Row, print_rows
from _timing import machine

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
LIVE = 10_000


def run(pure, frames, warmup):
    os.environ["SDL_VIDEODRIVER"] = "dummy"
    sys.path.insert(0, os.path.join(ROOT, "demo", "runtime"))
    import pygame
    pygame.display.init()
    screen = pygame.display.set_mode((1280, 720), 0, 32)
    import tamapi
    import backend
    import scene
    impl, standing_in = backend.load(pure)
    game, _ = scene.build(impl, (1280, 720), 1, balls=0, stars=0, gems=0, torches=0)
    systems = [(game.fire, game.part_fire), (game.smoke, game.part_smoke)]
    times, live = [], []
    for frame in range(warmup + frames):
        screen.fill((30, 40, 60))
        for ps, ptype in systems:
            for k in range(LIVE // len(systems) - len(ps.particles)):
                ps.burst(ptype, 100 + (k * 97 + frame * 13) % 1080, 650, 1)
        live.append(tamapi.particle_count())
        t0 = time.perf_counter()
        for ps, _ in systems:
            ps.py_RealDraw(0, 0)
        if frame >= warmup:
            times.append(time.perf_counter() - t0)
    return {"time": statistics.median(times), "live": min(live),
            "standing_in": "particles" in standing_in and not pure}


def best_run(mode, args):
    results = []
    for _ in range(args.runs):
        out = subprocess.run([sys.executable, __file__, "--mode", mode, "--frames",
                              str(args.frames), "--warmup", str(args.warmup)],
                             check=True, capture_output=True, text=True).stdout
        results.append(json.loads(out.strip().splitlines()[-1]))
    return min(results, key=lambda r: r["time"])


def collect(args):
    k, p = best_run("korvel", args), best_run("pure", args)
    note = (f"{k['live']:,} live particles; {k['time'] / k['live'] * 1e9:,.0f} ns per particle "
            f"with korvel, {p['time'] / p['live'] * 1e9:,.0f} ns in plain Python; median of "
            f"{args.frames} frames after {args.warmup} warm-up, best of {args.runs} runs")
    if k["standing_in"]:
        note += "; plain Python still stands in for korvel's particles"
    return [Row("particles: 10,000 stepped and drawn", k["time"], "module calls, whole frame",
                p["time"], "the demo's --pure-python particles", speedup_min=30.0, note=note)]


def arguments(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--frames", type=int, default=30)
    parser.add_argument("--warmup", type=int, default=40)
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--mode", choices=["korvel", "pure"], help=argparse.SUPPRESS)
    return parser.parse_known_args(argv)[0]


def main():
    args = arguments()
    if args.mode:
        print(json.dumps(run(args.mode == "pure", args.frames, args.warmup)))
        return
    print(f"fire and smoke on 1280x720 ({machine()})")
    print_rows(collect(args))


if __name__ == "__main__":
    main()
