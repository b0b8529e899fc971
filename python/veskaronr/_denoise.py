"""denoise: pictures of 8 bits, 16 bits and floats."""

from __future__ import annotations

import warnings
from ctypes import byref
from dataclasses import dataclass, replace
from typing import Any, Literal, Optional, Union, overload

import numpy as np
from numpy.typing import NDArray

from ._arrays import Format, ImageLike, fill, result_array
from ._library import CPicture, c_library
from ._measure import ChannelOrder, Noise, measure_picture
from ._run import Progress, Runner, SupportsIsSet
from ._settings import DEFAULT_PRESET, Params, Preset, Settings, check_strength, takes_grain, with_params

_GIVEN = Noise(reason="settings were given, so nothing was measured")


@dataclass(frozen=True)
class Info:
    """What `denoise` found and used.

    Of a batch, ``batch`` holds one of these a picture; ``noise`` and ``settings`` are those of the first.

    Examples
    --------
    >>> import numpy as np, veskaronr
    >>> noisy = np.random.default_rng(1).normal(np.linspace(60, 180, 256), 12, (256, 256)).astype(np.uint8)
    >>> clean, info = veskaronr.denoise(noisy, return_info=True)
    >>> info.measured, info.settings == info.noise.settings()
    (True, True)
    """

    noise: Noise  #: what was measured
    settings: Settings  #: what was used
    preset: Optional[Preset] = None  #: how the settings followed from the noise; None if they were given
    batch: tuple[Info, ...] = ()  #: one a picture of a batch

    @property
    def measured(self) -> bool:
        """Whether what the preset works with was measured, in every picture of a batch."""
        if self.batch:
            return all(one.measured for one in self.batch)
        return self.preset is not None and not self.noise.reason_for(self.preset)


# fmt: off
@overload
def denoise(
    image: ImageLike, strength: float = ..., *, preset: Preset = ..., settings: Optional[Params] = ...,
    data_range: Optional[float] = ..., channel_axis: Optional[int] = ..., channel_order: ChannelOrder = ...,
    linear: bool = ..., progress: Optional[Progress] = ..., cancel: Optional[SupportsIsSet] = ...,
    threads: Optional[int] = ..., out: Optional[NDArray[Any]] = ..., return_info: Literal[False] = ...,
    return_params: Literal[False] = ...,
) -> NDArray[Any]: ...


@overload
def denoise(
    image: ImageLike, strength: float = ..., *, preset: Preset = ..., settings: Optional[Params] = ...,
    data_range: Optional[float] = ..., channel_axis: Optional[int] = ..., channel_order: ChannelOrder = ...,
    linear: bool = ..., progress: Optional[Progress] = ..., cancel: Optional[SupportsIsSet] = ...,
    threads: Optional[int] = ..., out: Optional[NDArray[Any]] = ..., return_info: Literal[True],
    return_params: bool = ...,
) -> tuple[NDArray[Any], Info]: ...


@overload
def denoise(
    image: ImageLike, strength: float = ..., *, preset: Preset = ..., settings: Optional[Params] = ...,
    data_range: Optional[float] = ..., channel_axis: Optional[int] = ..., channel_order: ChannelOrder = ...,
    linear: bool = ..., progress: Optional[Progress] = ..., cancel: Optional[SupportsIsSet] = ...,
    threads: Optional[int] = ..., out: Optional[NDArray[Any]] = ..., return_info: bool = ...,
    return_params: Literal[True],
) -> tuple[NDArray[Any], Info]: ...
# fmt: on


