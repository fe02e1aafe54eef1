"""The benchmark tables: printed, written as Markdown and drawn as a chart."""
from dataclasses import dataclass, field


@dataclass
class Row:
    """One operation. Times are seconds per operation.

    bound is a plain copy of the same bytes; bound_max the largest allowed
    korvel / bound ratio, speedup_min the smallest allowed peer / korvel.
    """
    op: str
    korvel: float
    korvel_how: str
    peer: float
    peer_name: str
    bound: float = None
    bound_max: float = None
    speedup_min: float = None
    note: str = ""
    extra: dict = field(default_factory=dict)

    @property
    def of_bound(self):
        return self.korvel / self.bound if self.bound else None

    @property
    def speedup(self):
        return self.peer / self.korvel

    @property
    def met(self):
        ok = self.bound_max is None or self.of_bound <= self.bound_max
        return ok and (self.speedup_min is None or self.speedup >= self.speedup_min)


def ms(t):
    if t is None:
        return "-"
    return f"{t * 1e3:.3f}" if t < 0.1 else f"{t * 1e3:.1f}"


def ratio(value, limit, sign):
    if value is None:
        return "-"
    return f"{value:.2f} ({sign} {limit:g})" if limit is not None else f"{value:.2f}"


def verdict(row):
    if row.bound_max is None and row.speedup_min is None:
        return "-"
    return "yes" if row.met else "NO"


HEADER = ("operation", "korvel ms", "korvel measured as", "peer ms", "peer", "copy ms",
          "korvel / copy", "speed-up over peer", "target met")


def cells(row):
    return (row.op, ms(row.korvel), row.korvel_how, ms(row.peer), row.peer_name, ms(row.bound),
            ratio(row.of_bound, row.bound_max, "<="), ratio(row.speedup, row.speedup_min, ">="),
            verdict(row))


def print_rows(rows):
    table = [HEADER] + [cells(r) for r in rows]
    widths = [max(len(line[i]) for line in table) for i in range(len(HEADER))]
    for line in table:
        print("  ".join(c.ljust(w) for c, w in zip(line, widths)).rstrip())
    for r in rows:
        if r.note:
            print(f"  {r.op}: {r.note}")


def markdown(rows):
    lines = ["| " + " | ".join(HEADER) + " |", "|" + "---|" * len(HEADER)]
    lines += ["| " + " | ".join(cells(r)) + " |" for r in rows]
    notes = [f"- {r.op}: {r.note}" for r in rows if r.note]
    return "\n".join(lines + ([""] + notes if notes else []))


@dataclass
class Table:
    """A table of its own below the main one: title, what it shows, cells."""
    title: str
    intro: str
    header: list
    lines: list
    notes: list = field(default_factory=list)


def print_table(t):
    print(f"\n{t.title}")
    table = [t.header] + t.lines
    widths = [max(len(line[i]) for line in table) for i in range(len(t.header))]
    for line in table:
        print("  ".join(c.ljust(w) for c, w in zip(line, widths)).rstrip())
    for n in t.notes:
        print(f"  {n}")


def markdown_table(t, level=2):
    lines = [f"{'#' * level} {t.title}", "", t.intro, "", "| " + " | ".join(t.header) + " |",
             "|" + "---|" * len(t.header)]
    lines += ["| " + " | ".join(line) + " |" for line in t.lines]
    return "\n".join(lines + ([""] + [f"- {n}" for n in t.notes] if t.notes else []))


def chart(rows, path, kernel_times=None, calls=()):
    """Four panels: korvel against the copy bound and the speed-up over each
    peer (whole surfaces and frames); each SIMD path's speed-up over scalar
    per size; module calls at particle sizes against pygame."""
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    fig, ((a, b), (c, d)) = plt.subplots(2, 2, figsize=(15, 0.45 * max(len(rows), 6) + 7.5))
    copy_panel(a, rows)
    peer_panel(b, rows, "speed-up over the peer (log scale; black tick: target)")
    if kernel_times:
        kernel_panel(c, kernel_times)
    peer_panel(d, calls, "module calls at particle sizes: speed-up over pygame (log scale)")
    fig.suptitle("korvel: pixel operations on 1280x720 32-bit surfaces, particles, Room_Draw, "
                 "kernels per size and module calls at particle sizes (best of repeated runs)",
                 fontsize=11)
    fig.tight_layout()
    fig.savefig(path, dpi=100)
    plt.close(fig)


COLOUR = {True: "tab:green", False: "tab:red"}


def copy_panel(a, rows):
    bound = [r for r in rows if r.of_bound is not None]
    names = [r.op for r in bound][::-1]
    a.barh(names, [r.of_bound for r in bound][::-1],
           color=[COLOUR[r.of_bound <= (r.bound_max or 1e9)] for r in bound][::-1])
    a.axvline(2.0, color="black", linestyle="--", linewidth=1, label="target: 2x the copy")
    a.axvline(1.0, color="gray", linestyle=":", linewidth=1, label="a plain copy")
    a.set_xlabel("korvel time / time of a plain copy of the same bytes (lower is better)")
    a.legend(loc="lower right", fontsize=8)


def peer_panel(b, rows, label):
    """Speed-up bars of rows (anything with op, speedup, speedup_min) on a log scale."""
    from matplotlib.ticker import FixedLocator, NullLocator
    names = [r.op for r in rows][::-1]
    b.barh(names, [r.speedup for r in rows][::-1],
           color=[COLOUR[r.speedup >= (r.speedup_min or 0)] for r in rows][::-1])
    for y, r in enumerate(rows[::-1]):
        if r.speedup_min:
            b.plot([r.speedup_min] * 2, [y - 0.4, y + 0.4], color="black", linewidth=2)
        b.text(r.speedup * 1.05, y, f"{r.speedup:.1f}x", va="center", fontsize=8)
    b.set_xscale("log")
    top = max([r.speedup for r in rows] + [r.speedup_min or 0 for r in rows] + [1])
    ticks = [t for t in (0.5, 1, 2, 5, 10, 30, 100, 300, 1000) if t <= top * 1.5]
    b.xaxis.set_major_locator(FixedLocator(ticks))
    b.xaxis.set_minor_locator(NullLocator())
    b.set_xticklabels([f"{t:g}x" for t in ticks])
    b.axvline(1.0, color="gray", linestyle=":", linewidth=1)
    b.set_xlabel(label)


def kernel_panel(c, times):
    """Each SIMD path's speed-up over scalar against the image size, per kernel."""
    import _kernels
    sizes = _kernels.SIZES
    ops = sorted({name.split("/")[0] for name in times if name.count("/") == 2})
    styles = {"sse2": "--", "avx2": "-"}
    for k, op in enumerate(ops):
        for isa in _kernels.isas_of(times):
            if isa == "scalar":
                continue
            ys = [times[f"{op}/scalar/{s}"] / times[f"{op}/{isa}/{s}"] for s in sizes]
            c.plot(range(len(sizes)), ys, styles.get(isa, "-"), marker="o", markersize=3,
                   color=f"C{k}", label=f"{op} {isa}")
    start = next(i for i, s in enumerate(sizes) if _kernels.pixels_of(s) >= _kernels.TWICE_FROM)
    c.step([-0.5, start - 0.5, len(sizes) - 0.5], [1, 2, 2], where="post", color="black",
           linewidth=1.5, label="target")
    c.set_xticks(range(len(sizes)))
    c.set_xticklabels(sizes)
    c.set_ylabel("SIMD speed-up over the scalar path")
    c.set_xlabel("image size (kernels alone, bench/kernels.cpp)")
    c.legend(fontsize=6, ncol=2)
