"""Arrays of every kind as pictures of the library, in place where their strides allow it."""

from __future__ import annotations

import math
from typing import Any, Callable, Optional, Protocol, Union

import numpy as np
from numpy.typing import ArrayLike, NDArray

from ._arguments import integer, number
from ._library import CPicture, sized

_MOST_PIXELS = 0x3FFFFFFF  # along one side
_BAND_BYTES = 1 << 20
_TYPES = {np.dtype(np.uint8): 1, np.dtype(np.uint16): 2, np.dtype(np.float32): 3}
_PIXEL_MODES = ("L", "RGB", "RGBA", "RGBX", "F")  # of PIL's images, besides those of 16 bits

Array = NDArray[Any]


class SupportsArrayInterface(Protocol):
    """What PIL's images have."""

    @property
    def __array_interface__(self) -> dict[str, Any]:
        ...


ImageLike = Union[ArrayLike, SupportsArrayInterface]


def _of_list(array: Array, data_range: Optional[float]) -> Array:
    """Python's integers have no sample type of their own: 8 bits, unless data_range says more."""
    bits = 8 if data_range is None or data_range <= 255 else 16
    if array.size and not 0 <= array.min() <= array.max() < 1 << bits:
        raise ValueError(f"a list of {bits}-bit samples holds 0 to {(1 << bits) - 1}; data_range= says how many bits")
    return array.astype(f"uint{bits}")


def to_array(image: ImageLike, data_range: Optional[float] = None) -> Array:
    """The image as an array of samples that the module takes, with the caller's memory where there is any."""
    mode = getattr(image, "mode", None)
    if isinstance(mode, str) and hasattr(image, "convert") and mode not in _PIXEL_MODES and not mode.startswith("I;16"):
        raise TypeError(f"an image of mode {mode} holds no red, green and blue: image.convert('RGB') does")
    if isinstance(image, np.ma.MaskedArray):
        raise TypeError("a masked array has no samples where it is masked: fill it first")
    array = np.asarray(image)
    if isinstance(image, (list, tuple)) and array.dtype.kind in "iu" and array.dtype.itemsize > 2:
        array = _of_list(array, data_range)
    if array.dtype.kind + str(array.dtype.itemsize) not in ("u1", "u2", "f4", "f8"):
        raise TypeError(f"samples must be uint8, uint16, float32 or float64, not {array.dtype}")
    return array


def lies_apart(array: Array) -> bool:
    """Whether no two samples share bytes, as strides tell that nest."""
    reach = array.itemsize
    for stride, size in sorted((abs(s), n) for s, n in zip(array.strides, array.shape) if n > 1):
        if stride < reach:
            return False
        reach += stride * (size - 1)
    return True


def is_direct(array: Array) -> bool:
    """Whether the library can work on the array's own memory."""
    return array.dtype.isnative and array.dtype in _TYPES and lies_apart(array)


