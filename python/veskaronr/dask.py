"""Huge pictures and many files on Dask: on the cores of this machine, or on those of a cluster.

    import veskaronr.dask
    clean = veskaronr.dask.denoise(picture)                 # a dask array, such as one over a zarr store
    told = veskaronr.dask.denoise_files(paths, "clean/")    # files, through veskaro-nr

Needs Dask (Debian: python3-dask; python3-distributed for a cluster), which nothing else in the package does. Work goes to
the scheduler that is in force: a ``distributed.Client`` if there is one, else Dask's threads.
"""

from __future__ import annotations

import json
import os
import subprocess
from collections import Counter
from pathlib import Path
from typing import Any, Optional, Sequence, Union

import numpy as np
from numpy.typing import NDArray

from ._measure import ChannelOrder, Measurement, Noise
from ._plan import Box, Plan
from ._settings import DEFAULT_PRESET, Preset, Settings

try:
    import dask
    import dask.array as da
except ImportError as missing:
    raise ImportError("veskaronr.dask needs Dask (Debian: python3-dask and python3-distributed)") from missing

__all__ = ["denoise", "denoise_files", "measure"]

_MERGED_AT_ONCE = 8  # measurements, each a few bytes for every 16 x 16 pixels of the picture


def measure(
    array: Any,
    *,
    data_range: Optional[float] = None,
    channel_axis: Optional[int] = None,
    channel_order: ChannelOrder = "rgb",
    linear: bool = False,
) -> Noise:
    """Measure the noise of a chunked picture: every chunk where it is, then all of them merged.

    Parameters
    ----------
    array : dask.array.Array
        The picture, as `denoise` takes it.
    data_range, channel_axis, channel_order, linear
        As in `veskaronr.denoise`.

    Returns
    -------
    Noise
        The same as `veskaronr.measure` of the whole picture.

    Raises
    ------
    TypeError, ValueError
        If an argument cannot be right, or a sample is infinite or not a number.

    Examples
    --------
    >>> import dask.array as da, numpy as np, veskaronr, veskaronr.dask
    >>> noisy = np.random.default_rng(1).normal(np.linspace(60, 180, 256), 12, (256, 256)).astype(np.uint8)
    >>> veskaronr.dask.measure(da.from_array(noisy, chunks=100)) == veskaronr.measure(noisy)
    True
    """
    form = {"data_range": data_range, "channel_axis": channel_axis, "channel_order": channel_order, "linear": linear}
    picture = _Chunked(array, channel_axis)
    (noise,) = dask.compute(_measured(picture, form))
    return noise  # type: ignore[no-any-return]


def denoise(
    array: Any,
    strength: float = 1.0,
    *,
    preset: Preset = DEFAULT_PRESET,
    settings: Optional[Settings] = None,
    data_range: Optional[float] = None,
    channel_axis: Optional[int] = None,
    channel_order: ChannelOrder = "rgb",
    linear: bool = False,
    threads: int = 1,
) -> Any:
    """One picture of any size, chunk by chunk, with exactly the bytes of the whole.

    The noise is measured at once, over all chunks; filtering waits until the result is computed or stored. So the
    chunks are read twice, and never all of them held. Give ``settings`` to measure nothing.

    Parameters
    ----------
    array : dask.array.Array
        The picture: samples, shape and axes as in `veskaronr.denoise`; no batch. Chunks of the height and width may be
        of any size. Filtering reads up to 32 pixels around the tiles that a chunk touches: with edges that are
        multiples of the tile, 256, none of it is done twice, and from about 1000 on the margins hardly count.
    strength, preset, data_range, channel_axis, channel_order, linear
        As in `veskaronr.denoise`.
    settings : Settings, optional
        What to filter with instead of what the noise asks for.
    threads : int
        Of each task, since Dask runs as many tasks as there are cores.

    Returns
    -------
    dask.array.Array
        Of the picture's shape, type and chunks; those of the channels are one.

    Raises
    ------
    TypeError, ValueError
        If an argument cannot be right, or a sample is infinite or not a number.

    Examples
    --------
    >>> import dask.array as da, numpy as np, veskaronr, veskaronr.dask
    >>> noisy = np.random.default_rng(1).normal(np.linspace(60, 180, 600), 12, (300, 600)).astype(np.uint8)
    >>> clean = veskaronr.dask.denoise(da.from_array(noisy, chunks=(300, 256)))
    >>> bool((clean.compute() == veskaronr.denoise(noisy)).all())
    True
    """
    form = {"data_range": data_range, "channel_axis": channel_axis, "channel_order": channel_order, "linear": linear}
    picture = _Chunked(array, channel_axis)
    if settings is None:
        settings = measure(array, **form).settings(strength, preset)  # type: ignore[arg-type]
    elif strength != 1:
        raise ValueError("Settings hold their strength already; noise.settings(strength) makes them")
    plan = Plan(picture.array.shape, picture.array.dtype, settings, **form)  # type: ignore[arg-type]
    sent = dask.delayed(plan, traverse=False)
    return picture.assembled(lambda box: _filtered(picture, plan, sent, box, threads))


