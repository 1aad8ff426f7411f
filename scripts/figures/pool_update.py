#!/usr/bin/env python3
"""Draws docs/pool-update.svg: the steps of a pool's update and what a crash leaves after each."""

import pathlib

from svg import Canvas

# (step, what happens, content of the pool, content of the copy); a content is old, new, part or none.
STEPS = (
    ("merge", "pool + pending entries -> copy", "old", "part"),
    ("flush", "the copy and its folder", "old", "new"),
    ("reserve", "room for a larger pool is claimed", "old", "new"),
    ("truncate", "the pool's file is emptied", "none", "new"),
    ("write back", "the copy is written into the pool", "part", "new"),
    ("flush", "the pool to the disk", "new", "new"),
    ("unlink", "the copy is removed", "new", "none"),
)
COLOUR = {"old": "#b9cde4", "new": "#9bd3ae", "part": "#f3d8a4", "none": "white"}
LABEL = {"old": "old, whole", "new": "new, whole", "part": "incomplete", "none": "empty"}
LEFT, WIDTH = 130, 124


def main():
    canvas = Canvas(1020, 290, "The update of a pool, step by step")
    canvas.text((14, 142), "pool", 15, weight="bold")
    canvas.text((14, 198), "copy", 15, weight="bold")
    canvas.text((14, 254), "after a crash", 15, weight="bold")
    for index, (step, what, pool, copy) in enumerate(STEPS):
        x = LEFT + WIDTH * index
        canvas.text((x + 56, 32), f"{index + 1}. {step}", 15, anchor="middle", weight="bold")
        words = what.split()
        half = (len(words) + 1) // 2
        canvas.text((x + 56, 56), " ".join(words[:half]), 12, anchor="middle")
        canvas.text((x + 56, 72), " ".join(words[half:]), 12, anchor="middle")
        for y, content, is_copy in ((118, pool, False), (174, copy, True)):
            canvas.box(x, y, 112, 38, COLOUR[content])
            label = "removed" if is_copy and content == "none" else LABEL[content]
            canvas.text((x + 56, y + 24), label, 13, anchor="middle")
        whole = "the pool counts" if pool in ("old", "new") else "the copy counts"
        canvas.text((x + 56, 254), whole, 13, "#2f7a48" if "pool" in whole else "#c8501e", "middle")
        if index + 1 < len(STEPS):
            canvas.arrow((x + 113, 137), (x + 123, 137))
    canvas.save(pathlib.Path(__file__).resolve().parents[2] / "docs/pool-update.svg")


if __name__ == "__main__":
    main()
