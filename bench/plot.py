#!/usr/bin/env python3
"""Draws how cost grows, one SVG a subject, from the lines subject,size,seconds of growth.csv.

usage: plot.py GROWTH.csv FOLDER

Both axes are logarithmic; the dashed line is where cost grows as the size does.
"""
import csv
import math
import pathlib
import sys

WIDTH, HEIGHT, MARGIN = 560, 340, 60
LABELS = {
    "media": "media load: bytes",
    "message": "text command: characters",
    "parameters": "response into the map: parameters",
    "files": "list of files: files",
}


def scaled(value, low, high, start, end):
    return start + (math.log(value) - math.log(low)) / (math.log(high) - math.log(low)) * (end - start)


def slope(points):
    """Growth of cost in powers of size, over the upper half of the sizes (least squares)."""
    upper = points[len(points) // 2 :]
    xs = [math.log(x) for x, _ in upper]
    ys = [math.log(y) for _, y in upper]
    x_mean, y_mean = sum(xs) / len(xs), sum(ys) / len(ys)
    return sum((x - x_mean) * (y - y_mean) for x, y in zip(xs, ys)) / sum((x - x_mean) ** 2 for x in xs)


def svg(subject, points):
    low_x, high_x = points[0][0], points[-1][0]
    low_y = min(y for _, y in points) / 2
    high_y = max(y for _, y in points) * 2

    def at(x, y):
        return (
            f"{scaled(x, low_x, high_x, MARGIN, WIDTH - 20):.1f},"
            f"{scaled(max(y, low_y), low_y, high_y, HEIGHT - MARGIN, 30):.1f}"
        )

    last_x, last_y = points[-1]
    dashed = [(x, last_y * x / last_x) for x, _ in points if last_y * x / last_x >= low_y]
    dots = "".join(
        '<circle cx="{}" cy="{}" r="3" fill="#1f5fa8"/>'.format(*at(x, y).split(",")) for x, y in points
    )
    labels = "".join(
        f'<text x="{at(x, low_y).split(",")[0]}" y="{HEIGHT - MARGIN + 18}" text-anchor="middle">{x:.0f}</text>'
        for x, _ in points
    )
    heights = "".join(
        f'<text x="{MARGIN - 6}" y="{at(low_x, y).split(",")[1]}" text-anchor="end">{y * 1e6:.4g}</text>'
        for y in (points[0][1], last_y)
    )
    return (
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{HEIGHT}" '
        'font-family="sans-serif" font-size="11">\n'
        f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>\n'
        f'<path d="M{MARGIN} 30V{HEIGHT - MARGIN}H{WIDTH - 20}" fill="none" stroke="black"/>\n'
        f'<polyline points="{" ".join(at(x, y) for x, y in dashed)}" fill="none" stroke="#999" '
        'stroke-dasharray="4 4"/>\n'
        f'<polyline points="{" ".join(at(x, y) for x, y in points)}" fill="none" stroke="#1f5fa8"/>\n'
        f"{dots}{labels}{heights}\n"
        f'<text x="{WIDTH / 2}" y="{HEIGHT - 15}" text-anchor="middle">{LABELS[subject]} '
        f"(CPU in microseconds; power {slope(points):.2f} over the upper half)</text>\n"
        "</svg>\n"
    )


def main():
    growth, folder = sys.argv[1:]
    subjects = {}
    with open(growth, newline="", encoding="utf-8") as lines:
        for line in csv.DictReader(lines):
            subjects.setdefault(line["subject"], []).append((float(line["size"]), float(line["cpu_seconds"])))
    for subject, points in subjects.items():
        pathlib.Path(folder, f"{subject}.svg").write_text(svg(subject, points), encoding="utf-8")
        print(f"{subject}: power {slope(points):.3f}")


main()
