"""Soak run of the demo: the demo's own scene and frame loop (main.py),
headless, for many frames, sampling the process's resident memory and the
reference counts of the runtime's long-lived objects every few frames.

It fails (exit status 1) when, after the first --settle frames (default
1,000), resident memory grows by more than --max-growth bytes (default 2 MB;
the mean of the last quarter of the samples against that of the first, with
the allocator's free pages given back before each sample),
or when any long-lived object's reference count drifts: the objects whose
count holds still while the game settles must keep it, and those that living
particles and instances hold must not creep upwards.

    /usr/bin/python3 demo/soak.py [--frames 20000] [--every 500] [--size WxH] [--seed N]

scripts/run-soak builds korvel and runs this for 20,000 frames.
"""
import argparse
import ctypes
import gc
import os
import statistics
import sys
import time

DEMO = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, DEMO)
import main  # noqa: E402  (the demo: its options, display and runtime path)

PAGE = os.sysconf("SC_PAGE_SIZE")


def parse_args(argv):
    parser = argparse.ArgumentParser(description="soak run of the korvel demo")
    parser.add_argument("--frames", type=int, default=20000)
    parser.add_argument("--every", type=int, default=500, help="frames between samples")
    parser.add_argument("--settle", type=int, default=1000,
                        help="frames before the baseline is taken (caches fill, lists reach size)")
    parser.add_argument("--max-growth", type=int, default=2 << 20,
                        help="bytes resident memory may grow after the baseline")
    parser.add_argument("--size", default="960x540")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--no-views", action="store_true")
    args = parser.parse_args(argv)
    if args.frames <= args.settle or args.every < 1:
        parser.error("--frames must exceed --settle, and --every be positive")
    return args


# glibc's allocator keeps pages it has freed, the more so as images of many
# sizes come and go; they are given back before each sample, so that what
# is measured is memory in use, not the allocator's high-water mark.
_LIBC = ctypes.CDLL(None)


def resident_bytes():
    if hasattr(_LIBC, "malloc_trim"):
        _LIBC.malloc_trim(0)
    with open("/proc/self/statm") as f:
        return int(f.read().split()[1]) * PAGE


def long_lived(game, room, screen, tam6, tamapi):
    """(label, object) for the runtime objects that live as long as the game:
    the room and every object it holds, the screen, the resources, the
    object records, particle systems and types, and the runtime's shared
    scripting objects."""
    found = [("room", room), ("screen", screen), ("game", game), ("tam6", tam6),
             ("tamapi", tamapi), ("tamapi.py_draw_props", tamapi.py_draw_props),
             ("tamapi.py_self_stack", tamapi.py_self_stack),
             ("tamapi.py_ParticleSystem", tamapi.py_ParticleSystem)]
    for name in ("sprites", "backgrounds", "objects", "particle_systems"):
        found += [(f"game.{name}[{i}]", o) for i, o in enumerate(getattr(game, name))]
    for name, value in sorted(vars(game).items()):
        if type(value).__name__ == "PyCapsule":  # particle types
            found.append((f"game.{name}", value))
    for ps in game.particle_systems:
        found.append((f"{ps.name}.counter", ps.counter))
    for name in dir(room):
        value = getattr(room, name, None)
        if type(value).__module__ == "korvel" or isinstance(value, (list, tuple)):
            found.append((f"room.{name}", value))
    found += [(f"room.tiles[{i}]", t) for i, t in enumerate(room.tiles)]
    for name in ("score", "frame_count", "taken_at"):
        found.append((f"tamapi.{name}", getattr(tamapi, name)))
    # One entry per object, whichever label found it first.
    seen, unique = set(), []
    for label, o in found:
        if id(o) not in seen:
            seen.add(id(o))
            unique.append((label, o))
    return unique


