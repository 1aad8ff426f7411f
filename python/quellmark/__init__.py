"""Locates the pixels of synthetic aperture radar images on the Earth.

>>> scene = Scene.open(path)
>>> ground = scene.image_to_ground([0, 10584], [0, 6750], height=0.0)
>>> ground.longitude.round(3), ground.status
(array([-60.239, -61.131]), array([0, 0], dtype=uint8))

Angles are in degrees, lengths in metres, times in seconds. Longitudes are in (-180, 180], heights
are above the WGS84 ellipsoid. Samples and lines count from 0. Arrays may have any shapes that numpy
can broadcast, and results have the broadcast shape. Calls for many points release the interpreter's
lock and end with KeyboardInterrupt on Ctrl-C.
"""
from __future__ import annotations

import enum
import os
from typing import TYPE_CHECKING, Any, Callable, Dict, List, NamedTuple, Optional, Sequence, Tuple
from typing import Union

import numpy as np

from . import _core
from ._errors import (ArgumentError, CancelledError, DemError, Error, KeyNotFoundError, OrbitError,
                      PoolError, SceneError)
from ._pool import Indexed, Pool

if TYPE_CHECKING:
    from numpy.typing import ArrayLike, NDArray
    Floats = NDArray[np.float64]

__version__ = _core.version
__all__ = ["ArgumentError", "CancelledError", "Dem", "DemError", "DemTile", "Error", "GroundPoints",
           "HeightStatus", "ImagePoints", "Indexed", "KeyNotFoundError", "Orbit", "OrbitError",
           "OrbitStates", "PointStatus", "Pool", "PoolError", "Scene", "SceneError",
           "seconds_from_utc", "utc_from_seconds"]

Path = Union[str, "os.PathLike[str]"]
Progress = Callable[[int, int], Any]


class PointStatus(enum.IntEnum):
    """The status of one point. The first three mean that it has an answer; the others mean NaN."""

    FOUND = 0
    LAYOVER = 1  # the highest of several places on the terrain
    NO_TERRAIN = 2  # at the scene's height, because the DEM has none there
    NO_INTERSECTION = 3  # no visible ground on the look side has this range
    BEYOND_ORBIT = 4  # the orbit does not cover the time
    WRONG_SIDE = 5  # not on the side of the antenna
    OUT_OF_VIEW = 6  # beyond the horizon
    BAD_INPUT = 7  # a number is not finite, or a height is impossible
    NOT_COMPUTED = 8


class HeightStatus(enum.IntEnum):
    """The result of one look-up of a height."""

    FOUND = 0
    VOID = 1  # all four grid points around the place are void
    OUTSIDE = 2  # no tile covers the place
    BAD_INPUT = 3  # a coordinate is not finite


def _floats(values: Any) -> Floats:
    """Returns the values in double precision; masked ones become NaN."""
    array = values if isinstance(values, np.ma.MaskedArray) else np.asarray(values)
    if array.size and not np.can_cast(array.dtype, np.float64, "same_kind"):
        raise TypeError(f"real numbers are needed, not {array.dtype}")
    if isinstance(array, np.ma.MaskedArray):
        filled: Floats = np.ma.filled(array.astype(np.float64), np.nan)  # type: ignore[no-untyped-call]
        return filled
    return array.astype(np.float64, copy=False)


def _flat(array: Floats, shape: Tuple[int, ...]) -> Floats:
    """Returns the array broadcast to the shape, in one dimension; copies only if necessary."""
    return np.ascontiguousarray(np.broadcast_to(array, shape)).reshape(-1)


def _steps(values: Floats) -> Optional[Tuple[float, float, int]]:
    """Returns first value, step and count, if they reproduce all values to the last bit."""
    first = float(values[0])
    step = float(values[1]) - first if values.size > 1 else 1.0
    is_regular = np.array_equal(first + np.arange(values.size) * step, values)
    return (first, step, values.size) if is_regular else None


