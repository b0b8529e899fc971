"""Image noise reduction on numpy arrays, through the shared library VeskaroNRLib.

    import veskaronr
    clean = veskaronr.denoise(photograph)              # uint8 or uint16, (h, w), (h, w, 3) or (h, w, 4)
    clean = veskaronr.denoise_rgbe(radiance_picture)   # uint8, (h, w, 4): three mantissas and an exponent

Nothing is compiled: the module loads the library with ctypes, works on the arrays' own memory and lets other
Python threads run meanwhile. The library is looked for in the file that the environment variable
VESKARONR_LIBRARY names, then beside the installation this module belongs to, then where the system looks.
"""

from importlib.metadata import PackageNotFoundError, version

from ._denoise import denoise, profile
from ._library import (
    ArgumentError,
    Error,
    LibraryMemoryError,
    StatisticsError,
    c_library,
)
from ._params import PARAM_COUNT, Params, Profile
from ._rgbe import denoise_rgbe

try:
    __version__ = version(__name__)
except PackageNotFoundError:  # used from the source tree
    __version__ = "0+unknown"

__all__ = [
    "ArgumentError",
    "Error",
    "LibraryMemoryError",
    "PARAM_COUNT",
    "Params",
    "Profile",
    "StatisticsError",
    "denoise",
    "denoise_rgbe",
    "c_library",
    "profile",
]
