"""denoise_rgbe: high-dynamic-range pictures with a shared exponent."""

from __future__ import annotations

from typing import Any, Optional

import numpy as np
from numpy.typing import NDArray

from ._arguments import integer
from ._arrays import Array, ImageLike, copy_into, result_array, to_array
from ._errors import rgbe_error_of
from ._library import CControl, CPicture, c_library
from ._run import Progress, Runner, SupportsIsSet


def denoise_rgbe(
    image: ImageLike,
    strength: int = 100,
    *,
    planar: bool = False,
    overwrite: bool = False,
    progress: Optional[Progress] = None,
    cancel: Optional[SupportsIsSet] = None,
    out: Optional[NDArray[np.uint8]] = None,
) -> NDArray[np.uint8]:
    """A denoised copy of a Radiance picture: red, green and blue mantissas and an exponent, in this order.

    Parameters
    ----------
    image : array_like
        uint8 samples of shape (h, w, 4), as Radiance files hold them, both sides at least 32 pixels; or a batch
        (n, h, w, 4).
    strength : int
        50 to 99: chroma only; 100: nominal; 101 to 150: stronger.
    planar : bool
        The picture and the result have the shape (h, 4, w), the library's own layout.
    overwrite : bool
        A C-contiguous planar picture may be used as scratch: it is not copied then, and holds the chroma-denoised
        picture afterwards (or itself, below strength 100).
    progress : callable or tqdm bar, optional
        As in `denoise`, told after every picture.
    cancel : threading.Event, optional
        As in `denoise`.
    out : ndarray, optional
        Receives the result: a uint8 array of the picture's shape that shares no memory with it.

    Returns
    -------
    ndarray
        uint8, of the picture's shape; contiguous, unless it is ``out``.

    Raises
    ------
    TypeError, ValueError
        If an argument cannot be right.
    StatisticsError
        If a picture has no spread, such as an all-black one.
    Cancelled
        If ``cancel`` was set.

    Examples
    --------
    >>> import numpy as np, veskaronr
    >>> noisy = np.random.default_rng(1).integers(100, 256, (64, 64, 4), dtype=np.uint8)
    >>> noisy[..., 3] = np.linspace(126, 132, 64)
    >>> veskaronr.denoise_rgbe(noisy).shape
    (64, 64, 4)
    """
    array = to_array(image)
    axis = -2 if planar else -1
    if array.dtype != np.uint8:
        raise TypeError(f"samples must be uint8, not {array.dtype}")
    if array.ndim not in (3, 4) or array.shape[axis] != 4:
        raise ValueError(f"the shape must be {'(h, 4, w)' if planar else '(h, w, 4)'}, or a batch, not {array.shape}")
    if not 50 <= integer("strength", strength) <= 150:
        raise ValueError(f"the strength is a number from 50 to 150, not {strength}")
    result = result_array(out, array.shape, array)
    sources, targets = _row_planar(array, axis), _row_planar(result, axis)
    runner = Runner(None, progress, cancel, len(sources))
    for source, target in zip(sources, targets):
        copy_into(target, _denoise(source, int(strength), overwrite and planar, runner))
        runner.tell(0, 1)
    return result


def _row_planar(array: Array, channel_axis: int) -> list[Array]:
    """Views of the pictures in an array, each of shape (h, 4, w)."""
    view = np.moveaxis(array, channel_axis, -2)
    return [view] if view.ndim == 3 else list(view)


def _denoise(picture: Array, strength: int, overwrite: bool, runner: Runner) -> Array:
    in_place = overwrite and picture.flags.c_contiguous and picture.flags.writeable
    source = picture if in_place else np.empty(picture.shape, np.uint8)
    if not in_place:
        copy_into(source, picture)
    result = np.empty_like(source)
    height, _, width = source.shape
    if max(height, width) >= 1 << 31:
        raise rgbe_error_of(-2)

    def run(_: CControl) -> int:
        function = c_library().denoise1
        code = int(function(strength, width, height, 4 * width, 4, 32, source.ctypes.data, result.ctypes.data))
        if code <= 0:
            raise rgbe_error_of(code)
        return code

    # The call cannot be cancelled. Left alone it works on memory of its own.
    runner("denoise1", CPicture(width=width, height=height), run, may_leave=not in_place)
    return result
