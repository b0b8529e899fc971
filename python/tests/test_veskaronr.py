"""The module against the library that VESKARONR_LIBRARY names: every kind of array, byte for byte."""

import dataclasses
import functools
import io
import json
import os
import pathlib
import pickle
import subprocess
import sys
import tempfile
import unittest
import warnings
from concurrent.futures import ThreadPoolExecutor
from ctypes import c_float

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))

import numpy as np

import veskaronr
from veskaronr import Box, Measurement, Noise, Params, Plan, Settings, denoise, measure

classic = functools.partial(denoise, preset="classic")


def scene(height, width, dtype=np.uint8, noise=12.0, seed=1):
    """A gradient with a bright disc and Gaussian noise, RGB."""
    rng = np.random.default_rng(seed)
    y, x = np.mgrid[0:height, 0:width]
    base = (
        60 + 80 * x / width + 40 * y / height + 40 * ((x - width / 2) ** 2 + (y - height / 2) ** 2 < (height / 4) ** 2)
    )
    picture = base[:, :, None] * [1.0, 0.9, 0.7] + rng.normal(0, noise, (height, width, 3))
    return (np.clip(picture, 0, 255) * (256 if dtype == np.uint16 else 1)).astype(dtype)


def direct(image, strength=1.0, params=None):
    """denoise2 on a contiguous copy, with the vector it leaves behind."""
    source = np.ascontiguousarray(image, image.dtype.newbyteorder("="))
    result = np.empty_like(source)
    vector = (params or Params()).to_vector()
    vector[0] = strength
    height, width = image.shape[:2]
    code = veskaronr.c_library().denoise2(
        width, height, 3, 3 * width, 8 * image.itemsize, 256, 2, vector, None, source.ctypes.data, result.ctypes.data
    )
    assert code == 1
    return result, Params(*vector)


def params_of(settings):
    return Params(*list(settings.to_vector()))


