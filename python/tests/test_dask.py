"""A chunked picture and many files on two worker processes: the bytes of one call, one run."""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
os.environ["PYTHONPATH"] = sys.path[0]  # for the workers

import dask.array as da
import numpy as np
import zarr
from distributed import Client, LocalCluster

import veskaronr
import veskaronr.dask

COMMAND = pathlib.Path(os.environ["VESKARO_BUILD_DIR"]) / "veskaro-nr"


def scene(height, width, dtype=np.uint8):
    y, x = np.mgrid[0:height, 0:width]
    clean = (60 + 90 * x / width + 40 * (y > height / 2))[:, :, None] * [1.0, 0.9, 0.7]
    noisy = np.clip(clean + np.random.default_rng(3).normal(0, 10, clean.shape), 0, 255)
    return (noisy / 255).astype(dtype) if dtype == np.float32 else noisy.astype(dtype)


class OnTwoWorkers(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cluster = LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None, local_directory=str(cls.folder))
        cls.client = cls.enterClassContext(Client(cls.enterClassContext(cluster)))

    def test_picture_in_a_store(self):
        picture = scene(700, 900)
        store = zarr.open(str(self.folder / "in.zarr"), "w", shape=picture.shape, chunks=(256, 300, 2), dtype=picture.dtype)
        store[:] = picture
        given = da.from_zarr(str(self.folder / "in.zarr"))
        veskaronr.dask.denoise(given, 1.2).to_zarr(str(self.folder / "out.zarr"))
        np.testing.assert_array_equal(zarr.open(str(self.folder / "out.zarr"))[:], veskaronr.denoise(picture, 1.2))
        self.assertEqual(veskaronr.dask.measure(given), veskaronr.measure(picture))
        pids = set(self.client.run(os.getpid).values())
        self.assertTrue(len(pids) == 2 and os.getpid() not in pids)

    def test_other_pictures(self):
        planar = np.moveaxis(scene(300, 400, np.float32), 2, 0)
        chunked = da.from_array(planar, chunks=(1, 77, 400))
        for options in ({"channel_axis": 0}, {"channel_axis": 0, "linear": True}, {"channel_axis": 0, "preset": "classic"}):
            np.testing.assert_array_equal(veskaronr.dask.denoise(chunked, **options).compute(), veskaronr.denoise(planar, **options))
        grey = scene(300, 400)[:, :, 0]
        settings = veskaronr.measure(grey).settings()
        clean = veskaronr.dask.denoise(da.from_array(grey, chunks=64), settings=settings)
        self.assertEqual(clean.chunks, da.from_array(grey, chunks=64).chunks)
        np.testing.assert_array_equal(clean.compute(), veskaronr.denoise(grey, settings=settings))
        for wrong in (grey, da.from_array(grey[None, None])):
            with self.assertRaises((TypeError, ValueError)):
                veskaronr.dask.denoise(wrong)

    @unittest.skipUnless(COMMAND.exists(), "veskaro-nr is not built")
    def test_files(self):
        names = []
        for number in range(5):
            names.append(self.folder / f"{number}.ppm")
            names[-1].write_bytes(b"P6 80 60 255\n" + scene(60, 80).tobytes())
        names[3].write_bytes(b"junk")
        told = veskaronr.dask.denoise_files(names, self.folder / "clean", 1.2, batch=2, command=str(COMMAND))
        self.assertEqual([one["input"] for one in told], [str(name) for name in names])
        self.assertEqual(["error" in one for one in told], [False, False, False, True, False])
        alone = self.folder / "alone.tif"
        subprocess.run([COMMAND, names[4], alone, "--strength", "120", "--quiet"], check=True)
        self.assertEqual((self.folder / "clean/4.tif").read_bytes(), alone.read_bytes())
        with self.assertRaises(ValueError):
            veskaronr.dask.denoise_files([names[0], self.folder / "other/0.ppm"], self.folder / "clean", command=str(COMMAND))
        with self.assertRaises(ValueError):
            veskaronr.dask.denoise_files(names, self.folder / "clean", 9, command=str(COMMAND))


if __name__ == "__main__":
    unittest.main()
