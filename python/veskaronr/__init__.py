"""Image noise reduction on numpy arrays, through the shared library VeskaroNRLib.

    import veskaronr
    clean = veskaronr.denoise(photograph)              # uint8, uint16 or float, grey, RGB or RGBA
    clean = veskaronr.denoise(opencv_picture, channel_order="bgr")
    noise = veskaronr.measure(photograph)              # how noisy is it?
    settings = noise.settings(strength=1.2)            # preset "best"; settings.save("recipe.json") keeps them
    clean = veskaronr.denoise(photograph, settings=settings)
    clean = veskaronr.denoise_rgbe(radiance_picture)   # uint8, (h, w, 4): three mantissas and an exponent

Nothing is compiled: the module loads the library with ctypes, works on the arrays' own memory and lets other
Python threads run meanwhile. The library is looked for in the file that the environment variable
VESKARONR_LIBRARY names, then beside the module and the installation it belongs to, then where the system looks.
"""

from importlib.metadata import PackageNotFoundError, version

from ._denoise import Info, denoise
from ._errors import ArgumentError, Cancelled, Error, LibraryMemoryError, StatisticsError
from ._library import PARAM_COUNT, c_library
from ._measure import Measurement, Noise, measure
from ._plan import Box, Plan
from ._rgbe import denoise_rgbe
from ._settings import Params, Settings

profile = measure

try:
    __version__ = version(__name__)
except PackageNotFoundError:  # used from the source tree
    __version__ = "0+unknown"

__all__ = [
    "ArgumentError",
    "Box",
    "Cancelled",
    "Error",
    "Info",
    "LibraryMemoryError",
    "Measurement",
    "Noise",
    "PARAM_COUNT",
    "Params",
    "Plan",
    "Settings",
    "StatisticsError",
    "c_library",
    "denoise",
    "denoise_rgbe",
    "measure",
    "profile",
]