def denoise(
    image: ImageLike,
    strength: float = 1.0,
    *,
    preset: Preset = DEFAULT_PRESET,
    settings: Optional[Params] = None,
    data_range: Optional[float] = None,
    channel_axis: Optional[int] = None,
    channel_order: ChannelOrder = "rgb",
    linear: bool = False,
    progress: Optional[Progress] = None,
    cancel: Optional[SupportsIsSet] = None,
    threads: Optional[int] = None,
    out: Optional[NDArray[Any]] = None,
    return_info: bool = False,
    return_params: bool = False,
) -> Union[NDArray[Any], tuple[NDArray[Any], Info]]:
    """A denoised copy of a picture, whose channels are red, green, blue; OpenCV's need ``channel_order="bgr"``.

    Parameters
    ----------
    image : array_like
        Samples of type uint8, uint16, float32 or float64 (filtered in single precision), of shape (h, w) or
        (h, w, 1) grey, (h, w, 3) colour, (h, w, 4) colour and alpha, which is kept, or (n, h, w, c), a batch of
        pictures, each measured and filtered on its own. Arrays are read in place, whatever their strides; those of
        float64 or foreign byte order are copied first. Lists of integers count as 8-bit samples.
    strength : float
        Factor on the measured noise: 0.6 to 1.5, with "classic" 0.5 to 1.5.
    preset : {"best", "fast", "classic"}
        How to get from the noise to the settings, as in `Noise.settings`. "best" is the default because it comes
        closest to a clean picture with every kind of noise, weak or strong, of single pixels or in blotches. "fast"
        is the filters alone, at half the time, and "classic" the bytes of the C function ``denoise2``.
    settings : Settings or Params, optional
        What to filter with instead: `Settings` as they stand, without measuring, such as the ``settings`` of another
        picture's `Info` or of a recipe (`Settings.load`). With the preset "classic" also `Params`, of which what is
        not measured counts.
    data_range : float, optional
        Largest value of the samples: 1023 for 10 bits in uint16. Default: the type's largest, 1.0 for floats.
        Integers above it count as it; floats may lie outside 0 to ``data_range``, and keep doing so.
    channel_axis : int, optional
        Axis of the channels; None: the last of three or more. 0 for planar pictures.
    channel_order : {"rgb", "bgr"}
        Order of the colour channels.
    linear : bool
        The samples are floats proportional to light, as in high-dynamic-range pictures, of any scale.
    progress : callable or tqdm bar, optional
        Called in this thread with the number of finished tiles and that of all, ``progress(done, total)``; of an
        object with ``update``, as tqdm's bars have it, that. What it raises ends the call.
    cancel : threading.Event, optional
        Ends the call with `Cancelled` once it is set.
    threads : int, optional
        At most so many threads; default: one a processor that this process may use. The bytes are always the same.
    out : ndarray, optional
        Receives the result: an array of the picture's shape and type that shares no memory with it.
    return_info, return_params : bool
        Return ``(result, Info)``.

    Returns
    -------
    ndarray
        The picture's shape and type, in native byte order; contiguous, unless it is ``out``.
    Info
        What was measured and used, if ``return_info`` (or its other name, ``return_params``) is true.

    Raises
    ------
    TypeError, ValueError
        If an argument cannot be right, a sample is infinite or not a number, or the library refuses the settings.
    MemoryError
        If memory is exhausted.
    Cancelled
        If ``cancel`` was set; what is in ``out`` then is unspecified, as after Ctrl-C.

    Warns
    -----
    UserWarning
        If what the preset works with could not be measured, once a call: for "best" and "fast" in a picture below
        16 x 16 pixels, which stays as it is then; for "classic" in one without usable blocks of 32 x 32 pixels, for
        which default settings are used then. Also if uint16 or float samples are nearly black or white all over and
        ``data_range`` is not given: a wrong one is the likely reason.

    Notes
    -----
    May be called from any number of threads at once; other Python threads run meanwhile. Ctrl-C ends a call.

    Examples
    --------
    >>> import numpy as np, veskaronr
    >>> noisy = np.random.default_rng(1).normal(np.linspace(60, 180, 256), 12, (256, 256)).astype(np.uint8)
    >>> clean = veskaronr.denoise(noisy, strength=1.2)
    >>> clean.shape, clean.dtype, bool(clean.std(axis=0).mean() < noisy.std(axis=0).mean() / 2)
    ((256, 256), dtype('uint8'), True)
    """
    form = Format(data_range, channel_axis, channel_order, linear)
    strength = check_strength(strength, preset)
    if settings is not None and not isinstance(settings, Params):
        raise TypeError(f"settings must be Settings or Params, not {type(settings).__name__}")
    if isinstance(settings, Settings) and strength != 1:
        raise ValueError("Settings hold their strength already; noise.settings(strength) makes them")
    if isinstance(settings, Params) and not isinstance(settings, Settings) and takes_grain(preset):
        raise ValueError(f"{preset} chooses all of Params: change those of noise.settings(), or use the preset classic")
    array = form.array(image)
    pictures = form.pictures(array)
    result = result_array(out, array.shape, array)
    filtering, measuring, infos = Runner(threads, progress, cancel, len(pictures)), Runner(threads, None, cancel), []
    for view, target in zip(pictures, form.pictures(result)):
        given = form.picture(view)
        infos.append(_info(given, strength, preset, settings, measuring))
        fill(target, view, lambda into: _filter(given, form.picture(into), infos[-1].settings, filtering))
    _warn_unmeasured(infos)
    if data_range is None and not linear and array.dtype != np.uint8:
        _warn_of_range(infos)
    if not (return_info or return_params):
        return result
    return result, infos[0] if array.ndim < 4 else replace(infos[0], batch=tuple(infos))


def _info(picture: CPicture, strength: float, preset: Preset, settings: Optional[Params], runner: Runner) -> Info:
    if isinstance(settings, Settings):
        return Info(_GIVEN, settings)
    noise = measure_picture(picture, runner)
    measured = noise.settings(strength, preset)
    return Info(noise, measured if settings is None else with_params(measured, settings, noise), preset)


def _warn_unmeasured(infos: list[Info]) -> None:
    why = [info.noise.reason_for(info.preset) for info in infos if info.preset and not info.measured]
    if why and infos[0].preset:
        which = "" if len(infos) == 1 else f" in {len(why)} of {len(infos)} pictures"
        so = "nothing is changed" if takes_grain(infos[0].preset) else "default settings are used; is data_range right?"
        text = f"what {infos[0].preset} takes could not be measured{which} ({why[0]}), so {so}"
        warnings.warn(text, UserWarning, stacklevel=3)


def _warn_of_range(infos: list[Info]) -> None:
    if any(info.measured and info.noise.blocks > 0 == info.noise.blocks_usable for info in infos):
        text = "the picture is black or white all over, or flat: is data_range right?"
        warnings.warn(text, UserWarning, stacklevel=3)


def _filter(given: CPicture, made: CPicture, settings: Settings, runner: Runner) -> None:
    struct, function = settings._as_struct(), c_library().vnr_denoise
    runner("vnr_denoise", given, lambda c: function(byref(given), byref(made), byref(struct), byref(c)))
