#!/usr/bin/env python3
"""Geocodes a scene on a DEM: finds the sample and line of the image for each cell of a geographic
grid. Saves longitudes, latitudes, heights, samples and lines as a numpy archive.

usage: geocode.py SCENE_POOL DEM_DESCRIPTOR STEP_DEGREES OUTPUT.npz
"""
import sys

import numpy as np

import quellmark as qm

if len(sys.argv) != 5:
    sys.exit(__doc__)

scene = qm.Scene.open(sys.argv[1])
dem = qm.Dem.open(sys.argv[2])
step = float(sys.argv[3])

# The outline of the image on the terrain gives the limits of the grid. Longitudes are taken
# relative to the first one, so that a scene across the antimeridian stays in one piece.
edge = np.linspace(0, 1, 50)
x = np.concatenate([edge, np.ones(50), edge, np.zeros(50)]) * (scene.samples - 1)
y = np.concatenate([np.zeros(50), edge, np.ones(50), edge]) * (scene.lines - 1)
outline = scene.image_to_ground(x, y, dem=dem)
if np.all(np.isnan(outline.longitude)):
    sys.exit("the outline of the scene is nowhere on the ground")
first = outline.longitude[np.isfinite(outline.longitude)][0]
from_first = (outline.longitude - first + 180) % 360 - 180
lon = first + np.arange(np.nanmin(from_first), np.nanmax(from_first), step)
lat = np.arange(np.nanmax(outline.latitude), np.nanmin(outline.latitude), -step)[:, None]

height = dem.height(lon, lat)
image = scene.ground_to_image(lon, lat, height, fields=("sample", "line"), threads=0)
with np.errstate(invalid="ignore"):
    inside = ((image.sample >= 0) & (image.sample <= scene.samples - 1)
              & (image.line >= 0) & (image.line <= scene.lines - 1))
np.savez_compressed(sys.argv[4], longitude=lon, latitude=lat[:, 0], height=height,
                    sample=np.where(inside, image.sample, np.nan),
                    line=np.where(inside, image.line, np.nan))
print(f"{inside.sum()} of {inside.size} cells lie in the image")
