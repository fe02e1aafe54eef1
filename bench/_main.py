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
    keep = [w for w in core.split()
            if w.startswith(("-O", "-std", "-m", "-f", "-DNDEBUG")) and "diagnostics" not in w]
    compiler = core.split()[0]
    version = subprocess.run([compiler, "--version"], capture_output=True,
                             text=True).stdout.splitlines()[0]
    return f"{version}; {' '.join(keep)} (SSE2 and AVX2 files add -msse2 / -mavx2)"


def isa_table(times):
    ops = sorted({name.split("/")[0] for name in times if "/" in name})
    isas = [isa for isa in ("scalar", "sse2", "avx2") if any(n.endswith("/" + isa) for n in times)]
    surface = pixels.W * pixels.H * 4

    def cell(name):
        t = times.get(name)
        return f"{t * 1e6:.0f} us, {surface / t / 1e9:.1f} GB/s" if t else "-"
    lines = ["| kernel (1280x720) | " + " | ".join(isas) + " |", "|---|" + "---|" * len(isas)]
    lines += [f"| {op} | " + " | ".join(cell(f"{op}/{i}") for i in isas) + " |" for op in ops]
    lines.append("| copy (memcpy) | " + cell("copy") + " |" + " - |" * (len(isas) - 1))
    return "\n".join(lines)


METHOD = """\
Times are per operation (ms). Pixel operations run on 1280x720 32-bit
surfaces: each figure is the fastest of many timed calls after warm-up
(other work on a shared machine only ever adds time). "copy" is a plain copy
of the same number of bytes, timed the same way as the korvel figure it is
compared with (numpy.copyto from Python for module calls, memcpy in
bench/kernels.cpp for core figures): the bound for any one-pass operation.
Each peer is the fastest way pygame has to do the same thing. Particle and
Room_Draw rows are whole frames of the demo's runtime, the median frame of
the best of several runs, against the demo's --pure-python mode; frames and
bench/kernels.cpp are timed in processor time, as wall time on a shared
machine would count other processes' time slices."""


def update_readme(block):
    """Puts the latest table between the README's bench markers."""
    path = os.path.join(_kernels.ROOT, "README.md")
    with open(path) as f:
        text = f.read()
    begin, end = "<!-- bench:begin -->", "<!-- bench:end -->"
    if begin not in text or end not in text:
        return
    head, rest = text.split(begin, 1)
    tail = rest.split(end, 1)[1]
    with open(path, "w") as f:
        f.write(f"{head}{begin}\n{block}\n{end}{tail}")


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

    times = _kernels.run(repetitions=5 if args.quick else 30)
    rows = []
    if "pixels" in names:
        rows += pixels.collect(times, reps)
    for name in ("particles", "room"):
        if name in names:
            bench = BENCHMARKS[name]
            rows += bench.collect(bench.arguments(["--runs", str(runs)]))

    load_after = os.getloadavg()[0]
    print_rows(rows)
    if args.names or args.quick:
        return  # a partial or short run is printed only
    machine = (f"{cpu_model()}, {os.cpu_count()} cores (shared with other work; load average "
               f"{load_before:.2f} before, {load_after:.2f} after)")
    measured = (f"Measured {started:%Y-%m-%d %H:%M} with `bench/run` on {machine}. "
                f"Build: Meson release, {build_flags()}. One thread; korvel picks its kernels "
                "at import (AVX2 here).")
    text = "\n".join([
        "# korvel benchmark results", "", measured, "", METHOD, "", markdown(rows), "",
        "## Kernels per instruction set (bench/kernels.cpp, Google Benchmark)", "",
        "Best repetition; GB/s counts the surface's bytes once per operation.", "",
        isa_table(times), ""])
    with open(args.out, "w") as f:
        f.write(text)
    png = os.path.splitext(args.out)[0] + ".png"
    chart(rows, png)
    update_readme("\n".join([measured, "", markdown(rows)]))
    print(f"written: {args.out}, {png}, and the table in README.md")

if __name__ == "__main__":
    main()