def copy_into(target: Array, source: Array) -> None:
    """``target[...] = source``, in bands of rows: Ctrl-C gets through between them."""
    rows = max(1, _BAND_BYTES // max(1, target[:1].nbytes))
    with np.errstate(over="ignore"):  # what float32 cannot hold becomes infinite, and is refused as such
        for y in range(0, len(target), rows):
            target[y : y + rows] = source[y : y + rows]


def _new_direct(like: Array) -> Array:
    """New memory for such an array, which the library can work on."""
    return np.empty(like.shape, np.float32 if like.dtype.kind == "f" else like.dtype.newbyteorder("="))


def _direct(array: Array) -> Array:
    if is_direct(array):
        return array
    copy = _new_direct(array)
    copy_into(copy, array)
    return copy


def result_array(out: Any, shape: tuple[int, ...], image: Array) -> Array:
    """The array that receives a result: a new one, or the caller's if it can."""
    dtype = image.dtype.newbyteorder("=")
    if out is None:
        return np.empty(shape, dtype)
    if not isinstance(out, np.ndarray):
        raise TypeError(f"out must be a numpy array, not {type(out).__name__}")
    if out.dtype.newbyteorder("=") != dtype or out.shape != shape:
        raise ValueError(f"out must be a {dtype} array of shape {shape}, not {out.dtype} of {out.shape}")
    if not out.flags.writeable:
        raise ValueError("out is read-only")
    if not lies_apart(out):
        raise ValueError("samples of out lie upon each other")
    try:
        overlaps = np.shares_memory(image, out, max_work=1 << 20)
    except np.TooHardError:
        overlaps = True
    if overlaps:
        raise ValueError("out overlaps the picture")
    return out


class Format:
    """How a caller's arrays are meant: where their channels are, and what their values say."""

    def __init__(
        self, data_range: Optional[float], channel_axis: Optional[int], channel_order: str, linear: bool
    ) -> None:
        if not isinstance(channel_order, str) or channel_order not in ("rgb", "bgr"):
            raise ValueError(f'channel_order must be "rgb" or "bgr", not {channel_order!r}')
        if linear and data_range is not None:
            raise ValueError("a linear picture has no data_range: its scale is measured")
        self.data_range = None if data_range is None else number("data_range", data_range)
        self.channel_axis = None if channel_axis is None else integer("channel_axis", channel_axis)
        self.channel_order = channel_order
        self.linear = bool(linear)

    def options(self) -> dict[str, Any]:
        """The keywords that make this format again."""
        return dict(vars(self))

    def array(self, image: ImageLike) -> Array:
        """The image as an array of samples, its values' range checked."""
        array = to_array(image, self.data_range)
        self._white(array.dtype)
        return array

    def pictures(self, array: Array) -> list[Array]:
        """Views of the pictures in an array, each of shape (h, w, c)."""
        if self.channel_axis is None:
            view = array[..., np.newaxis] if array.ndim == 2 else array
        elif array.ndim in (3, 4) and -array.ndim <= self.channel_axis < array.ndim:
            view = np.moveaxis(array, self.channel_axis, -1)
        else:
            raise ValueError(
                f"channel_axis is one of 3 axes, or of 4 of a batch, not {self.channel_axis} of {array.ndim}"
            )
        if view.ndim not in (3, 4) or view.shape[-1] not in (1, 3, 4):
            raise ValueError(
                "the shape must be (h, w), (h, w, c) or (n, h, w, c) with 1, 3 or 4 channels c, "
                f"or channel_axis must say where they are; it is {array.shape}"
            )
        if array.size == 0:
            raise ValueError(f"the picture has no pixels: shape {array.shape}")
        if max(view.shape[-3:-1]) > _MOST_PIXELS:
            raise ValueError(f"the picture's sides are limited to {_MOST_PIXELS} pixels: shape {array.shape}")
        return [view] if view.ndim == 3 else list(view)

    def one_picture(self, array: Array) -> Array:
        pictures = self.pictures(array)
        if len(pictures) != 1 or array.ndim == 4:
            raise ValueError(f"one picture is wanted, not a batch of shape {array.shape}")
        return pictures[0]

    def picture(self, view: Array, x: int = 0, y: int = 0) -> CPicture:
        """A view of shape (h, w, c) whose first pixel is (x, y) of the whole picture, as the library takes it."""
        samples = _direct(view)
        height, width, channels = samples.shape
        rows, pixels, step = samples.strides
        # Strides over a single row or pixel mean nothing to numpy, and may be anything.
        if width == 1:
            pixels = channels * abs(step) + samples.itemsize
        if height == 1:
            rows = width * abs(pixels) + channels * abs(step)
        colours = min(channels, 3)
        first = samples.__array_interface__["data"][0]
        addresses = [first + k * step for k in range(colours)]
        picture = sized(
            CPicture, type=_TYPES[samples.dtype], channels=colours, encoding=int(self.linear),
            white=self._white(view.dtype), x=x, y=y, width=width, height=height, pixel_stride=pixels, row_stride=rows,
        )  # fmt: skip
        picture.channel[:colours] = addresses[:: -1 if self.channel_order == "bgr" else 1]
        picture.samples = samples
        return picture

    def _white(self, dtype: np.dtype[Any]) -> float:
        """The largest value as the library takes it: 0 for the type's own."""
        if dtype.kind == "f":
            if self.data_range is None:
                return 0.0
            if not 0 < np.float32(self.data_range) < math.inf:
                raise ValueError(f"data_range must be a positive float32, not {self.data_range}")
            return self.data_range
        if self.linear:
            raise ValueError(f"samples proportional to light are floats, not {dtype}")
        if self.data_range is None:
            return 0.0
        if self.data_range not in [2**bits - 1 for bits in range(1, 8 * dtype.itemsize + 1)]:
            raise ValueError(f"data_range of {dtype} is one less than a power of two that fits, not {self.data_range}")
        return self.data_range


def fill(target: Array, view: Array, run: Callable[[Array], None], x: int = 0, y: int = 0) -> None:
    """Lets ``run`` write the colours of ``target``, by way of memory that the library can work on, and keeps the alpha
    of the view, which lies there from (x, y) on."""
    interlocked = view.strides != target.strides and np.may_share_memory(view, target)  # apart, but not for the library
    if is_direct(target) and not interlocked:
        run(target)
    else:
        result = _new_direct(target)
        run(result)
        copy_into(target[..., :3], result[..., :3])
    height, width, channels = target.shape
    if channels == 4:
        copy_into(target[..., 3:], view[y : y + height, x : x + width, 3:])
