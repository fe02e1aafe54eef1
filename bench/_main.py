"""bench/run's driver: every benchmark, one table, bench/results.md and bench/results.png."""
import argparse
import datetime
import json
import os
import platform
import subprocess

import _kernels
import particles
import pixels
import room
from _report import chart, markdown, print_rows

HERE = os.path.dirname(os.path.abspath(__file__))
BENCHMARKS = {"pixels": pixels, "particles": particles, "room": room}


def cpu_model():
    out = subprocess.run(["lscpu"], capture_output=True, text=True).stdout
    fields = dict(line.split(":", 1) for line in out.splitlines() if ":" in line)
    return fields.get("Model name", platform.processor()).strip()


def build_flags():
    """The compiler flags of the release build, as Meson wrote them down."""
    path = os.path.join(_kernels.ROOT, "build", "release", "compile_commands.json")
    with open(path) as f:
        commands = json.load(f)
    core = next(c["command"] for c in commands if c["file"].endswith("fill.cpp"))
    keep = [w for w in core.split() if w.startswith(("-O", "-std", "-m", "-f", "-DNDEBUG"))]
    compiler = core.split()[0]
    version = subprocess.run([compiler, "--version"], capture_output=True,
                             text=True).stdout.splitlines()[0]
    return f"{version}; {' '.join(keep)} (SSE2 and AVX2 files add -msse2 / -mavx2)"


def isa_table(times, rates):
    ops = sorted({name.split("/")[0] for name in times if "/" in name})
    isas = [isa for isa in ("scalar", "sse2", "avx2") if any(n.endswith("/" + isa) for n in times)]
    lines = ["| kernel (1280x720) | " + " | ".join(isas) + " |", "|---|" + "---|" * len(isas)]
    for op in ops:
        line = [f"{times[f'{op}/{i}'] * 1e6:.0f} us, {rates[f'{op}/{i}'] / 1e9:.1f} GB/s"
                if f"{op}/{i}" in times else "-" for i in isas]
        lines.append(f"| {op} | " + " | ".join(line) + " |")
    lines.append(f"| copy (memcpy) | {times['copy'] * 1e6:.0f} us, "
                 f"{rates['copy'] / 1e9:.1f} GB/s |" + " |" * (len(isas) - 1))
    return "\n".join(lines)


def main():
    parser = argparse.ArgumentParser(description="Runs every korvel benchmark.")
    parser.add_argument("names", nargs="*", choices=[[]] + list(BENCHMARKS),
                        help="only these benchmarks (the table is then printed, not written)")
    parser.add_argument("--quick", action="store_true", help="fewer repetitions, for a try-out")
    parser.add_argument("--out", default=os.path.join(HERE, "results.md"))
    args = parser.parse_args()
    names = args.names or list(BENCHMARKS)
    reps, runs = (40, 1) if args.quick else (200, 3)
    load_before = os.getloadavg()[0]
    started = datetime.datetime.now()

    times, rates = _kernels.run(repetitions=5 if args.quick else 30)
    rows = []
    if "pixels" in names:
        rows += pixels.collect(times, reps)
    for name in ("particles", "room"):
        if name in names:
            bench = BENCHMARKS[name]
            rows += bench.collect(bench.arguments(["--runs", str(runs)]))

    load_after = os.getloadavg()[0]
    print_rows(rows)
    if args.names:
        return
    machine = (f"{cpu_model()}, {os.cpu_count()} cores (shared with other work; load average "
               f"{load_before:.2f} before, {load_after:.2f} after)")
    text = "\n".join([
        "# korvel benchmark results", "",
        f"Measured {started:%Y-%m-%d %H:%M} with `bench/run` on {machine}.",
        f"Build: Meson release, {build_flags()}. One thread; korvel picks its kernels at "
        "import (AVX2 here).", "",
        markdown(rows), "",
        "## Kernels per instruction set (bench/kernels.cpp, Google Benchmark)", "",
        "Best repetition; GB/s counts the surface's bytes once per operation.", "",
        isa_table(times, rates), ""])
    with open(args.out, "w") as f:
        f.write(text)
    chart(rows, os.path.splitext(args.out)[0] + ".png")
    print(f"written: {args.out}, {os.path.splitext(args.out)[0]}.png")


if __name__ == "__main__":
    main()
