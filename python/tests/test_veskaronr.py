"""Tests of the Python module against the library that VESKARONR_LIBRARY names."""

import ctypes
import os
import pathlib
import subprocess
import sys
import threading
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))

import numpy as np

import veskaronr
from veskaronr import Params


def scene(height, width, dtype=np.uint8, noise=12.0, seed=1):
    """A gradient with a bright disc and Gaussian noise, RGB."""
    rng = np.random.default_rng(seed)
    y, x = np.mgrid[0:height, 0:width]
    base = 60 + 80 * x / width + 40 * y / height + 40 * ((x - width / 2) ** 2 + (y - height / 2) ** 2 < (height / 4) ** 2)
    picture = base[:, :, None] * [1.0, 0.9, 0.7] + rng.normal(0, noise, (height, width, 3))
    scale = 1 if dtype == np.uint8 else 256
    return (np.clip(picture, 0, 255) * scale).astype(dtype)


def direct(image, strength=1.0, threads=2, params=None, tile=256):
    """The C function on a contiguous copy, for comparison."""
    source = np.ascontiguousarray(image)
    result = np.empty_like(source)
    vector = (params or Params()).to_vector()
    vector[0] = strength
    height, width = image.shape[:2]
    code = veskaronr.c_library().denoise2(
        width, height, 3, 3 * width, 8 * image.itemsize, tile, threads, vector, None, source.ctypes.data, result.ctypes.data
    )
    assert code == 1
    return result, Params.from_vector(vector)


class Photographs(unittest.TestCase):
    def test_equals_the_library_and_reduces_noise(self):
        for dtype in (np.uint8, np.uint16):
            image = scene(150, 200, dtype)
            kept = image.copy()
            result, used = veskaronr.denoise(image, 0.8, threads=2, return_params=True)
            expected, vector = direct(image, 0.8)
            np.testing.assert_array_equal(result, expected)
            self.assertEqual(used, vector)
            np.testing.assert_array_equal(image, kept)
            flat = (slice(105, 145), slice(60, 75), 1)
            self.assertLess(result[flat].std(), 0.7 * image[flat].std())

    def test_views_give_the_bytes_of_their_copies(self):
        big = scene(200, 320, np.uint16)
        contiguous = np.ascontiguousarray
        views = {
            "rectangle": big[20:180, 30:290],
            "every second row": big[::2],
            "one row": big[5:6],
            "one column": big[:, 7:8],
            "mirrored": big[:, ::-1],
            "upside down": big[::-1],
            "transposed": big.transpose(1, 0, 2),
            "blue first": big[:, :, ::-1],
            "foreign byte order": big.astype(">u2"),
            "planar memory": contiguous(big.transpose(2, 0, 1)).transpose(1, 2, 0),
            "odd address": np.frombuffer(b"x" + big.tobytes(), np.uint8)[1:].view(np.uint16).reshape(big.shape),
        }
        for name, view in views.items():
            with self.subTest(name):
                native = contiguous(view).astype(np.uint16)
                np.testing.assert_array_equal(veskaronr.denoise(view, threads=2), direct(native)[0])

    def test_rows_apart_are_read_in_place(self):
        big = scene(120, 4000)
        view = big[:, 100:300]
        self.assertEqual(veskaronr._denoise._row_stride(view), 12000)
        out = big[:, 400:600]
        around = big.copy()
        result = veskaronr.denoise(view, threads=2, out=out)
        self.assertIs(result, out)
        np.testing.assert_array_equal(out, direct(around[:, 100:300])[0])
        around[:, 400:600] = out
        np.testing.assert_array_equal(big, around)

    def test_out_decides_the_layout(self):
        image = scene(100, 130)
        expected = direct(image)[0]
        for out in (np.empty((100, 400, 3), np.uint8)[:, :130], np.empty((3, 100, 130), np.uint8).transpose(1, 2, 0)):
            np.testing.assert_array_equal(veskaronr.denoise(image, threads=2, out=out), expected)
            np.testing.assert_array_equal(out, expected)

    def test_grey_and_alpha(self):
        grey = scene(100, 120)[:, :, 0]
        result = veskaronr.denoise(grey, threads=2)
        np.testing.assert_array_equal(result, direct(np.repeat(grey[:, :, None], 3, 2))[0][:, :, 1])
        rgba = np.dstack([scene(100, 120), np.arange(12000, dtype=np.uint16).astype(np.uint8).reshape(100, 120)])
        result = veskaronr.denoise(rgba, threads=2)
        np.testing.assert_array_equal(result[:, :, :3], direct(rgba[:, :, :3])[0])
        np.testing.assert_array_equal(result[:, :, 3], rgba[:, :, 3])

    def test_parameters(self):
        vector = (ctypes.c_float * 21)()
        veskaronr.c_library().nr_def(vector)
        self.assertEqual(list(vector), list(Params().to_vector()))
        image = scene(100, 120)
        own = Params(luma_keep=0.0, sharpening=0.0)
        before = Params(**vars(own))
        result, used = veskaronr.denoise(image, params=own, threads=2, return_params=True)
        np.testing.assert_array_equal(result, direct(image, params=own)[0])
        self.assertFalse(np.array_equal(result, veskaronr.denoise(image, threads=2)))
        self.assertEqual(own, before)
        self.assertEqual((used.luma_keep, used.sharpening), (0.0, 0.0))

    def test_profile_is_what_denoise_uses(self):
        for image in (scene(150, 200), scene(150, 200, np.uint16), scene(150, 400)[:, 100:300]):
            measured = veskaronr.profile(image, 1.2)
            used = veskaronr.denoise(image, 1.2, threads=2, return_params=True)[1]
            self.assertEqual(
                (measured.noise_level, measured.chroma_keep, measured.highlight_start, measured.highlight_width),
                (used.noise_level, used.chroma_keep, used.highlight_start, used.highlight_width),
            )
        quiet, loud = (veskaronr.profile(scene(150, 200, noise=n)).noise_level for n in (8, 20))
        self.assertLess(quiet, loud)
        with self.assertRaises(veskaronr.ArgumentError) as caught:
            veskaronr.profile(scene(20, 20))
        self.assertEqual(caught.exception.code, -2)
        self.assertIn("too small", str(caught.exception))

    def test_refusals(self):
        image = scene(64, 64)
        fixed = image.copy()
        fixed.flags.writeable = False
        for error, call in [
            (TypeError, lambda: veskaronr.denoise([[1, 2], [3, 4]])),
            (TypeError, lambda: veskaronr.denoise(image.astype(np.float32))),
            (TypeError, lambda: veskaronr.denoise(image.astype(np.int8))),
            (ValueError, lambda: veskaronr.denoise(image[:, :, :2])),
            (ValueError, lambda: veskaronr.denoise(image[:0])),
            (ValueError, lambda: veskaronr.denoise(image, strength=3.0)),
            (ValueError, lambda: veskaronr.denoise(image, out=image)),
            (ValueError, lambda: veskaronr.denoise(image, out=fixed)),
            (ValueError, lambda: veskaronr.denoise(image, out=image[1:])),
            (veskaronr.ArgumentError, lambda: veskaronr.denoise(image, threads=0)),
            (veskaronr.ArgumentError, lambda: veskaronr.denoise(image, tile=20)),
        ]:
            with self.subTest(error):
                self.assertRaises(error, call)

    def test_threads_take_turns_and_others_run(self):
        image = scene(1000, 1300)
        jobs = [0.5, 0.8, 1.2, 1.5]
        expected = [veskaronr.denoise(image, s, threads=2) for s in jobs]
        results = [None] * len(jobs)
        ticks = 0

        def work(k):
            results[k] = veskaronr.denoise(image, jobs[k], threads=2)

        workers = [threading.Thread(target=work, args=(k,)) for k in range(len(jobs))]
        for worker in workers:
            worker.start()
        while any(worker.is_alive() for worker in workers):
            time.sleep(0.001)
            ticks += 1
        for result, wanted in zip(results, expected):
            np.testing.assert_array_equal(result, wanted)
        # A call that held the interpreter would let this thread run only between the four calls.
        self.assertGreater(ticks, 3 * len(jobs))


