#!/usr/bin/python3
"""Draws the pictures of the guides into docs/:

    docs/pictures.py            phases, slices, overlap
    docs/pictures.py --speed    speed-*.svg, of out/bench.json and out/bench-wide.json, as scripts/bench writes them
"""
import collections
import json
import pathlib
import sys

root = pathlib.Path(__file__).resolve().parents[1]

ELEMENT, LANE, OTHER, LINE = "#f4b183", "#9dc3e6", "#e0e0e0", "#404040"
CELL, HEIGHT = 34, 30


class Picture:
    def __init__(self, name, width, height):
        self.name, self.size, self.parts = name, (width, height), []

    def text(self, x, y, words, size=13, anchor="start", weight="normal", color="#202020"):
        words = words.replace("&", "&amp;").replace("<", "&lt;")
        self.parts.append(f'<text x="{x}" y="{y}" font-size="{size}" text-anchor="{anchor}" font-weight="{weight}" '
                          f'fill="{color}">{words}</text>')

    def cell(self, x, y, label, fill, wide=1):
        self.parts.append(f'<rect x="{x}" y="{y}" width="{CELL * wide}" height="{HEIGHT}" fill="{fill}" '
                          f'stroke="{LINE}"/>')
        self.text(x + CELL * wide / 2, y + 20, label, 12, "middle")

    def line(self, x1, y1, x2, y2, dash="", arrow=False):
        self.parts.append(f'<line x1="{x1}" y1="{y1}" x2="{x2}" y2="{y2}" stroke="{LINE}" stroke-dasharray="{dash}"'
                          + (' marker-end="url(#arrow)"' if arrow else "") + "/>")

    def array(self, x, y, first, num, forms, labels=None):
        """num elements from cell `first` on, coloured by the letters of forms: e, a lane group's L, or -."""
        for i in range(num):
            fill = {"e": ELEMENT, "L": LANE, "-": OTHER}[forms[i]]
            self.cell(x + (first + i) * CELL, y, str(labels[i] if labels else i), fill)

    def save(self):
        width, height = self.size
        marker = ('<defs><marker id="arrow" viewBox="0 0 8 8" refX="7" refY="4" markerWidth="7" markerHeight="7" '
                  f'orient="auto"><path d="M0,0 L8,4 L0,8 z" fill="{LINE}"/></marker></defs>')
        svg = "\n".join([f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" '
                         f'height="{height}" font-family="sans-serif">', marker,
                         f'<rect width="{width}" height="{height}" fill="white"/>', *self.parts, "</svg>", ""])
        (root / f"docs/{self.name}.svg").write_text(svg)


def boundaries(p, x, top, bottom, count, addresses=False):
    for k in range(count):
        p.line(x + 4 * k * CELL, top, x + 4 * k * CELL, bottom, "4 3")
        if addresses:
            p.text(x + 4 * k * CELL, top - 6, f"...{16 * k:02x}", 12, "middle", color="#606060")


def legend(p, x, y, groups="lane formula, four at a time"):
    p.cell(x, y, "", ELEMENT)
    p.text(x + CELL + 8, y + 20, "element formula")
    p.cell(x + 170, y, "", LANE)
    p.text(x + 170 + CELL + 8, y + 20, groups)


def phases():
    p = Picture("phases", 860, 330)
    x = 90
    boundaries(p, x, 34, 270, 5, True)
    p.text(x + 16.9 * CELL, 28, "16-byte boundaries", 12, color="#606060")
    p.text(20, 70, "d", 16, weight="bold")
    p.text(20, 120, "a", 16, weight="bold")
    forms = "ee" + "L" * 8 + "eee"
    p.array(x, 50, 2, 13, forms)
    p.array(x, 100, 2, 13, forms)
    for first, last, words in ((2, 4, "lead-in"), (4, 12, "lane groups"), (12, 15, "tail")):
        p.line(x + first * CELL + 3, 140, x + last * CELL - 3, 140)
        p.text(x + (first + last) / 2 * CELL, 156, words, 13, "middle")
    p.text(x + 16 * CELL + 14, 84, "both phase 2:")
    p.text(x + 16 * CELL + 14, 102, "aligned route")
    p.text(20, 195, "d", 16, weight="bold")
    p.text(20, 245, "b", 16, weight="bold")
    p.array(x, 175, 2, 13, "e" * 13)
    p.array(x, 225, 1, 13, "e" * 13)
    p.text(x + 16 * CELL + 14, 209, "phases 2 and 3:")
    p.text(x + 16 * CELL + 14, 227, "fallback route")
    legend(p, x, 288)
    p.save()


