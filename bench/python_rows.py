#!/usr/bin/env python3
"""Measures the Python module beside the C++ library: 10^7 scattered points of one scene, in turn with
the benchmark ManyPoints, and the import beyond that of numpy. Quoted is the fastest of the repetitions.

usage: bench/python_rows.py RELEASE_BUILD API_BENCH [REPETITIONS]
"""

import json
import subprocess
import sys
import time
from pathlib import Path

import numpy as np

SCENES = Path(__file__).resolve().parent.parent / "examples/scenes"
POINTS = 10_000_000

if len(sys.argv) not in (3, 4):
    sys.exit(__doc__)
package = str(Path(sys.argv[1]) / "python")
repetitions = int(sys.argv[3]) if len(sys.argv) == 4 else 3
sys.path.insert(0, package)
import quellmark as qm  # pylint: disable=wrong-import-position


def cpp_seconds() -> float:
    command = [sys.argv[2], "--benchmark_filter=^ManyPoints", "--benchmark_format=json"]
    report = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    return json.loads(report)["benchmarks"][0]["real_time"] / 1e3


def import_seconds(modules: str) -> float:
    code = f"import sys, time; sys.path.insert(0, {package!r}); start = time.perf_counter(); " \
           f"import {modules}; print(time.perf_counter() - start)"
    return float(subprocess.run([sys.executable, "-c", code], check=True, capture_output=True,
                                text=True).stdout)


scene = qm.Scene.open(SCENES / "s1a_iw1_slc_quebec.pool")
index = np.arange(POINTS, dtype=np.float64)
samples, lines = index % 20_000, index / 1000
python, cpp = [], []
for _ in range(repetitions):
    cpp.append(cpp_seconds())
    start = time.perf_counter()
    scene.image_to_ground(samples, lines)
    python.append(time.perf_counter() - start)
print(f"10^7 points: Python {min(python):.3f} s, C++ {min(cpp):.3f} s, "
      f"ratio {min(python) / min(cpp):.3f} (goal <= 1.1)")
numpy_alone = min(import_seconds("numpy") for _ in range(5 * repetitions))
both = min(import_seconds("numpy, quellmark") for _ in range(5 * repetitions))
print(f"import beyond numpy: {1e3 * (both - numpy_alone):.1f} ms (goal <= 50)")