def _nanoseconds(times: NDArray[Any]) -> NDArray[np.int64]:
    """Converts an array of datetime64 to nanoseconds since 1970."""
    exact = times.astype("datetime64[ns]")
    if np.any(np.isnat(exact)) or np.any(exact.astype(times.dtype) != times):
        raise ArgumentError("a time is NaT or beyond what datetime64[ns] holds")
    return np.ascontiguousarray(exact).reshape(-1).view(np.int64)


class _Points:
    """Arrays of one shape, one for each requested quantity."""

    shape: Tuple[int, ...]
    status: NDArray[np.uint8]

    def __init__(self, arrays: Dict[str, NDArray[Any]], shape: Tuple[int, ...]) -> None:
        self.shape = shape
        self.__dict__.update({name: array.reshape(shape) for name, array in arrays.items()})

    if not TYPE_CHECKING:
        def __getattr__(self, name: str) -> Any:
            if name in _annotations(type(self)):
                raise AttributeError(f'"{name}" was not computed: name it in fields=')
            raise AttributeError(name)

    def __repr__(self) -> str:
        names = ", ".join(name for name in self.__dict__ if name != "shape")
        return f"{type(self).__name__}(shape={self.shape}: {names})"


def _annotations(points: type) -> List[str]:
    return [name for name in points.__dict__.get("__annotations__", {}) if name != "status"]


class GroundPoints(_Points):
    """The ground positions of image positions; all arrays have the broadcast shape of the call."""

    longitude: Floats  #: geodetic [deg], in (-180, 180]
    latitude: Floats  #: geodetic [deg]
    height: Floats  #: above the ellipsoid [m]
    incidence: Floats  #: between the ellipsoid's normal and the sensor [deg]
    heading: Floats  #: of the sensor, from north towards east [deg]
    look: Floats  #: at the sensor, from the earth's centre [deg]
    x: Floats  #: earth-fixed, towards 0 E 0 N [m]
    y: Floats  #: earth-fixed, towards 90 E 0 N [m]
    z: Floats  #: earth-fixed, towards the north pole [m]
    zero_doppler_velocity: Floats  #: of the point along the ground [m/s]
    b_parameter: Floats  #: [m^2/s^2]
    fm_rate: Floats  #: of the azimuth signal [1/s^2]


class ImagePoints(_Points):
    """The image positions of places; all arrays have the broadcast shape of the call."""

    sample: Floats  #: from 0; may lie outside the image
    line: Floats  #: from 0; may lie outside the image
    azimuth_time: Floats  #: of the closest approach [s after the orbit's reference time]
    slant_range: Floats  #: at that time [m]


class OrbitStates(NamedTuple):
    """States of an orbit; for times of the shape s all arrays have the shape s + (3,)."""

    position: Floats  #: earth-fixed [m]
    velocity: Floats  #: earth-fixed [m/s]
    acceleration: Floats  #: earth-fixed [m/s^2]


class DemTile(NamedTuple):
    """One file of a DEM."""

    path: str
    box: Tuple[float, float, float, float]  #: west, south, east, north [deg]
    columns: int  #: grid points from west to east
    rows: int  #: grid points from south to north


def _names(fields: Sequence[str], points: type) -> Tuple[str, ...]:
    names = (fields,) if isinstance(fields, str) else tuple(fields)
    known = _annotations(points)
    for name in names:
        if name not in known:
            raise ArgumentError(f'"{name}" is no field; there are {", ".join(known)}')
    return names


