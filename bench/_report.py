"""The benchmark table: printed, written as Markdown and drawn as a bar chart."""
from dataclasses import dataclass


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


def chart(rows, path):
    """Two panels: korvel against the copy bound, and the speed-up over each peer."""
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    from matplotlib.ticker import FixedLocator, NullLocator

    bound = [r for r in rows if r.of_bound is not None]
    fast = rows
    fig, (a, b) = plt.subplots(1, 2, figsize=(13, 0.45 * max(len(rows), 6) + 1.6))
    colour = {True: "tab:green", False: "tab:red"}

    names = [r.op for r in bound][::-1]
    a.barh(names, [r.of_bound for r in bound][::-1],
           color=[colour[r.of_bound <= (r.bound_max or 1e9)] for r in bound][::-1])
    a.axvline(2.0, color="black", linestyle="--", linewidth=1, label="target: 2x the copy")
    a.axvline(1.0, color="gray", linestyle=":", linewidth=1, label="a plain copy")
    a.set_xlabel("korvel time / time of a plain copy of the same bytes (lower is better)")
    a.legend(loc="lower right", fontsize=8)

    names = [r.op for r in fast][::-1]
    b.barh(names, [r.speedup for r in fast][::-1],
           color=[colour[r.speedup >= (r.speedup_min or 0)] for r in fast][::-1])
    for y, r in enumerate(fast[::-1]):
        if r.speedup_min:
            b.plot([r.speedup_min] * 2, [y - 0.4, y + 0.4], color="black", linewidth=2)
        b.text(r.speedup * 1.05, y, f"{r.speedup:.1f}x", va="center", fontsize=8)
    b.set_xscale("log")
    ticks = [t for t in (0.5, 1, 2, 5, 10, 30, 100, 300, 1000)
             if t <= max([r.speedup for r in fast] + [r.speedup_min or 0 for r in fast]) * 1.5]
    b.xaxis.set_major_locator(FixedLocator(ticks))
    b.xaxis.set_minor_locator(NullLocator())
    b.set_xticklabels([f"{t:g}x" for t in ticks])
    b.axvline(1.0, color="gray", linestyle=":", linewidth=1)
    b.set_xlabel("speed-up over the peer (log scale; black tick: target)")
    fig.suptitle("korvel: pixel operations on 1280x720 32-bit surfaces, particles and "
                 "Room_Draw (best of repeated runs)", fontsize=11)
    fig.tight_layout()
    fig.savefig(path, dpi=110)
    plt.close(fig)