class Arrays(unittest.TestCase):
    def test_every_layout_has_the_bytes_of_denoise2(self):
        for dtype in (np.uint8, np.uint16):
            big = scene(200, 320, dtype)
            fixed = big.copy()
            fixed.flags.writeable = False
            odd = np.frombuffer(b"x" + big.tobytes(), np.uint8)[1:].view(dtype).reshape(big.shape)
            rows = np.broadcast_to(big[50:51], big.shape)
            views = [fixed, big[20:180, 31:290], big[::2], big[5:6], big[:, 7:8], big[::-1, ::-1], odd, rows,
                     big.transpose(1, 0, 2), big[:, :, ::-1], big.astype(big.dtype.newbyteorder())]  # fmt: skip
            for view in views:
                with self.subTest(dtype=dtype, strides=view.strides, shape=view.shape), warnings.catch_warnings():
                    warnings.simplefilter("ignore")
                    wanted, vector = direct(view)
                    kept = view.copy()
                    self.assertEqual(veskaronr._arrays.is_direct(view), view.dtype.isnative and 0 not in view.strides)
                    result, info = classic(view, return_info=True)
                    np.testing.assert_array_equal(result, wanted)
                    self.assertEqual(params_of(info.settings), vector)
                    self.assertTrue(result.flags.c_contiguous and result.dtype.isnative)
                    np.testing.assert_array_equal(classic(view[:, :, ::-1], channel_order="bgr")[:, :, ::-1], wanted)
                    np.testing.assert_array_equal(
                        classic(view.transpose(2, 0, 1), channel_axis=0), wanted.transpose(2, 0, 1)
                    )
                    around = np.full((view.shape[0], 2, view.shape[1], 5), 77, view.dtype)
                    out = around[::-1, 1, :, 3:0:-1]
                    self.assertIs(classic(view, out=out, threads=1), out)
                    np.testing.assert_array_equal(out, wanted)
                    out[...] = 77
                    self.assertTrue((around == 77).all())
                    np.testing.assert_array_equal(view, kept)

    def test_grey_alpha_batches_and_what_becomes_arrays(self):
        colour = scene(100, 120)
        wanted = direct(colour)[0]
        grey = colour[:, :, 0]
        green = direct(np.repeat(grey[:, :, None], 3, 2))[0][:, :, 1]
        np.testing.assert_array_equal(classic(grey), green)
        np.testing.assert_array_equal(classic(grey[..., None]), green[..., None])
        np.testing.assert_array_equal(classic(grey.tolist()), green)
        alpha = np.arange(12000).reshape(100, 120, 1).astype(np.uint8)
        rgba = classic(np.dstack([colour, alpha]))
        np.testing.assert_array_equal(rgba, np.dstack([wanted, alpha]))
        batch = np.stack([colour, colour[::-1], np.zeros_like(colour)])
        with self.assertWarnsRegex(UserWarning, "1 of 3 pictures") as caught:
            results, info = classic(batch, return_info=True)
        self.assertEqual((len(caught.warnings), caught.filename), (1, __file__))
        self.assertEqual([one.measured for one in info.batch], [True, True, False])
        np.testing.assert_array_equal(results, [direct(picture)[0] for picture in batch])

        class Lazy:
            __array_interface__ = colour.__array_interface__

        np.testing.assert_array_equal(classic(Lazy()), wanted)

    def test_floats_and_ranges(self):
        eight = scene(150, 200)
        truncate = dataclasses.replace(measure(eight).settings(preset="classic"), rounding="truncate")
        wanted = direct(eight)[0]
        for dtype in ("f4", "f8", ">f4"):
            result = denoise(eight.astype(dtype), settings=truncate, data_range=255)
            self.assertEqual(result.dtype, np.dtype(dtype).newbyteorder("="))
            np.testing.assert_array_equal(result, wanted)
            scaled = classic(eight.astype(dtype) / 255)
            self.assertLess(np.abs(scaled * 255 - wanted - 0.5).max(), 2.5)
        ten = scene(150, 200, np.uint16) >> 6
        for preset in ("best", "classic"):
            with self.assertWarnsRegex(UserWarning, "data_range"):
                denoise(ten, preset=preset)
        noise = measure(ten, data_range=1023)
        self.assertEqual(noise, measure(ten << 6))
        np.testing.assert_allclose(classic(ten, data_range=1023), direct(ten << 6)[0] >> 6, atol=2)
        light = (eight / 255.0) ** 2
        noise = measure(light * 1000, linear=True)
        self.assertTrue(noise.measured and noise.linear and 100 < noise.linear_scale < 1000)
        result = denoise(light * 1000, linear=True)
        self.assertLess(result[105:145, 60:75, 1].std(), 0.7 * (light * 1000)[105:145, 60:75, 1].std())

    def test_refusals_are_clear(self):
        image, nan = scene(64, 64), np.full((64, 64), np.nan, np.float32)
        fixed = image.copy()
        fixed.flags.writeable = False
        pictures = [
            None, [["a", "b"]], [[300, 2], [3, 4]], image.astype(np.int8), image > 100, image.astype(complex), nan,
            image[:, :, :2], image[:0], image[0, 0], np.ma.masked_less(image, 50), np.full((64, 64), 1e300),
        ]  # fmt: skip
        options = {
            "strength": [3.0, float("nan"), "1", None], "preset": ["none"], "channel_order": ["gbr"], "linear": [True],
            "channel_axis": [1, 5, 0.5], "data_range": [1000, 65535, "1"], "out": [image, fixed, image[1:], []],
            "threads": [0, 1 << 40, 1.5], "cancel": [True], "progress": [3],
            "settings": [{}, Settings(tile=20), Settings(tile=1 << 40), Settings(rounding="none"),
                         Settings(rounding="up"), Settings(luma_keep=float("nan")), Settings(luma_keep="1")],
        }  # fmt: skip
        plan = Plan(image.shape, image.dtype, Settings())
        whole = (0, 64, 0, 64)
        calls = [
            *(lambda p=p: denoise(p) for p in pictures),
            *(lambda n=n, v=v: denoise(image, **{n: v}) for n, values in options.items() for v in values),
            lambda: denoise(image, 1.2, settings=Settings()), lambda: denoise(image, settings=Params()),
            lambda: denoise(image, 0.5), lambda: Noise().settings(0.55, "fast"), lambda: classic(image, 0.4),
            lambda: Noise().settings(preset="none"), lambda: Noise(grain="measured", correlation=2.0).settings(), lambda: denoise(image / 255, data_range=1e-60),
            lambda: Plan((0, 5), "u1", Settings()), lambda: Plan((64, 64), "i4", Settings()),
            lambda: Plan((64, 1 << 40), "u1", Settings()), lambda: Plan((64, 64), "u1", Params()),
            lambda: measure(image[None]),
            lambda: plan.cover((0, 65, 0, 1)), lambda: plan.cover((5, 5, 0, 1)), lambda: plan.cover((0, 1.5, 0, 1)),
            lambda: plan.filter(image, whole, (0, 64, 0, 1 << 33)), lambda: plan.filter(image[1:], whole, (0, 9, 0, 9)),
            lambda: plan.filter(image[32:], (0, 64, 32, 64), (0, 64, 0, 32)),
            lambda: Measurement((64, 64)).add(image, 1, 0), lambda: Measurement((64, 64)).add(image, 1 << 40, 0),
            lambda: Measurement.from_bytes(b"nothing"), lambda: Measurement((64, 64)).merge(Measurement((64, 65))),
        ]  # fmt: skip
        for call in calls:
            with self.assertRaises((TypeError, ValueError)), warnings.catch_warnings():
                warnings.simplefilter("ignore")
                call()


