#!/usr/bin/env python3
"""Measures every row of the performance goals and prints time, floor, ratio, goal and verdict.

Builds the bench preset and runs the benchmark programs several times, each together with its
floors, and the whole program on pools that are made here. The fastest repetition counts, also that
of the floor, because other processes only ever slow a run down.

usage: bench/rows.py [--only SUBSTRING] [--repetitions N] [--no-build]
"""

import argparse
import json
import math
import os
import re
import shutil
import subprocess
import tempfile
import time
from pathlib import Path
from typing import Callable, NamedTuple, Optional

ROOT = Path(__file__).resolve().parent.parent
BUILD = ROOT / "build/bench"
SCENE = ROOT / "examples/scenes/s1a_iw1_slc_quebec.pool"
MEMORY = "/dev/shm" if os.access("/dev/shm", os.W_OK) else tempfile.gettempdir()

NS, US, MS, S, KB, MB = 1e-9, 1e-6, 1e-3, 1.0, 1e3, 1e6
UNITS = ((S, "s"), (MS, "ms"), (US, "us"), (NS, "ns"))


class Row(NamedTuple):
    """One row of a benchmark program. The goal applies to the ratio or, if `absolute`, to the time.
    Floor and goal are optional."""

    name: str
    what: str  # the benchmark, or BENCHMARK#COUNTER
    floor: Optional[str] = None
    goal: Optional[float] = None
    absolute: bool = False
    at_least: bool = False
    is_memory: bool = False


ORDERS = ((0, "random"), (1, "in order"))
KINDS = ("LocalHermite", "LocalPolynom", "Everett")

PROGRAMS = {
    "orbit": [
        Row(f"{kind} p + v + a, {n:,} vectors, {order}", f"BM_{kind}/{n}/ascending:{i}",
            f"BM_{kind}Floor/{n}/ascending:{i}", 3.0)
        for kind in KINDS for n in (16, 1000, 100000) for i, order in ORDERS] + [
        Row(f"{kind}, 100,000 vectors with jitter read", f"BM_Read/{kind}/100000")
        for kind in ("localhermite", "localpolynom", "everett", "localpolyfit",
                     "localchebyshev")] + [
        Row("localpolyfit, evenly spaced ones", "BM_Read/localpolyfit_even/100000")],
    "geolocation": [
        Row("geolocation_fast, state given", "GeolocationFast", "GeolocationFloor"),
        Row("geolocation_fast with a DEM, degree 3", "GeolocationFastDem", "GeolocationDemFloor",
            2.2 * US, absolute=True)],
    "dem": [
        Row("DEM height, mapped, random points", "BM_Interpolated/fast:1",
            "BM_HandWrittenBilinear", 1.5),
        Row("the same from a HeightReader", "BM_HeightReader", "BM_HandWrittenBilinear", 1.5),
        Row("DEM height, not mapped: four seeks and reads", "BM_Interpolated/fast:0")],
    "pool": [
        Row("pool look-up, 100 entries", "LookUpLastKey/100", "LookUpLastKeyFloor/100"),
        Row("pool look-up, 100,000 entries", "LookUpLastKey/100000", "LookUpLastKeyFloor/100000"),
        Row("FLT_15_V of 1,000,000 read", "ReadVector", "ReadVectorFloor"),
        Row("the same updated", "UpdateVector"),
        Row("30,000 sets and their close", "SetEntries/30000", "SetEntriesFloor/30000"),
        # For ten times as many entries, a linear method takes ten times as long and a little more
        # for the caches, a quadratic one a hundred times as long.
        Row("30,000 sets beside 3,000", "SetEntries/30000", "SetEntries/3000", 20.0)],
    "runtime": [
        Row("log line below the threshold", "SuppressedLine", "FloorComparison"),
        Row("log line written", "WrittenLine")],
    "time": [
        Row("100,000 UTC texts scanned and subtracted", "ScanAndSubtractEpochs/100000",
            "FloorOfEpochs/100000")],
    "app": [
        Row("LocatePoint whole", "BM_LocatePoint"),
        Row("a scene read from its pool", "BM_ReadScene")],
    "imaging": [
        Row(f"{name}, {set_}", f"{what}{set_.lower().replace('-', '')}", floor,
            goal and goal * NS, absolute=True)
        for name, what, floor, goals in (
            ("whole lines, three results", "Lines/three_", "LinesFloor", (60, 30, None)),
            ("whole lines, six results", "Lines/six_", "LinesFloor", (90, None, None)),
            ("scattered points", "Points/", "PointsFloor", (100, 50, None)),
            ("on terrain, smooth", "Terrain/smooth_", "OnTerrainFloor/smooth", (1500, None, None)),
            ("on terrain, steep", "Terrain/steep_", "OnTerrainFloor/steep", (1500, None, None)),
            ("ground to image", "ToImage/", "ToImageFloor", (200, None, None)))
        for set_, goal in zip(("baseline", "AVX2", "AVX-512"), goals)] + [
        Row("of scattered points the orbit alone", "OrbitAlone"),
        Row("one thread beside two", "Threads/1/real_time", "Threads/2/real_time", 1.9,
            at_least=True),
        Row("heap memory of a thread, on terrain", "ThreadMemory#bytes_per_thread", is_memory=True),
        Row("the same for ten times the points, more", "ThreadMemory#bytes_of_more_points",
            is_memory=True)],
}