class Orbit:
    """The orbit of a sensor. It never changes, and several threads may use it.

    Times are seconds after its reference time, ``datetime64`` (UTC, for orbits of the kind "UTC")
    or texts of the orbit's own kind.

    >>> orbit = Orbit.open(path)
    >>> orbit.reference_time
    '2022-04-14T10:21:00.000000Z'
    >>> orbit.state([70.0, 80.0]).position.shape
    (2, 3)
    >>> orbit.state(np.datetime64("2022-04-14T10:22:10")).velocity.round()
    array([ 1589., -5799., -4631.])
    """

    def __init__(self, times: ArrayLike, positions: ArrayLike,
                 velocities: Optional[ArrayLike] = None, *,
                 interpolation: str = "localpolynom_7_8",
                 reference_utc: Optional[str] = None) -> None:
        """Makes an orbit from state vectors.

        times: of shape (n,), ascending: seconds after `reference_utc`, or datetime64.
        positions: earth-fixed, of shape (n, 3) [m].
        velocities: earth-fixed, of shape (n, 3) [m/s]; only Hermite interpolations use them.
        interpolation: such as "localhermite_7_4"; docs/orbit-accuracy.md compares them.
        reference_utc: such as "2022-04-14T10:21:00Z"; by default the beginning of 6 January 1980,
            or of the first day if `times` are datetime64.

        Raises OrbitError for invalid state vectors, ArgumentError for shapes that do not fit.
        """
        moments = np.asarray(times)
        place = _floats(positions)
        if velocities is None and "hermite" in interpolation:
            raise ArgumentError("the Hermite interpolations need velocities")
        speed = np.zeros_like(place) if velocities is None else _floats(velocities)
        if moments.ndim != 1 or place.shape != (moments.size, 3) or speed.shape != place.shape:
            raise ArgumentError("times need the shape (n,), positions and velocities (n, 3)")
        if moments.dtype.kind == "M":
            if reference_utc is None:
                day = moments[0].astype("datetime64[D]") if moments.size else "1980-01-06"
                reference_utc = f"{day}T00:00:00Z"
            # Any orbit with this reference time converts times to seconds after it.
            clock = _core.Orbit(np.arange(2.0), np.zeros(6), np.zeros(6), "polynom", reference_utc)
            moments = clock.times_of_nanoseconds(_nanoseconds(moments))
        self._orbit = _core.Orbit(
            np.ascontiguousarray(_floats(moments)), np.ascontiguousarray(place).reshape(-1),
            np.ascontiguousarray(speed).reshape(-1), interpolation,
            reference_utc or "1980-01-06T00:00:00Z")

    @classmethod
    def _of(cls, orbit: _core.Orbit) -> Orbit:
        made = cls.__new__(cls)
        made._orbit = orbit
        return made

    @classmethod
    def open(cls, path: Path) -> Orbit:
        """Reads the orbit that a scene pool describes; raises PoolError, OrbitError."""
        return cls._of(_core.Orbit.open(os.fsencode(path)))

    @property
    def coverage(self) -> Tuple[float, float]:
        """The times of the first and the last state vector [s after the reference time]."""
        return self._orbit.coverage()

    @property
    def interpolation(self) -> str:
        """The text that names the interpolation."""
        return self._orbit.interpolation()

    @property
    def reference_time(self) -> str:
        """The text of the reference time."""
        return self._orbit.reference_time()

    @property
    def kind(self) -> str:
        """The kind of its epochs: "SECONDS", "MISSION_ELAPSED" or "UTC"."""
        return self._orbit.kind().name

    def seconds(self, times: Any) -> Floats:
        """Converts times in any form, of any shape, to seconds after the reference time; raises
        ArgumentError for values that are no times."""
        given = np.asarray(times)
        if given.dtype.kind == "M":
            return self._orbit.times_of_nanoseconds(_nanoseconds(given)).reshape(given.shape)
        if given.dtype.kind == "U":
            texts = [self._orbit.time_of(text) for text in given.reshape(-1).tolist()]
            return np.array(texts, dtype=np.float64).reshape(given.shape)
        return _floats(times)

    def datetimes(self, seconds: ArrayLike) -> NDArray[np.datetime64]:
        """Converts seconds after the reference time to datetime64[ns], for the kind "UTC"."""
        given = _floats(seconds)
        nanoseconds = self._orbit.nanoseconds_of_times(_flat(given, given.shape))
        return nanoseconds.view("datetime64[ns]").reshape(given.shape)

    def text_of(self, seconds: float) -> str:
        """Returns the text of a time in the orbit's kind, to the nearest microsecond."""
        return self._orbit.text_of(seconds)

    def state(self, times: Any, outside: str = "raise") -> OrbitStates:
        """Returns positions, velocities and accelerations at times of any shape.

        outside: what happens at times that are not covered: "raise" an OrbitError, "nan", or
            "extrapolate", which soon becomes useless.
        """
        ways = ("raise", "nan", "extrapolate")
        if outside not in ways:
            raise ArgumentError(f'outside= needs one of {", ".join(ways)}')
        seconds = self.seconds(times)
        parts = self._orbit.states(_flat(seconds, seconds.shape), ways.index(outside))
        return OrbitStates(*(part.reshape(seconds.shape + (3,)) for part in parts))

    def __repr__(self) -> str:
        first, last = self.coverage
        return (f"Orbit({self.interpolation}, {first} s to {last} s after "
                f"{self.reference_time or 0})")


