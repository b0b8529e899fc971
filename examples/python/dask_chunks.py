"""A picture in a zarr store through two worker processes: no more than some chunks of it are ever in memory.

    dask_chunks.py [FOLDER [EDGE]]

with EDGE 10000, a picture of 100 megapixels. It says at the end whether the bytes are those of one call.
"""

import sys
import time
from pathlib import Path
from tempfile import TemporaryDirectory

import dask.array as da
import numpy as np
import zarr
from distributed import Client, LocalCluster
from noisy_picture import add_noise, clean_picture, write

import veskaronr
import veskaronr.dask

EDGE = int(sys.argv[2]) if len(sys.argv) > 2 else 1200
CHUNK = min(1024, EDGE // 2)


def fill(store: zarr.Array) -> None:
    """Row by row of chunks, so that a picture of any size can be made."""
    for top in range(0, EDGE, CHUNK):
        rows = min(CHUNK, EDGE - top)
        store[top : top + rows] = add_noise(clean_picture(rows, EDGE), seed=top)


def same(folder: str) -> bool:
    noisy, clean = (zarr.open(f"{folder}/{name}.zarr", "r") for name in ("noisy", "clean"))
    return bool((veskaronr.denoise(noisy[:]) == clean[:]).all())


if __name__ == "__main__":
    with TemporaryDirectory() as folder:
        shape, chunks = (EDGE, EDGE, 3), (CHUNK, CHUNK, 3)
        fill(zarr.open(f"{folder}/noisy.zarr", "w", shape=shape, chunks=chunks, dtype=np.uint8))
        with LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None, local_directory=folder) as cluster:
            with Client(cluster):
                start = time.perf_counter()
                clean = veskaronr.dask.denoise(da.from_zarr(f"{folder}/noisy.zarr"))
                clean.to_zarr(f"{folder}/clean.zarr")
                print(f"{EDGE} x {EDGE} in {time.perf_counter() - start:.1f} s; as in one call: {same(folder)}")
        write("dask_chunks.png", zarr.open(f"{folder}/clean.zarr", "r")[:600, :800])
