"""The parameter vector and the noise profile as named structures."""

from __future__ import annotations

from ctypes import Array, c_float
from dataclasses import astuple, dataclass

PARAM_COUNT = 21


@dataclass
class Params:
    """The library's parameter vector by name, in its order; every field starts at the library's default.

    ``noise_level``, ``chroma_keep``, ``highlight_start`` and ``highlight_width`` are measured from the picture:
    what they hold before a call has no effect when the picture can be profiled, and all fields return to their
    defaults when it cannot.
    """

    noise_level: float = 46.4801  #: luminance noise level; measured
    highlight_noise: float = 0.2  #: noise at full white relative to noise at black, 0.01 to 1
    level0_noise: float = 1.0  #: noise multiplier of the finest level
    level1_noise: float = 1.0
    level2_noise: float = 1.0
    level3_noise: float = 1.0  #: of the coarsest level
    luma_keep: float = 0.3  #: share of the input's luminance in the result
    chroma_keep: float = -0.204229  #: share of the input's chroma in the result; measured
    level0_amount: float = 1.0  #: noise-reduction amount of the finest level
    level1_amount: float = 1.0
    level2_amount: float = 1.0
    level3_amount: float = 1.0  #: of the coarsest level
    sharpening: float = 0.2  #: luminance sharpening
    level0_sharpening: float = 1.0  #: sharpening multiplier of the finest level
    level1_sharpening: float = 1.0
    level2_sharpening: float = 1.0
    level3_sharpening: float = 1.0  #: of the coarsest level
    highlight_start: float = 100.0  #: luminance where luminance noise reduction starts to fade; measured
    highlight_width: float = 137.96  #: width of that fade; measured
    chroma_sharpening: float = 0.2  #: chroma sharpening
    reserved: float = 1.0  #: read by nothing

    def to_vector(self) -> Array[c_float]:
        """The 21 floats as the C functions take them."""
        return (c_float * PARAM_COUNT)(*astuple(self))

    @classmethod
    def from_vector(cls, vector: Array[c_float]) -> Params:
        """The named form of 21 floats."""
        return cls(*vector)


@dataclass(frozen=True)
class Profile:
    """What a picture's noise was measured to be, and the three entries that follow from it."""

    noise_level: float
    chroma_keep: float
    highlight_start: float
    highlight_width: float
