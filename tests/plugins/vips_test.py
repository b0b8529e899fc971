"""The operation of libvips: on the command line, and in regions as programs ask for them."""

import os
import pathlib
import subprocess
import tempfile
import unittest
import warnings

import numpy as np
from support import BUILD, PLUGINS, noisy, photograph, run, veskaronr, with_alpha

HOME = PLUGINS / "vips"
ENVIRONMENT = {**os.environ, "VIPSHOME": str(HOME), "LD_LIBRARY_PATH": str(BUILD)}
FORMATS = {"uint8": "uchar", "int8": "char", "uint16": "ushort", "int16": "short", "uint32": "uint", "int32": "int",
           "float32": "float", "float64": "double", "complex64": "complex"}  # fmt: skip


class Vips(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def given(self, array, interpretation="srgb"):
        """A file of libvips with the array's samples."""
        bands = 1 if array.ndim == 2 else array.shape[2]
        (self.folder / "raw").write_bytes(np.ascontiguousarray(array).tobytes())
        run("vips", "rawload", self.folder / "raw", self.folder / "in.v", array.shape[1], array.shape[0], bands,
            "--format", FORMATS[array.dtype.name], "--interpretation", interpretation)  # fmt: skip
        return self.folder / "in.v"

    def filtered(self, array, *options, interpretation="srgb"):
        given = self.given(array, interpretation)
        run("vips", "veskaro_denoise", given, self.folder / "out.v", *options, env=ENVIRONMENT)
        run("vips", "rawsave", self.folder / "out.v", self.folder / "out.raw")
        return np.fromfile(self.folder / "out.raw", array.dtype).reshape(array.shape)

    def test_bytes_of_the_companion(self):
        """The bytes of a file, through the companion and through libvips."""
        tool = BUILD / "veskaro-nr"
        if not tool.exists():
            self.skipTest("built without the companion")
        files = {name: self.folder / f"{name}.tif" for name in ("in", "ours", "theirs")}
        for array in (noisy(photograph(700, 500), 10), noisy(photograph(300, 270), 10).astype(np.uint16) * 257):
            run("vips", "tiffsave", self.given(array, "srgb" if array.itemsize == 1 else "rgb16"), files["in"], "--tile")
            run("vips", "veskaro_denoise", files["in"], files["ours"], env=ENVIRONMENT)
            run(tool, files["in"], files["theirs"], "--force")
            raw = []
            for name in ("ours", "theirs"):
                run("vips", "rawsave", files[name], self.folder / "raw")
                raw.append((self.folder / "raw").read_bytes())
            self.assertEqual(*raw)

    def test_every_format(self):
        picture = noisy(photograph(333, 290), 8)
        def whole(array, **options):
            return veskaronr.denoise(array, preset="fast", **options)
        fast = ("--preset", "fast")
        as_floats = whole(picture.astype(np.float32), data_range=255)
        for dtype in ("float32", "float64"):
            self.assertTrue((self.filtered(picture.astype(dtype), *fast) == as_floats).all(), dtype)
        for dtype in ("int16", "uint32", "int32"):
            self.assertTrue((self.filtered(picture.astype(dtype), *fast) == np.rint(as_floats)).all(), dtype)
        half = (picture // 2).astype(np.int8)
        wanted = np.rint(whole(half.astype(np.float32), data_range=127))
        self.assertTrue((self.filtered(half, *fast, "--white", 127) == wanted).all())
        wide = picture.astype(np.uint16) * 257
        self.assertTrue((self.filtered(wide, *fast, interpretation="rgb16") == whole(wide)).all())
        ten = picture.astype(np.uint16) * 4
        self.assertTrue((self.filtered(ten, *fast, "--white", 1023, interpretation="rgb16") == whole(ten, data_range=1023)).all())
        light = (picture / np.float32(255)) ** 2
        self.assertTrue((self.filtered(light, *fast, interpretation="scrgb") == whole(light, linear=True)).all())
        grey = np.ascontiguousarray(picture[..., 1])
        self.assertTrue((self.filtered(grey, *fast, interpretation="b-w") == whole(grey)).all())
        alpha = with_alpha(picture)
        self.assertTrue((self.filtered(alpha, *fast)[..., 3] == alpha[..., 3]).all())
        self.assertTrue((self.filtered(alpha, *fast)[..., :3] == whole(picture)).all())

    def test_options(self):
        picture = noisy(photograph(300, 200), 12)
        for options, arguments in (
            (("--strength", "0.7"), {"strength": 0.7}),
            (("--preset", "classic", "--strength", "0.5"), {"preset": "classic", "strength": 0.5}),
        ):
            self.assertTrue((self.filtered(picture, *options) == veskaronr.denoise(picture, **arguments)).all())
        kept = self.filtered(picture, "--luminance", "0", "--colour", "0")
        self.assertTrue((kept == picture).all())

    def test_what_is_refused(self):
        picture = noisy(photograph(100, 80), 8)
        holes = picture.astype(np.float32)
        holes[40, 50] = np.nan
        cases = [(picture, "lab", ()), (with_alpha(picture), "cmyk", ()), (picture.astype(np.complex64), "srgb", ()),
                 (holes, "srgb", ()), (picture, "srgb", ("--white", "77")), (picture, "srgb", ("--preset", "last"))]  # fmt: skip
        for array, interpretation, options in cases:
            done = subprocess.run(["vips", "veskaro_denoise", self.given(array, interpretation), self.folder / "o.v", *options],
                                  env=ENVIRONMENT, capture_output=True, text=True)  # fmt: skip
            self.assertEqual(done.returncode, 1, interpretation)
            self.assertIn("veskaro_denoise", done.stderr)

    def test_sizes(self):
        for width, height in ((1, 1), (1, 300), (31, 33), (256, 256), (271, 273), (640, 57), (576, 577)):
            picture = noisy(photograph(width, height), 8)
            with warnings.catch_warnings(action="ignore"):
                wanted = veskaronr.denoise(picture)
            self.assertTrue((self.filtered(picture) == wanted).all(), (width, height))

    def test_regions(self):
        picture = noisy(photograph(1100, 900), 8)
        run(BUILD / "tests/plugins/vips_regions", self.given(picture), env=ENVIRONMENT)


if __name__ == "__main__":
    unittest.main()