def text_of(value: Optional[float], is_memory: bool = False) -> str:
    if value is None:
        return "-"
    if is_memory:
        return f"{value / MB:.0f} MB" if value >= MB else f"{value / KB:.1f} kB"
    unit, name = next((u for u in UNITS if value >= u[0]), UNITS[-1])
    return f"{value / unit:.3g} {name}"


def print_row(row: Row, time_: Optional[float], floor: Optional[float], why_not: str = "") -> None:
    ratio = time_ / floor if time_ and floor else None
    judged = time_ if row.absolute else ratio
    goal = "-"
    if row.goal is not None:
        limit = text_of(row.goal, row.is_memory) if row.absolute else f"{row.goal:g}"
        goal = (">= " if row.at_least else "<= ") + limit
    if time_ is None or (row.goal is not None and judged is None):
        verdict = "not measured" + (": " + why_not if why_not else "")
    elif row.goal is None:
        verdict = "no goal"
    else:
        met = judged >= row.goal if row.at_least else judged <= row.goal
        verdict = "met" if met else "MISSED"
    print(f"| {row.name} | {text_of(time_, row.is_memory)} | {text_of(floor, row.is_memory)} | "
          f"{'-' if ratio is None else f'{ratio:.2f}'} | {goal} | {verdict} |", flush=True)


def run_benchmarks(program: str, rows: list[Row], repetitions: int) -> dict[str, float]:
    """Returns the fastest time [s] of each benchmark that the rows name, per point if it counts
    points."""
    names = sorted({name.partition("#")[0]
                    for row in rows for name in (row.what, row.floor) if name})
    # The report is a file, because standard output may contain log lines.
    with tempfile.NamedTemporaryFile(suffix=".json") as report:
        command = [str(BUILD / f"bench/qm_{program}_bench"), "--benchmark_min_time=0.05",
                   f"--benchmark_out={report.name}", f"--benchmark_repetitions={repetitions}",
                   "--benchmark_enable_random_interleaving=true",
                   "--benchmark_filter=^(" + "|".join(map(re.escape, names)) + ")$"]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                       env={**os.environ, "TMPDIR": MEMORY})
        runs = json.load(report)["benchmarks"]
    fastest: dict[str, float] = {}
    for run in runs:
        if run.get("run_type") != "iteration" or run.get("error_occurred"):
            continue
        name = run["run_name"]
        unit = next(u for u, unit_name in UNITS if unit_name == run["time_unit"])
        taken = run["real_time" if name.endswith("real_time") else "cpu_time"] * unit
        fastest[name] = min(run.get("per_point", taken), fastest.get(name, math.inf))
        fastest |= {f"{name}#{key}": run[key] for key in run if key.startswith("bytes")}
    return fastest


def measure_program(program: str, rows: list[Row], repetitions: int) -> None:
    fastest = run_benchmarks(program, rows, repetitions)
    for row in rows:
        if row.what.startswith("Threads") and len(os.sched_getaffinity(0)) < 2:
            print_row(row, None, None, why_not="one processor")
            continue
        why_not = "" if row.what in fastest else "not on this processor"
        print_row(row, fastest.get(row.what), fastest.get(row.floor or ""), why_not=why_not)


def measure_whole_process(repetitions: int) -> None:
    """Measures the whole process, with its start and end, beside process_floor.cpp."""
    row = Row("whole process, pools in memory", "", goal=1.75)
    command = [str(ROOT / "bench/whole_run.sh"), str(40 * repetitions), MEMORY]
    out = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout
    empty, floor, whole = (float(t) * MS for t in re.findall(r"([\d.]+) ms", out))
    print_row(row, whole, floor)
    print_row(Row("of both the empty program", ""), empty, None)


class Run(NamedTuple):
    seconds: float
    bytes: float


def run_whole(command: list[str], directory: Path) -> Run:
    start = time.perf_counter()
    with subprocess.Popen(command, cwd=directory, stdin=subprocess.DEVNULL,
                          stdout=subprocess.DEVNULL) as process:
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise RuntimeError(f"{command[0]} ended with {process.returncode}")
    return Run(time.perf_counter() - start, usage.ru_maxrss * 1024.0)