class _Chunked:
    """A dask array as a picture: its boxes, and what lies in them."""

    def __init__(self, array: Any, channel_axis: Optional[int]) -> None:
        if not isinstance(array, da.Array):
            raise TypeError(f"a dask array is wanted, not {type(array).__name__}; veskaronr.denoise takes others")
        if array.ndim not in (2, 3) or any(np.isnan(side) for side in array.shape):
            raise ValueError(f"a picture has the shape (h, w) or (h, w, c), not {array.shape}")
        self.channels = None if array.ndim == 2 else (-1 if channel_axis is None else channel_axis) % 3
        self.array = array if self.channels is None else array.rechunk({self.channels: -1})
        self.rows, self.columns = (axis for axis in range(array.ndim) if axis != self.channels)

    def boxes(self) -> list[list[Box]]:
        """The chunks, row by row."""
        down, across = (np.cumsum((0, *self.array.chunks[axis])).tolist() for axis in (self.rows, self.columns))
        return [[Box(*x, *y) for x in zip(across, across[1:])] for y in zip(down, down[1:])]

    def cut(self, box: Box) -> Any:
        """The samples in a box, as an array of one chunk."""
        slices = [slice(None)] * self.array.ndim
        slices[self.rows], slices[self.columns] = box.slices
        return self.array[tuple(slices)]

    def assembled(self, made: Any) -> Any:
        """An array like this one of what is made for each box."""

        def piece(box: Box) -> Any:
            return da.from_delayed(made(box), self.cut(box).shape, self.array.dtype)

        rows = [da.concatenate([piece(box) for box in row], axis=self.columns) for row in self.boxes()]
        return da.concatenate(rows, axis=self.rows)


def _measured(picture: _Chunked, form: dict[str, Any]) -> Any:
    parts = [
        dask.delayed(_measure_chunk)(picture.cut(box), box, picture.array.shape, form)
        for row in picture.boxes()
        for box in row
    ]
    while len(parts) > 1:
        groups = range(0, len(parts), _MERGED_AT_ONCE)
        parts = [dask.delayed(_merged)(parts[first : first + _MERGED_AT_ONCE]) for first in groups]
    return dask.delayed(_finished)(parts[0])


def _measure_chunk(piece: NDArray[Any], box: Box, shape: tuple[int, ...], form: dict[str, Any]) -> Measurement:
    part = Measurement(shape, **form)
    part.add(piece, box.x0, box.y0, threads=1)
    return part


def _merged(parts: list[Measurement]) -> Measurement:
    # What was computed may be handed out again and must stay as it is.
    whole = Measurement.from_bytes(parts[0].to_bytes())
    for part in parts[1:]:
        whole.merge(part)
    return whole


def _finished(whole: Measurement) -> Noise:
    return whole.finish()


def _filtered(picture: _Chunked, plan: Plan, sent: Any, box: Box, threads: int) -> Any:
    read, _ = plan.cover(box)
    return dask.delayed(_filter_chunk)(sent, picture.cut(read), read, box, threads)


def _filter_chunk(plan: Plan, piece: NDArray[Any], read: Box, write: Box, threads: int) -> NDArray[Any]:
    return plan.filter(piece, read, write, threads=threads)


def denoise_files(
    paths: Sequence[Union[str, "os.PathLike[str]"]],
    output_dir: Union[str, "os.PathLike[str]"],
    strength: float = 1.0,
    *,
    preset: str = DEFAULT_PRESET,
    options: Sequence[str] = (),
    batch: int = 16,
    command: str = "veskaro-nr",
) -> list[dict[str, Any]]:
    """Many picture files, through the command ``veskaro-nr`` on the workers, which know all formats and keep the tags.

    Parameters
    ----------
    paths : sequence of str or path
        Files, by names that are good on every worker.
    output_dir : str or path
        Folder of the results, made if need be; their names are those of the files.
    strength : float
        0.6 to 1.5, as in `veskaronr.denoise`.
    preset : str
        As the command knows them.
    options : sequence of str
        Further options of the command, such as ``["--force"]`` or ``["--format", "png"]``.
    batch : int
        Files of a task. Each task is one run of the command on one core.
    command : str
        The command, if it is not in the workers' search path.

    Returns
    -------
    list of dict
        What ``veskaro-nr --json`` says of each file, in their order; those that failed have an ``error``.

    Raises
    ------
    ValueError
        If two files would have one result, or the command refuses what it is asked.
    FileNotFoundError
        If a worker has no such command.

    Examples
    --------
    >>> import veskaronr.dask
    >>> veskaronr.dask.denoise_files([], "clean")
    []
    """
    names = [os.fspath(path) for path in paths]
    _require_own_results(names, renames="--format" in options)
    arguments = [command, "--json", "--jobs", "1", "--threads", "1"]
    arguments += ["--strength", str(round(100 * strength)), "--preset", preset]
    arguments += [*options, "--output-dir", os.fspath(output_dir), "--"]
    tasks = [dask.delayed(_run)(arguments, names[k : k + batch]) for k in range(0, len(names), batch)]
    return [told for batch_told in dask.compute(*tasks) for told in batch_told]


def _require_own_results(names: list[str], renames: bool) -> None:
    results = Counter(Path(name).stem if renames else Path(name).name for name in names)
    shared = [result for result, count in results.items() if count > 1]
    if shared:
        raise ValueError(f"{len(shared)} results would be of more than one file, {shared[0]!r} for instance")


def _run(arguments: list[str], names: list[str]) -> list[dict[str, Any]]:
    done = subprocess.run([*arguments, *names], stdin=subprocess.DEVNULL, capture_output=True, text=True)
    if done.returncode not in (0, 1):
        raise ValueError(done.stderr.strip() or f"veskaro-nr ended with status {done.returncode}")
    told = {one["input"]: one for one in map(json.loads, done.stdout.splitlines()) if "input" in one}
    silent = {"error": done.stderr.strip() or "veskaro-nr said nothing of it"}
    return [told.get(name, {"input": name, **silent}) for name in names]
