"""Runs the Google Benchmark program (bench/kernels.cpp) and reads its figures."""
import json
import os
import subprocess

from _report import Table

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
PROGRAM = os.path.join(ROOT, "build", "release", "bench", "korvel_kernel_bench")
# The order korvel prefers them in when it picks a path at import.
ISA_PREFERENCE = ("avx2", "sse2", "scalar")
SIZES = ("8x8", "16x16", "32x32", "64x64", "256x256", "1280x720")
SCREEN = "1280x720"
# From this many pixels on, every SIMD path should take at most half the
# scalar path's time; below it, no more than the scalar path's.
TWICE_FROM = 32 * 32


def run(repetitions=20, min_time=0.01):
    """{benchmark name: best seconds per operation}, e.g. "additive_blit/avx2/32x32".

    Each repetition reports the mean of a short burst of back-to-back
    operations; the best repetition is kept, as other work on the machine
    only ever adds time.
    """
    out = subprocess.run([PROGRAM, "--benchmark_format=json",
                          f"--benchmark_repetitions={repetitions}",
                          f"--benchmark_min_time={min_time}",
                          # spreads each benchmark's repetitions over the whole run, so a
                          # burst of other work cannot spoil all of one benchmark's
                          "--benchmark_enable_random_interleaving=true"],
                         check=True, capture_output=True, text=True).stdout
    times = {}
    scale = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}
    for b in json.loads(out)["benchmarks"]:
        if b.get("run_type") != "iteration":
            continue
        # processor time: wall time would count other processes' time slices
        name, t = b["run_name"], b["cpu_time"] * scale[b["time_unit"]]
        if name not in times or t < times[name]:
            times[name] = t
    return times


def best_isa(times, op, size=SCREEN):
    """(isa, seconds) of op on the path korvel takes on this processor."""
    for isa in ISA_PREFERENCE:
        if f"{op}/{isa}/{size}" in times:
            return isa, times[f"{op}/{isa}/{size}"]
    return None, None


def pixels_of(size):
    w, h = size.split("x")
    return int(w) * int(h)


def isas_of(times):
    return [isa for isa in ("scalar", "sse2", "avx2") if any(f"/{isa}/" in n for n in times)]


def met(times, op, size):
    """No SIMD path slower than scalar; at TWICE_FROM pixels and more, twice as fast."""
    scalar = times[f"{op}/scalar/{size}"]
    need = 2.0 if pixels_of(size) >= TWICE_FROM else 1.0
    return all(scalar / times[f"{op}/{isa}/{size}"] >= need
               for isa in isas_of(times) if isa != "scalar")


def table(times):
    """Every kernel on every path and size: ns per pixel, against a copy and scalar."""
    ops = sorted({name.split("/")[0] for name in times if name.count("/") == 2})
    isas = isas_of(times)
    lines = []
    for op in ops:
        for size in SIZES:
            n, copy, scalar = pixels_of(size), times[f"copy/{size}"], times[f"{op}/scalar/{size}"]
            cells = [op, size, f"{copy / n * 1e9:.3f}"]
            for isa in isas:
                t = times[f"{op}/{isa}/{size}"]
                cell = f"{t / n * 1e9:.3f} ({t / copy:.1f}x copy"
                cells.append(cell + (f", {scalar / t:.2f}x scalar)" if isa != "scalar" else ")"))
            cells.append("yes" if met(times, op, size) else "NO")
            lines.append(cells)
    return Table(
        "Kernels per instruction set and size (bench/kernels.cpp, Google Benchmark)",
        "Nanoseconds per pixel, the best of repeated bursts in processor time; \"x copy\" is "
        "the time over a memcpy of the same bytes at the same size, \"x scalar\" the speed-up "
        "over the scalar path. Target: no SIMD path slower than scalar at any size, and at "
        "32x32 and larger at least twice as fast.",
        ["kernel", "size", "copy ns/px"] + [f"{isa} ns/px" for isa in isas] + ["target met"],
        lines)


def figures(times):
    """The figures --compare checks: seconds per operation by name."""
    return {f"kernel {name}": t for name, t in times.items()}