def write_dense_orbit(path: Path, count: int) -> None:
    """Makes the example scene with `count` state vectors, 20 a second, on a circle through its
    middle."""
    step_s, clock_s = 0.05, 10 * 3600 + 21 * 60
    text = SCENE.read_text("latin-1")
    head, _, _ = text.partition("orbit_time ")

    def eighth(kind: str) -> list[float]:
        body = r" .*?\{(?:\s+(\S+)){8}"
        return [float(re.search(rf"^orbit_{kind}_{axis}{body}", text, re.M | re.S)[1])
                for axis in "xyz"]

    positions, velocities = eighth("pos"), eighth("vel")
    rate = math.hypot(*velocities) / math.hypot(*positions)
    start_s = 71.0 - count // 2 * step_s  # the scene begins 71.8 s after the reference time
    with path.open("w", encoding="latin-1") as out:
        out.write(head + f"orbit_time STR_V 1\t{count}\n {{\n")
        for j in range(count):
            us = round((clock_s + start_s + j * step_s) * 1e6)
            hours, minutes = us // 3_600_000_000, us // 60_000_000 % 60
            seconds = us % 60_000_000 / 1e6
            out.write(f'  "2022-04-14T{hours:02d}:{minutes:02d}:{seconds:09.6f}Z"\n')
        out.write(" }\n")
        for kind in ("pos", "vel"):
            for i, axis in enumerate("xyz"):
                out.write(f"\norbit_{kind}_{axis} FLT_15_V 1\t{count}\n {{\n")
                p, v = positions[i], velocities[i] / rate
                if kind == "vel":
                    p, v = v * rate, -p * rate
                for j in range(count):
                    angle = rate * (j - count // 2) * step_s
                    out.write(f"  {p * math.cos(angle) + v * math.sin(angle):.17E}\n")
                out.write(" }\n")


def write_lines_in_front(path: Path, count: int) -> None:
    with path.open("w", encoding="latin-1") as out:
        for i in range(count):
            out.write(f"# line {i} of another program\n")
        out.write(SCENE.read_text("latin-1"))


def measure_made_pool(write: Callable[[Path, int], None], rows: list[Row],
                      repetitions: int) -> None:
    """Runs the program and the floor on a pool to which `write` gives 1,000,000 state vectors or
    lines. Prints the time in the first of `rows` and the memory in the second, if there is one."""
    options = "-log_pp log.pool -SCENE_POOL scene.pool -USE_DEM false -lfn log".split()
    with tempfile.TemporaryDirectory(dir=MEMORY) as name:
        directory = Path(name)
        floor = directory / "floor"
        subprocess.run(["g++", "-std=c++20", "-O3", "-static", "-o", str(floor),
                        str(ROOT / "bench/process_floor.cpp")], check=True)
        write(directory / "made.pool", 1_000_000)
        runs: dict[str, list[Run]] = {"program": [], "floor": []}
        for _ in range(max(2, repetitions // 2)):
            for kind, command in (("program", [str(BUILD / "app/quellmark"), *options]),
                                  ("floor", [str(floor), "log.pool", "scene.pool", "log"])):
                shutil.copy(directory / "made.pool", directory / "scene.pool")
                (directory / "log.pool").write_text("")
                runs[kind].append(run_whole(command, directory))
    for i, row in enumerate(rows):
        program, floor_value = (min(run[i] for run in runs[kind]) for kind in ("program", "floor"))
        print_row(row, program, floor_value)


WHOLE = {
    "1,000,000 vectors": (write_dense_orbit, [
        Row("a run with 1,000,000 state vectors", "", goal=2.75, absolute=True),
        Row("its memory", "", goal=418 * MB, absolute=True, is_memory=True)]),
    "1,000,000 lines in front": (write_lines_in_front, [
        Row("a run over 1,000,000 unrelated lines in front", "")]),
}


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--only", default="", help="parts with this in their name: "
                        + ", ".join([*PROGRAMS, "whole process", *WHOLE]))
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--no-build", action="store_true")
    options = parser.parse_args()
    if not options.no_build:
        for command in (["cmake", "--preset", "bench"], ["cmake", "--build", "--preset", "bench"]):
            subprocess.run(command, check=True, cwd=ROOT, stdout=subprocess.DEVNULL)
    print("| what | time | floor | ratio | goal | verdict |\n|---|---|---|---|---|---|")
    for program, rows in PROGRAMS.items():
        if options.only in program:
            measure_program(program, rows, options.repetitions)
    if options.only in "whole process":
        measure_whole_process(options.repetitions)
    for part, (write, rows) in WHOLE.items():
        if options.only in part:
            measure_made_pool(write, rows, options.repetitions)


if __name__ == "__main__":
    main()
