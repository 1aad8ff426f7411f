#!/usr/bin/env python3
"""Draws docs/geometry.svg: the range-Doppler geometry in space and in the Doppler plane.

Lengths are schematic: the Earth has radius 1, the sensor flies at 1.32. The points where the range
circles meet the Earth are computed.
"""

import math
import pathlib

from svg import Canvas

EARTH = "#2f6fb0"
TRACK = "#8a4fbf"
RANGE = "#c8501e"
PLANE = "#3c9a5f"
SENSOR_RADIUS = 1.32
SLANT_RANGES = {"near": 0.40, "far": 0.56}


def add(a, b, scale=1.0):
    return tuple(x + scale * y for x, y in zip(a, b))


def ground_point(frame, slant_range):
    """Returns the point on the right where the range circle in the zero-Doppler plane meets the
    Earth."""
    sensor, down, _, right = frame
    p = (SENSOR_RADIUS**2 + slant_range**2 - 1.0) / (2.0 * SENSOR_RADIUS)
    w = math.sqrt(slant_range**2 - p**2)
    return add(add(sensor, down, p), right, w)


def frame_at(angle):
    """Returns the sensor, u (down), t (along track) and n (right) of a circular orbit at an
    angle."""
    sensor = (SENSOR_RADIUS * math.sin(angle), 0.0, SENSOR_RADIUS * math.cos(angle))
    down = (-math.sin(angle), 0.0, -math.cos(angle))
    along = (math.cos(angle), 0.0, -math.sin(angle))
    return sensor, down, along, (0.0, -1.0, 0.0)


def draw_space(canvas):
    """Draws the left panel: orbit, Doppler plane, traces of the range spheres and swath, from the
    side."""
    azimuth, elevation = math.radians(48.0), math.radians(16.0)

    def project(point):
        x = point[0] * math.cos(azimuth) + point[1] * math.sin(azimuth)
        depth = point[1] * math.cos(azimuth) - point[0] * math.sin(azimuth)
        y = point[2] * math.cos(elevation) + depth * math.sin(elevation)
        return (285 + 330 * x, 560 - 330 * y)

    rim = [math.radians(a) for a in range(29, 153, 2)]
    earth = [(285 + 330 * math.cos(a), 560 - 330 * math.sin(a)) for a in rim]
    earth = [(x, y) for x, y in earth if x < 480]
    canvas.path([(480, 560)] + earth + [(0, 560)], "none", "#eaf2fa", close=True)
    canvas.path(earth, EARTH, width=2)
    angles = [math.radians(a) for a in range(-30, 31, 2)]
    swath = {
        name: [project(ground_point(frame_at(a), slant_range)) for a in angles[5:-5]]
        for name, slant_range in SLANT_RANGES.items()
    }
    canvas.path(swath["near"] + swath["far"][::-1], RANGE, "#f7dccf", 1, close=True, opacity=0.8)

    frame = frame_at(0.0)
    sensor, down, along, right = frame
    corners = [(-0.12, -0.12), (0.50, -0.12), (0.50, 0.56), (-0.12, 0.56)]
    plane = [project(add(add(sensor, down, p), right, w)) for p, w in corners]
    canvas.path(plane, PLANE, "#dff1e5", 1.2, "6 4", close=True, opacity=0.75)
    for name, slant_range in SLANT_RANGES.items():
        arc = []
        for step in range(0, 41):
            turn = math.radians(20.0 + 1.6 * step)
            arc.append(
                project(
                    add(
                        add(sensor, down, slant_range * math.cos(turn)),
                        right,
                        slant_range * math.sin(turn),
                    )
                )
            )
        canvas.path(arc, RANGE, width=1.2, dash="3 3")
        ground = project(ground_point(frame, slant_range))
        canvas.path([project(sensor), ground], RANGE, width=1.6)
        canvas.dot(ground, RANGE)
        canvas.text((ground[0] + 9, ground[1] + 5), name, 14, RANGE)

    canvas.path([project(frame_at(a)[0]) for a in angles], TRACK, width=1.6)
    end = project(frame_at(angles[-1])[0])
    canvas.arrow(project(frame_at(angles[-2])[0]), end, TRACK)
    canvas.text((end[0] - 26, end[1] - 14), "orbit", 14, TRACK)
    at = project(sensor)
    for vector, label, shift in (
        (down, "u", (-16, 2)),
        (along, "t", (2, -9)),
        (right, "n", (-14, 2)),
    ):
        tip = project(add(sensor, vector, 0.26))
        canvas.arrow(at, tip, TRACK if label == "t" else "#1f2933", 2.2)
        canvas.text((tip[0] + shift[0], tip[1] + shift[1]), label, 16, style="italic")
    canvas.dot(at, radius=5)
    canvas.text((at[0] - 10, at[1] - 12), "S", 16, anchor="end", weight="bold")
    canvas.text((plane[2][0] + 4, plane[2][1] + 16), "plane of zero Doppler", 14, PLANE)
    canvas.text((270, 530), "Earth", 16, EARTH, "middle")
    far = swath["far"]
    canvas.text((far[0][0] - 8, far[0][1] + 18), "first line", 13, RANGE, "middle")
    canvas.text((swath["near"][-1][0] + 6, swath["near"][-1][1] + 16), "last line", 13, RANGE)


