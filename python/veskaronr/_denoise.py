"""denoise: pictures of 8 bits, 16 bits and floats."""

from __future__ import annotations

import warnings
from ctypes import byref
from dataclasses import dataclass
from typing import Any, Literal, Optional, Union, overload

from numpy.typing import NDArray

from ._arrays import Format, ImageLike, fill, result_array
from ._library import CPicture, c_library
from ._measure import ChannelOrder, Noise, measure_picture
from ._run import Progress, Runner, SupportsIsSet
from ._settings import DEFAULT_PRESET, Params, Preset, Settings, check_preset, check_strength, with_params

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
    batch: tuple[Info, ...] = ()  #: one a picture of a batch

    @property
    def measured(self) -> bool:
        """Whether the noise was measured, in every picture of a batch."""
        return all(one.measured for one in self.batch) if self.batch else self.noise.measured


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
        Factor on the measured noise, 0.5 to 1.5.
    preset : str
        How to get from the noise to the settings, as in `Noise.settings`.
    settings : Settings or Params, optional
        What to filter with instead: `Settings` as they stand, without measuring; of `Params`, what is not measured.
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
        If the noise could not be measured, once a call; default settings are used then.

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
    strength = check_strength(strength)
    check_preset(preset)
    if settings is not None and not isinstance(settings, Params):
        raise TypeError(f"settings must be Settings or Params, not {type(settings).__name__}")
    if isinstance(settings, Settings) and strength != 1:
        raise ValueError("Settings hold their strength already; noise.settings(strength) makes them")
    array = form.array(image)
    pictures = form.pictures(array)
    result = result_array(out, array.shape, array)
    filtering, measuring, infos = Runner(threads, progress, cancel, len(pictures)), Runner(threads, None, cancel), []
    for view, target in zip(pictures, form.pictures(result)):
        given = form.picture(view)
        infos.append(_info(given, strength, preset, settings, measuring))
        fill(target, view, lambda into: _filter(given, form.picture(into), infos[-1].settings, filtering))
    _warn_unmeasured(infos)
    if not (return_info or return_params):
        return result
    return result, infos[0] if array.ndim < 4 else Info(infos[0].noise, infos[0].settings, tuple(infos))


def _info(picture: CPicture, strength: float, preset: Preset, settings: Optional[Params], runner: Runner) -> Info:
    if isinstance(settings, Settings):
        return Info(_GIVEN, settings)
    noise = measure_picture(picture, runner)
    measured = noise.settings(strength, preset)
    return Info(noise, measured if settings is None else with_params(measured, settings, noise))


def _warn_unmeasured(infos: list[Info]) -> None:
    without = [info.noise for info in infos if not info.noise.measured and info.noise is not _GIVEN]
    if without:
        which = "" if len(infos) == 1 else f" in {len(without)} of {len(infos)} pictures"
        why = f"({without[0].reason}), so default settings are used; is data_range right?"
        warnings.warn(f"the noise could not be measured{which} {why}", UserWarning, stacklevel=3)


def _filter(given: CPicture, made: CPicture, settings: Settings, runner: Runner) -> None:
    struct, function = settings._as_struct(), c_library().vnr_denoise
    runner("vnr_denoise", given, lambda c: function(byref(given), byref(made), byref(struct), byref(c)))
