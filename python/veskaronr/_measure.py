"""measure, Noise and Measurement: how noisy a picture is."""

from __future__ import annotations

import threading
from ctypes import byref, c_size_t, c_void_p, create_string_buffer
from dataclasses import dataclass, field
from typing import Any, Literal, Optional, Sequence

import numpy as np

from ._arguments import integers, table
from ._arrays import Format, ImageLike
from ._library import CNoise, CPicture, c_library, call, sized
from ._run import Runner, SupportsIsSet
from ._settings import DEFAULT_PRESET, NO_SPECTRUM, Preset, Settings, Spectrum, as_tuples, settings_of, takes_grain

ChannelOrder = Literal["rgb", "bgr"]
Grain = Literal["unknown", "measured", "textured"]
_GRAINS: tuple[Grain, ...] = ("unknown", "measured", "textured")

_REASONS = {
    1: "no block of 32 x 32 pixels is usable: the picture is too small, black, white or flat",
    2: "the picture's blocks cannot be split into shadows and highlights",
}


@dataclass(frozen=True)
class Noise:
    """How noisy a picture was found to be, by two measurements.

    The presets "best" and "fast" take the second, from ``grain`` on, by scale and colour; it needs 16 x 16 pixels. The
    preset "classic" takes the first, ``level``; it needs blocks of 32 x 32 pixels, neither black, white nor flat,
    and darker ones beside brighter ones: ``measured`` and ``reason`` are about that one. `reason_for` knows of both.

    Examples
    --------
    >>> import numpy as np, veskaronr
    >>> noisy = np.random.default_rng(1).normal(110, 12, (200, 200, 3)).astype(np.uint8)
    >>> noise = veskaronr.measure(noisy)
    >>> noise.grain, [round(s) for s in noise.sigma], noise.correlation < 0.1
    ('measured', [12, 12, 12], True)
    >>> black = veskaronr.measure(np.zeros((100, 100), np.uint8))
    >>> black.measured
    False
    >>> black.reason
    'no block of 32 x 32 pixels is usable: the picture is too small, black, white or flat'
    >>> black.settings(preset="classic") == veskaronr.Noise().settings(preset="classic")
    True
    """

    measured: bool = False  #: whether the noise level could be measured
    reason: str = "nothing was measured"  #: why not; empty if it could
    level: float = 0.0  #: noise level that the filters work with at strength 1, 15 or more; 0 when not measured
    statistic: float = 0.0  #: mean difference of neighbours in the deciding blocks, evened out over brightness
    linear: bool = False  #: whether the picture was linear
    linear_scale: float = 1.0  #: scale of a linear picture; 1 otherwise
    blocks: int = 0  #: whole blocks of 32 x 32 pixels that the picture has
    blocks_seen: int = 0  #: of these, measured
    blocks_usable: int = 0  #: of these, neither nearly black, nearly white, nor flat
    #: the second measurement: "unknown" (then what follows is 0), "measured", or "textured" where no block is smooth:
    #: what was read may be texture, so the milder of the readings was taken
    grain: Grain = "unknown"
    grain_blocks: int = 0  #: blocks of 16 x 16 pixels that were seen
    #: standard deviation of the noise in red, green and blue at mid grey, in 8-bit levels (linear: of their square roots)
    sigma: tuple[float, float, float] = (0.0, 0.0, 0.0)
    correlation: float = 0.0  #: 0: every pixel has its own noise; 1: smoothed, as demosaicing and JPEG leave it
    blotches: float = 0.0  #: 0: none; 1: blotches of colour several pixels wide
    luma: float = 0.0  #: deviation of fine luminance details that is taken for noise, as black has it
    chroma: float = 0.0  #: of fine chroma details, likewise
    coarse_chroma: float = 0.0  #: of coarse chroma details, likewise
    texture_guard: float = 0.0  #: share of the luminance reading that ``luma`` is; the rest was taken for texture
    structure: float = 0.0  #: deviation of middle luminance details in the median block: how much there is to lose
    #: power of the noise in Y, B - Y and R - Y by vertical and horizontal frequency, 3 x 8 x 8 numbers (``numpy.array``
    #: makes them an array): mean squares of an orthonormal 8 x 8 cosine transform's coefficients, as black has them
    spectrum: Spectrum = field(default=NO_SPECTRUM, repr=False)

    def reason_for(self, preset: Preset = DEFAULT_PRESET) -> str:
        """Why what a preset works with could not be measured; empty if it could.

        Parameters
        ----------
        preset : {"best", "fast", "classic"}
            The preset that is to be used.

        Returns
        -------
        str
            A sentence without its full stop, or nothing.

        Raises
        ------
        ValueError
            If there is no such preset.

        Examples
        --------
        >>> import numpy as np, veskaronr
        >>> veskaronr.measure(np.zeros((10, 300), np.uint8)).reason_for("best")
        'the picture is below 16 x 16 pixels'
        """
        if not takes_grain(preset):
            return self.reason
        if self.grain != "unknown":
            return ""
        return "the picture is below 16 x 16 pixels" if self.reason != Noise.reason else self.reason

    def settings(self, strength: float = 1.0, preset: Preset = DEFAULT_PRESET) -> Settings:
        """The settings for this noise.

        Parameters
        ----------
        strength : float
            Factor on the noise: 0.6 to 1.5, with "classic" 0.5 to 1.5.
        preset : {"best", "fast", "classic"}
            How to get from the noise to the settings. "best", the default, gains most over the noisy picture: every
            setting follows from how strong the noise is, and whether it is white, smoothed or blotchy. Noise that was
            not measured gives settings that change nothing. "fast" is the same without the stages that take half of
            the time: patches, dots and shrunk blocks. "classic" is what the C function ``denoise2`` does, with defaults
            for noise that was not measured.

        Returns
        -------
        Settings
            A new value; its fields may be changed.

        Raises
        ------
        ValueError
            If the strength is outside the preset's range, there is no such preset, or no measurement tells such noise.

        Examples
        --------
        >>> import veskaronr
        >>> noise = veskaronr.Noise(measured=True, level=40.0)
        >>> noise.settings(1.5, "classic").noise_level > noise.settings(1.0, "classic").noise_level
        True
        >>> nothing_to_do = noise.settings()  # since its grain is unknown
        >>> nothing_to_do.luma_keep, nothing_to_do.chroma_keep
        (1.0, 1.0)
        """
        struct = sized(CNoise, reason=0 if self.measured else 1, encoding=int(self.linear))
        if self.grain not in _GRAINS:
            raise ValueError(f"grain must be one of {', '.join(_GRAINS)}, not {self.grain!r}")
        struct.grain = _GRAINS.index(self.grain)
        for name in _SAME:
            setattr(struct, name, getattr(self, name))
        struct.spectrum = table("spectrum", self.spectrum, 3, 8, 8)
        return settings_of(struct, strength, preset)


