#!/usr/bin/env python3
"""Draws the pictures of the guides into docs/: docs/figures.py"""
import pathlib

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
        (pathlib.Path(__file__).parent / f"{self.name}.svg").write_text(svg)


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


phases()
slices()
overlap()
