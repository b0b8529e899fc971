"""Plan: any piece of a picture, with the bytes of the whole."""

from __future__ import annotations

from ctypes import byref, c_void_p
from typing import Any, NamedTuple, Optional, Sequence

import numpy as np
from numpy.typing import DTypeLike, NDArray

from ._arguments import integers
from ._arrays import Array, Format, ImageLike, fill, result_array
from ._library import CRectangle, c_library, call
from ._measure import ChannelOrder
from ._run import Progress, Runner, SupportsIsSet
from ._settings import Settings


class Box(NamedTuple):
    """A rectangle of a picture in pixels: columns from ``x0`` to before ``x1``, rows from ``y0`` to before ``y1``.

    Examples
    --------
    >>> import numpy as np, veskaronr
    >>> np.zeros((50, 80, 3))[veskaronr.Box(10, 30, 5, 20).slices].shape
    (15, 20, 3)
    """

    x0: int
    x1: int
    y0: int
    y1: int

    @property
    def slices(self) -> tuple[slice, slice]:
        """What cuts the box out of an array of shape (h, w) or (h, w, c)."""
        return slice(self.y0, self.y1), slice(self.x0, self.x1)

    def _holds(self, other: Box) -> bool:
        return self.x0 <= other.x0 and other.x1 <= self.x1 and self.y0 <= other.y0 and other.y1 <= self.y1