class Samples:
    def __init__(self, objects, game):
        self.objects, self.game = objects, game
        self.frames, self.rss, self.gc_objects, self.cached = [], [], [], []
        self.counts = [[] for _ in objects]

    def take(self, frame):
        gc.collect()
        self.frames.append(frame)
        self.rss.append(resident_bytes())
        self.gc_objects.append(len(gc.get_objects()))
        # The runtime's own image cache fills as new sprite sizes, angles and tints turn up.
        self.cached.append(sum(len(getattr(s, "scalecache", ())) for s in self.game.sprites))
        for series, (_, o) in zip(self.counts, self.objects):
            count = sys.getrefcount(o) - 2  # this call's and the tuple's
            if type(o).__name__ == "Beancounter":
                count -= int(o)  # net of the living particles it counts
            series.append(count)


def drifts(samples):
    """Objects whose reference counts drift after the baseline. A count that
    holds still over the first quarter of the samples must keep that value;
    a count that living particles or instances move (a Beancounter's is
    taken net of the particles it counts) must not end, on average over the
    last quarter, above its first quarter's range by more than that range."""
    quarter = max(2, len(samples.frames) // 4)
    found = []
    for series, (label, _) in zip(samples.counts, samples.objects):
        first, last = series[:quarter], series[-quarter:]
        low, high = min(first), max(first)
        if low == high:
            if any(c != low for c in series):
                found.append((label, f"held {low}, then ranged {min(series)}..{max(series)}"))
        elif statistics.mean(last) > high + (high - low):
            found.append((label, f"ranged {low}..{high}, ended at {statistics.mean(last):.1f}"))
    return found


def run(args):
    options = ["--headless", "--frames", str(args.frames), "--size", args.size,
               "--seed", str(args.seed)] + (["--no-views"] if args.no_views else [])
    pygame, screen, impl, room, _ = main.start(main.parse_args(options))
    import tam6
    import tamapi
    game = tam6.game

    samples = None
    t0 = time.perf_counter()
    for frame in range(1, args.frames + 1):
        pygame.event.pump()  # the dummy driver has no events; main.py's handling stays idle
        tam6.frame(room)
        impl.Room_Draw(room, screen)
        pygame.display.flip()
        if frame == args.settle:
            samples = Samples(long_lived(game, room, screen, tam6, tamapi), game)
        if samples is not None and (frame - args.settle) % args.every == 0:
            samples.take(frame)
    elapsed = time.perf_counter() - t0
    return report(args, samples, elapsed, tamapi)


def report(args, samples, elapsed, tamapi):
    # Growth is taken between the means of the first and the last quarter of
    # the samples: single samples swing by a megabyte or so as particle
    # images come and go.
    quarter = max(2, len(samples.rss) // 4)
    base = samples.rss[0]
    growth = statistics.mean(samples.rss[-quarter:]) - statistics.mean(samples.rss[:quarter])
    peak = max(samples.rss) - base
    print(f"soak: {args.frames} frames in {elapsed:.0f} s ({args.frames / elapsed:.0f} frames/s), "
          f"{len(samples.frames)} samples every {args.every} frames from frame {args.settle}")
    print(f"resident memory: {base / 2**20:.1f} MB at frame {args.settle}, "
          f"{samples.rss[-1] / 2**20:.1f} MB at frame {samples.frames[-1]}; "
          f"growth {growth / 2**10:+.0f} KB (mean of the last {quarter} samples over the first "
          f"{quarter}), peak {peak / 2**10:+.0f} KB; limit {args.max_growth / 2**10:.0f} KB")
    print("resident memory by sample (KB over the baseline): "
          + " ".join(f"{(r - base) >> 10}" for r in samples.rss))
    print("sprite images cached by the runtime, by sample: "
          + " ".join(str(n) for n in samples.cached))
    print(f"objects tracked by the collector: {samples.gc_objects[0]} -> {samples.gc_objects[-1]}; "
          f"reference counts watched: {len(samples.objects)} long-lived objects")
    print(f"particles alive at the end: {tamapi.particle_count()}")
    failed = False
    if growth > args.max_growth:
        print(f"FAIL: resident memory grew by {growth:.0f} bytes")
        failed = True
    for label, how in drifts(samples):
        print(f"FAIL: reference count of {label} drifted: {how}")
        failed = True
    print("soak: " + ("FAILED" if failed else "passed"))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(run(parse_args(sys.argv[1:])))
