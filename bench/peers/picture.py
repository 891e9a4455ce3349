#!/usr/bin/env python3
"""Draws what a request costs against how many are outstanding, from what run.py has measured.

usage: picture.py RESULTS.json PICTURE.svg
"""

import html
import json
import math
import pathlib
import sys

WIDTH, HEIGHT = 460, 400
LEFT, RIGHT, TOP, BOTTOM = 52, 128, 44, 46
LABEL_STEP = 14
COLOURS = {
    "plain TCP": "#8c959f", "Beast, one thread": "#0969da", "libwebsockets": "#1a7f37", "Qt WebSockets": "#bf8700",
    "Node ws": "#8250df", "bare": "#57606a", "bare + JSON": "#24292f", "library": "#cf222e",
}


class Scale:
    """Logarithmic, from a power of two below the least to one above the most."""

    def __init__(self, values, begin, end):
        self.low, self.high = math.floor(math.log2(min(values))), math.ceil(math.log2(max(values)))
        self.begin, self.end = begin, end

    def at(self, value):
        return self.begin + (math.log2(value) - self.low) / max(self.high - self.low, 1) * (self.end - self.begin)

    def ticks(self):
        return [2.0 ** power for power in range(self.low, self.high + 1)]


def text(x, y, words, **attributes):
    extra = "".join(f' {name.replace("_", "-")}="{value}"' for name, value in attributes.items())
    return f'<text x="{x:.1f}" y="{y:.1f}"{extra}>{html.escape(words)}</text>'


def spread(labels):
    """Moves labels that would lie on each other apart; they are (y, name), from the highest down."""
    placed = []
    for y, name in sorted(labels):
        placed.append((max(y, placed[-1][0] + LABEL_STEP) if placed else y, name))
    return placed


def panel(measured, costs, left):
    loads = [load["outstanding"] for load in measured["loads"]]
    across = Scale(loads, left + LEFT, left + WIDTH - RIGHT)
    up = Scale(costs, HEIGHT - BOTTOM, TOP)
    parts = [text(left + LEFT, 24, measured["place"], font_weight="bold"),
             text((across.begin + across.end) / 2, HEIGHT - 10, "requests outstanding", text_anchor="middle")]
    for tick in up.ticks():
        y = up.at(tick)
        parts.append(f'<line x1="{across.begin}" x2="{across.end}" y1="{y:.1f}" y2="{y:.1f}" stroke="#d8dee4"/>')
        parts.append(text(across.begin - 6, y + 4, f"{tick:g}", text_anchor="end"))
    for count in loads:
        parts.append(text(across.at(count), HEIGHT - BOTTOM + 18, f"{count:,}", text_anchor="middle"))
    ends = []
    for name, colour in COLOURS.items():
        points = [(across.at(load["outstanding"]), up.at(load["peers"][name]["cpu_us"]))
                  for load in measured["loads"] if name in load["peers"]]
        if not points:
            continue
        thick = 3 if name == "library" else 1.5
        way = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
        parts.append(f'<polyline points="{way}" fill="none" stroke="{colour}" stroke-width="{thick}"/>')
        parts += [f'<circle cx="{x:.1f}" cy="{y:.1f}" r="{thick + 1}" fill="{colour}"/>' for x, y in points]
        ends.append((points[-1][1] + 4, name))
    for y, name in spread(ends):
        weight = "bold" if name == "library" else "normal"
        parts.append(text(across.end + 10, y, name, fill=COLOURS[name], font_weight=weight))
    return parts


def draw(results):
    costs = [found["cpu_us"] for measured in results["peers"] for load in measured["loads"] for found in load["peers"].values()]
    parts = []
    for number, measured in enumerate(results["peers"]):
        parts += panel(measured, costs, number * WIDTH)
    width = WIDTH * len(results["peers"])
    parts.append(text(12, TOP - 20, "µs"))
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {HEIGHT}" width="{width}" height="{HEIGHT}" '
            f'font-family="sans-serif" font-size="12" fill="#24292f">\n'
            f'<title>Processor time a request against requests outstanding</title>\n'
            f'<rect width="{width}" height="{HEIGHT}" fill="#ffffff"/>\n' + "\n".join(parts) + "\n</svg>\n")


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    results = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))
    if "peers" not in results:
        sys.exit("the peers have not been measured")
    pathlib.Path(sys.argv[2]).write_text(draw(results), encoding="utf-8")


if __name__ == "__main__":
    main()