def slices():
    p = Picture("slices", 840, 320)
    x = 120
    boundaries(p, x, 20, 262, 5)
    whole = "ee" + "L" * 16
    p.text(14, 50, "one call", weight="bold")
    p.array(x, 30, 2, 18, whole)
    p.text(14, 110, "cut at 10", weight="bold")
    p.text(14, 128, "(a boundary)", 12)
    p.array(x, 95, 2, 8 + 2, whole)
    p.array(x + 8, 95, 12, 8, "L" * 8, range(10, 18))
    p.text(x + 2 * CELL, 146, "slice 1", 12)
    p.text(x + 12 * CELL + 8, 146, "slice 2: the same forms as in one call", 12)
    p.text(14, 195, "cut at 8", weight="bold")
    p.array(x, 180, 2, 8, "eeLLLLee")
    p.array(x + 8, 180, 10, 10, "eeLLLLLLLL"[:10], range(8, 18))
    p.text(x + 2 * CELL, 231, "slice 1", 12)
    p.text(x + 10 * CELL + 8, 231, "slice 2: 6, 7, 8 and 9 have changed their form", 12, color="#b00000")
    p.parts.append(f'<rect x="{x + 8 * CELL - 2}" y="176" width="{4 * CELL + 12}" height="{HEIGHT + 8}" fill="none" '
                   f'stroke="#b00000" stroke-width="2.5"/>')
    legend(p, x, 276)
    p.save()


def overlap():
    p = Picture("overlap", 760, 300)
    x = 300
    rows = ((20, 0, "d is a: each element is read,", "then written in its place"),
            (105, -1, "d one before a: read ahead of the", "writes, as if the arrays were apart"),
            (190, 1, "d one behind a: each element reads", "the result before it (running sums)"))
    for y, shift, first, second in rows:
        p.text(14, y + 24, first)
        p.text(14, y + 42, second)
        p.text(x - 24, y + 19, "a", 14, "middle", "bold")
        p.text(x - 24, y + 64, "d", 14, "middle", "bold")
        for i in range(6):
            p.cell(x + (1 + i) * CELL * 1.6, y, f"a{i}", OTHER)
            p.cell(x + (1 + i + shift) * CELL * 1.6, y + 44, f"d{i}", ELEMENT)
            p.line(x + (1 + i) * CELL * 1.6 + CELL / 2, y + HEIGHT, x + (1 + i + shift) * CELL * 1.6 + CELL / 2, y + 43,
                   arrow=True)
    p.text(14, 288, "Cells in one column are the same memory. Work goes from left to right.", 12, color="#606060")
    p.save()


