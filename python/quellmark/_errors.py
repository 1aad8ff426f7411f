"""The exceptions of this package."""
from __future__ import annotations

from typing import Sequence


class Error(RuntimeError):
    """The base of all exceptions of this library. ``str()`` of it is one line that says what
    failed, in which file and under which key.

    file: the file concerned, or "".
    key: the pool key concerned, or "".
    line: the line of that key in the file, from 1; 0 if unknown.
    log_lines: the log lines of the failure, oldest first.
    kind: the text of the failure's class, such as "pool error - key not found".
    """

    def __init__(self, message: str = "", file: str = "", key: str = "", line: int = 0,
                 log_lines: Sequence[str] = (), kind: str = "") -> None:
        super().__init__(message)
        self.file = file
        self.key = key
        self.line = line
        self.log_lines = list(log_lines)
        self.kind = kind

    def __str__(self) -> str:
        return str(self.args[0])


class ArgumentError(Error, ValueError):
    """A call that is wrong for any data, such as one with two heights for one point."""


class PoolError(Error):
    """A failure of a pool: of its file, an entry or an update."""


class KeyNotFoundError(PoolError, KeyError):
    """A pool has no entry of this key."""


class OrbitError(Error):
    """A failure of an orbit: of its description or state vectors, or a time that it does not
    cover."""


class DemError(Error):
    """A failure of a DEM: of its descriptor or tiles."""


class SceneError(Error):
    """A failure of a scene: of its parameters, or an image position without a point on the
    ground."""


class CancelledError(Error):
    """The progress function has cancelled a call."""
