"""Tests the Python module against the points of radar products, the promises of the C++ library and
files on disk."""
import csv
import doctest
import glob
import importlib.util
import os
import shutil
import signal
import struct
import subprocess
import sys
import threading
import time

import numpy as np
import pytest

import quellmark as qm
import quellmark._pool

SCENES = os.environ["QM_SCENES"]
QUEBEC = os.path.join(SCENES, "s1a_iw1_slc_quebec.pool")
METRES_PER_DEGREE = 111_320.0
PACKAGE = os.path.dirname(qm.__file__)
ALL_FIELDS = ["longitude", "latitude", "height", "incidence", "heading", "look", "x", "y", "z",
              "zero_doppler_velocity", "b_parameter", "fm_rate"]


def truth(path):
    """Returns the columns of a table of points that the product's own processor located."""
    with open(path, newline="", encoding="ascii") as file:
        rows = list(csv.DictReader(file))
    return {name: np.array([float(row[name]) for row in rows])
            for name in rows[0] if name not in ("azimuth_utc", "index")}


def largest_distances(pool, table):
    """Returns the largest distances from the points of the table [m], to the ground and back, and
    the largest difference of the incidence [deg]."""
    scene = qm.Scene.open(pool)
    points = truth(table)
    times, ranges = points["azimuth_s"], points["slant_range_time_s"]
    lat, lon, height = points["latitude_deg"], points["longitude_deg"], points["height_m"]
    sample = (ranges - scene.first_range_time_s) * scene.range_sampling_frequency_hz
    line = (times - scene.first_azimuth_time_s) * scene.prf_hz
    ground = scene.image_to_ground(sample, line, height)
    assert np.all(ground.status == qm.PointStatus.FOUND)
    east = (ground.longitude - lon + 180) % 360 - 180
    distance = METRES_PER_DEGREE * np.hypot(ground.latitude - lat,
                                            east * np.cos(np.radians(lat)))
    back = scene.ground_to_image(ground.longitude, ground.latitude, ground.height)
    there_and_back = np.hypot(back.sample - sample, back.line - line)
    incidence = ground.incidence - points["incidence_normal_deg"]
    return distance.max(), there_and_back.max(), np.abs(incidence).max()


@pytest.mark.parametrize("name, metres, degrees", [
    ("s1b_iw_grd_alps", 0.38, 9e-7), ("s1a_s3_slc_comoros", 1.45, 3e-6),
    ("s1a_iw1_slc_quebec", 0.015, 8e-8)])
def test_example_scenes(name, metres, degrees):
    base = os.path.join(SCENES, name)
    distance, back, incidence = largest_distances(base + ".pool", base + ".truth.csv")
    assert distance < metres and back < 2e-3 and incidence < degrees
    with open(base + ".results.csv", newline="", encoding="ascii") as file:
        rows = [row for row in csv.reader(file) if not row[0].startswith("#")]
    expected = {row[0]: float(row[-1]) for row in rows if row[0] not in ("key", "name")}
    results = qm.Scene.open(base + ".pool").results()
    assert list(results) == list(expected)
    for key, value in expected.items():
        tolerance = 1e-6 if key.startswith("zero_doppler") else 1e-9 * abs(value)
        wrapped = (results[key] - value + 180) % 360 - 180 if "lon" in key else results[key] - value
        assert abs(wrapped) < tolerance, key


def test_products():
    products = os.environ.get("QM_PRODUCTS")
    if not products:
        pytest.skip("QM_PRODUCTS is not set")
    # The accuracy of the orbits in these pools. That of RCM 3 is one polynomial through noisy state
    # vectors.
    bounds = {"tdx1_sm_20210805": 0.001, "iceye_x7_sm_right": 0.0065, "rcm2_16m5_grd": 0.705,
              "rcm3_fsl27_grd": 8.3, "ree_rslc_right": 0.006}
    tables = sorted(glob.glob(os.path.join(products, "*.truth.csv")))
    assert {os.path.basename(table)[:-len(".truth.csv")] for table in tables} == set(bounds)
    for table in tables:
        base = table[:-len(".truth.csv")]
        pool = next(p for p in (base + ".pool", base + "_smooth.pool") if os.path.exists(p))
        distance, back, _ = largest_distances(pool, table)
        assert distance < bounds[os.path.basename(base)] and back < 2e-3, table


def bits(points):
    return {name: array.tobytes() for name, array in vars(points).items() if name != "shape"}


def plane(lon, lat):
    """Returns the height of the test's terrain [m], which is linear and thus exact between grid
    points."""
    return 1000 + 300 * (lon + 61) - 200 * (lat - 51)


