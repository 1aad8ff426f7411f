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

    # Counted from the first position, so that a scene across the antimeridian stays in one piece.
    first = ground.longitude[0, 0]
    longitude = first + (ground.longitude - first + 180) % 360 - 180
    figure, (on_map, in_image) = pyplot.subplots(1, 2, figsize=(11, 5), layout="constrained")
    mesh = on_map.pcolormesh(longitude, ground.latitude, ground.incidence, shading="gouraud")
    curves = on_map.contour(longitude, ground.latitude, ground.incidence, 6, colors="white",
                            linewidths=0.6)
    on_map.clabel(curves, fmt="%g\N{DEGREE SIGN}")
    on_map.set_aspect(1 / np.cos(np.radians(ground.latitude.mean())))
    on_map.set(title="on the ground", xlabel="longitude [deg]", ylabel="latitude [deg]")

    in_image.pcolormesh(samples, lines[:, 0], ground.incidence, shading="gouraud")
    for values, color in ((longitude, "white"), (ground.latitude, "black")):
        curves = in_image.contour(samples, lines[:, 0], values, 6, colors=color, linewidths=0.6)
        in_image.clabel(curves, fmt="%g\N{DEGREE SIGN}")
    in_image.invert_yaxis()
    in_image.set(title="in the image: longitudes white, latitudes black", xlabel="sample",
                 ylabel="line")
    figure.colorbar(mesh, ax=[on_map, in_image], label="incidence [deg]")
    figure.savefig(sys.argv[2], dpi=120)
