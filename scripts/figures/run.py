#!/usr/bin/env python3
"""Draws docs/run.svg: the way of the data through one run of the step."""

import pathlib

from svg import Canvas

BLUE, GREEN, GREY = "#dbe9f7", "#dff1e5", "#eef0f2"

# What the step does, from top to bottom: (what, where in the code).
STAGES = (
    ("parameters, signals, status", "runtime/ controller"),
    ("scene: timing, orbit, look side", "app/sar_scene"),
    ("seven image positions located", "app/locate_point"),
    ("23 results reported and set", "app/scene_results"),
    ("pools updated through a copy", "pool/pool_update"),
    ("OK status, exit 0", "runtime/ controller"),
)
TOP, STEP, HEIGHT = 78, 74, 50


def stage_y(index):
    """Returns the y coordinate of the middle of a stage's box."""
    return TOP + STEP * index + HEIGHT / 2


def side_box(canvas, x, y, width, lines, fill):
    canvas.box(x, y, width, 24 + 18 * (len(lines) - 1) + 12, fill)
    for number, line in enumerate(lines):
        canvas.text((x + width / 2, y + 23 + 18 * number), line, 13 if number else 14, anchor="middle",
                    weight="normal" if number else "bold")


def draw_step(canvas):
    canvas.box(300, 40, 300, STEP * len(STAGES) + 30, "#fafbfc", "#8895a3")
    canvas.text((450, 62), "quellmark, once per scene", 15, anchor="middle", weight="bold")
    for index, (what, where) in enumerate(STAGES):
        y = TOP + STEP * index
        canvas.box(320, y, 260, HEIGHT, BLUE)
        canvas.text((450, y + 21), what, 14, anchor="middle")
        canvas.text((450, y + 39), where, 12, "#52606d", "middle", style="italic")
        if index:
            canvas.arrow((450, y - STEP + HEIGHT), (450, y - 2))


def main():
    canvas = Canvas(900, 540, "The way of the data through a run")
    draw_step(canvas)

    side_box(canvas, 30, 75, 190, ("process controller", "starts the step,", "reads status and log"), GREY)
    canvas.arrow((220, stage_y(0)), (318, stage_y(0)))
    canvas.text((269, stage_y(0) - 8), "arguments", 12, anchor="middle")
    side_box(canvas, 30, 420, 190, ("OK. / ERROR.name", "exit status 0, 1, 2"), GREY)
    canvas.arrow((318, stage_y(5)), (222, stage_y(5) - 18))
    canvas.arrow((125, 418), (125, 150), dash="5 4")
    side_box(canvas, 30, 270, 190, ("log file", "and screen"), GREY)
    canvas.arrow((318, stage_y(3)), (222, stage_y(3) - 12))
    canvas.text((270, stage_y(3) - 16), "report", 12, anchor="middle")

    side_box(canvas, 680, 130, 190, ("scene pool", "timing, orbit, size", "+ the 23 results"), GREEN)
    canvas.arrow((680, 165), (582, stage_y(1)))
    canvas.text((634, 155), "reads", 12, anchor="middle")
    canvas.arrow((582, stage_y(4) - 8), (770, 204))
    canvas.text((686, 345), "writes back", 12, anchor="middle")
    side_box(canvas, 680, 400, 190, ("log pool", "names of the steps", "that have run"), GREEN)
    canvas.arrow((582, stage_y(4) + 8), (678, 425))
    side_box(canvas, 680, 30, 190, ("DEM (optional)", "opened and checked"), GREEN)
    canvas.arrow((680, 60), (582, stage_y(1) - 12))
    canvas.save(pathlib.Path(__file__).resolve().parents[2] / "docs/run.svg")


if __name__ == "__main__":
    main()
