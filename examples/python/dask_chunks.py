"""A dask array chunk by chunk: measured in pieces, filtered in pieces, and the bytes of the whole."""

from importlib import import_module
from itertools import pairwise, product
from typing import Any

import numpy as np
from noisy_picture import add_noise, clean_picture, write
from numpy.typing import NDArray

import veskaronr

dask, da = import_module("dask"), import_module("dask.array")  # like this, mypy does not look into dask
picture = da.from_array(add_noise(clean_picture(1200, 1600)), chunks=(512, 512, 3))
rows, columns = (list(pairwise(np.cumsum((0, *sizes)).tolist())) for sizes in picture.chunks[:2])
chunks = [veskaronr.Box(*column, *row) for row, column in product(rows, columns)]


def measured(piece: NDArray[np.uint8], box: veskaronr.Box) -> veskaronr.Measurement:
    part = veskaronr.Measurement(picture.shape)
    part.add(piece, box.x0, box.y0)
    return part


whole, *parts = dask.compute(*(dask.delayed(measured)(picture[box.slices], box) for box in chunks))
for part in parts:
    whole.merge(part)
plan = veskaronr.Plan(picture.shape, picture.dtype, whole.finish().settings())


def filtered(box: veskaronr.Box) -> Any:
    read, _ = plan.cover(box)
    piece = dask.delayed(plan.filter)(picture[read.slices], read, box)
    return da.from_delayed(piece, (box.y1 - box.y0, box.x1 - box.x0, 3), picture.dtype)


width = len(columns)
result = da.block([[[filtered(box)] for box in chunks[k : k + width]] for k in range(0, len(chunks), width)])
write("dask_chunks.png", result.compute())