class Radiance(unittest.TestCase):
    def picture(self, height=64, width=96):
        rng = np.random.default_rng(3)
        image = rng.integers(100, 256, (height, width, 4), dtype=np.uint8)
        image[:, :, 3] = 126 + (np.arange(width) // 8)[None, :]
        return image

    def test_layouts_agree_and_change_the_picture(self):
        for strength in (60, 100, 140):
            image = self.picture()
            kept = image.copy()
            result = veskaronr.denoise_rgbe(image, strength)
            np.testing.assert_array_equal(image, kept)
            self.assertFalse(np.array_equal(result, image))
            planar = np.ascontiguousarray(image.transpose(0, 2, 1))
            before = planar.copy()
            again = veskaronr.denoise_rgbe(planar, strength, planar=True)
            np.testing.assert_array_equal(planar, before)
            np.testing.assert_array_equal(again.transpose(0, 2, 1), result)
            in_place = veskaronr.denoise_rgbe(planar, strength, planar=True, overwrite=True)
            np.testing.assert_array_equal(in_place, again)
            self.assertEqual(np.array_equal(planar, before), strength < 100)
            view = np.zeros((70, 100, 4), np.uint8)[3:67, 2:98]
            view[...] = image
            np.testing.assert_array_equal(veskaronr.denoise_rgbe(view, strength), result)

    def test_refusals(self):
        self.assertRaises(veskaronr.StatisticsError, veskaronr.denoise_rgbe, np.zeros((40, 40, 4), np.uint8))
        self.assertRaises(veskaronr.ArgumentError, veskaronr.denoise_rgbe, self.picture(31, 40))
        self.assertRaises(ValueError, veskaronr.denoise_rgbe, self.picture(), 20)
        self.assertRaises(ValueError, veskaronr.denoise_rgbe, self.picture()[:, :, :3])
        self.assertRaises(TypeError, veskaronr.denoise_rgbe, self.picture().astype(np.uint16))


class Loading(unittest.TestCase):
    def test_a_missing_library_is_named(self):
        environment = dict(os.environ, VESKARONR_LIBRARY="/nowhere/VeskaroNRLib.so.1")
        code = f"import sys; sys.path.insert(0, {sys.path[0]!r}); import veskaronr; veskaronr.c_library()"
        run = subprocess.run([sys.executable, "-c", code], env=environment, capture_output=True, text=True)
        self.assertIn("ImportError", run.stderr)
        self.assertIn("/nowhere", run.stderr)


if __name__ == "__main__":
    unittest.main()