# Fields that have the same name and value in C.
_SAME = ("level", "statistic", "linear_scale", "blocks", "blocks_seen", "blocks_usable", "grain_blocks", "sigma", "correlation",
         "blotches", "luma", "chroma", "coarse_chroma", "texture_guard", "structure")  # fmt: skip


def _of_struct(struct: CNoise) -> Noise:
    same: dict[str, Any] = {name: getattr(struct, name) for name in _SAME}
    same["sigma"], same["spectrum"] = tuple(struct.sigma), as_tuples(struct.spectrum)
    return Noise(
        measured=struct.reason == 0,
        reason=_REASONS.get(struct.reason, "") if struct.reason else "",
        linear=struct.encoding == 1,
        grain=_GRAINS[struct.grain],
        **same,
    )


def measure(
    image: ImageLike,
    *,
    data_range: Optional[float] = None,
    channel_axis: Optional[int] = None,
    channel_order: ChannelOrder = "rgb",
    linear: bool = False,
    cancel: Optional[SupportsIsSet] = None,
    threads: Optional[int] = None,
) -> Noise:
    """Measure the noise of a picture, red first unless ``channel_order`` says otherwise.

    Parameters
    ----------
    image, data_range, channel_axis, channel_order, linear, cancel, threads
        As `denoise` takes them; no batch.

    Returns
    -------
    Noise
        What was measured, or why it could not be.

    Raises
    ------
    TypeError, ValueError
        If an argument cannot be right, or a sample is infinite or not a number. Never because the picture's noise
        cannot be measured.
    Cancelled
        If ``cancel`` was set.

    Examples
    --------
    >>> import numpy as np, veskaronr
    >>> noisy = np.random.default_rng(1).normal(np.linspace(60, 180, 256), 12, (256, 256)).astype(np.uint8)
    >>> noise = veskaronr.measure(noisy)
    >>> noise.measured, noise.blocks
    (True, 64)
    """
    form = Format(data_range, channel_axis, channel_order, linear)
    return measure_picture(form.picture(form.one_picture(form.array(image))), Runner(threads, None, cancel))


