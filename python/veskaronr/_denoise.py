"""denoise and profile: 8- and 16-bit pictures."""

from __future__ import annotations

import os
import threading
from typing import Any, Literal, TypeVar, Union, overload

import numpy as np
from numpy.typing import NDArray

from ._library import c_library, check
from ._params import PARAM_COUNT, Params, Profile

Sample = TypeVar("Sample", np.uint8, np.uint16)
Image = Union[NDArray[np.uint8], NDArray[np.uint16]]

_NO_PROFILE = {
    -2: "no block of 32 x 32 pixels is usable: the picture is too small, black, white or flat",
    -3: "the picture's blocks cannot be split into shadows and highlights",
}

# The tuning variables that denoise2 works with belong to the process: one call at a time.
_one_at_a_time = threading.Lock()


def _renew_lock() -> None:
    global _one_at_a_time
    _one_at_a_time = threading.Lock()  # another thread of the parent may have held it at the fork


os.register_at_fork(after_in_child=_renew_lock)


def _checked(image: Any) -> Image:
    if not isinstance(image, np.ndarray):
        raise TypeError(f"a numpy array is wanted, not {type(image).__name__}")
    if image.dtype.kind != "u" or image.dtype.itemsize > 2:
        raise TypeError(f"samples must be uint8 or uint16, not {image.dtype}")
    if image.ndim not in (2, 3) or image.ndim == 3 and image.shape[2] not in (3, 4):
        raise ValueError(f"the shape must be (h, w), (h, w, 3) or (h, w, 4), not {image.shape}")
    if image.size == 0:
        raise ValueError(f"the picture has no pixels: shape {image.shape}")
    return image if image.dtype.isnative else image.astype(image.dtype.newbyteorder("="))


def _row_stride(image: Image) -> int | None:
    """Samples from row to row if the library can read the (h, w, 3) array in place, else None."""
    height, width = image.shape[:2]
    size = image.itemsize
    packed = (width == 1 or image.strides[1] == 3 * size) and image.strides[2] == size
    if not packed:
        return None
    if height == 1:
        return 3 * width
    stride, rest = divmod(image.strides[0], size)
    return stride if rest == 0 and 3 * width <= stride and stride * height < 2**31 else None


def _rows(height: int, width: int, stride: int, dtype: np.dtype[Any]) -> Any:
    """A new (h, w, 3) array whose rows are `stride` samples apart."""
    if stride == 3 * width:
        return np.empty((height, width, 3), dtype)
    memory = np.empty(height * stride, dtype)
    return np.lib.stride_tricks.as_strided(
        memory, (height, width, 3), (stride * memory.itemsize, 3 * memory.itemsize, memory.itemsize)
    )


def _run(image: Image, out: Image, stride: int, strength: float, threads: int, params: Params, tile: int) -> Params:
    vector = params.to_vector()
    vector[0] = strength
    height, width = image.shape[:2]
    with _one_at_a_time:
        result = c_library().denoise2(
            width, height, 3, stride, 8 * image.itemsize, tile, threads, vector, None, image.ctypes.data, out.ctypes.data
        )
    check("denoise2", result)
    return Params.from_vector(vector)


def _strength(strength: float) -> float:
    if not 0.5 <= strength <= 1.5:
        raise ValueError(f"the strength is a factor from 0.5 to 1.5, not {strength}")
    return float(strength)


@overload
def denoise(
    image: NDArray[Sample],
    strength: float = ...,
    threads: int | None = ...,
    params: Params | None = ...,
    *,
    out: NDArray[Sample] | None = ...,
    tile: int = ...,
    return_params: Literal[False] = ...,
) -> NDArray[Sample]: ...


@overload
def denoise(
    image: NDArray[Sample],
    strength: float = ...,
    threads: int | None = ...,
    params: Params | None = ...,
    *,
    out: NDArray[Sample] | None = ...,
    tile: int = ...,
    return_params: Literal[True],
) -> tuple[NDArray[Sample], Params]: ...