def write_dem(folder):
    """Writes a slope around the centre of the Quebec scene as a DEM of 30" and returns the
    descriptor's path."""
    west, south, east, north = -7500, 5900, -7100, 6200
    lon, lat = np.arange(west, east + 1) / 120, np.arange(north, south - 1, -1)[:, None] / 120
    plane(lon, lat).astype(np.float32).tofile(folder / "slope.srf")
    dem = qm.Pool()
    dem["dem_files"] = np.int16(1)
    dem["dem_fname0"] = "slope.srf"
    dem["dem_header"], dem["dem_line_wise"], dem["dem_y_origin_north"] = False, True, True
    dem["dem_type"], dem["dem_value_type"], dem["dem_record_header"] = np.int16(2), np.int16(5), 0
    dem["dem_tile_annotation"] = "PIXEL_CENTRE"
    dem["dem_lon_res"] = dem["dem_lat_res"] = 30.0
    dem.set("dem_upper_left", [(west, north)], type="INT_32_INT_32_V")
    dem.set("dem_lower_right", [(east, south)], type="INT_32_INT_32_V")
    dem.save(folder / "dem.pool")
    return folder / "dem.pool"


def test_terrain(tmp_path):
    dem = qm.Dem.open(write_dem(tmp_path))
    lon, lat = np.linspace(-62.4, -59.3, 50), np.linspace(49.3, 51.6, 40)[:, None]
    height, status = dem.height_and_status(lon, lat)
    is_found = status == qm.HeightStatus.FOUND
    assert np.allclose(height[is_found], plane(lon, lat)[is_found], rtol=0, atol=1e-3)
    assert np.array_equal(is_found, np.broadcast_to(lat > 5900 / 120, is_found.shape))
    assert np.all(np.isnan(height[~is_found]))
    scene = qm.Scene.open(QUEBEC)
    samples, lines = np.arange(4000, 16000, 500), np.arange(3000, 9000, 300)[:, None]
    ground = scene.image_to_ground(samples, lines, dem=dem)
    assert np.all(ground.status == qm.PointStatus.FOUND)
    assert np.allclose(ground.height, plane(ground.longitude, ground.latitude), rtol=0, atol=2e-3)
    x, y = np.broadcast_arrays(samples, lines)
    assert bits(ground) == bits(scene.image_to_ground(x, y, dem=dem, threads=2))
    fixed = scene.image_to_ground(samples, lines, ground.height)
    assert np.allclose(fixed.longitude, ground.longitude, rtol=0, atol=1e-7)
    with pytest.raises(qm.ArgumentError):
        scene.image_to_ground(1, 1, 5.0, dem=dem)

    # The positions that the example geocode.py finds must lie on the terrain.
    examples = os.path.join(SCENES, "..", "python")
    output = str(tmp_path / "out.npz")
    for command in (["geocode.py", QUEBEC, dem.path, "0.05", output], ["incidence_grid.py", QUEBEC]):
        subprocess.run([sys.executable, os.path.join(examples, command[0]), *command[1:]], check=True)
    with np.load(output) as found:
        inside = np.isfinite(found["sample"])
        back = scene.image_to_ground(found["sample"][inside], found["line"][inside], dem=dem)
        lat = np.broadcast_to(found["latitude"][:, None], inside.shape)[inside]
    assert inside.mean() > 0.3 and np.nanmax(np.abs(back.latitude - lat)) < 1e-6