class Plan:
    """Filters a picture piece by piece, exactly as if it had been filtered whole.

    A plan never changes: it may be used from several threads at once. It pickles.

    Parameters
    ----------
    shape : sequence of int
        Shape of the whole picture: (h, w) or (h, w, c), or as ``channel_axis`` says.
    dtype : dtype_like
        Type of its samples: uint8, uint16, float32 or float64.
    settings : Settings
        What to filter with, from `Noise.settings` for instance.
    data_range, channel_axis, channel_order, linear
        How pieces are to be read, as in `denoise`.

    Raises
    ------
    TypeError, ValueError
        If there is no such picture, or no filter can work with the settings.

    Examples
    --------
    A preview of a part of a picture, the same as that part of the whole result:

    >>> import numpy as np, veskaronr
    >>> noisy = np.random.default_rng(1).normal(np.linspace(60, 180, 700), 12, (600, 700)).astype(np.uint8)
    >>> settings = veskaronr.measure(noisy).settings()
    >>> plan = veskaronr.Plan(noisy.shape, noisy.dtype, settings)
    >>> wanted = veskaronr.Box(400, 500, 300, 380)
    >>> read, write = plan.cover(wanted)
    >>> preview = plan.filter(noisy[read.slices], read, wanted)
    >>> bool((preview == veskaronr.denoise(noisy, settings=settings)[wanted.slices]).all())
    True
    """

    def __init__(
        self,
        shape: Sequence[int],
        dtype: DTypeLike,
        settings: Settings,
        *,
        data_range: Optional[float] = None,
        channel_axis: Optional[int] = None,
        channel_order: ChannelOrder = "rgb",
        linear: bool = False,
    ) -> None:
        if not isinstance(settings, Settings):
            raise TypeError(f"Settings are wanted, as Noise.settings() gives them, not {type(settings).__name__}")
        self._form = Format(data_range, channel_axis, channel_order, linear)
        self._shape = tuple(integers("shape", shape))
        whole = self._form.array(np.broadcast_to(np.empty((), dtype), self._shape))
        height, width, _ = self._form.one_picture(whole).shape
        self._dtype, self._settings = whole.dtype, settings
        self._whole = Box(0, width, 0, height)
        axis = -1 if channel_axis is None else channel_axis
        self._channels = 2 if whole.ndim == 2 else axis % 3
        self._handle = c_void_p()
        self._end = c_library().vnr_plan_end
        struct = settings._as_struct()
        call("vnr_plan_begin", width, height, byref(struct), byref(self._handle))

    def __del__(self) -> None:
        if getattr(self, "_handle", None):
            self._end(self._handle)

    def __reduce__(self) -> Any:
        return _restore, ((self._shape, self._dtype, self._settings), self._form.options())

    def _box(self, what: str, box: Sequence[int]) -> Box:
        taken = Box(*integers(what, box, 4))
        if not (taken.x0 < taken.x1 and taken.y0 < taken.y1 and self._whole._holds(taken)):
            raise ValueError(f"{what} must be a box (x0, x1, y0, y1) in the picture {tuple(self._whole)}, not {box!r}")
        return taken

    def cover(self, box: Sequence[int]) -> tuple[Box, Box]:
        """What a wanted piece takes.

        Parameters
        ----------
        box : sequence of int
            The wanted piece (x0, x1, y0, y1), in pixels.

        Returns
        -------
        read : Box
            What has to be read: the tiles that the piece touches, and up to 32 pixels around them.
        write : Box
            What may be written with that: those tiles. Pieces that are cut like this filter no tile twice.

        Raises
        ------
        TypeError, ValueError
            If it is no box, empty, or not in the picture.

        Examples
        --------
        >>> import veskaronr
        >>> veskaronr.Plan((100, 100), "uint8", veskaronr.Settings()).cover((10, 20, 10, 20))[1]
        Box(x0=0, x1=100, y0=0, y1=100)
        """
        wanted, read, write = CRectangle(*self._box("box", box)), CRectangle(), CRectangle()
        call("vnr_plan_cover", self._handle, byref(wanted), byref(read), byref(write))
        return Box(read.x0, read.x1, read.y0, read.y1), Box(write.x0, write.x1, write.y0, write.y1)

    def filter(
        self,
        block: ImageLike,
        read: Sequence[int],
        write: Sequence[int],
        *,
        progress: Optional[Progress] = None,
        cancel: Optional[SupportsIsSet] = None,
        threads: Optional[int] = None,
        out: Optional[NDArray[Any]] = None,
    ) -> NDArray[Any]:
        """Filter a piece.

        Parameters
        ----------
        block : array_like
            The samples of the box ``read``, of the plan's type and number of channels.
        read : sequence of int
            Where they lie: what `cover` gave, or a box around it.
        write : sequence of int
            The piece to be made: any box inside what `cover` gave.
        progress, cancel, threads, out
            As in `denoise`.

        Returns
        -------
        ndarray
            The pixels of ``write``; contiguous, unless it is ``out``.

        Raises
        ------
        TypeError, ValueError
            If the block does not fit ``read``, or ``read`` does not hold what ``write`` takes.
        Cancelled
            If ``cancel`` was set.

        Examples
        --------
        >>> import numpy as np, veskaronr
        >>> plan = veskaronr.Plan((1000, 1000), np.uint8, veskaronr.Settings())
        >>> read, write = plan.cover((0, 1000, 600, 601))
        >>> plan.filter(np.zeros((read.y1 - read.y0, 1000), np.uint8), read, write).shape == (write.y1 - write.y0, 1000)
        True
        """
        source, target = self._box("read", read), self._box("write", write)
        array = self._form.array(block)
        if array.dtype.newbyteorder("=") != self._dtype.newbyteorder("=") or array.shape != self._shape_of(source):
            raise ValueError(
                f"the block must be {self._dtype} of shape {self._shape_of(source)}, not {array.dtype} of {array.shape}"
            )
        result = result_array(out, self._shape_of(target), array)
        runner = Runner(threads, progress, cancel)

        view = self._form.one_picture(array)
        given = self._form.picture(view, source.x0, source.y0)

        def run(into: Array) -> None:
            made = self._form.picture(into, target.x0, target.y0)
            function = c_library().vnr_plan_filter
            runner("vnr_plan_filter", given, lambda c: function(self._handle, byref(given), byref(made), byref(c)))

        fill(self._form.one_picture(result), view, run, target.x0 - source.x0, target.y0 - source.y0)
        return result

    def _shape_of(self, box: Box) -> tuple[int, ...]:
        shape = list(self._shape)
        rows, columns = (k for k in range(len(shape)) if k != self._channels)
        shape[rows], shape[columns] = box.y1 - box.y0, box.x1 - box.x0
        return tuple(shape)


def _restore(arguments: tuple[Any, Any, Any], options: dict[str, Any]) -> Plan:
    return Plan(*arguments, **options)