def draw_plane(canvas):
    """Draws the right panel: the Doppler plane, which contains r, R and the components p and w."""
    scale, centre = 470.0, (600.0, 780.0)
    sensor = (centre[0], centre[1] - SENSOR_RADIUS * scale)

    def place(p, w):
        return (sensor[0] + scale * w, sensor[1] + scale * p)

    arc = [math.radians(a / 2.0) for a in range(-22, 71)]
    earth = [(centre[0] + scale * math.sin(a), centre[1] - scale * math.cos(a)) for a in arc]
    canvas.path(earth + [(earth[-1][0], 560), (earth[0][0], 560)], "none", "#eaf2fa", close=True)
    canvas.path(earth, EARTH, width=2)
    frame = frame_at(0.0)
    for name, slant_range in SLANT_RANGES.items():
        turns = [math.radians(a) for a in range(18, 96, 2)]
        circle = [place(slant_range * math.cos(a), slant_range * math.sin(a)) for a in turns]
        canvas.path(circle, RANGE, width=1.2, dash="3 3")
    near = ground_point(frame, SLANT_RANGES["near"])
    near_at = place(SENSOR_RADIUS - near[2], -near[1])
    far = ground_point(frame, SLANT_RANGES["far"])
    p, w = SENSOR_RADIUS - far[2], -far[1]
    ground = place(p, w)
    canvas.path([sensor, near_at], RANGE, width=1.4)
    canvas.dot(near_at, RANGE)
    canvas.text((near_at[0] - 4, near_at[1] + 20), "near", 14, RANGE, "middle")
    canvas.arrow(sensor, ground, RANGE, 2.2)
    canvas.text((ground[0] + 10, ground[1] + 22), "G (far)", 15, RANGE, weight="bold")

    foot = place(p, 0.0)
    canvas.path([sensor, (centre[0], 560)], width=1.1, dash="2 4")
    canvas.path([foot, ground], width=1.3, dash="7 3")
    canvas.arrow(sensor, (foot[0], foot[1] - 3), width=2)
    canvas.text((sensor[0] - 12, (sensor[1] + foot[1]) / 2), "p", 16, anchor="end", style="italic")
    canvas.text(((foot[0] + ground[0]) / 2 - 30, foot[1] + 18), "w", 16, style="italic")
    middle = ((sensor[0] + ground[0]) / 2, (sensor[1] + ground[1]) / 2)
    canvas.text((middle[0] - 8, middle[1] - 42), "R = c \u03c4 / 2", 15, RANGE)
    inward = (centre[0] - ground[0], centre[1] - ground[1])
    length = math.hypot(*inward)
    normal = (ground[0] - 125 * inward[0] / length, ground[1] - 125 * inward[1] / length)
    canvas.arrow(ground, normal, EARTH, 1.6)
    canvas.path([ground, (ground[0] + 0.42 * inward[0], ground[1] + 0.42 * inward[1])], EARTH, dash="5 4")
    canvas.text((ground[0] + 0.3 * inward[0] + 8, ground[1] + 0.3 * inward[1] + 4), "r", 16, EARTH, style="italic")
    canvas.text((normal[0] + 6, normal[1] - 9), "ellipsoid normal", 14, EARTH, "middle")

    to_normal = math.atan2(-inward[1], -inward[0])
    to_sensor = math.atan2(sensor[1] - ground[1], sensor[0] - ground[0])
    if to_sensor > to_normal:
        to_sensor -= 2.0 * math.pi
    sweep = [to_sensor + (to_normal - to_sensor) * k / 20.0 for k in range(21)]
    canvas.path([(ground[0] + 46 * math.cos(a), ground[1] + 46 * math.sin(a)) for a in sweep], width=1.4)
    canvas.text((ground[0] + 4, ground[1] - 54), "incidence", 14, anchor="middle")

    canvas.arrow(sensor, (sensor[0], sensor[1] + 62), width=2.6)
    canvas.text((sensor[0] + 8, sensor[1] + 60), "u", 16, style="italic")
    canvas.arrow(sensor, (sensor[0] + 90, sensor[1]), width=2.6)
    canvas.text((sensor[0] + 94, sensor[1] + 5), "n", 16, style="italic")
    canvas.circle(sensor, 9, TRACK, "white", 2)
    for slope in (1, -1):
        canvas.path(
            [(sensor[0] - 6, sensor[1] - 6 * slope), (sensor[0] + 6, sensor[1] + 6 * slope)], TRACK
        )
    canvas.text((sensor[0] - 16, sensor[1] - 2), "S", 16, anchor="end", weight="bold")
    canvas.text((sensor[0], sensor[1] - 22), "t, away from you", 13, TRACK, "middle")
    canvas.text((earth[0][0] + 4, 545), "raised ellipsoid", 14, EARTH)


def main():
    canvas = Canvas(920, 560, "Range-Doppler geometry in space and in the Doppler plane")
    canvas.text((20, 30), "In space", 17, weight="bold")
    canvas.text((500, 30), "In the plane of zero Doppler", 17, weight="bold")
    draw_space(canvas)
    canvas.path([(480, 0), (480, 560)], "#cfd6dd", width=1)
    draw_plane(canvas)
    canvas.save(pathlib.Path(__file__).resolve().parents[2] / "docs/geometry.svg")


if __name__ == "__main__":
    main()
