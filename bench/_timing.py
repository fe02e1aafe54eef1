"""Shared timing for the benchmarks: warm up, repeat, keep best and median."""
import os
import statistics
import time


def measure(fn, reps=50, warmup=5):
    """(best, median) wall time of fn() in seconds."""
    for _ in range(warmup):
        fn()
    times = []
    for _ in range(reps):
        t0 = time.perf_counter()
        fn()
        times.append(time.perf_counter() - t0)
    return min(times), statistics.median(times)


def cpu_isas():
    """The pixel-kernel paths korvel can take on this processor (KORVEL_ISA values)."""
    with open("/proc/cpuinfo") as f:
        flags = next((line.split(":", 1)[1].split() for line in f if line.startswith("flags")), [])
    return ["scalar"] + [isa for isa in ("sse2", "avx2") if isa in flags]


def print_table(rows, reference):
    """rows: (name, best, median); ratios are median / the reference row's median."""
    ref = dict((name, med) for name, _, med in rows)[reference]
    width = max(len(name) for name, _, _ in rows)
    print(f"ratio = median time / median time of: {reference}")
    print(f"{'case':<{width}}  {'best ms':>8}  {'median ms':>9}  {'ratio':>7}")
    for name, best, med in rows:
        print(f"{name:<{width}}  {best * 1e3:8.3f}  {med * 1e3:9.3f}  {med / ref:7.2f}")


def machine():
    return f"{os.cpu_count()} cpus, load {os.getloadavg()[0]:.2f}"