def denoise(
    image: Any,
    strength: float = 1.0,
    threads: int | None = None,
    params: Params | None = None,
    *,
    out: Any = None,
    tile: int = 256,
    return_params: bool = False,
) -> Any:
    """A denoised copy of a picture.

    image          uint8 or uint16 samples of shape (h, w) grey, (h, w, 3) RGB or (h, w, 4) RGB and alpha, which is
                   kept. An RGB array whose pixels are packed is read in place, whatever the distance of its rows;
                   another one is copied first.
    strength       factor on the measured noise, 0.5 to 1.5
    threads        number of threads; None: one per processor that this process may use. 2 and more give the same
                   bytes; 1 may cut different tiles and so give a slightly different picture.
    params         settings; left as they are
    out            array of the picture's shape and type for the result; must not overlap the picture
    tile           nominal tile edge, at least 56
    return_params  return (result, Params), the latter with what was measured and used

    Raises ValueError or TypeError for what cannot be right and Error for what the library refuses. May be called from
    any thread; calls wait for each other, since the library runs one at a time.
    """
    image = _checked(image)
    if out is not None:
        _check_out(image, out)
    if threads is None:
        threads = len(os.sched_getaffinity(0))
    settings = (_strength(strength), int(threads), params or Params(), int(tile))

    if image.ndim == 3 and image.shape[2] == 3:
        result, used = _denoise_rgb(image, out, *settings)
    else:
        result = np.empty_like(image) if out is None else out
        rgb = np.repeat(image[:, :, np.newaxis], 3, axis=2) if image.ndim == 2 else image[:, :, :3]
        clean, used = _denoise_rgb(np.ascontiguousarray(rgb), None, *settings)
        if image.ndim == 2:
            result[...] = clean[:, :, 1]
        else:
            result[:, :, :3] = clean
            result[:, :, 3] = image[:, :, 3]
    return (result, used) if return_params else result


def _check_out(image: Image, out: Any) -> None:
    if not isinstance(out, np.ndarray) or out.dtype != image.dtype or out.shape != image.shape:
        raise ValueError(f"out must be a {image.dtype} array of shape {image.shape}")
    if not out.flags.writeable:
        raise ValueError("out is read-only")
    if np.shares_memory(image, out):
        raise ValueError("out overlaps the picture")


def _denoise_rgb(
    image: Image, out: Any, strength: float, threads: int, params: Params, tile: int
) -> tuple[Any, Params]:
    height, width = image.shape[:2]
    if out is None:
        stride = _row_stride(image)
        if stride is None:
            image, stride = np.ascontiguousarray(image), 3 * width
        result = _rows(height, width, stride, image.dtype)
        return result, _run(image, result, stride, strength, threads, params, tile)
    # Both pictures must have rows of the same distance; the result decides.
    stride = _row_stride(out)
    target = out if stride is not None else np.empty(out.shape, out.dtype)
    stride = stride or 3 * width
    if _row_stride(image) != stride:
        copy = _rows(height, width, stride, image.dtype)
        copy[...] = image
        image = copy
    used = _run(image, target, stride, strength, threads, params, tile)
    if target is not out:
        out[...] = target
    return out, used


def profile(image: Any, strength: float = 1.0) -> Profile:
    """The measured noise of a picture, as denoise would find it, without denoising.

    Raises ArgumentError or StatisticsError for a picture that cannot be profiled; denoise uses the defaults then.
    """
    image = _checked(image)
    if image.ndim == 2:
        image = np.repeat(image[:, :, np.newaxis], 3, axis=2)
    eight = image[:, :, :3] if image.dtype == np.uint8 else (image[:, :, :3] >> 8).astype(np.uint8)
    stride = _row_stride(eight)
    if stride is None:
        eight, stride = np.ascontiguousarray(eight), 3 * image.shape[1]
    height, width = eight.shape[:2]
    vector = Params().to_vector()
    vector[0] = _strength(strength)
    scratch = np.empty(48 * (width // 32) * (height // 32) + 4 * 320, np.uint8)
    result = c_library().auto_profile(width, height, stride, vector, scratch.ctypes.data, eight.ctypes.data)
    check("auto_profile", result, _NO_PROFILE)
    assert len(vector) == PARAM_COUNT
    return Profile(vector[0], vector[7], vector[17], vector[18])
