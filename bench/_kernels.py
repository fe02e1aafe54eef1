"""Runs the Google Benchmark program (bench/kernels.cpp) and reads its figures."""
import json
import os
import subprocess

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
PROGRAM = os.path.join(ROOT, "build", "release", "bench", "korvel_kernel_bench")
# The order korvel prefers them in when it picks a path at import.
ISA_PREFERENCE = ("avx2", "sse2", "scalar")


def run(repetitions=30, min_time=0.02):
    """{benchmark name: best seconds per operation}, e.g. "additive_blit/avx2".

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


def best_isa(times, op):
    """(isa, seconds) of op on the path korvel takes on this processor."""
    for isa in ISA_PREFERENCE:
        if f"{op}/{isa}" in times:
            return isa, times[f"{op}/{isa}"]
    return None, None
