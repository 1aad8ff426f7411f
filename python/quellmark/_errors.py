"""What is raised when something fails."""
from __future__ import annotations

from typing import Sequence


class Error(RuntimeError):
    """The base of everything that this library raises; ``str()`` of it is one line that says what
    failed, in which file and under which key.

    file: the file that it is about; empty if none is.
    key: the pool key that it is about; empty if none is.
    line: the line of that key in the file, from 1; 0 if unknown.
    log_lines: what the batch step would log on the way, oldest first.
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
    """A call that cannot be right whatever the data are, such as two heights for one point."""


class PoolError(Error):
    """A pool: its file, an entry or its update."""


class KeyNotFoundError(PoolError, KeyError):
    """A pool has no entry of that key."""


class OrbitError(Error):
    """An orbit: its description, its state vectors, a time that it does not cover."""


class DemError(Error):
    """A DEM: its descriptor, its tiles."""


class SceneError(Error):
    """A scene: its parameters, or an image position that is nowhere on the ground."""


class CancelledError(Error):
    """The progress function has ended a long call."""
