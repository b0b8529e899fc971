"""The library's result codes as exceptions. All of them survive pickling."""

from __future__ import annotations

from typing import Mapping


class Error(Exception):
    """The library refused a call, or could not finish it.

    Attributes
    ----------
    function : str
        The C function that said so.
    why : str
        What is wrong.
    code : int
        The C function's result.

    Examples
    --------
    >>> import pickle, veskaronr
    >>> print(pickle.loads(pickle.dumps(veskaronr.Cancelled("vnr_denoise", "cancelled", -13))))
    vnr_denoise: cancelled (code -13)
    """

    def __init__(self, function: str, why: str, code: int = 0) -> None:
        super().__init__(function, why, code)
        self.function = function
        self.why = why
        self.code = code

    def __str__(self) -> str:
        return f"{self.function}: {self.why} (code {self.code})"


class ArgumentError(Error, ValueError):
    """An argument, setting or sample that the library does not take."""


class StatisticsError(Error):
    """A high-dynamic-range picture without usable statistics, as when it is all of one colour."""


class LibraryMemoryError(Error, MemoryError):
    """Memory is exhausted."""


class Cancelled(Error):
    """``cancel`` was set while the call ran. What it was to write is unspecified."""


_KINDS: Mapping[int, type[Error]] = {
    **dict.fromkeys(range(-10, -2), ArgumentError),
    -11: LibraryMemoryError,
    -12: ArgumentError,
    -13: Cancelled,
}

_RGBE_KINDS: Mapping[int, tuple[type[Error], str]] = {
    -2: (ArgumentError, "both sides must be at least 32 pixels, and the picture below 2^28 pixels"),
    -3: (StatisticsError, "the picture's values have no spread, or lie beyond the float range"),
    -4: (LibraryMemoryError, "memory is exhausted"),
}


def error_of(function: str, code: int, text: str) -> Error:
    """The exception for a negative result of veskaronr.h."""
    return _KINDS.get(code, Error)(function, text, code)


def rgbe_error_of(code: int) -> Error:
    """The exception for a result of denoise1 that is no number of rows."""
    kind, why = _RGBE_KINDS.get(code, (Error, "unknown result"))
    return kind("denoise1", why, code)
