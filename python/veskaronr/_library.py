"""Finding and loading the shared library, its signatures, and its result codes as exceptions."""

from __future__ import annotations

import ctypes
import os
from ctypes import POINTER, c_float, c_int, c_void_p
from functools import lru_cache
from pathlib import Path
from typing import Iterator

_SONAME = "VeskaroNRLib.so.1"

# Functions that the module calls, with their result and argument types.
_SIGNATURES: dict[str, tuple[object, list[object]]] = {
    "denoise2": (c_int, [c_int] * 7 + [POINTER(c_float), c_void_p, c_void_p, c_void_p]),
    "mem4denoise": (c_int, [c_int] * 4),
    "denoise1": (c_int, [c_int] * 6 + [c_void_p, c_void_p]),
    "nr_def": (c_int, [POINTER(c_float)]),
    "auto_profile": (c_int, [c_int] * 3 + [POINTER(c_float), c_void_p, c_void_p]),
    "hdr_stats": (c_int, [c_int] * 6 + [c_float, c_void_p, POINTER(c_float)]),
}


class Error(Exception):
    """A negative result of the library; ``code`` holds it."""

    code = 0

    def __init__(self, function: str, why: str) -> None:
        super().__init__(f"{function}: {why} (code {self.code})")
        self.function = function


class ArgumentError(Error, ValueError):
    """Code -2: a format, size or depth that the library does not take; from profile: no usable block."""

    code = -2


class StatisticsError(Error):
    """Code -3: the picture has no usable statistics, as when it is all of one colour."""

    code = -3


class LibraryMemoryError(Error, MemoryError):
    """Code -4: memory is exhausted, or an amount does not fit the library's 32-bit sizes."""

    code = -4


_ERRORS: dict[int, tuple[type[Error], str]] = {
    0: (ArgumentError, "the depth is not supported"),
    -2: (ArgumentError, "an argument is outside what the library takes"),
    -3: (StatisticsError, "the picture has no usable statistics"),
    -4: (LibraryMemoryError, "memory is exhausted, or an amount does not fit 32 bits"),
}


def check(function: str, result: int, reasons: dict[int, str] | None = None) -> int:
    """The result if it is positive; raises what it means otherwise. `reasons` may say it more precisely."""
    if result > 0:
        return result
    error, why = _ERRORS.get(result, (Error, f"unknown result {result}"))
    raise error(function, (reasons or {}).get(result, why))


def _candidates() -> Iterator[str]:
    named = os.environ.get("VESKARONR_LIBRARY")
    if named:
        yield named
        return
    # In an installation the module lies somewhere under PREFIX/lib, and the library there or one folder below.
    for parent in Path(__file__).resolve().parents:
        folders = [parent / "lib64"]
        if parent.name == "lib":
            folders += [parent, *sorted(parent.glob("*-linux-*"))]
        yield from (str(folder / _SONAME) for folder in folders if (folder / _SONAME).exists())
    yield _SONAME


@lru_cache(maxsize=None)
def c_library() -> ctypes.CDLL:
    """The loaded library, for calls that this module does not wrap."""
    failures = []
    for name in _candidates():
        try:
            loaded = ctypes.CDLL(name)
        except OSError as failure:
            failures.append(str(failure))
            continue
        for function, (result, arguments) in _SIGNATURES.items():
            getattr(loaded, function).restype = result
            getattr(loaded, function).argtypes = arguments
        return loaded
    raise ImportError("VeskaroNRLib.so.1 cannot be loaded (VESKARONR_LIBRARY may name it): " + "; ".join(failures))