class Dem:
    """A digital elevation model: heights above the WGS84 ellipsoid [m] on a geographic grid. A DEM
    never changes, and several threads may use it."""

    def __init__(self, dem: _core.Dem) -> None:
        """Use :meth:`open`."""
        self._dem = dem

    @classmethod
    def open(cls, path: Path) -> Dem:
        """Opens a descriptor and checks the headers of its tiles; raises DemError."""
        return cls(_core.Dem.open(os.fsencode(path)))

    def height(self, lon: ArrayLike, lat: ArrayLike) -> Floats:
        """Returns heights [m], bilinear between the grid points, at places [deg] of any
        broadcastable shapes; NaN where there is no height."""
        return self.height_and_status(lon, lat)[0]

    def height_and_status(self, lon: ArrayLike,
                          lat: ArrayLike) -> Tuple[Floats, NDArray[np.uint8]]:
        """Returns what :meth:`height` returns, and an array of HeightStatus."""
        x, y = _floats(lon), _floats(lat)
        shape = np.broadcast_shapes(x.shape, y.shape)
        heights, status = self._dem.heights(_flat(x, shape), _flat(y, shape))
        return heights.reshape(shape), status.reshape(shape)

    @property
    def path(self) -> str:
        """The path of its descriptor."""
        return self._dem.path()

    @property
    def tiles(self) -> List[DemTile]:
        """Its tiles in the order of the search."""
        return [DemTile(*tile) for tile in self._dem.tiles()]

    @property
    def spacing_deg(self) -> Tuple[float, float]:
        """The distances between grid points in longitude and latitude [deg]."""
        return self._dem.spacing()

    @property
    def void_value(self) -> Optional[float]:
        """The value that marks a void, if there is one."""
        return self._dem.void_value()

    def __repr__(self) -> str:
        return f"Dem({self.path!r}, {len(self.tiles)} tiles)"


