"""10,000 live particles stepped and drawn per frame: korvel against the demo's plain Python.

Two workloads on a 1280x720 screen, each 10,000 live particles in two
particle systems of the demo's runtime, drawn by the demo's particle systems
(a list comprehension over CParticle_dec_ttl_and_render) with korvel or with
the demo's --pure-python stand-in:

- the demo's fire and smoke (one additive, one alpha-blended type; they
  change size, colour and opacity with age, so their prerendered images are
  rebuilt far more often than reused);
- a swarm: an 8x8 shape that changes colour with age at full opacity and
  size, half drawn normally and half additively, whose images are reused.

Before each frame (untimed) the screen is cleared and each system is topped
up to its population with births spread over the screen; then every live
particle is stepped and drawn, and that is timed in processor time (on a
shared machine, wall time would count other processes' time slices). Each
implementation runs in its own processes; of several runs, the one with the
lowest median frame is kept.

korvel's share per particle is the korvel frame per particle minus the same
frames with the particle systems' loop calling a native function that does
nothing (bench/noop.cpp): what is left is korvel's own work per particle,
from parsing its arguments to the blit.
"""
import argparse
import json
import os
import statistics
import sys
import time
import types

from _report import Row, print_rows
import _cache
import _timing
from _timing import machine

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
LIVE = 10_000
# Warm-up frames: the swarm's run past its longest life (120 frames), so
# that every age's image has been made once before frames are timed.
WORKLOADS = {"fire and smoke": 40, "swarm": 130}


def swarm_systems(impl, tamapi, scene, pygame):
    shape = pygame.Surface((8, 8), pygame.SRCALPHA, 32)
    shape.fill((255, 255, 255, 255))
    pygame.draw.circle(shape, (200, 200, 200, 255), (4, 4), 2)
    systems = []
    for blend in (0, 1):
        ptype = scene.particle_type(impl, shape, blend, (1.0, 1.0, 0.0, 0.0), (1.0, 3.0),
                                    (0, 360), (40, 120), (0x00FFFF, 0x0000FF, 0x000020),
                                    (1.0, 1.0, 1.0))
        systems.append((tamapi.ParticleSystem(f"swarm {blend}", 0), ptype))
    return systems


def top_up(systems, workload, frame):
    for ps, ptype in systems:
        for k in range(LIVE // len(systems) - len(ps.particles)):
            x = 100 + (k * 97 + frame * 13) % 1080
            y = 650 if workload != "swarm" else 40 + (k * 61 + frame * 7) % 640
            ps.burst(ptype, x, y, 1)


def draw(systems):
    """One frame of every system's particle loop, in processor time."""
    t0 = time.process_time()
    for ps, _ in systems:
        ps.py_RealDraw(0, 0)
    return time.process_time() - t0


def noop_frames(tamapi, systems, frames):
    """(median frame, live particles) with the loop calling a native no-op."""
    sys.path.insert(0, os.path.join(ROOT, "build", "release", "bench"))
    import korvel_bench_noop
    korvel = tamapi.K
    tamapi.K = types.SimpleNamespace(CParticle_dec_ttl_and_render=korvel_bench_noop.noop)
    try:
        times = [draw(systems) for _ in range(frames)]
    finally:
        tamapi.K = korvel
    return statistics.median(times), sum(len(ps.particles) for ps, _ in systems)


def run(pure, workload, frames, warmup):
    os.environ["SDL_VIDEODRIVER"] = "dummy"
    sys.path.insert(0, os.path.join(ROOT, "demo", "runtime"))
    import pygame
    pygame.display.init()
    screen = pygame.display.set_mode((1280, 720), 0, 32)
    import tamapi
    import scene
    if pure:
        import purekorvel as impl
    else:
        import korvel as impl
    game, _ = scene.build(impl, (1280, 720), 1, balls=0, stars=0, gems=0, torches=0)
    if workload == "swarm":
        systems = swarm_systems(impl, tamapi, scene, pygame)
    else:
        systems = [(game.fire, game.part_fire), (game.smoke, game.part_smoke)]
    times, live = [], []
    for frame in range(warmup + frames):
        if frame == warmup and not pure:
            before = [_cache.counts(impl, ptype) for _, ptype in systems]
        screen.fill((30, 40, 60))
        top_up(systems, workload, frame)
        live.append(sum(len(ps.particles) for ps, _ in systems))
        t = draw(systems)
        if frame >= warmup:
            times.append(t)
    result = {"time": statistics.median(times), "live": min(live)}
    if not pure:
        result["cache"] = [f"{ps.name}: " + _cache.describe(b, _cache.counts(impl, ptype))
                           for (ps, ptype), b in zip(systems, before)]
        top_up(systems, workload, warmup + frames)
        result["noop"], result["noop_live"] = noop_frames(tamapi, systems, frames)
    return result


def share(k):
    """korvel's own seconds per particle in run result k."""
    return k["time"] / k["live"] - k["noop"] / k["noop_live"]


def warmup(args, workload):
    return WORKLOADS[workload] if args.warmup is None else args.warmup


def best_run(mode, workload, args):
    options = ["--mode", mode, "--workload", workload, "--frames", str(args.frames),
               "--warmup", str(warmup(args, workload))]
    return _timing.best_run(__file__, options, args.runs, "time")


def collect(args):
    rows = []
    for workload in WORKLOADS:
        k, p = best_run("korvel", workload, args), best_run("pure", workload, args)
        note = (f"{k['live']:,} live particles; {k['time'] / k['live'] * 1e9:,.0f} ns per "
                f"particle with korvel, of which korvel's share {share(k) * 1e9:,.0f} ns (the "
                f"loop calling a native no-op: {k['noop'] / k['noop_live'] * 1e9:,.0f} ns); "
                f"{p['time'] / p['live'] * 1e9:,.0f} ns in plain Python; image cache over the "
                f"timed frames: {'; '.join(k['cache'])}; "
                f"median of {args.frames} frames after {warmup(args, workload)} warm-up, best of "
                f"{args.runs} runs")
        rows.append(Row(f"10,000 particles, {workload}", k["time"], "module calls, whole frame",
                        p["time"], "the demo's --pure-python particles", note=note, extra={"share": share(k)}))
    return rows


def arguments(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--frames", type=int, default=30)
    parser.add_argument("--warmup", type=int, help="warm-up frames (default: per workload)")
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--mode", choices=["korvel", "pure"], help=argparse.SUPPRESS)
    parser.add_argument("--workload", choices=list(WORKLOADS), default="swarm",
                        help=argparse.SUPPRESS)
    return parser.parse_known_args(argv)[0]


def main():
    args = arguments()
    if args.mode:
        print(json.dumps(run(args.mode == "pure", args.workload, args.frames,
                             warmup(args, args.workload))))
        return
    print(f"particles on 1280x720 ({machine()})")
    print_rows(collect(args))


if __name__ == "__main__":
    main()