def measure_picture(picture: CPicture, runner: Runner) -> Noise:
    struct = sized(CNoise)
    function = c_library().vnr_measure
    runner("vnr_measure", picture, lambda control: function(byref(picture), byref(control), byref(struct)))
    return _of_struct(struct)


class Measurement:
    """Measures a picture from pieces, which come in any order and of any size.

    The result does not depend on the cutting. Measurements of parts of one picture can be made in several threads or
    processes (they pickle) and merged. One may be used from several threads; its calls wait for each other.

    Parameters
    ----------
    shape : sequence of int
        Shape of the whole picture, its first two entries the height and the width in pixels unless ``channel_axis``
        says otherwise.
    data_range, channel_axis, channel_order, linear
        How the pieces are to be read, as in `denoise`.

    Raises
    ------
    ValueError
        If the shape is that of no picture.

    Examples
    --------
    >>> import numpy as np, veskaronr
    >>> noisy = np.random.default_rng(1).normal(np.linspace(60, 180, 256), 12, (256, 256)).astype(np.uint8)
    >>> upper, lower = veskaronr.Measurement((256, 256)), veskaronr.Measurement((256, 256))
    >>> upper.add(noisy[:100], 0, 0)
    >>> lower.add(noisy[100:], 0, 100)
    >>> upper.merge(lower)
    >>> upper.finish() == veskaronr.measure(noisy)
    True
    """

    def __init__(
        self,
        shape: Sequence[int],
        *,
        data_range: Optional[float] = None,
        channel_axis: Optional[int] = None,
        channel_order: ChannelOrder = "rgb",
        linear: bool = False,
    ) -> None:
        self._hold(Format(data_range, channel_axis, channel_order, linear))
        sides = integers("shape", shape)
        size = self._form.one_picture(np.broadcast_to(np.uint8(0), sides)).shape
        call("vnr_measure_begin", size[1], size[0], byref(self._handle))

    def _hold(self, form: Format) -> None:
        self._handle = c_void_p()
        self._form = form
        self._lock = threading.Lock()
        self._end = c_library().vnr_measure_end

    def __del__(self) -> None:
        if getattr(self, "_handle", None):
            self._end(self._handle)

    def add(self, block: ImageLike, x: int, y: int, *, threads: Optional[int] = None) -> None:
        """Add a piece whose first pixel is column ``x`` of row ``y`` of the picture; overlaps do no harm.

        Parameters
        ----------
        block : array_like
            The piece's samples, in the shape and type of a picture of its own.
        x, y : int
            Its place, in pixels.
        threads : int, optional
            As in `denoise`.

        Raises
        ------
        TypeError, ValueError
            If the piece is none, does not lie in the picture, or a sample is infinite or not a number. It can be
            added again.

        Examples
        --------
        >>> import numpy as np, veskaronr
        >>> measurement = veskaronr.Measurement((64, 128, 3))
        >>> measurement.add(np.zeros((64, 96, 3), np.uint8), 32, 0)
        >>> measurement.finish().blocks_seen
        6
        """
        left, top = integers("x and y", (x, y), 2)
        if not 0 <= min(left, top) <= max(left, top) < 1 << 31:
            raise ValueError(f"the place of a piece lies in the picture, not at {x}, {y}")
        picture = self._form.picture(self._form.one_picture(self._form.array(block)), left, top)
        function = c_library().vnr_measure_add
        with self._lock:
            Runner(threads)("vnr_measure_add", picture, lambda c: function(self._handle, byref(picture), byref(c)))

    def merge(self, other: Measurement) -> None:
        """Add what another measurement of the same picture has seen; that one stays as it is.

        Parameters
        ----------
        other : Measurement
            Made for a picture of the same size.

        Raises
        ------
        TypeError, ValueError
            If it is no measurement, or that of another picture.

        Examples
        --------
        >>> import numpy as np, veskaronr
        >>> one, two = veskaronr.Measurement((64, 64)), veskaronr.Measurement((64, 64))
        >>> two.add(np.zeros((32, 64), np.uint8), 0, 32)
        >>> one.merge(two)
        >>> one.finish().blocks_seen
        2
        """
        if not isinstance(other, Measurement):
            raise TypeError(f"a Measurement is wanted, not {type(other).__name__}")
        copy = Measurement.from_bytes(other.to_bytes())  # so that no two locks are held at once
        with self._lock:
            call("vnr_measure_merge", self._handle, copy._handle)

    def finish(self) -> Noise:
        """What has been measured so far; more may be added afterwards.

        Returns
        -------
        Noise
            That of the blocks seen; ``blocks_seen`` and ``blocks`` tell whether these are all.

        Examples
        --------
        >>> import veskaronr
        >>> veskaronr.Measurement((64, 64)).finish().measured
        False
        """
        struct = sized(CNoise)
        with self._lock:
            call("vnr_measure_finish", self._handle, byref(struct))
        return _of_struct(struct)

    def to_bytes(self) -> bytes:
        """The measurement as plain bytes, for another process on a machine of the same byte order.

        Returns
        -------
        bytes
            What `from_bytes` takes, and ``vnr_measure_load`` in C.

        Examples
        --------
        >>> import veskaronr
        >>> type(veskaronr.Measurement((64, 64)).to_bytes())
        <class 'bytes'>
        """
        size = c_size_t()
        with self._lock:
            call("vnr_measure_save", self._handle, None, 0, byref(size))
            buffer = create_string_buffer(size.value)
            call("vnr_measure_save", self._handle, buffer, size.value, byref(size))
        return buffer.raw

    @classmethod
    def from_bytes(
        cls,
        data: bytes,
        *,
        data_range: Optional[float] = None,
        channel_axis: Optional[int] = None,
        channel_order: ChannelOrder = "rgb",
        linear: bool = False,
    ) -> Measurement:
        """The measurement that gave these bytes; the keywords are for pieces still to be added.

        Raises
        ------
        ValueError
            If the bytes are damaged or none of a measurement.

        Examples
        --------
        >>> import veskaronr
        >>> state = veskaronr.Measurement((64, 64)).to_bytes()
        >>> veskaronr.Measurement.from_bytes(state).finish().blocks
        4
        """
        measurement = cls.__new__(cls)
        measurement._hold(Format(data_range, channel_axis, channel_order, linear))
        state = bytes(memoryview(data))
        call("vnr_measure_load", state, len(state), byref(measurement._handle))
        return measurement

    def __reduce__(self) -> Any:
        return _restore, (self.to_bytes(), self._form.options())


def _restore(state: bytes, options: dict[str, Any]) -> Measurement:
    return Measurement.from_bytes(state, **options)
