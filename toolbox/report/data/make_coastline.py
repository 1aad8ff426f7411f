#!/usr/bin/env python3
"""Makes coastline.txt, the land of the map page, from Natural Earth's 1:50m land polygons.

Natural Earth (naturalearthdata.com) is in the public domain. Its polygons are taken as TopoJSON from
the npm package world-atlas 2.0.2:

    npm pack world-atlas@2.0.2 && tar xzf world-atlas-2.0.2.tgz
    make_coastline.py package/land-50m.json coastline.txt

Each line is one ring, in hundredths of a degree: the first point as "longitude latitude", each
further point as the difference from the one before it. Land lies to the right of a ring. Points
that lie closer than 0.03 degrees to the line between their neighbours are left out, and so are
islands below 0.1 degrees.
"""

import json
import math
import sys

TOLERANCE = 0.03
SMALLEST = 0.1


def decoded_arcs(topology):
    scale, shift = topology["transform"]["scale"], topology["transform"]["translate"]
    for arc in topology["arcs"]:
        x = y = 0
        points = []
        for dx, dy in arc:
            x, y = x + dx, y + dy
            points.append((x * scale[0] + shift[0], y * scale[1] + shift[1]))
        yield points


def rings_of(topology):
    arcs = list(decoded_arcs(topology))
    for geometry in topology["objects"]["land"]["geometries"]:
        for polygon in geometry["arcs"]:
            for ring in polygon:
                points = []
                for index in ring:
                    arc = arcs[index] if index >= 0 else arcs[~index][::-1]
                    points += arc[1:] if points else arc
                yield points


def distance(point, start, end):
    """Returns the distance from a point to a line in degrees of arc."""
    squeeze = math.cos(math.radians(point[1]))

    def turn(a, b):
        return math.remainder(a - b, 360.0) * squeeze

    px, py = turn(point[0], start[0]), point[1] - start[1]
    dx, dy = turn(end[0], start[0]), end[1] - start[1]
    length = math.hypot(dx, dy)
    return math.hypot(px, py) if length == 0 else abs(px * dy - py * dx) / length


def simplified(points):
    """Simplifies a line by the method of Douglas and Peucker, without recursion."""
    keep = [False] * len(points)
    keep[0] = keep[-1] = True
    spans = [(0, len(points) - 1)]
    while spans:
        first, last = spans.pop()
        worst, at = 0.0, None
        for i in range(first + 1, last):
            off = distance(points[i], points[first], points[last])
            if off > worst:
                worst, at = off, i
        if worst > TOLERANCE:
            keep[at] = True
            spans += [(first, at), (at, last)]
    return [point for point, kept in zip(points, keep) if kept]


def main():
    source, target = sys.argv[1:]
    with open(source, encoding="utf-8") as file:
        topology = json.load(file)
    lines = []
    for ring in rings_of(topology):
        width = max(p[0] for p in ring) - min(p[0] for p in ring)
        height = max(p[1] for p in ring) - min(p[1] for p in ring)
        middle = len(ring) // 2
        points = simplified(ring[: middle + 1])[:-1] + simplified(ring[middle:])
        if max(width, height) < SMALLEST or len(points) < 4:
            continue
        numbers, before = [], (0, 0)
        for longitude, latitude in points:
            now = (round(longitude * 100), round(latitude * 100))
            numbers += [now[0] - before[0], now[1] - before[1]]
            before = now
        lines.append(" ".join(map(str, numbers)))
    with open(target, "w", encoding="ascii") as file:
        file.write("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
