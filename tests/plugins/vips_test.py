"""The operation of libvips: on the command line, and in regions as programs ask for them."""

import os
import pathlib
import subprocess
import tempfile
import unittest

import numpy as np
from support import BUILD, PLUGINS, noisy, photograph, read_image, run, wanted, with_alpha, write_image

ENVIRONMENT = {**os.environ, "VIPSHOME": str(PLUGINS / "vips"), "LD_LIBRARY_PATH": str(BUILD)}


class Vips(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.picture = noisy(photograph(333, 290), 8)

    def call(self, array, interpretation, *options):
        given = write_image(self.folder / "in.v", array, interpretation)
        return subprocess.run(["vips", "veskaro_denoise", given, self.folder / "out.v", *map(str, options)],
                              env=ENVIRONMENT, capture_output=True, text=True)  # fmt: skip

    def expect(self, result, array, interpretation="srgb", *options):
        done = self.call(array, interpretation, *options)
        self.assertEqual(done.stderr, "")
        self.assertTrue((read_image(self.folder / "out.v", array) == result).all(), (array.dtype, options))

    def test_bytes_of_the_companion(self):
        if not (BUILD / "veskaro-nr").exists():
            self.skipTest("built without the companion")
        for array, form in ((self.picture, "srgb"), (self.picture.astype(np.uint16) * 257, "rgb16")):
            file, result = write_image(self.folder / "in.tif", array, form), self.folder / "out.tif"
            run(BUILD / "veskaro-nr", file, result, "--force")
            self.expect(read_image(result, array), array, form)

    def test_every_format(self):
        picture, fast = self.picture, ("--preset", "fast")
        real = wanted(picture.astype(np.float32), data_range=255)
        for dtype in ("float32", "float64", "int16", "uint32"):
            result = real if dtype.startswith("float") else np.rint(real)
            self.expect(result, picture.astype(dtype), "srgb", *fast)
        half, ten = (picture // 2).astype(np.int8), picture.astype(np.uint16) * 4
        self.expect(np.rint(wanted(half.astype(np.float32), data_range=127)), half, "srgb", *fast, "--white", 127)
        self.expect(wanted(ten, data_range=1023), ten, "rgb16", *fast, "--white", 1023)
        light, grey, alpha = (picture / np.float32(255)) ** 2, picture[..., 1], with_alpha(picture)
        self.expect(wanted(light, linear=True), light, "scrgb", *fast)
        self.expect(wanted(grey), grey, "b-w", *fast)
        self.expect(np.dstack([wanted(picture), alpha[..., 3]]), alpha, "srgb", *fast)

    def test_options(self):
        self.expect(wanted(self.picture, "best", strength=0.7), self.picture, "srgb", "--strength", 0.7)
        self.expect(wanted(self.picture, "classic"), self.picture, "srgb", "--preset", "classic")
        self.expect(self.picture, self.picture, "srgb", "--luminance", 0, "--colour", 0)

    def test_what_is_refused(self):
        picture, holes = self.picture, self.picture.astype(np.float32)
        holes[40, 50] = np.nan
        cases = [(picture, "lab"), (with_alpha(picture), "cmyk"), (picture.astype(np.complex64), "srgb")]
        cases += [(holes, "srgb"), (picture, "srgb", "--white", 77), (picture, "srgb", "--preset", "last")]
        for case in cases:
            done = self.call(*case)
            self.assertEqual(done.returncode, 1, case[1:])
            self.assertIn("veskaro_denoise", done.stderr)

    def test_sizes(self):
        for width, height in ((1, 1), (1, 300), (31, 33), (271, 273), (576, 577)):
            picture = noisy(photograph(width, height), 8)
            self.expect(wanted(picture, "best"), picture)

    def test_regions(self):
        given = write_image(self.folder / "in.v", noisy(photograph(1100, 900), 8))
        run(BUILD / "tests/plugins/vips_regions", given, env=ENVIRONMENT)


if __name__ == "__main__":
    unittest.main()