def test_same_bits_however_it_is_called():
    scene = qm.Scene.open(QUEBEC)
    samples = np.linspace(-100, scene.samples + 100, 301)
    lines = np.linspace(-5e4, 6e4, 200)[:, None]
    fields = ALL_FIELDS
    grid = scene.image_to_ground(np.arange(301) * 70, np.arange(200)[:, None] * 500, 12.5,
                                 fields=fields)
    x, y = np.broadcast_arrays(np.arange(301) * 70, np.arange(200)[:, None] * 500)
    assert bits(grid) == bits(scene.image_to_ground(x, y, 12.5, fields=fields, threads=3))
    one = scene.image_to_ground(samples, lines, fields=fields)
    assert one.longitude.shape == one.status.shape == (200, 301)
    assert set(np.unique(one.status)) == {qm.PointStatus.FOUND, qm.PointStatus.BEYOND_ORBIT}
    assert np.array_equal(np.isnan(one.x), one.status != qm.PointStatus.FOUND)
    # Arrays may have any strides, order and number type, and a height for each point; parts equal
    # the whole.
    turned = scene.image_to_ground(np.asfortranarray(np.broadcast_to(samples, (200, 301))),
                                   np.repeat(lines, 602, 1)[:, ::2], np.full(301, scene.local_height_m),
                                   fields=fields)
    assert bits(one) == bits(turned)
    part = scene.image_to_ground(samples[7], lines[90:110, 0], fields="x")
    assert np.array_equal(part.x, one.x[90:110, 7])
    assert scene.image_to_ground(np.int16(5), [True]).longitude == scene.image_to_ground(
        5.0, 1.0).longitude
    assert scene.image_to_ground(np.zeros((0, 4)), 1).latitude.shape == (0, 4)
    masked = np.ma.masked_array([1.0, 2.0], [False, True])
    assert scene.image_to_ground(masked, 0).status.tolist() == [0, qm.PointStatus.BAD_INPUT]
    # A single point is the one that the batch step locates, except for rounding of the earth's
    # radius.
    at = scene.locate(100.0, 200.0)
    same = scene.image_to_ground(100, 200, raised_ellipsoid=True, fields=fields)
    for name, value in at.items():
        assert float(getattr(same, name)) == pytest.approx(value, rel=1e-9)
    image = scene.ground_to_image(grid.longitude[:20] + 360, grid.latitude[:20], 12.5)
    assert bits(image) == bits(scene.ground_to_image(grid.longitude[:20] + 360, grid.latitude[:20],
                                                     12.5, threads=2))
    assert np.allclose(image.sample, x[:20], atol=1e-4)


def test_same_bits_as_cpp(tmp_path):
    dem = qm.Dem.open(write_dem(tmp_path))
    printed = subprocess.run([os.environ["QM_CPP_CALLS"], QUEBEC, dem.path], check=True,
                             capture_output=True, text=True).stdout
    cpp = {}
    for line in printed.splitlines():
        name, *numbers = line.split()
        cpp[name] = np.array([float.fromhex(number) for number in numbers])
    scene = qm.Scene.open(QUEBEC)
    python = {"results." + key: value for key, value in scene.results().items()}
    at = scene.locate(100.5, 200.25)
    python["locate"] = [at["longitude"], at["latitude"], at["incidence"]]
    i = np.arange(500)
    height = 10.0 * i - 400
    samples, lines = -500 + 1000 * np.arange(30), 100 + 750 * np.arange(20)[:, None]
    scattered = 37.5 * i, i * i % 9973 - 20000 * (i % 7 == 0)
    lon, lat = -61.5 + i / 256, 49.75 + i / 512
    for name, points in (
            ("grid", scene.image_to_ground(samples, lines, fields=ALL_FIELDS)),
            ("terrain", scene.image_to_ground(samples, lines, dem=dem, fields=ALL_FIELDS)),
            ("points", scene.image_to_ground(*scattered, height, raised_ellipsoid=True,
                                             fields=ALL_FIELDS, threads=2)),
            ("image", scene.ground_to_image(lon, lat, height))):
        python.update({f"{name}.{field}": array for field, array in vars(points).items()
                       if field != "shape"})
    python["dem.height"], python["dem.status"] = dem.height_and_status(lon, lat)
    python["orbit"] = np.stack(scene.orbit.state(60 + np.arange(100) / 8), 1)
    assert set(python) == set(cpp)
    for name, values in python.items():
        assert np.asarray(values, np.float64).tobytes() == cpp[name].tobytes(), name
    assert len(np.unique(cpp["terrain.status"])) > 1 and np.isfinite(cpp["dem.height"]).sum() > 100


