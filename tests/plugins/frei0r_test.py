"""The frei0r filter in FFmpeg and in MLT, and as any other host calls it."""

import ctypes
import math
import os
import pathlib
import shutil
import tempfile
import unittest
import warnings

import numpy as np
from support import BUILD, PLUGINS, noisy, photograph, run, veskaronr, with_alpha

FOLDER = PLUGINS / "frei0r"
ENVIRONMENT = {**os.environ, "FREI0R_PATH": str(FOLDER), "LD_LIBRARY_PATH": str(BUILD)}
WIDTH, HEIGHT = 320, 192


def ffmpeg(frames, parameters="0|0.5|1|1|n"):
    """The frames as FFmpeg hands them through the filter."""
    height, width = frames[0].shape[:2]
    raw = ["-f", "rawvideo", "-pix_fmt", "rgba"]
    out = run("ffmpeg", "-v", "error", *raw, "-s", f"{width}x{height}", "-r", "25", "-i", "-", "-vf",
              f"frei0r=veskaro:{parameters}", *raw, "-", input=b"".join(f.tobytes() for f in frames), env=ENVIRONMENT)  # fmt: skip
    return np.frombuffer(out, np.uint8).reshape(-1, height, width, 4)


def taken(frames, cleaned):
    """How much is taken out of each frame, which follows the level that it was filtered with."""
    return [(np.float32(a[..., :3]) - b[..., :3]).std() for a, b in zip(frames, cleaned)]


def clip(sigma, count, picture=None, seed=0):
    picture = photograph(WIDTH, HEIGHT) if picture is None else picture
    return [with_alpha(noisy(picture, sigma, seed + n)) for n in range(count)]


class Filter:
    """The filter called directly."""

    def __init__(self, width, height):
        self.library = ctypes.CDLL(str(FOLDER / "veskaro.so"))
        self.library.f0r_construct.restype = ctypes.c_void_p
        self.size = width, height
        self.instance = ctypes.c_void_p(self.library.f0r_construct(width, height))

    def set(self, index, value):
        self.library.f0r_set_param_value(self.instance, ctypes.byref(ctypes.c_double(value)), index)

    def get(self, index):
        value = ctypes.c_double(-1)
        self.library.f0r_get_param_value(self.instance, ctypes.byref(value), index)
        return value.value

    def __call__(self, frame, time=0.0):
        out = np.empty_like(frame)
        self.library.f0r_update(self.instance, ctypes.c_double(time), frame.ctypes.data_as(ctypes.c_void_p),
                                out.ctypes.data_as(ctypes.c_void_p))  # fmt: skip
        return out


class InPrograms(unittest.TestCase):
    def test_bytes_of_the_first_frame(self):
        frame = clip(12, 1)
        for parameters, arguments in (
            ("0|0.5|1|1|n", {"preset": "fast"}),
            ("0.5|0|1|1|n", {"preset": "best", "strength": 0.6}),
            ("1|1|1|1|y", {"preset": "classic", "strength": 1.5}),
        ):
            out = ffmpeg(frame, parameters)[0]
            wanted = veskaronr.denoise(np.ascontiguousarray(frame[0][..., :3]), **arguments)
            self.assertTrue((out[..., :3] == wanted).all(), parameters)
            self.assertTrue((out[..., 3] == frame[0][..., 3]).all())

    def test_constant_noise_does_not_flicker(self):
        frames = clip(12, 40)
        amounts = taken(frames, ffmpeg(frames))
        for before, after in zip(amounts, amounts[1:]):
            self.assertLess(abs(after / before - 1), 0.02)

    def test_follows_a_cut_and_another_noise(self):
        other = np.ascontiguousarray(photograph(WIDTH, HEIGHT)[::-1, ::-1])
        for second in (clip(20, 15, other, 100), clip(16, 15, None, 100)):  # another scene; the same one, noisier
            frames = clip(8, 15) + second
            amounts = taken(frames, ffmpeg(frames))
            alone = taken(second, ffmpeg(second))
            self.assertLess(abs(amounts[27] / np.mean(alone) - 1), 0.05)
            held = taken(frames, ffmpeg(frames, "0|0.5|1|1|y"))
            self.assertLess(held[27], amounts[27] * 0.9)

    @unittest.skipUnless(shutil.which("melt"), "melt is not installed")
    def test_in_mlt(self):
        frame = noisy(photograph(640, 480), 12)
        with tempfile.TemporaryDirectory() as folder:
            folder = pathlib.Path(folder)
            for name, filters in (("plain", []), ("clean", ["-filter", "frei0r.veskaro"])):
                raw = ["-f", "rawvideo", "-pix_fmt", "rgb24", "-s", "640x480", "-r", "25", "-i", "-"]
                run("ffmpeg", "-v", "error", *raw, "-c:v", "ffv1", "-pix_fmt", "bgr0", "-y", folder / "in.mkv", input=frame.tobytes() * 5)
                run("melt", folder / "in.mkv", *filters, "-consumer", f"avformat:{folder}/{name}.mkv", "vcodec=ffv1",
                    "pix_fmt=bgra", "mlt_image_format=rgba", "width=640", "height=480", "progressive=1",
                    env={**ENVIRONMENT, "SDL_AUDIODRIVER": "dummy"})  # fmt: skip
                out = run("ffmpeg", "-v", "error", "-i", folder / f"{name}.mkv", "-f", "rawvideo", "-pix_fmt", "rgb24", "-")
                if name == "plain":
                    plain = np.frombuffer(out, np.uint8).reshape(-1, 480, 640, 3)
                else:
                    clean = np.frombuffer(out, np.uint8).reshape(-1, 480, 640, 3)
            self.assertTrue((clean[0] == veskaronr.denoise(plain[0], preset="fast")).all())


class AsAnyHost(unittest.TestCase):
    def test_parameters_that_are_none(self):
        frame = clip(12, 1)[0]
        filter = Filter(WIDTH, HEIGHT)
        before = [filter.get(n) for n in range(5)]
        for index in (-1, 5, 99):
            filter.set(index, 0.3)
            self.assertEqual(filter.get(index), -1)
        for index in range(5):
            filter.set(index, math.nan)
        self.assertEqual([filter.get(n) for n in range(5)], before)
        for index in range(5):
            filter.set(index, -math.inf)
        self.assertEqual([filter.get(n) for n in range(5)], [0.0] * 5)
        self.assertTrue((filter(frame) == frame).all())  # no share of anything

    def test_sizes(self):
        for width, height in ((1, 1), (16, 16), (33, 70), (8, 400)):
            frame = with_alpha(noisy(photograph(width, height), 10))
            out = Filter(width, height)(frame)
            self.assertTrue((out[..., 3] == frame[..., 3]).all())
            with warnings.catch_warnings(action="ignore"):
                wanted = veskaronr.denoise(np.ascontiguousarray(frame[..., :3]), preset="fast")
            self.assertTrue((out[..., :3] == wanted).all())

    def test_instances_know_nothing_of_each_other(self):
        quiet, loud = clip(4, 8), clip(25, 8)
        one, two = Filter(WIDTH, HEIGHT), Filter(WIDTH, HEIGHT)
        alternating = [(one(a, n / 25), two(b, n / 25)) for n, (a, b) in enumerate(zip(quiet, loud))]
        alone = [Filter(WIDTH, HEIGHT), Filter(WIDTH, HEIGHT)]
        for n, pair in enumerate(zip(quiet, loud)):
            for filter, frame, out in zip(alone, pair, alternating[n]):
                self.assertTrue((filter(frame, n / 25) == out).all())


if __name__ == "__main__":
    unittest.main()
