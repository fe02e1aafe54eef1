"""Room_Draw of the demo's scene: korvel against the same frame in plain Python.

Each mode runs in its own process (the runtime modules are process-wide):
build the demo's scene, draw warm-up frames (they fill the image caches),
then time every frame's Room_Draw; the game step between frames is not
timed. The scene is drawn with its two views (one following the ship, one a
scaled overview) and, as a second case, without views (backgrounds, tiles,
then every instance's Draw). A third case draws the views with the
runtime's drawing handlers made idle (backgrounds, draw_sprite_ext and the
particle systems draw nothing), which leaves Room_Draw's own walk over the
drawn objects: its cost per object is the figure to compare. Frames are
timed in processor time (on a shared machine, wall time would count other
processes' time slices). Each case runs several times and the run with the
lowest median frame is kept.
"""
import argparse
import json
import os
import statistics
import sys
import time

from _report import Row, print_rows
import _timing
from _timing import machine

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
SIZE = (1280, 720)
CASES = ("two views", "no views", "idle handlers")


def make_idle(impl, tam6, tamapi, game):
    """Handlers that draw nothing; registered again, as korvel looks them up then."""
    tam6.Room_DrawBackgrounds = lambda *args: None
    tamapi.draw_sprite_ext = lambda *args: None
    for ps in game.particle_systems:
        ps.py_RealDraw = lambda xoff, yoff: None
    impl.RegisterInstancesDict(tam6.instances, tam6.ObjectInstance, tam6.ObjectInstanceZero,
                               tamapi.ParticleSystem)


def run(pure, case, frames, warmup, seed):
    os.environ["SDL_VIDEODRIVER"] = "dummy"
    sys.path.insert(0, os.path.join(ROOT, "demo", "runtime"))
    import pygame
    pygame.display.init()
    screen = pygame.display.set_mode(SIZE, 0, 32)
    import tam6
    import tamapi
    import scene
    if pure:
        import purekorvel as impl
    else:
        import korvel as impl
    game, room = scene.build(impl, SIZE, seed, views=case != "no views")
    room.Compile()
    room.Create()
    draws = []
    for frame in range(warmup + frames):
        if case == "idle handlers" and frame == warmup:
            make_idle(impl, tam6, tamapi, game)
        tam6.frame(room)
        t0 = time.process_time()
        impl.Room_Draw(room, screen)
        if frame >= warmup:
            draws.append(time.process_time() - t0)
    particles = sum(len(ps.particles) for ps in game.particle_systems)
    return {"draw": statistics.median(draws), "objects": len(room.drawn_objects),
            "particles": particles}


def best_run(mode, case, args):
    """The run with the lowest median frame, of args.runs runs in fresh processes."""
    options = ["--mode", mode, "--case", case, "--frames", str(args.frames),
               "--warmup", str(args.warmup), "--seed", str(args.seed)]
    return _timing.best_run(__file__, options, args.runs, "draw")


def collect(args):
    rows = []
    for case in CASES:
        k, p = best_run("korvel", case, args), best_run("pure", case, args)
        drawn = (f" (about {k['particles']} particles drawn by the particle systems)"
                 if case != "idle handlers" else "")
        per_object = k["draw"] / k["objects"]
        walk = "korvel's walk: " if case == "idle handlers" else ""
        note = (f"{k['objects']} drawn objects{drawn}; {walk}"
                f"{per_object * 1e9:,.0f} ns per drawn object "
                f"with korvel, {p['draw'] / p['objects'] * 1e9:,.0f} ns in plain Python; "
                f"median of {args.frames} frames after {args.warmup} warm-up, best of "
                f"{args.runs} runs")
        rows.append(Row(f"Room_Draw, demo scene, {case}", k["draw"], "module call, whole frame",
                        p["draw"], "the demo's --pure-python Room_Draw", note=note,
                        extra={"per_object": per_object} if walk else {}))
    return rows


def arguments(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--frames", type=int, default=60)
    parser.add_argument("--warmup", type=int, default=40)
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--mode", choices=["korvel", "pure"], help=argparse.SUPPRESS)
    parser.add_argument("--case", choices=CASES, default=CASES[0], help=argparse.SUPPRESS)
    return parser.parse_known_args(argv)[0]


def main():
    args = arguments()
    if args.mode:
        print(json.dumps(run(args.mode == "pure", args.case, args.frames, args.warmup, args.seed)))
        return
    print(f"demo scene at {SIZE[0]}x{SIZE[1]} ({machine()})")
    print_rows(collect(args))


if __name__ == "__main__":
    main()