class Steps(unittest.TestCase):
    def test_noise_and_settings(self):
        vector = (c_float * 21)()
        veskaronr.c_library().nr_def(vector)
        self.assertEqual(list(vector), list(Params().to_vector()))
        self.assertEqual(params_of(Noise().settings(preset="classic")), Params(*vector))
        image = scene(150, 200)
        for strength in (0.5, 1.0, 1.37):
            self.assertEqual(params_of(measure(image).settings(strength, "classic")), direct(image, strength)[1])
        self.assertLess(measure(scene(150, 200, noise=8)).level, measure(image).level)
        flat = veskaronr.profile(np.full((64, 64), 90, np.uint8))
        self.assertFalse(flat.measured)
        self.assertIn("usable", flat.reason)
        own = Params(luma_keep=0.0, sharpening=0.0)
        result, info = classic(image, 0.8, settings=own, return_params=True)
        np.testing.assert_array_equal(result, direct(image, 0.8, own)[0])
        self.assertEqual((own, info.settings.luma_keep), (Params(luma_keep=0.0, sharpening=0.0), 0.0))
        np.testing.assert_array_equal(denoise(image, settings=info.settings), result)

    def test_best_tells_the_noise_and_takes_it_out(self):
        clean = scene(300, 400, float, noise=0)
        noise = np.random.default_rng(2).normal(0, [6, 10, 14], clean.shape)
        noisy = np.clip(np.rint(clean + noise), 0, 255).astype(np.uint8)
        light = (clean / 255) ** 2
        photons = light + 0.08 * np.sqrt(light) * noise / 10
        grey = {"image": noisy[..., 1], "wanted": clean[..., 1]}
        rows = [{"image": noisy, "wanted": clean}, grey, {"image": photons, "wanted": light, "linear": True}]
        for row in rows:
            image, wanted = row.pop("image"), row.pop("wanted")
            error = {p: ((denoise(image, preset=p, **row) - wanted) ** 2).mean() for p in ("best", "fast", "classic")}
            self.assertLess(error["best"], 0.5 * error["classic"])
            self.assertLess(error["best"], 0.2 * ((image - wanted) ** 2).mean())
            self.assertLess(error["best"], error["fast"])
        one = measure(noisy[..., ::-1], channel_order="bgr")
        np.testing.assert_allclose(one.sigma, [6, 10, 14], rtol=0.06)
        self.assertEqual((one.grain, one.blotches, one.correlation < 0.1), ("measured", 0.0, True))
        smoothed = (noise + np.roll(noise, 1, 0) + np.roll(noise, 1, 1) + np.roll(noise, (1, 1), (0, 1))) / 2
        self.assertGreater(measure(clean + smoothed, data_range=255).correlation, 0.7)
        result, info = denoise(np.stack([noisy, noisy[::-1]]), 1.2, return_info=True)
        np.testing.assert_array_equal(result[1], denoise(noisy[::-1], settings=measure(noisy[::-1]).settings(1.2)))
        self.assertTrue(info.measured and info.batch[1].preset == "best")
        flat = np.full((20, 20, 3), 90, np.uint8)  # too small for classic
        for image, preset, why in ((noisy[:15], "best", "best .* 16 x 16"), (flat, "classic", "classic .* 32 x 32")):
            with self.assertWarnsRegex(UserWarning, why):
                result, info = denoise(image, preset=preset, return_info=True)
            self.assertEqual((info.measured, (result == image).all()), (False, preset == "best"))
        with warnings.catch_warnings():
            warnings.simplefilter("error")
            np.testing.assert_array_equal(denoise(flat), flat)

    def test_recipes(self):
        image = scene(150, 200)
        settings = measure(image / 255, linear=True).settings(1.3)
        with tempfile.TemporaryDirectory() as folder:
            for file in (os.path.join(folder, "a"), pathlib.Path(folder, "b")):
                settings.save(file)
                self.assertEqual(Settings.load(file), settings)
        for file in (io.StringIO(), io.BytesIO()):
            settings.save(file)
            file.seek(0)
            self.assertEqual(Settings.load(file), settings)
        self.assertRaises(ValueError, Settings(tile=3).save, file)
        self.assertRaises(TypeError, settings.save, b"name")
        self.assertRaises(TypeError, Settings.load, None)
        text = file.getvalue().decode()
        recipe = json.loads(text)
        numpy_values = io.StringIO()
        Settings(tile=np.int64(64), luma_keep=np.float32(0.5), chroma_keep=True).save(numpy_values)
        self.assertEqual(Settings.load(io.StringIO(numpy_values.getvalue())), Settings(tile=64, luma_keep=0.5, chroma_keep=1.0))
        bad = ["", "[" * 100000, "[]", b"\xff", text.replace("{", '{"recipe": 1,', 1), text[:-3], json.dumps({**recipe, "recipe": 2}),
               json.dumps({**recipe, "recipe": True}), json.dumps({**recipe, "name": "x"}),
               json.dumps({**recipe, "settings": dict(list(recipe["settings"].items())[1:])})]  # fmt: skip
        changes = {"tile": [64.5, 55, 1 << 70, "64"], "rounding": ["up", 1, []], "linear_scale": [0, 1e-60],
                   "luma_keep": [True, None, "1", 1e60, float("nan"), 10**400], "extra": [1], "patch": [1.5, [1]],
                   "residual_luma": [0, [0] * 7, [0] * 7 + [True], "0" * 8], "spectrum": [[[0] * 8] * 24, [[[-1] * 8] * 8] * 3]}  # fmt: skip
        for name, values in changes.items():
            bad += [json.dumps({**recipe, "settings": {**recipe["settings"], name: value}}) for value in values]
        for one in bad:
            with self.subTest(recipe=one[-300:]), self.assertRaises(ValueError):
                Settings.load(io.BytesIO(one) if isinstance(one, bytes) else io.StringIO(one))

    def test_pieces_have_the_bytes_of_the_whole(self):
        rng = np.random.default_rng(5)
        for image, options in (
            (scene(700, 610), {}),
            (scene(610, 700, np.float64).transpose(2, 0, 1) / 255, {"channel_axis": 0}),
        ):
            image = np.concatenate([image, image[..., :1]], -1) if not options else image
            settings = measure(image, **options).settings()
            wanted = np.moveaxis(denoise(image, settings=settings, **options), options.get("channel_axis", -1), -1)
            plan = pickle.loads(pickle.dumps(Plan(image.shape, image.dtype, settings, **options)))

            def piece(box):
                read, write = plan.cover(box)
                cut = (slice(None), *read.slices) if options else read.slices
                for target in (Box(*box), write):
                    got = np.moveaxis(plan.filter(image[cut], read, target), options.get("channel_axis", -1), -1)
                    np.testing.assert_array_equal(got, wanted[target.slices])

            height, width, _ = wanted.shape
            ends = [
                (*sorted(rng.choice(width + 1, 2, False)), *sorted(rng.choice(height + 1, 2, False))) for _ in range(8)
            ]
            with ThreadPoolExecutor(2) as pool:
                list(pool.map(piece, ends))

    def test_measuring_in_pieces(self):
        image = scene(210, 340)
        whole = Measurement(image.shape)
        for y in range(0, 210, 37):
            part = Measurement(image.shape[:2])
            for x in range(0, 340, 90):
                part.add(image[y : y + 37, x : x + 90], x, y)
            part = pickle.loads(pickle.dumps(part))
            whole.merge(part)
            whole.merge(whole)
        self.assertEqual(whole.finish(), measure(image))
        state = bytearray(whole.to_bytes())
        state[3] ^= 0x55
        self.assertRaises(veskaronr.ArgumentError, Measurement.from_bytes, state)
        self.assertRaises(ValueError, Measurement.from_bytes, bytes(state[:-1]))


class Radiance(unittest.TestCase):
    def picture(self, height=64, width=96):
        image = np.random.default_rng(3).integers(100, 256, (height, width, 4), dtype=np.uint8)
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
            out = np.zeros((2, 64, 192, 4), np.uint8)[:, :, ::2]
            told = []
            batch = veskaronr.denoise_rgbe([image, image[::-1]], strength, out=out, progress=lambda *n: told.append(n))
            self.assertIs(batch, out)
            np.testing.assert_array_equal(out[0], result)
            self.assertEqual(told, [(1, 2), (2, 2)])

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