def speed():
    import matplotlib

    matplotlib.use("svg")
    import matplotlib.pyplot as plt
    plt.rcParams.update({"svg.hashsalt": "zel", "font.size": 9, "axes.grid": True, "grid.alpha": 0.3})

    def medians(file):
        """time[kernel][who][elements] in ns, bandwidth likewise in GB/s; and the caches."""
        report = json.loads((root / "out" / file).read_text())
        time = collections.defaultdict(lambda: collections.defaultdict(dict))
        bandwidth = collections.defaultdict(lambda: collections.defaultdict(dict))
        for b in report["benchmarks"]:
            if b.get("aggregate_name") == "median":
                kernel, who, elements = b["run_name"].split("/")
                time[kernel][who][int(elements)] = b["cpu_time"]
                bandwidth[kernel][who][int(elements)] = b["bytes_per_second"] / 1e9
        return time, bandwidth, report["context"]["caches"]

    time, bandwidth, caches = medians("bench.json")
    wide = medians("bench-wide.json")[0]
    caches = [(f"L{c['level']}", c["size"]) for c in caches if c["type"] in ("Data", "Unified")]

    def save(name, figure):
        figure.tight_layout()
        figure.savefig(root / f"docs/speed-{name}.svg", metadata={"Date": None})

    figure, axes = plt.subplots(figsize=(7, 4))
    for kernel in ("add", "mul value", "div", "set", "dot", "wpoint 8"):
        points = sorted(bandwidth[kernel]["set"].items())
        axes.plot([n * 4 for n, _ in points], [g for _, g in points], marker=".", label=kernel)
    for name, size in caches:
        axes.axvline(size, color="gray", linestyle=":")
        axes.text(size, axes.get_ylim()[1], name, ha="right", va="top", color="gray")
    axes.set(xscale="log", xlabel="bytes of one float array", ylabel="GB/s read and written", title="Bandwidth, flag set")
    axes.legend()
    save("bandwidth", figure)

    for name, times, plain, highway, title in (
            ("peers", time, "plain", "Highway", "The plain copy, better flag, against its best peer"),
            ("wide", wide, "native", "Highway native", "The copy for this machine, better flag, against its best peer")):
        figure, axes = plt.subplots(figsize=(7, 9))
        peers = (plain, "Eigen", "VOLK", highway)
        kernels = sorted((k for k in times if set(times[k]) & set(peers)), reverse=True)
        for n, offset, color in ((2048, 0.27, "tab:blue"), (1 << 20, 0, "tab:orange"), (1 << 25, -0.27, "tab:green")):
            ratios = [min(times[k][w][n] for w in peers if n in times[k][w]) /
                      min(times[k][w][n] for w in ("set", "clear")) for k in kernels]
            axes.barh([i + offset for i in range(len(kernels))], ratios, height=0.27, color=color, label=f"{n} elements")
        axes.axvline(1, color="black", linewidth=0.8)
        axes.set(yticks=range(len(kernels)), yticklabels=kernels, xscale="log", ylim=(-0.6, len(kernels) - 0.4), title=title,
                 xlabel="times as fast as the best of " +
                 f"a plain loop{' for the machine' * (plain == 'native')}, Eigen, VOLK and Highway")
        axes.set_xticks([0.5, 1, 2, 5, 10], ["0.5", "1", "2", "5", "10"])
        axes.minorticks_off()
        axes.legend()
        save(name, figure)

    figure, axes = plt.subplots(figsize=(7, 6))
    kernels = sorted((k for k in time if "straight" in time[k]), reverse=True)
    for n, offset, color in ((2048, 0.2, "tab:blue"), (1 << 16, -0.2, "tab:orange")):
        axes.barh([i + offset for i in range(len(kernels))], [time[k]["straight"][n] / time[k]["set"][n] for k in kernels],
                  height=0.4, color=color, label=f"{n} elements")
    axes.axvline(1, color="black", linewidth=0.8)
    axes.set(yticks=range(len(kernels)), yticklabels=kernels, title="Lane routes against one lane group per step",
             xlabel="times as fast as the straight loop of intrinsics")
    axes.legend(loc="lower right")
    save("lanes", figure)

    figure, axes = plt.subplots(figsize=(7, 4))
    for kernel in ("add", "clamp", "sqrt", "floor", "dot"):
        points = sorted((n, t) for n, t in time[kernel]["set"].items() if n <= 64)
        axes.plot([n for n, _ in points], [t for _, t in points], marker=".", label=kernel)
    points = sorted((n, t) for n, t in time["add"]["plain"].items() if n <= 64)
    axes.plot([n for n, _ in points], [t for _, t in points], "k:", label="add, plain loop")
    axes.set(xlabel="elements", ylabel="ns a call", title="Short calls, flag set", ylim=(0, None))
    axes.legend()
    save("calls", figure)

    figure, axes = plt.subplots(figsize=(7, 7))
    kernels = sorted(time, reverse=True)
    axes.barh(range(len(kernels)), [time[k]["apart"][2048] / time[k]["set"][2048] for k in kernels])
    axes.axvline(1, color="black", linewidth=0.8)
    axes.set(yticks=range(len(kernels)), yticklabels=kernels, xscale="log", xlabel="times the time of equal phases, 2048 elements",
             title="What phases apart cost, flag set")
    save("phases", figure)


if sys.argv[1:] == ["--speed"]:
    speed()
else:
    phases()
    slices()
    overlap()
