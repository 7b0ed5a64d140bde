#!/usr/bin/env python3
"""Draws CPU time over tracks as an SVG on standard output, from the rows of the table in README.md.

    bench/chart.py > bench/chart.svg
"""

import re
import sys
from pathlib import Path

WIDTH, HEIGHT = 640, 360
LEFT, RIGHT, TOP, BOTTOM = 56, 530, 44, 312  # of the plot; the names of the lines stand to its right
COLORS = {"itunes-import": "#0b6e4f", "floor": "#6b7280", "plistlib": "#b45309"}
ROW = re.compile(r"\| CPU time, ([\d,]+) tracks \| ([\d.]+ m?s) \| (\w+) ([\d.]+ m?s) \|")


def seconds(text):
    value, unit = text.split()
    return float(value) / (1000 if unit == "ms" else 1)


def read_lines(table):
    """Returns a line of points (tracks, seconds) a program; every line begins at nothing."""
    lines = {program: {0: 0.0} for program in COLORS}
    for tracks, ours, other, theirs in ROW.findall(table):
        lines["itunes-import"][int(tracks.replace(",", ""))] = seconds(ours)
        lines[other][int(tracks.replace(",", ""))] = seconds(theirs)
    return {program: sorted(points.items()) for program, points in lines.items() if len(points) > 1}


def ticks(greatest):
    """Four to eight round numbers, the last at or above the greatest value."""
    step = next(step for power in range(7) for step in (10**power, 2 * 10**power, 5 * 10**power) if greatest <= 8 * step)
    return range(0, int(-(-greatest // step)) * step + 1, step)


def text(x, y, anchor, words, more=""):
    return f'<text x="{x:.0f}" y="{y:.0f}" text-anchor="{anchor}"{more}>{words}</text>'


def draw(lines):
    across, up = (ticks(max(point[axis] for line in lines.values() for point in line)) for axis in (0, 1))
    place_x = lambda tracks: LEFT + (RIGHT - LEFT) * tracks / across[-1]
    place_y = lambda time: BOTTOM - (BOTTOM - TOP) * time / up[-1]
    yield (
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
        'font-family="sans-serif" font-size="12" fill="#374151">'
    )
    yield f'<rect width="{WIDTH}" height="{HEIGHT}" fill="#ffffff"/>'
    yield text(LEFT, 24, "start", "CPU time of an import, in seconds", ' font-size="14" font-weight="bold"')
    for time in up:
        y = place_y(time)
        yield f'<path d="M{LEFT} {y:.1f}H{RIGHT}" stroke="#e5e7eb"/>' + text(LEFT - 8, y + 4, "end", time)
    for tracks in across:
        yield text(place_x(tracks), BOTTOM + 20, "middle", f"{tracks:,}")
    yield text((LEFT + RIGHT) / 2, BOTTOM + 40, "middle", "tracks")
    lowest_name = HEIGHT
    for program, points in sorted(lines.items(), key=lambda line: line[1][-1][1]):
        color = COLORS[program]
        places = [(place_x(tracks), place_y(time)) for tracks, time in points]
        path = " ".join(f"{x:.1f},{y:.1f}" for x, y in places)
        yield f'<polyline points="{path}" fill="none" stroke="{color}" stroke-width="2"/>'
        yield from (f'<circle cx="{x:.1f}" cy="{y:.1f}" r="3.5" fill="{color}"/>' for x, y in places[1:])
        lowest_name = min(places[-1][1] + 4, lowest_name - 16)  # names of lines that end together stay apart
        yield text(places[-1][0] + 10, lowest_name, "start", program, f' fill="{color}"')
    yield "</svg>"


def main():
    lines = read_lines(Path(__file__).with_name("README.md").read_text())
    if not lines:
        sys.exit("chart.py: README.md has no rows of CPU time")
    print("\n".join(draw(lines)))


if __name__ == "__main__":
    main()
