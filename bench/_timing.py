"""Shared timing for the benchmarks: warm up, repeat, keep the best; and
korvel set up for the pixel benchmarks."""
import json
import os
import subprocess
import sys
import time
import warnings


def best(fn, reps=50, warmup=5):
    """The fastest of reps timed calls of fn() after warmup calls, in seconds.

    Other work on a shared machine only ever adds time, so the minimum is the
    figure closest to what the code itself costs.
    """
    for _ in range(warmup):
        fn()
    times = []
    for _ in range(reps):
        t0 = time.perf_counter()
        fn()
        times.append(time.perf_counter() - t0)
    return min(times)


def machine():
    return f"{os.cpu_count()} cpus, load {os.getloadavg()[0]:.2f}"


def best_run(script, options, runs, figure):
    """Of runs runs of script in fresh processes (each prints one JSON line
    last), the result with the lowest figure."""
    results = []
    for _ in range(runs):
        out = subprocess.run([sys.executable, script, *options], check=True, capture_output=True,
                             text=True).stdout
        results.append(json.loads(out.strip().splitlines()[-1]))
    return min(results, key=lambda r: r[figure])


def korvel_with_pygame(pygame):
    """korvel imported behind empty stand-in runtime modules, registered with
    only tamapi.pygame: all the pixel and call benchmarks need."""
    sys.modules.setdefault("tam6", type(sys)("tam6"))
    tamapi = sys.modules.setdefault("tamapi", type(sys)("tamapi"))
    tamapi.pygame = pygame
    import korvel
    with warnings.catch_warnings():  # the missing handlers are never called: no word about them
        warnings.simplefilter("ignore", RuntimeWarning)
        korvel.RegisterInstancesDict({}, object, object, object)
    return korvel