def test_orbit_and_times():
    pool = qm.Pool.open(QUEBEC)
    orbit = qm.Orbit.open(QUEBEC)
    first, last = orbit.coverage
    times = np.linspace(first, last, 3000).reshape(50, 60)[:, ::-1]
    state = orbit.state(times)
    assert state.position.shape == (50, 60, 3)
    # The velocity is the position's derivative, the acceleration the velocity's.
    h = 1e-3
    inner = np.linspace(first + 1, last - 1, 101)
    for value, rate in ((0, 1), (1, 2)):
        slope = (orbit.state(inner + h)[value] - orbit.state(inner - h)[value]) / (2 * h)
        assert np.allclose(slope, orbit.state(inner)[rate], rtol=0, atol=2e-5)
    moments = orbit.datetimes(times)
    assert moments.dtype == "datetime64[ns]"
    assert np.allclose(orbit.seconds(moments), times, rtol=0, atol=1e-9)
    assert str(orbit.datetimes(71.75537)) == "2022-04-14T10:22:11.755370000"
    assert orbit.seconds(orbit.text_of(71.75537)) == pytest.approx(71.75537, abs=1e-9)
    with pytest.raises(qm.OrbitError):
        orbit.state(last + 1)
    assert np.isnan(orbit.state([first, last + 1], "nan").velocity).tolist() == [[False] * 3,
                                                                                [True] * 3]
    for seconds in (9e9, np.nan):
        with pytest.raises(ValueError):
            orbit.datetimes(seconds)
    for wrong in (np.datetime64("NaT"), np.datetime64("9999-01-01"), "yesterday"):
        with pytest.raises(qm.ArgumentError):
            orbit.state(wrong)
    # The state vectors of the orbit, with times as seconds and as dates, make the same scene.
    seconds = np.array([orbit.seconds(t) for t in pool["orbit_time"]])
    place = np.stack([pool[f"orbit_pos_{c}"] for c in "xyz"], 1)
    speed = np.stack([pool[f"orbit_vel_{c}"] for c in "xyz"], 1)
    scene = qm.Scene.open(QUEBEC)
    values = dict(first_azimuth_time=scene.first_azimuth_time_s,
                  first_range_time_s=scene.first_range_time_s, prf_hz=scene.prf_hz,
                  range_sampling_frequency_hz=scene.range_sampling_frequency_hz,
                  samples=scene.samples, lines=scene.lines, look_side=scene.look_side,
                  radar_frequency_hz=scene.radar_frequency_hz, local_height_m=scene.local_height_m)
    for t in (seconds, orbit.datetimes(seconds)):
        made = qm.Orbit(t, place, speed, interpolation=orbit.interpolation,
                        reference_utc=orbit.reference_time)
        assert qm.Scene(made, **values).results() == scene.results()
    values["first_azimuth_time"] = orbit.datetimes(scene.first_azimuth_time_s)
    by_date = qm.Scene((orbit.datetimes(seconds), place), **values).results()
    assert by_date["center_latitude"] == pytest.approx(scene.results()["center_latitude"], abs=1e-7)
    with pytest.raises(qm.SceneError):
        qm.Scene(orbit, **{**values, "prf_hz": -1.0})


VALUES = {
    "BOL": True, "BYT": np.uint8(200), "INT_8": np.int8(-5), "INT_16": np.int16(-300),
    "INT_32": np.int32(70000), "INT_64": np.int64(2**60), "FLT_6": np.float32(0.1),
    "FLT_15": np.float64(0.1), "STR": "two words", "CPL_6": np.complex64(1 - 2j),
    "CPL_15": np.complex128(0.1 + 3j), "INT_32_INT_32": (np.int32(1), np.int32(2)),
    "STR_STR": ("a", "b c"), "IDX_FLT_15": qm.Indexed(3, np.float64(0.5)),
    "BOL_V": np.array([True, False]), "INT_16_V": np.array([1, -2], np.int16),
    "FLT_15_V": np.arange(3) / 7, "CPL_6_V": np.array([1j, 2], np.complex64),
    "STR_V": np.array(["x", "y z"]), "FLT_6_FLT_6_V": np.ones((3, 2), np.float32),
    "STR_STR_V": np.array([["k", "v"]]),
    "IDX_INT_32_V": np.array([(4, 5), (6, 7)], [("index", np.int32), ("value", np.int32)]),
    "BYT_M": np.arange(6, dtype=np.uint8).reshape(2, 3), "FLT_6_M": np.ones((2, 2), np.float32),
    "CPL_15_M": np.array([[1j / 3]]), "STR_M": np.array([["a", "b"], ["c", "d"]]),
}


