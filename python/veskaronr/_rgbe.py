"""denoise_rgbe: high-dynamic-range pictures with a shared exponent."""

from __future__ import annotations

import numpy as np
from numpy.typing import NDArray

from ._library import c_library, check

_REASONS = {
    -2: "both sides must be at least 32 pixels, and the picture below 2^28 pixels",
    -3: "the picture's values have no spread, or lie beyond the float range",
}


def denoise_rgbe(
    image: NDArray[np.uint8], strength: int = 100, *, planar: bool = False, overwrite: bool = False
) -> NDArray[np.uint8]:
    """A denoised copy of a Radiance picture.

    image      uint8 samples of shape (h, w, 4): red, green and blue mantissas and the exponent of each pixel, as
               Radiance files hold them; with `planar` of shape (h, 4, w), the library's own layout
    strength   50 to 99: chroma only; 100: nominal; 101 to 150: stronger
    planar     the picture and the result have the shape (h, 4, w)
    overwrite  a C-contiguous planar picture may be used as scratch: it is not copied then, and holds the
               chroma-denoised picture afterwards (or itself, below strength 100)

    Raises StatisticsError for a picture without spread, such as an all-black one. Calls may run at the same time.
    """
    if not isinstance(image, np.ndarray) or image.dtype != np.uint8:
        raise TypeError("an array of uint8 is wanted")
    if image.ndim != 3 or image.shape[1 if planar else 2] != 4:
        raise ValueError(f"the shape must be {'(h, 4, w)' if planar else '(h, w, 4)'}, not {image.shape}")
    if not 50 <= strength <= 150:
        raise ValueError(f"the strength is a number from 50 to 150, not {strength}")

    source: NDArray[np.uint8] = image if planar else image.transpose(0, 2, 1)
    if not (overwrite and planar and source.flags.c_contiguous and source.flags.writeable):
        source = source.copy(order="C")
    result: NDArray[np.uint8] = np.empty_like(source)
    height, _, width = source.shape
    code = c_library().denoise1(int(strength), width, height, 4 * width, 4, 32, source.ctypes.data, result.ctypes.data)
    check("denoise1", code, _REASONS)
    return result if planar else np.ascontiguousarray(result.transpose(0, 2, 1))
