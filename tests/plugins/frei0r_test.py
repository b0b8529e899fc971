"""The frei0r filter in FFmpeg and in MLT, and as any other host calls it."""

import ctypes
import math
import os
import shutil
import tempfile
import unittest

import numpy as np
from support import BUILD, PLUGINS, noisy, photograph, run, wanted, with_alpha

FOLDER = PLUGINS / "frei0r"
ENVIRONMENT = {**os.environ, "FREI0R_PATH": str(FOLDER), "LD_LIBRARY_PATH": str(BUILD), "SDL_AUDIODRIVER": "dummy"}


def ffmpeg(frames, parameters="0|0.5|1|1|n"):
    """The frames as FFmpeg hands them through the filter."""
    height, width = frames[0].shape[:2]
    raw, bytes_ = ["-f", "rawvideo", "-pix_fmt", "rgba"], b"".join(frame.tobytes() for frame in frames)
    out = run("ffmpeg", "-v", "error", *raw, "-s", f"{width}x{height}", "-r", "25", "-i", "-", "-vf",
              f"frei0r=veskaro:{parameters}", *raw, "-", input=bytes_, env=ENVIRONMENT)  # fmt: skip
    return np.frombuffer(out, np.uint8).reshape(-1, height, width, 4)


def taken(frames, cleaned):
    """How much is taken out of each frame, which follows the level that it was filtered with."""
    return [(np.float32(a[..., :3]) - b[..., :3]).std() for a, b in zip(frames, cleaned)]


def clip(sigma, count, seed=0, turns=0):
    picture = np.rot90(photograph(320, 192), turns)
    return [with_alpha(noisy(picture, sigma, seed + n)) for n in range(count)]


class InPrograms(unittest.TestCase):
    def test_bytes_of_the_first_frame(self):
        frame = clip(12, 1)[0]
        chosen = {"0|0.5|1|1|n": ("fast", 1), "0.5|0|1|1|n": ("best", 0.6), "1|1|1|1|y": ("classic", 1.5)}
        for parameters, (preset, strength) in chosen.items():
            result = np.dstack([wanted(frame[..., :3], preset, strength=strength), frame[..., 3]])
            self.assertTrue((ffmpeg([frame], parameters)[0] == result).all(), parameters)

    def test_constant_noise_does_not_flicker(self):
        frames = clip(12, 40)
        amounts = taken(frames, ffmpeg(frames))
        for before, after in zip(amounts, amounts[1:]):
            self.assertLess(abs(after / before - 1), 0.02)

    def test_follows_a_cut_and_another_noise(self):
        for second in (clip(20, 15, 100, turns=2), clip(16, 15, 100)):  # another scene; the same one, noisier
            frames = clip(8, 15) + second
            amounts, alone = taken(frames, ffmpeg(frames)), taken(second, ffmpeg(second))
            self.assertLess(abs(amounts[27] / np.mean(alone) - 1), 0.05)
            self.assertLess(taken(frames, ffmpeg(frames, "0|0.5|1|1|y"))[27], amounts[27] * 0.9)

    @unittest.skipUnless(shutil.which("melt"), "melt is not installed")
    def test_in_mlt(self):
        frame, (plain, clean) = noisy(photograph(640, 480), 12), ("plain.mkv", "clean.mkv")
        raw = ["-f", "rawvideo", "-pix_fmt", "rgb24"]
        with tempfile.TemporaryDirectory() as folder:
            here = {"cwd": folder, "env": ENVIRONMENT}
            run("ffmpeg", "-v", "error", *raw, "-s", "640x480", "-r", "25", "-i", "-", "-c:v", "ffv1",
                "-pix_fmt", "bgr0", "in.mkv", input=frame.tobytes() * 5, **here)  # fmt: skip
            pictures = []
            for file, filters in ((plain, []), (clean, ["-filter", "frei0r.veskaro"])):
                run("melt", "in.mkv", *filters, "-consumer", f"avformat:{file}", "vcodec=ffv1", "pix_fmt=bgra",
                    "mlt_image_format=rgba", "width=640", "height=480", "progressive=1", **here)  # fmt: skip
                out = run("ffmpeg", "-v", "error", "-i", file, *raw, "-", **here)
                pictures.append(np.frombuffer(out, np.uint8).reshape(-1, 480, 640, 3)[0])
        self.assertTrue((pictures[1] == wanted(pictures[0])).all())


class Filter:
    """The filter called directly."""

    def __init__(self, width, height):
        self.library = ctypes.CDLL(str(FOLDER / "veskaro.so"))
        self.library.f0r_construct.restype = ctypes.c_void_p
        self.instance = ctypes.c_void_p(self.library.f0r_construct(width, height))

    def set(self, index, value):
        self.library.f0r_set_param_value(self.instance, ctypes.byref(ctypes.c_double(value)), index)

    def values(self, indices=range(5)):
        values = [ctypes.c_double(-1) for _ in indices]
        for value, index in zip(values, indices):
            self.library.f0r_get_param_value(self.instance, ctypes.byref(value), index)
        return [value.value for value in values]

    def __call__(self, frame, time=0.0):
        out = np.empty_like(frame)
        pointers = [array.ctypes.data_as(ctypes.c_void_p) for array in (frame, out)]
        self.library.f0r_update(self.instance, ctypes.c_double(time), *pointers)
        return out


class AsAnyHost(unittest.TestCase):
    def test_wrong_parameters(self):
        frame, filter = clip(12, 1)[0], Filter(320, 192)
        before = filter.values()
        for index in (-1, 5, 99, *range(5)):
            filter.set(index, math.nan)
        self.assertEqual((filter.values(), filter.values((-1, 5, 99))), (before, [-1] * 3))
        for index in range(5):
            filter.set(index, -math.inf)
        self.assertEqual(filter.values(), [0.0] * 5)
        self.assertTrue((filter(frame) == frame).all())  # no share of anything

    def test_sizes(self):
        for width, height in ((1, 1), (16, 16), (33, 70), (8, 400)):
            frame = with_alpha(noisy(photograph(width, height), 10))
            result = np.dstack([wanted(frame[..., :3]), frame[..., 3]])
            self.assertTrue((Filter(width, height)(frame) == result).all())

    def test_instances_know_nothing_of_each_other(self):
        clips, together, alone = (clip(4, 8), clip(25, 8)), *([Filter(320, 192), Filter(320, 192)] for _ in range(2))
        mixed = [[filter(frame, n) for filter, frame in zip(together, pair)] for n, pair in enumerate(zip(*clips))]
        for k, (filter, frames) in enumerate(zip(alone, clips)):
            for n, frame in enumerate(frames):
                self.assertTrue((filter(frame, n) == mixed[n][k]).all())


if __name__ == "__main__":
    unittest.main()
