"""Plots the cost per entry of loading and copying a list over the size of the list, as SVG."""

import math

LINES = [  # benchmark, its label in the picture, colour
    ("copyReference", "copy, reference", "#b03a2e"),
    ("loadAndCopy", "load and copy", "#1f618d"),
    ("load", "load", "#5dade2"),
    ("fromJson", "QJsonDocument::fromJson alone", "#7d8a8c"),
    ("copy", "copy", "#1e8449"),
    ("simdjson", "simdjson to structures", "#9a7d0a"),
]
WIDTH, HEIGHT = 720, 400
LEFT, RIGHT, TOP, BOTTOM = 60, 250, 40, 50


def plot(medians):
    """`medians` holds nanoseconds per entry by "benchmark/size"."""
    series = []
    for name, label, colour in LINES:
        points = sorted((int(key.split("/")[1]), value / 1000) for key, value in medians.items()
                        if key.startswith(name + "/") and key.split("/")[1].isdigit())
        if points:
            series.append((label, colour, points))
    sizes = sorted({size for _, _, points in series for size, _ in points})
    highest = max(cost for _, _, points in series for _, cost in points)
    step = next(step for step in (0.5, 1, 2, 5, 10, 20, 50) if highest / step <= 9)
    top = math.ceil(highest / step) * step

    def x(size):
        return LEFT + (WIDTH - LEFT - RIGHT) * math.log(size / sizes[0]) / math.log(sizes[-1] / sizes[0])

    def y(cost):
        return HEIGHT - BOTTOM - (HEIGHT - TOP - BOTTOM) * cost / top

    out = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" font-family="sans-serif" '
           'font-size="12">', f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>',
           f'<text x="{LEFT}" y="22" font-size="14">List path: processor time per entry, in µs</text>']
    for i in range(round(top / step) + 1):
        out.append(f'<line x1="{LEFT}" x2="{WIDTH - RIGHT}" y1="{y(i * step):.1f}" y2="{y(i * step):.1f}" '
                   'stroke="#dddddd"/>')
        out.append(f'<text x="{LEFT - 8}" y="{y(i * step) + 4:.1f}" text-anchor="end">{i * step:g}</text>')
    for size in sizes:
        out.append(f'<text x="{x(size):.1f}" y="{HEIGHT - BOTTOM + 18}" text-anchor="middle">{size:,}</text>')
    out.append(f'<text x="{(LEFT + WIDTH - RIGHT) / 2:.1f}" y="{HEIGHT - 10}" text-anchor="middle">'
               'entries in the list</text>')
    places = []
    for label, colour, points in sorted(series, key=lambda one: one[2][-1][1]):
        path = " ".join(f"{x(size):.1f},{y(cost):.1f}" for size, cost in points)
        out.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2"/>')
        out.extend(f'<circle cx="{x(size):.1f}" cy="{y(cost):.1f}" r="3" fill="{colour}"/>' for size, cost in points)
        place = min([y(points[-1][1])] + [place - 16 for place in places])  # labels do not overlap
        places.append(place)
        out.append(f'<text x="{WIDTH - RIGHT + 12}" y="{place + 4:.1f}" fill="{colour}">{label}</text>')
    return "\n".join(out + ["</svg>"]) + "\n"