def test_pool_keeps_types_comments_and_all_else(tmp_path):
    path = tmp_path / "values.pool"
    pool = qm.Pool()
    for name, value in VALUES.items():
        pool.set("key_" + name, value, type=name, comments=["is " + name])
    pool.save(path)
    read = qm.Pool.open(path)
    assert list(read) == ["key_" + name for name in VALUES] and not pool.is_changed
    for name, value in VALUES.items():
        got = read["key_" + name]
        assert type(got) is type(value) and np.array_equal(got, value), name
        if isinstance(value, np.ndarray) and value.dtype.kind != "U":
            assert got.dtype == value.dtype
        assert read.type_of("key_" + name) == name and read.comments("key_" + name) == ["is " + name]

    # Unchanged parts stay byte for byte, even bytes that are not UTF-8.
    scene = tmp_path / "scene.pool"
    odd = b"# gr\xf6n\nodd  STR  \"gr\xf6n\"\n\nodd  STR  \"second\"\nof_today  DATE  1\n"
    scene.write_bytes(odd + open(QUEBEC, "rb").read())
    before = scene.read_bytes()
    pool = qm.Pool.open(scene)
    assert pool["odd"] == "gr\udcf6n" and pool.comments("odd") == [" gr\udcf6n"]
    pool["n_lines"] = 77
    pool["new"] = [1.5, 2.5]
    pool.set("far", np.arange(4).reshape(2, 2), first_index=(0, -3))
    assert scene.read_bytes() == before
    copy = tmp_path / "copy.pool"
    pool.save(copy)
    assert scene.read_bytes() == before and sorted(os.listdir(tmp_path)) == [
        "copy.pool", "scene.pool", "values.pool"]
    after = copy.read_bytes()
    assert after.startswith(before[:before.index(b"n_lines")])
    tail = before[before.index(b"antenna_look_direction"):]
    assert tail in after
    read = qm.Pool.open(copy)
    assert (read["n_lines"], read.type_of("n_lines"), read.type_of("new")) == (77, "INT_32", "FLT_15_V")
    assert read.first_index("far") == (0, -3) and read.type_of("far") == "INT_32_M"
    read["far"] = read["far"] + 1  # the indices stay the same
    read.save()
    assert qm.Pool.open(copy).first_index("far") == (0, -3)
    for key, wrong in (("n_lines", 2**40), ("n_lines", 1.5), ("n_lines", "x"), ("prf", 1j),
                       ("prf", float("nan")), ("a b", 1), ("new", [[1.0]]), ("cube", np.ones((1, 1, 1)))):
        with pytest.raises((qm.ArgumentError, qm.PoolError)):
            read[key] = wrong
    assert not read.is_changed
    with pytest.raises(qm.PoolError):
        _ = read["of_today"]


def test_errors_tell_file_key_and_log(tmp_path):
    path = tmp_path / "broken.pool"
    text = open(QUEBEC, encoding="latin-1").read()
    path.write_text(text.replace("n_lines                          INT_32          13500",
                                 "n_lines                          INT_32          many"))
    with pytest.raises(qm.PoolError) as caught:
        qm.Scene.open(path)
    error = caught.value
    assert isinstance(error, qm.Error) and isinstance(error, RuntimeError)
    assert (error.file, error.key) == (str(path), "n_lines") and error.log_lines
    with pytest.raises(KeyError) as missing:
        _ = qm.Pool.open(QUEBEC)["nothing"]
    assert isinstance(missing.value, qm.PoolError) and missing.value.key == "nothing"
    assert "nothing" not in qm.Pool.open(QUEBEC) and qm.Pool.open(QUEBEC).get("nothing") is None
    scene = qm.Scene.open(QUEBEC)
    for call in (lambda: scene.image_to_ground(1, 1, fields=["depth"]),
                 lambda: scene.image_to_ground(1, 1, threads=-1),
                 lambda: scene.image_to_ground([1, 2], [1, 2, 3])):
        with pytest.raises(ValueError):
            call()
    with pytest.raises(TypeError):
        scene.image_to_ground(1j, 1)
    with pytest.raises(qm.DemError):
        qm.Dem.open(tmp_path / "none")


def test_long_calls_end_on_signals_and_let_others_run():
    scene = qm.Scene.open(QUEBEC)
    samples = np.random.default_rng(1).uniform(0, 20000, 4_000_000)
    asked = []
    with pytest.raises(qm.CancelledError):
        scene.image_to_ground(samples, 5.0, progress=lambda done, total: asked.append(total) or False)
    assert asked == [samples.size]
    with pytest.raises(ZeroDivisionError):
        scene.image_to_ground(samples, 5.0, progress=lambda done, total: 1 // 0)
    ticks = []
    stop = threading.Event()
    other = threading.Thread(target=lambda: [ticks.append(0) or time.sleep(0.001)
                                             for _ in iter(stop.is_set, True)])
    other.start()
    before = len(ticks)
    scene.image_to_ground(samples, 5.0)
    during = len(ticks) - before
    stop.set()
    other.join()
    assert during > 3
    # The work goes on until the signal comes, however fast the machine is.
    timer = threading.Timer(0.2, os.kill, (os.getpid(), signal.SIGINT))
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        while True:
            scene.ground_to_image(samples, 50.0, threads=2)
    timer.join()


def test_doctests_and_types():
    for module in (qm, quellmark._pool):
        outcome = doctest.testmod(module, extraglobs={"path": QUEBEC})
        assert outcome.attempted > 5 and outcome.failed == 0
    if importlib.util.find_spec("mypy") is None:
        pytest.skip("mypy is not there")
    done = subprocess.run([sys.executable, "-m", "mypy", "--strict", "--cache-dir", os.devnull,
                           PACKAGE], capture_output=True, text=True, check=False)
    assert done.returncode == 0, done.stdout
