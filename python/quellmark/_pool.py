"""Parameter pools: typed entries in a text file."""
from __future__ import annotations

import os
from typing import Any, Iterator, List, Mapping, NamedTuple, Optional, Sequence, Tuple, Union

import numpy as np

from . import _core
from ._errors import ArgumentError, PoolError

_Path = Union[str, "os.PathLike[str]"]

_DTYPES = {
    "BOL": np.dtype(np.bool_), "BYT": np.dtype(np.uint8), "INT_8": np.dtype(np.int8),
    "INT_16": np.dtype(np.int16), "INT_32": np.dtype(np.int32), "INT_64": np.dtype(np.int64),
    "FLT_6": np.dtype(np.float32), "FLT_15": np.dtype(np.float64),
    "CPL_6": np.dtype(np.complex64), "CPL_15": np.dtype(np.complex128), "STR": np.dtype(np.str_),
}


class Indexed(NamedTuple):
    """A value with an index, for entries of the types "IDX_..."."""

    index: int  # type: ignore[assignment]  # hides the method of tuples
    value: Any


class _Type(NamedTuple):
    """The parts of a type's name."""

    element: str  # a key of _DTYPES
    form: str  # "plain", "pair" or "indexed"
    container: str  # "" for one value, "V" or "M"

    @staticmethod
    def named(name: str) -> _Type:
        container = name[-1] if name.endswith(("_V", "_M")) else ""
        element = name[:-2] if container else name
        form = "plain"
        if element.startswith("IDX_"):
            element, form = element[len("IDX_"):], "indexed"
        half = element[:len(element) // 2]
        if element == half + "_" + half:
            element, form = half, "pair"
        if element not in _DTYPES:
            raise ArgumentError(f'"{name}" is no type of pool entries')
        return _Type(element, form, container)

    @property
    def name(self) -> str:
        element = {"plain": self.element, "pair": f"{self.element}_{self.element}",
                   "indexed": f"IDX_{self.element}"}[self.form]
        return element + ("_" + self.container if self.container else "")


class _Entry(NamedTuple):
    """An entry that is not saved yet, in the form of the C++ library."""

    type_name: str
    columns: Tuple[Any, Any, Tuple[int, ...], Tuple[int, ...]]
    comments: List[str]


def _exact(value: Any, element: str) -> np.ndarray[Any, Any]:
    """Returns an array of the element's type. Refuses values that the type cannot hold, but rounds
    floating-point numbers."""
    given = np.asarray(value)
    dtype = _DTYPES[element]
    if element == "STR":
        if given.size and given.dtype.kind != "U":
            raise ArgumentError(f"{value!r} is no text")
        return given.astype(np.str_)
    if given.size == 0:
        return given.astype(dtype)
    order = "biufc"
    rank = {"b": 0, "u": 2, "i": 2, "f": 3, "c": 4}
    if given.dtype.kind not in order:
        raise ArgumentError(f"{value!r} is no {element}")
    with np.errstate(all="ignore"):
        result = given.astype(dtype) if rank[given.dtype.kind] <= rank[dtype.kind] or (
            given.dtype.kind == "f" and dtype.kind in "iu") else None
    if result is None or (given.dtype.kind == "b") != (element == "BOL"):
        raise ArgumentError(f"{value!r} is no {element}")
    lost = (not np.array_equal(result, given) if dtype.kind in "iu"
            else bool(np.any(np.isfinite(given) & ~np.isfinite(result))))
    if lost:
        raise ArgumentError(f"{value!r} is beyond what {element} holds")
    return result


def _decode(name: str, columns: Tuple[Any, Any, Tuple[int, ...], Tuple[int, ...]]) -> Any:
    """Returns the Python value of an entry."""
    kind = _Type.named(name)
    data, indices, _, shape = columns
    if kind.container:
        values = np.array(data, dtype=_DTYPES[kind.element]) if kind.element == "STR" else data
        if kind.form == "pair":
            return values.reshape(-1, 2)
        if kind.form == "plain":
            return values.reshape(shape)
        table = np.empty(shape, [("index", np.int32), ("value", values.dtype)])
        table["index"], table["value"] = indices, values
        return table
    if kind.element == "BOL":
        return bool(data[0])
    if kind.form == "pair":
        return (data[0], data[1])
    return Indexed(int(indices[0]), data[0]) if kind.form == "indexed" else data[0]


def _encode(kind: _Type, value: Any, first_index: Any
            ) -> Tuple[Any, Any, Tuple[int, ...], Tuple[int, ...]]:
    """Returns the columns of a Python value."""
    indices = None
    if kind.form == "indexed":
        if kind.container:
            table = np.asarray(value)
            if table.dtype.names != ("index", "value"):
                raise ArgumentError(f"{kind.name} needs an array with the fields index and value")
            index, value = table["index"], table["value"]
        else:
            index, value = value
        indices = np.ravel(_exact(index, "INT_32"))
    data = _exact(value, kind.element)
    dimensions = {"": 0, "V": 1, "M": 2}[kind.container]
    is_pair = kind.form == "pair"
    shape = data.shape[:-1] if is_pair else data.shape
    if is_pair and data.size == 0:
        shape = data.shape[:1]
    elif is_pair and data.shape[-1:] != (2,):
        raise ArgumentError(f"{kind.name} needs two values in each element")
    if len(shape) != dimensions:
        raise ArgumentError(f"{kind.name} needs {dimensions} dimensions, not {len(shape)}")
    origin = tuple(int(i) for i in np.ravel(1 if first_index is None else first_index))
    origin = origin * dimensions if len(origin) == 1 else origin
    if len(origin) != dimensions:
        raise ArgumentError(f"{kind.name} needs {dimensions} first indices")
    flat = np.ravel(data)
    return (flat.tolist() if kind.element == "STR" else flat, indices, origin, shape)


def _guess(value: Any) -> _Type:
    """Returns the type of a new entry."""
    if isinstance(value, Indexed):
        return _guess(value.value)._replace(form="indexed")
    if isinstance(value, tuple) and len(value) == 2:
        return _guess_array(np.asarray(value), True)._replace(form="pair", container="")
    array = np.asarray(value)
    if array.dtype.names == ("index", "value"):
        return _guess_array(array["value"], False)._replace(form="indexed")
    return _guess_array(array, not isinstance(value, (np.ndarray, np.generic)))


def _guess_array(array: np.ndarray[Any, Any], is_python: bool) -> _Type:
    container = {0: "", 1: "V", 2: "M"}.get(array.ndim)
    if container is None:
        raise ArgumentError("a pool holds no arrays of more than two dimensions")
    if array.dtype.kind == "U":
        return _Type("STR", "plain", container)
    dtype = array.dtype
    # Python integers get 32 bits if they fit, as usual in pools.
    is_small = dtype.kind == "i" and (
        array.size == 0 or bool(np.all(np.abs(array.astype(np.float64)) < 2**31)))
    if is_small and dtype == np.int64 and (is_python or container == "M"):
        dtype = np.dtype(np.int32)
    for element, candidate in _DTYPES.items():
        if element != "STR" and (dtype.kind == "b") == (element == "BOL") and np.can_cast(
                dtype, candidate, "safe"):
            return _Type(element, "plain", container)
    raise ArgumentError(f"a pool holds no values of the type {array.dtype}")


class Pool(Mapping[str, Any]):
    """A parameter pool as a mapping from keys to values, in the order of the file.

    Values are ``bool``, ``str``, numpy scalars of the entry's type, tuples for pairs,
    :class:`Indexed`, and numpy arrays for vectors and matrices: of shape (n,) and (rows, columns),
    (n, 2) for vectors of pairs, and with the fields "index" and "value" for indexed ones. If a
    key occurs twice, its first entry counts.

    Assigned values are kept in memory until :meth:`save`. Entries are never removed from a file.

    >>> pool = Pool.open(path)
    >>> pool["n_samples"], pool.type_of("n_samples")
    (21169, 'INT_32')
    >>> pool["orbit_pos_x"].dtype, pool.type_of("orbit_pos_x")
    (dtype('float64'), 'FLT_15_V')
    >>> pool["n_samples"] = 100          # stays an INT_32
    >>> pool.set("looks", np.array([1.5, 2.5], np.float32), comments=["made by hand"])
    >>> pool.type_of("looks"), pool.is_changed
    ('FLT_6_V', True)
    """

    def __init__(self) -> None:
        """Makes a pool without entries and without a file."""
        self._pool = _core.Pool()
        self._path = ""
        self._editor = _core.PoolEditor()
        self._pending: dict[str, _Entry] = {}

    @staticmethod
    def open(path: _Path) -> Pool:
        """Reads the file, which is closed again before this returns; raises PoolError."""
        pool = Pool()
        pool._pool = _core.Pool.open(os.fsencode(path))
        pool._path = os.fsdecode(path)
        return pool

    @staticmethod
    def from_text(text: Union[str, bytes], name: str = "") -> Pool:
        """Uses `text` as the content of a file; errors call that file `name`."""
        pool = Pool()
        data = text.encode("utf-8", "surrogateescape") if isinstance(text, str) else text
        pool._pool = _core.Pool.from_text(data, name)
        return pool

    @property
    def path(self) -> str:
        """The file that the pool was read from or saved to; empty if there is none."""
        return self._path

    @property
    def is_changed(self) -> bool:
        """Whether there are changes to save."""
        return bool(self._pending)

    def __getitem__(self, key: str) -> Any:
        """Returns the value; raises KeyNotFoundError (a KeyError), and PoolError for a text that is
        no value of the entry's type."""
        if key in self._pending:
            entry = self._pending[key]
            return _decode(entry.type_name, entry.columns)
        columns = self._pool.get(key)
        return _decode(self._pool.describe(key)[0], columns)

    def __contains__(self, key: object) -> bool:
        return isinstance(key, str) and (key in self._pending or self._pool.has(key))

    def __iter__(self) -> Iterator[str]:
        yield from self._pool.keys()
        yield from [key for key in self._pending if not self._pool.has(key)]

    def __len__(self) -> int:
        return sum(1 for _ in self)

    def __setitem__(self, key: str, value: Any) -> None:
        """Changes an entry, which keeps its type and first indices, or adds a new one."""
        self.set(key, value)

    def set(self, key: str, value: Any, *, type: Optional[str] = None,
            first_index: Union[None, int, Tuple[int, int]] = None,
            comments: Sequence[str] = ()) -> None:
        """Changes or adds an entry.

        type: the name of the type in the file, such as "FLT_6_V"; by default the entry's type, or
            the one that fits a new value. Python integers become INT_32 if they fit.
        first_index: of a vector, or (row, column) of a matrix; by default that of the entry, or 1.
        comments: lines to write above the entry.

        Raises ArgumentError for a value that the type cannot hold, PoolError for an entry that
        could not be read back: with blanks in the key, line ends in a text, numbers that are not
        finite.
        """
        if type is None and key in self:
            type = self.type_of(key)
            if type == "UNKNOWN" or not type:
                raise PoolError(f'the entry "{key}" has no known type', key=key)
        kind = _Type.named(type) if type else _guess(value)
        if first_index is None and kind.container and key in self:
            first_index = self._origin_if(key, kind)
        entry = _Entry(kind.name, _encode(kind, value, first_index), list(comments))
        self._editor.set(key, entry.type_name, *entry.columns, entry.comments)
        self._pending[key] = entry

    def _origin_if(self, key: str, kind: _Type) -> Any:
        """Returns the first indices of the entry, if it is a vector or matrix like `kind`."""
        if _Type.named(self.type_of(key)).container != kind.container:
            return None
        return self.first_index(key)

    def type_of(self, key: str) -> str:
        """Returns the name of the entry's type in the file, such as "FLT_15_V"."""
        if key in self._pending:
            return self._pending[key].type_name
        return self._pool.describe(key)[0]

    def first_index(self, key: str) -> Tuple[int, ...]:
        """Returns the first indices of a vector (one) or of a matrix (two), or ()."""
        columns = self._pending[key].columns if key in self._pending else self._pool.get(key)
        return tuple(columns[2])

    def comments(self, key: str) -> List[str]:
        """Returns the comment lines above the entry, without "#" and line end."""
        lines = list(self._pool.describe(key)[2]) if self._pool.has(key) else []
        return lines + (self._pending[key].comments if key in self._pending else [])

    def line(self, key: str) -> int:
        """Returns the line of the entry in the file, from 1, or 0 if it is not saved."""
        return self._pool.describe(key)[1] if self._pool.has(key) or key not in self else 0

    def save(self, path: Optional[_Path] = None) -> None:
        """Without `path`, writes the changes into the pool's own file. Everything else there stays
        byte for byte the same, including changes that others have made since. With another `path`,
        writes the whole pool to that file and replaces it in one step. Raises PoolError or OSError;
        the changes are then still pending."""
        target = os.fsdecode(path) if path is not None else self._path
        if not target:
            raise ArgumentError("a pool that has no file needs a path to be saved to")
        own = bool(self._path) and (path is None or (
            os.path.exists(target) and os.path.exists(self._path)
            and os.path.samefile(target, self._path)))
        if own and self._pending:
            self._editor.update(os.fsencode(target))
        elif not own:
            self._write_whole(target)
        self._pool = _core.Pool.open(os.fsencode(target))
        self._path = target
        self._editor = _core.PoolEditor()
        self._pending = {}

    def _write_whole(self, target: str) -> None:
        text = self._pool.text()
        if not text:
            self._editor.write(os.fsencode(target))
            return
        # The entries go into a copy beside the target, which then replaces it in one step.
        copy = f"{target}.{os.getpid()}.new"
        try:
            with open(copy, "xb") as file:
                file.write(text)
            if self._pending:
                self._editor.update(os.fsencode(copy))
            with open(copy, "rb") as file:
                os.fsync(file.fileno())
            os.replace(copy, target)
        except FileExistsError:
            raise
        except BaseException:
            if os.path.exists(copy):
                os.unlink(copy)
            raise

    def __repr__(self) -> str:
        return f"Pool({self._path!r}, {len(self)} entries)"
