"""Finding and loading the shared library; the structs and signatures of its C headers."""

from __future__ import annotations

import ctypes
import os
import sys
from ctypes import (
    CFUNCTYPE,
    POINTER,
    Structure,
    c_char_p,
    c_float,
    c_int,
    c_int32,
    c_int64,
    c_size_t,
    c_ssize_t,
    c_void_p,
)
from functools import lru_cache
from pathlib import Path
from typing import Any, Iterator, TypeVar

from ._errors import error_of

LIBRARY_NAME = {"win32": "VeskaroNRLib.dll", "darwin": "VeskaroNRLib.1.dylib"}.get(sys.platform, "VeskaroNRLib.so.1")
PARAM_COUNT = 21

PROGRESS = CFUNCTYPE(c_int, c_void_p, c_int64, c_int64)
EXECUTOR = CFUNCTYPE(c_int, c_void_p, c_int32, c_void_p, c_void_p)


class CPicture(Structure):
    """vnr_picture. ``samples``, on the Python side only, keeps the memory alive."""

    samples: Any
    _fields_ = [
        ("struct_size", c_size_t),
        ("type", c_int32),
        ("channels", c_int32),
        ("encoding", c_int32),
        ("white", c_float),
        ("x", c_int32),
        ("y", c_int32),
        ("width", c_int32),
        ("height", c_int32),
        ("channel", c_void_p * 3),
        ("pixel_stride", c_ssize_t),
        ("row_stride", c_ssize_t),
    ]


class CRectangle(Structure):
    """vnr_rectangle"""

    _fields_ = [("x0", c_int32), ("x1", c_int32), ("y0", c_int32), ("y1", c_int32)]


class CControl(Structure):
    """vnr_control"""

    _fields_ = [
        ("struct_size", c_size_t),
        ("threads", c_int32),
        ("run", EXECUTOR),
        ("progress", PROGRESS),
        ("cancel", POINTER(c_int32)),
        ("host", c_void_p),
    ]


class CNoise(Structure):
    """vnr_noise"""

    _fields_ = [
        ("struct_size", c_size_t),
        ("reason", c_int32),
        ("encoding", c_int32),
        ("level", c_float),
        ("statistic", c_float),
        ("linear_scale", c_float),
        ("blocks", c_int64),
        ("blocks_seen", c_int64),
        ("blocks_usable", c_int64),
        ("grain", c_int32),
        ("grain_blocks", c_int32),
        ("sigma", c_float * 3),
        ("correlation", c_float),
        ("blotches", c_float),
        ("luma", c_float),
        ("chroma", c_float),
        ("coarse_chroma", c_float),
        ("texture_guard", c_float),
        ("structure", c_float),
        ("spectrum", c_float * 8 * 8 * 3),
    ]


class CSettings(Structure):
    """vnr_settings"""

    _fields_ = [
        ("struct_size", c_size_t),
        ("params", c_float * PARAM_COUNT),
        ("recon_threshold", c_float),
        ("recon_rolloff", c_float),
        ("linear_scale", c_float),
        ("tile", c_int32),
        ("rounding", c_int32),
        ("patch", c_float),
        ("dots_luma", c_float),
        ("dots_chroma", c_float),
        ("shrink_luma", c_float),
        ("shrink_chroma", c_float),
        ("residual_luma", c_float * 8),
        ("residual_chroma", c_float * 8),
        ("spectrum", c_float * 8 * 8 * 3),
    ]


S = TypeVar("S", CPicture, CControl, CNoise, CSettings)


def sized(kind: type[S], **fields: Any) -> S:
    """A struct that says its own size."""
    return kind(struct_size=ctypes.sizeof(kind), **fields)


_PICTURE, _RECTANGLE, _CONTROL = POINTER(CPicture), POINTER(CRectangle), POINTER(CControl)
_NOISE, _SETTINGS = POINTER(CNoise), POINTER(CSettings)