class Scene:
    """The timing and size of an image and the orbit of its sensor. A scene never changes, and
    several threads may use it.

    >>> scene = Scene.open(path)
    >>> scene.samples, scene.lines, scene.look_side
    (21169, 13500, 'right')
    >>> round(scene.results()["center_latitude"], 3)
    50.836
    >>> ground = scene.image_to_ground(np.arange(5), np.arange(3)[:, None])
    >>> ground.incidence.shape
    (3, 5)
    >>> image = scene.ground_to_image(ground.longitude, ground.latitude, ground.height)
    >>> bool(np.allclose(image.sample, np.arange(5), atol=1e-3))
    True
    """

    def __init__(self, orbit: Union[Orbit, Sequence[ArrayLike]], *, first_azimuth_time: Any,
                 first_range_time_s: float, prf_hz: float, range_sampling_frequency_hz: float,
                 samples: int, lines: int, look_side: str = "right", radar_frequency_hz: float,
                 local_height_m: float = 0.0) -> None:
        """Makes a scene from its values.

        orbit: an Orbit, or (times, positions) or (times, positions, velocities) to make one from.
        first_azimuth_time: of line 0: seconds after the orbit's reference time, datetime64 or text.
        first_range_time_s: two-way, of sample 0.
        prf_hz, range_sampling_frequency_hz: lines and samples per second.
        samples, lines: the size of the image.
        look_side: "right" or "left" of the flight direction.
        radar_frequency_hz: of the carrier.
        local_height_m: of the ground above the ellipsoid.

        Raises SceneError and OrbitError for impossible values.
        """
        if look_side not in ("right", "left"):
            raise ArgumentError('look_side is "right" or "left"')
        path = orbit if isinstance(orbit, Orbit) else Orbit(*orbit)
        self._scene = _core.Scene(
            path._orbit, float(path.seconds(first_azimuth_time)), first_range_time_s, prf_hz,
            range_sampling_frequency_hz, samples, lines, look_side == "right", radar_frequency_hz,
            local_height_m)

    @classmethod
    def open(cls, path: Path) -> Scene:
        """Reads a scene pool; raises PoolError, OrbitError, SceneError."""
        made = cls.__new__(cls)
        made._scene = _core.Scene.open(os.fsencode(path))
        return made

    @property
    def orbit(self) -> Orbit:
        """The orbit of its sensor."""
        return Orbit._of(self._scene.orbit())

    @property
    def first_azimuth_time_s(self) -> float:
        """The azimuth time of line 0 [s after the orbit's reference time]."""
        return self._scene.first_azimuth_time_s()

    @property
    def first_range_time_s(self) -> float:
        """The two-way range time of sample 0 [s]."""
        return self._scene.first_range_time_s()

    @property
    def prf_hz(self) -> float:
        """Lines per second."""
        return self._scene.prf_hz()

    @property
    def range_sampling_frequency_hz(self) -> float:
        """Samples per second."""
        return self._scene.range_sampling_frequency_hz()

    @property
    def samples(self) -> int:
        """The number of samples per line."""
        return self._scene.samples()

    @property
    def lines(self) -> int:
        """The number of lines of the image."""
        return self._scene.lines()

    @property
    def look_side(self) -> str:
        """The side of the antenna: "right" or "left"."""
        return "right" if self._scene.looks_right() else "left"

    @property
    def radar_frequency_hz(self) -> float:
        """The frequency of the carrier [Hz]."""
        return self._scene.radar_frequency_hz()

    @property
    def local_height_m(self) -> float:
        """The height of the ground above the ellipsoid [m]."""
        return self._scene.local_height_m()

    def results(self) -> Dict[str, float]:
        """Returns the 23 results of the batch step for this scene, by their pool keys and in their
        order, in double precision; raises SceneError, OrbitError."""
        return self._scene.results()

    def locate(self, sample: float, line: float) -> Dict[str, float]:
        """Locates one image position at the scene's local height, exactly as the batch step does.
        Returns longitude, latitude, incidence [deg], height [m], zero_doppler_velocity [m/s],
        b_parameter [m^2/s^2] and fm_rate [1/s^2]; raises SceneError, OrbitError."""
        return self._scene.locate(sample, line)

    def image_to_ground(self, samples: ArrayLike, lines: ArrayLike,
                        height: Optional[ArrayLike] = None, *, dem: Optional[Dem] = None,
                        fields: Sequence[str] = ("longitude", "latitude", "height", "incidence"),
                        raised_ellipsoid: bool = False, threads: int = 1,
                        progress: Optional[Progress] = None) -> GroundPoints:
        """Locates image positions on the ground.

        samples, lines: from 0, of any broadcastable shapes; fractions and positions outside the
            image are allowed. A row of samples and a column of lines at regular steps are fastest
            and are not copied.
        height: of the ground above the ellipsoid [m], one for all or one for each point; by default
            the scene's local height.
        dem: the terrain of the ground; not together with `height`.
        fields: the quantities to compute, see :class:`GroundPoints`; the status is always included.
        raised_ellipsoid: heights raise both axes of the ellipsoid, as in the batch step.
        threads: number of threads; 0 is one for each processor. The results do not depend on it.
        progress: called from time to time with (done, total); False cancels the call.

        Points without an answer are NaN; `status` has the reason. Raises ArgumentError,
        CancelledError, DemError.
        """
        names = _names(fields, GroundPoints)
        x, y = _floats(samples), _floats(lines)
        heights = None if height is None else _floats(height)
        shape = np.broadcast_shapes(x.shape, y.shape, () if heights is None else heights.shape)
        one: Union[None, float, Floats] = heights
        if heights is not None:
            one = float(heights) if heights.ndim == 0 else _flat(heights, shape)
        options = (names, one, dem._dem if dem is not None else None, raised_ellipsoid, threads,
                   progress)
        grid = None
        if not isinstance(one, np.ndarray):
            grid = self._grid(x, y, shape)
        if grid is not None:
            row, column = grid
            return GroundPoints(
                self._scene.grid_to_ground(row[0], row[1], row[2], column[0], column[1], column[2],
                                           *options), shape)
        return GroundPoints(
            self._scene.points_to_ground(_flat(x, shape), _flat(y, shape), *options), shape)

    @staticmethod
    def _grid(samples: Floats, lines: Floats, shape: Tuple[int, ...]
              ) -> Optional[Tuple[Tuple[float, float, int], Tuple[float, float, int]]]:
        """Returns the regular grid of the positions, if they are one."""
        if (len(shape) != 2 or 0 in shape or samples.size != shape[1] or lines.size != shape[0]
                or samples.shape[-1:] != shape[1:] or lines.shape != (shape[0], 1)):
            return None
        row, column = _steps(samples.reshape(-1)), _steps(lines.reshape(-1))
        return (row, column) if row is not None and column is not None else None

    def ground_to_image(self, lon: ArrayLike, lat: ArrayLike, height: ArrayLike = 0.0, *,
                        fields: Sequence[str] = ("sample", "line", "azimuth_time", "slant_range"),
                        threads: int = 1, progress: Optional[Progress] = None) -> ImagePoints:
        """Finds the image positions of places on the ground, at the time when the sensor passes
        them at zero Doppler.

        lon, lat: geodetic [deg], of any broadcastable shapes; longitudes may differ by multiples of
            360.
        height: above the ellipsoid [m], of a broadcastable shape.
        fields: the quantities to compute, see :class:`ImagePoints`; the status is always included.
        threads, progress: as for :meth:`image_to_ground`.

        Points without an answer are NaN; `status` has the reason. Raises ArgumentError,
        CancelledError.
        """
        names = _names(fields, ImagePoints)
        x, y, z = _floats(lon), _floats(lat), _floats(height)
        shape = np.broadcast_shapes(x.shape, y.shape, z.shape)
        return ImagePoints(
            self._scene.ground_to_image(_flat(x, shape), _flat(y, shape), _flat(z, shape), names,
                                        threads, progress), shape)

    def __repr__(self) -> str:
        return f"Scene({self.samples} samples, {self.lines} lines, looks {self.look_side})"


def seconds_from_utc(text: str) -> float:
    """Returns the elapsed seconds from 1980-01-06T00:00:00 UTC, including leap seconds; raises
    ArgumentError.

    >>> seconds_from_utc("1980-01-06T00:00:01Z")
    1.0
    """
    return _core.seconds_from_utc(text)


def utc_from_seconds(seconds: float) -> str:
    """The inverse of :func:`seconds_from_utc`, to the nearest microsecond.

    >>> utc_from_seconds(1.0)
    '1980-01-06T00:00:01.000000Z'
    """
    return _core.utc_from_seconds(seconds)
