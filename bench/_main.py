"""bench/run's driver: every benchmark, one table, bench/results.md and bench/results.png."""
import argparse
import datetime
import json
import os
import platform
import subprocess

import _kernels
import calls
import particles
import pixels
import room
from _report import Table, chart, markdown, markdown_table, print_rows, print_table

HERE = os.path.dirname(os.path.abspath(__file__))
BENCHMARKS = {"pixels": pixels, "calls": calls, "particles": particles, "room": room}
# A row of --compare is flagged when it takes this much longer than committed.
SLOWER = 1.15
# Targets for korvel's own share of the frame, in seconds.
SHARE_MAX = {"10,000 particles, swarm": 150e-9, "Room_Draw, demo scene, idle handlers": 250e-9}


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


def share_table(rows):
    """korvel's own share per particle and per drawn object, from the frame rows."""
    lines, figures = [], {}
    for r in rows:
        value = r.extra.get("share", r.extra.get("per_object"))
        if value is None:
            continue
        what = "per particle" if "share" in r.extra else "per drawn object, Room_Draw's walk"
        limit = SHARE_MAX.get(r.op)
        lines.append([r.op, what, f"{value * 1e9:,.0f}",
                      f"<= {limit * 1e9:g}" if limit else "-",
                      ("yes" if value <= limit else "NO") if limit else "-"])
        figures[f"share {r.op}"] = value
    table = Table(
        "korvel's share per particle and per drawn object",
        "Nanoseconds. Per particle: the frame per particle minus the same loop calling a "
        "native no-op instead of korvel. Per drawn object: the idle-handlers frame of Room_Draw "
        "(every handler of the runtime made to draw nothing) per drawn object.",
        ["frame", "share", "korvel ns", "target", "target met"], lines)
    return table, figures


def read_committed(path):
    """(machine model, {figure: seconds}) written into results.md by a full run."""
    with open(path) as f:
        text = f.read()
    model = figures = None
    for line in text.splitlines():
        if line.startswith("<!-- machine: "):
            model = line[len("<!-- machine: "):-len(" -->")]
        elif line.startswith("<!-- figures: "):
            figures = json.loads(line[len("<!-- figures: "):-len(" -->")])
    return model, figures


def compare(committed, figures):
    """Prints every figure against the committed one; flags those over SLOWER."""
    slower = 0
    print(f"\nAgainst bench/results.md (flagged: more than {(SLOWER - 1) * 100:.0f}% slower)")
    for name in sorted(set(committed) & set(figures)):
        was, now = committed[name], figures[name]
        flag = ""
        if was > 0 and now > was * SLOWER:
            flag, slower = "  SLOWER", slower + 1
        print(f"  {name}: {now * 1e9:,.1f} ns, committed {was * 1e9:,.1f} ns "
              f"({now / was:.2f}x){flag}" if was > 0 else f"  {name}: {now * 1e9:,.1f} ns")
    print(f"{slower} of {len(set(committed) & set(figures))} figures more than "
          f"{(SLOWER - 1) * 100:.0f}% slower")
    return slower


def main():
    parser = argparse.ArgumentParser(description="Runs every korvel benchmark.")
    parser.add_argument("names", nargs="*", choices=[[]] + list(BENCHMARKS),
                        help="only these benchmarks (the table is then printed, not written)")
    parser.add_argument("--quick", action="store_true", help="fewer repetitions, for a try-out")
    parser.add_argument("--compare", action="store_true",
                        help="run again and flag every figure more than 15%% slower than those "
                             "in bench/results.md (same machine model only); writes nothing")
    parser.add_argument("--out", default=os.path.join(HERE, "results.md"))
    args = parser.parse_args()
    names = args.names or list(BENCHMARKS)
    model = cpu_model()
    if args.compare:
        committed_model, committed = read_committed(args.out)
        if committed_model != model:
            raise SystemExit(f"bench/run --compare: {args.out} was measured on "
                             f"{committed_model or 'an unnamed machine'}, this is {model}; "
                             "figures from another machine model are not compared")
    reps, runs = (40, 1) if args.quick else (200, 3)
    load_before = os.getloadavg()[0]
    started = datetime.datetime.now()

    times = _kernels.run(repetitions=5 if args.quick else 20) if "pixels" in names else {}
    rows, call_rows = [], []
    if "pixels" in names:
        rows += pixels.collect(times, reps)
    if "calls" in names:
        call_rows = calls.collect(reps * 10)
    for name in ("particles", "room"):
        if name in names:
            bench = BENCHMARKS[name]
            rows += bench.collect(bench.arguments(["--runs", str(runs)]))
    shares, share_figures = share_table(rows)
    kernel_table = _kernels.table(times) if times else None
    tables = [t for t in (kernel_table, calls.table(call_rows) if call_rows else None,
                          shares if shares.lines else None) if t]
    figures = {f"row {r.op}": r.korvel for r in rows}
    figures.update(_kernels.figures(times))
    figures.update(calls.figures(call_rows))
    figures.update(share_figures)

    load_after = os.getloadavg()[0]
    print_rows(rows)
    for t in tables:
        print_table(t)
    if args.compare:
        # a flagged figure fails the run, so a script can stop on it
        raise SystemExit(1 if compare(committed, figures) else 0)
    if args.names or args.quick:
        return  # a partial or short run is printed only
    machine = (f"{model}, {os.cpu_count()} cores (shared with other work; load average "
               f"{load_before:.2f} before, {load_after:.2f} after)")
    measured = (f"Measured {started:%Y-%m-%d %H:%M} with `bench/run` on {machine}. "
                f"Build: Meson release, {build_flags()}. One thread; korvel picks its kernels "
                "at import (AVX2 here).")
    text = "\n\n".join(
        ["# korvel benchmark results", measured, METHOD, markdown(rows)]
        + [markdown_table(t) for t in tables]
        # read back by --compare
        + [f"<!-- machine: {model} -->\n<!-- figures: {json.dumps(figures)} -->\n"])
    with open(args.out, "w") as f:
        f.write(text)
    png = os.path.splitext(args.out)[0] + ".png"
    chart(rows, png, times, call_rows)
    update_readme("\n\n".join([measured, markdown(rows)] +
                               # the long per-size kernel table stays in results.md
                               [markdown_table(t, 3) for t in tables if t is not kernel_table]))
    print(f"written: {args.out}, {png}, and the table in README.md")

if __name__ == "__main__":
    main()