# Functions that the module calls, with their result and argument types.
_SIGNATURES: dict[str, tuple[Any, list[Any]]] = {
    "vnr_result_text": (c_char_p, [c_int]),
    "vnr_measure": (c_int, [_PICTURE, _CONTROL, _NOISE]),
    "vnr_measure_begin": (c_int, [c_int32, c_int32, POINTER(c_void_p)]),
    "vnr_measure_add": (c_int, [c_void_p, _PICTURE, _CONTROL]),
    "vnr_measure_merge": (c_int, [c_void_p, c_void_p]),
    "vnr_measure_finish": (c_int, [c_void_p, _NOISE]),
    "vnr_measure_save": (c_int, [c_void_p, c_void_p, c_size_t, POINTER(c_size_t)]),
    "vnr_measure_load": (c_int, [c_char_p, c_size_t, POINTER(c_void_p)]),
    "vnr_measure_end": (None, [c_void_p]),
    "vnr_settings_classic": (c_int, [_NOISE, c_float, _SETTINGS]),
    "vnr_settings_fast": (c_int, [_NOISE, c_float, _SETTINGS]),
    "vnr_settings_best": (c_int, [_NOISE, c_float, _SETTINGS]),
    "vnr_plan_begin": (c_int, [c_int32, c_int32, _SETTINGS, POINTER(c_void_p)]),
    "vnr_plan_cover": (c_int, [c_void_p, _RECTANGLE, _RECTANGLE, _RECTANGLE]),
    "vnr_plan_filter": (c_int, [c_void_p, _PICTURE, _PICTURE, _CONTROL]),
    "vnr_plan_end": (None, [c_void_p]),
    "vnr_denoise": (c_int, [_PICTURE, _PICTURE, _SETTINGS, _CONTROL]),
    "denoise1": (c_int, [c_int] * 6 + [c_void_p, c_void_p]),
    "denoise2": (c_int, [c_int] * 7 + [POINTER(c_float), c_void_p, c_void_p, c_void_p]),
}


def _candidates() -> Iterator[str]:
    named = os.environ.get("VESKARONR_LIBRARY")
    if named:
        yield named
        return
    here = Path(__file__).resolve()
    folders = [here.parent]  # a wheel brings the library with it
    # In an installation the module lies somewhere under PREFIX/lib, and the library there or one folder below.
    for parent in here.parents:
        folders.append(parent / "lib64")
        if parent.name == "lib":
            folders += [parent, *sorted(parent.glob("*-linux-*")), parent.parent / "bin"]
    yield from (str(folder / LIBRARY_NAME) for folder in folders if (folder / LIBRARY_NAME).exists())
    yield LIBRARY_NAME


def _declare(library: ctypes.CDLL) -> None:
    for name, (result, arguments) in _SIGNATURES.items():
        function = getattr(library, name)
        function.restype = result
        function.argtypes = arguments


@lru_cache(maxsize=None)
def c_library() -> ctypes.CDLL:
    """The loaded library, for calls that this module does not wrap.

    Returns
    -------
    ctypes.CDLL
        ``VeskaroNRLib.so.1``, on Windows ``VeskaroNRLib.dll``, with the signatures of the functions that the module
        uses.

    Raises
    ------
    ImportError
        If there is none, or only one that is too old. The environment variable ``VESKARONR_LIBRARY`` may name it.

    Examples
    --------
    >>> import veskaronr
    >>> veskaronr.c_library().vnr_version() // 10000
    1
    """
    failures = []
    for name in _candidates():
        try:
            loaded = ctypes.CDLL(name)
            _declare(loaded)
        except (OSError, AttributeError) as failure:
            failures.append(str(failure))
        else:
            return loaded
    raise ImportError(f"{LIBRARY_NAME} cannot be loaded (VESKARONR_LIBRARY may name it): " + "; ".join(failures))


def call(name: str, *arguments: Any) -> None:
    """Calls a function of veskaronr.h and raises what a negative result means."""
    check(name, getattr(c_library(), name)(*arguments))


def check(name: str, code: int) -> None:
    if code < 0:
        raise error_of(name, code, c_library().vnr_result_text(code).decode())
