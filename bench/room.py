"""The demo's whole frame: korvel against the same scene drawn in plain Python.

Each mode runs in its own process (the runtime modules are process-wide):
build the scene, draw warm-up frames (they fill the image caches), then time
every frame's game step and Room_Draw.
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


def run(pure, size, frames, warmup, seed):
    os.environ["SDL_VIDEODRIVER"] = "dummy"
    sys.path.insert(0, os.path.join(ROOT, "demo", "runtime"))
    import pygame
    pygame.display.init()
    screen = pygame.display.set_mode(size, 0, 32)
    import tam6
    import scene
    if pure:
        import purekorvel as impl
    else:
        import korvel as impl
    game, room = scene.build(impl, size, seed)
    room.Compile()
    room.Create()
    steps, draws = [], []
    for frame in range(warmup + frames):
        t0 = time.perf_counter()
        tam6.frame(room)
        t1 = time.perf_counter()
        impl.Room_Draw(room, screen)
        t2 = time.perf_counter()
        if frame >= warmup:
            steps.append(t1 - t0)
            draws.append(t2 - t1)
    particles = sum(len(ps.particles) for ps in game.particle_systems)
    return {"step": statistics.median(steps), "draw": statistics.median(draws),
            "objects": len(room.drawn_objects), "particles": particles}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--size", default="1280x720")
    parser.add_argument("--frames", type=int, default=120)
    parser.add_argument("--warmup", type=int, default=60)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--mode", choices=["korvel", "pure"], help=argparse.SUPPRESS)
    args = parser.parse_args()
    size = tuple(int(v) for v in args.size.split("x"))
    if args.mode:
        print(json.dumps(run(args.mode == "pure", size, args.frames, args.warmup, args.seed)))
        return
    results = {}
    for mode in ("korvel", "pure"):
        out = subprocess.run([sys.executable, __file__, "--mode", mode, "--size", args.size,
                              "--frames", str(args.frames), "--warmup", str(args.warmup),
                              "--seed", str(args.seed)],
                             check=True, capture_output=True, text=True).stdout
        results[mode] = json.loads(out.strip().splitlines()[-1])
    k = results["korvel"]
    print(f"demo scene at {args.size}: {k['objects']} drawn objects, about {k['particles']} "
          f"particles; median of {args.frames} frames after {args.warmup} warm-up ({machine()})")
    print(f"{'':14}{'step ms':>9}{'Room_Draw ms':>14}{'frame ms':>10}{'frames/s':>10}")
    for mode, label in (("korvel", "korvel"), ("pure", "plain Python")):
        r = results[mode]
        total = r["step"] + r["draw"]
        print(f"{label:14}{r['step'] * 1e3:9.2f}{r['draw'] * 1e3:14.2f}{total * 1e3:10.2f}"
              f"{1 / total:10.1f}")
    print(f"Room_Draw speed-up: {results['pure']['draw'] / k['draw']:.2f}x")


if __name__ == "__main__":
    main()
