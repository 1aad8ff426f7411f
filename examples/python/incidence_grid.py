#!/usr/bin/env python3
"""Computes longitude, latitude and incidence on a grid over a scene; prints a table and, with
matplotlib, draws a picture.

usage: incidence_grid.py SCENE_POOL [PICTURE.png]
"""
import sys

import numpy as np

import quellmark as qm

if len(sys.argv) not in (2, 3):
    sys.exit(__doc__)

# A row of samples and a column of lines make a grid of 200 x 150 positions.
scene = qm.Scene.open(sys.argv[1])
samples = np.linspace(0, scene.samples - 1, 200)
lines = np.linspace(0, scene.lines - 1, 150)[:, None]
ground = scene.image_to_ground(samples, lines, threads=0)

print("  sample    line  longitude   latitude  incidence [deg]")
for row in (0, 75, 149):
    for column in (0, 100, 199):
        print(f"{samples[column]:8.0f}{lines[row, 0]:8.0f}{ground.longitude[row, column]:11.5f}"
              f"{ground.latitude[row, column]:11.5f}{ground.incidence[row, column]:11.5f}")

if len(sys.argv) == 3:
    try:
        import matplotlib
    except ImportError:
        sys.exit("no picture without matplotlib (python3-matplotlib)")
    matplotlib.use("Agg")
    from matplotlib import pyplot

    figure, axes = pyplot.subplots(figsize=(7, 5), layout="constrained")
    mesh = axes.pcolormesh(ground.longitude, ground.latitude, ground.incidence, shading="gouraud")
    axes.contour(ground.longitude, ground.latitude, ground.incidence, 8, colors="white",
                 linewidths=0.6)
    figure.colorbar(mesh, label="incidence [deg]")
    axes.set_aspect(1 / np.cos(np.radians(ground.latitude.mean())))
    axes.set_xlabel("longitude [deg]")
    axes.set_ylabel("latitude [deg]")
    figure.savefig(sys.argv[2], dpi=150)
