"""Pictures of every kind through veskaro-nr: pixels, layout, names, errors."""

import ctypes
import json
import os
import unittest

import numpy

from support import BUILD, SAMPLE, SAMPLE_HDR, ToolTest, command, header, noisy, pixels, save, vips


LIBRARY = BUILD / "VeskaroNRLib.so.1"


def denoise2(picture, tile):
    """An 8-bit RGB picture through the classic interface: the result, and the noise level that it measured."""
    library = ctypes.CDLL(str(LIBRARY))
    params, after = (ctypes.c_float * 21)(), numpy.empty_like(picture)
    library.nr_def(params)
    params[0] = 1.0
    height, width, _ = picture.shape
    assert library.denoise2(width, height, 3, 3 * width, 8, tile, 2, params, None, picture.ctypes.data_as(ctypes.c_void_p), after.ctypes.data_as(ctypes.c_void_p)) >= 0
    return after, params[0]


class Photographs(ToolTest):
    def test_noise_falls_and_layout_stays(self):
        layouts = [(bands, bits, suffix) for suffix in ("png", "tif") for bits in (8, 16) for bands in (1, 2, 3, 4)]
        layouts += [(1, 8, "jpg"), (3, 8, "jpg"), (3, 8, "webp"), (4, 8, "webp")]
        for bands, bits, suffix in layouts:
            with self.subTest(bands=bands, bits=bits, suffix=suffix):
                before = noisy(131, 173, bands, bits)
                source = save(before, self.folder / f"in{bands}{bits}.{suffix}", *(["Q=100"] if suffix == "jpg" else ["lossless"] if suffix == "webp" else []))
                result = self.folder / f"out{bands}{bits}.{suffix}"
                line = self.denoise(source, result)
                self.assertRegex(line, rf"173 x 131 {bits}-bit {'grey' if bands < 3 else 'RGB'}.*noise level \d+\.\d.*MP/s\n\Z")
                after = pixels(result)
                self.assertEqual((after.shape, after.dtype), (before.shape, before.dtype))
                colour = bands - (1 - bands % 2)
                flat = (slice(4, 60), slice(4, -4), slice(0, colour))
                spread = [numpy.diff(p[flat].astype(float), axis=0).std() for p in (before, after)]
                self.assertLess(spread[1], 0.8 * spread[0])
                if bands % 2 == 0:
                    numpy.testing.assert_array_equal(after[:, :, -1], before[:, :, -1])

    def test_strength_and_settings_act(self):
        source = save(noisy(96, 96), self.folder / "in.png")
        change = {}
        for name, options in {"weak": ["--strength", "60"], "nominal": [], "strong": ["--strength", "150"],
                              "off": [f"--set=level{k}-amount=0" for k in range(4)] + [f"--set={name}=0" for name in ("sharpening", "NR_CHROMA_SHARPENING", "dots-luma", "dots-chroma", "shrink-luma", "shrink-chroma")]}.items():
            result = self.folder / f"{name}.png"
            said = self.denoise(source, result, "-v", *options)
            change[name] = numpy.abs(pixels(result).astype(int) - pixels(source)).mean()
        self.assertIn("nothing changed: noise reduction, sharpening and the stages after them were set to 0", said)
        self.assertLess(change["weak"], change["nominal"])
        self.assertLess(change["nominal"], change["strong"])
        self.assertLess(change["off"], 0.1)

    def test_best_is_the_default(self):
        clean = numpy.kron(numpy.random.default_rng(9).integers(40, 200, (12, 12, 3)), numpy.ones((24, 24, 1))).astype(float)
        noise = numpy.random.default_rng(8).normal(0, 10, clean.shape)
        for bands in (3, 1):
            noisy = (clean + noise)[:, :, :bands].round().astype("uint8")
            source = save(noisy, self.folder / f"in{bands}.png")
            error, after = {"none": noise[:, :, :bands].std()}, {}
            for preset in (None, "best", "fast", "classic"):
                result = self.folder / f"{preset}{bands}.png"
                told = json.loads(self.denoise(source, result, "--json", *(["--preset", preset] if preset else [])))
                after[preset] = pixels(result)
                error[preset] = (after[preset] - clean[:, :, :bands]).std()
                self.assertEqual(told["preset"], preset or "best")
                numpy.testing.assert_allclose(told["noise_sigma"], 10, rtol=0.1)
            numpy.testing.assert_array_equal(after["best"], after[None])
            self.assertLess(error["best"], (0.97 if bands == 3 else 1.2) * error["fast"], "squares without structure are best for fast, in grey")
            self.assertLess(error["fast"], 0.5 * error["none"])
            self.assertLess(error["best"], 0.75 * error["classic"])
            self.assertLess(abs(after["best"].mean() - noisy.mean()), 0.05, "rounded, so nothing darkens")
        # Luminance stays with every preset when it is to stay.
        for preset in ("best", "fast", "classic"):
            self.denoise(self.folder / "in3.png", self.folder / f"c-{preset}.png", "--chroma-only", "--preset", preset)
            after = pixels(self.folder / f"c-{preset}.png")
            luma = (after - pixels(self.folder / "in3.png").astype(float)) @ [0.299, 0.587, 0.114]
            self.assertLess(numpy.abs(luma[(after.min(axis=2) > 0) & (after.max(axis=2) < 255)]).max(), 1.5)

    def test_too_small_to_measure(self):
        for shape, bits in (((15, 60, 3), 8), ((9, 15, 1), 16), ((40, 15, 4), 16), ((1, 1, 3), 8)):
            source = save(noisy(*shape, bits=bits), self.folder / "in.tif")
            told = json.loads(self.denoise(source, self.folder / "out.tif", "--json", "--force"))
            self.assertEqual((told["noise_grain"], "noise_sigma" in told), ("unknown", False))
            self.assertIn("16 x 16", told["why_unchanged"])
            numpy.testing.assert_array_equal(pixels(self.folder / "out.tif"), pixels(source))

    def test_chroma_only_leaves_grey_alone(self):
        source = save(noisy(64, 64, 1), self.folder / "in.png")
        said = self.denoise(source, self.folder / "out.png", "--chroma-only", "-v")
        self.assertIn("nothing changed: a grey picture has no chroma", said)
        self.assertLessEqual(numpy.abs(pixels(self.folder / "out.png").astype(int) - pixels(source)).max(), 1)

    @unittest.skipIf(b"__asan_init" in LIBRARY.read_bytes(), "a sanitizer's runtime must come first in a process")
    def test_as_the_classic_interface_with_any_number_of_threads(self):
        """Two strips of a grey picture, and alpha beside the colour."""
        for bands in (1, 4):
            before = noisy(1300, 130, bands)
            source = save(before, self.folder / f"in{bands}.tif")
            colour = numpy.ascontiguousarray(numpy.repeat(before[:, :, :1], 3, axis=2) if bands == 1 else before[:, :, :3])
            after, level = denoise2(colour, tile=64)
            for threads in (1, 2, 5):
                told = json.loads(self.denoise(source, self.folder / "o.tif", "--threads", threads, "--tile", 64, "--json", "--force", "--preset", "classic"))
                self.assertAlmostEqual(told["noise_level"], level, places=4)
                numpy.testing.assert_array_equal(pixels(self.folder / "o.tif")[:, :, : min(bands, 3)], after[:, :, : min(bands, 3)])


class HighDynamicRange(ToolTest):
    def test_header_is_kept_and_pixels_change(self):
        text = b"#?RADIANCE\n# a comment\nVIEW= -vtv -vh 90\nEXPOSURE=2.5\nFORMAT=32-bit_rle_rgbe\nOWNER=someone\n\n+Y 48 -X 80\n"
        random = numpy.random.default_rng(2)
        rgbe = numpy.concatenate([random.integers(128, 256, (48, 80, 3)), random.integers(126, 131, (48, 80, 1))], axis=2)
        flat = self.folder / "in.hdr"
        flat.write_bytes(text + rgbe.astype("uint8").tobytes())
        for strength, mode, preset in (("100", "full", "classic"), ("100", "chroma only", "chroma-only"), ("70", "chroma only", "classic")):
            result = self.folder / "out.hdr"
            said = self.denoise(flat, result, "--strength", strength, "--verbose", "--preset", preset, "--force")
            self.assertIn(mode, said)
            self.assertEqual(sum("log " in line or "luminance threshold" in line for line in said.splitlines()), 6)
            self.assertTrue(result.read_bytes().startswith(text))
            after = pixels(result)
            self.assertEqual(after.shape, (48, 80, 4))
            self.assertGreater((after != rgbe).any(axis=2).mean(), 0.3)
        # Chroma only keeps the sum of the channels within a step of the encoding.
        level = lambda p: (p[:, :, :3].astype(float) * 2.0 ** (p[:, :, 3:].astype(float) - 136)).sum(axis=2)
        self.assertLess(numpy.abs(level(after) / level(rgbe) - 1).max(), 0.05)

    def test_what_cannot_be_done(self):
        black = self.folder / "black.hdr"
        black.write_bytes(b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 40 +X 40\n" + bytes(4 * 1600))
        classic = self.folder / "o.hdr", "--preset", "classic"
        self.assertIn("no range of brightness", self.fails(1, black, *classic))
        small = self.folder / "small.hdr"
        small.write_bytes(b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 31 +X 40\n" + bytes(range(124)) * 40)
        self.assertIn("at least 32 x 32", self.fails(1, small, *classic))
        self.assertIn("or .hdr", self.fails(1, SAMPLE_HDR, self.folder / "o.png"))
        self.assertEqual(self.names(), ["black.hdr", "small.hdr"])

    def test_best_gains_and_leaves_black_and_suns(self):
        light = numpy.full((256, 256, 3), [0.5, 0.25, 0.125]) * numpy.linspace(0.2, 2, 256)[:, None, None]
        light[64:128, 64:128] = 0
        light[10:14, 200:206] = 1e4
        light[200:202, 20:22] = 1e30
        noise = numpy.random.default_rng(6).normal(0, 0.1, light.shape) * numpy.sqrt(light) * (light < 1e3)
        before = rgbe(numpy.maximum(light + noise, 0))
        source = self.folder / "in.hdr"
        source.write_bytes(b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 256 +X 256\n" + before.tobytes())
        error = lambda p: numpy.sqrt(numpy.square(numpy.sqrt(of_rgbe(p)) - numpy.sqrt(light))[light < 1e3].mean())
        told = json.loads(self.denoise(source, self.folder / "best.hdr", "--json"))
        self.assertEqual((told["mode"], told["preset"], told["noise_grain"]), ("light", "best", "measured"))
        self.denoise(source, self.folder / "classic.hdr", "--preset", "classic")
        after = pixels(self.folder / "best.hdr")
        self.assertLess(error(after), 0.4 * error(before))
        self.assertLess(error(after), 0.5 * error(pixels(self.folder / "classic.hdr")))
        self.assertEqual(after[70:122, 70:122].max(), 0)
        for sun in (slice(10, 14), slice(200, 206)), (slice(200, 202), slice(20, 22)):
            numpy.testing.assert_array_equal(after[sun], before[sun])
        # Luminance that is to stay is that of light, within the steps of the encoding.
        self.denoise(source, self.folder / "chroma.hdr", "--chroma-only")
        luma = lambda p: of_rgbe(p) @ [0.299, 0.587, 0.114]
        chroma = pixels(self.folder / "chroma.hdr")
        self.assertLess(numpy.abs(luma(chroma) - luma(before)).max(), 0.02 * luma(before)[light[:, :, 0] < 1e3].max())


def rgbe(light):
    """Floats as four bytes a pixel."""
    most = light.max(axis=2, keepdims=True)
    exponent = numpy.where(most > 0, numpy.floor(numpy.log2(numpy.maximum(most, 1e-30))) + 1, -128)
    mantissa = numpy.minimum(numpy.rint(light * 256 / 2.0**exponent), 255)
    return numpy.concatenate([mantissa, exponent + 128], axis=2).astype("uint8")


def of_rgbe(pixels):
    return pixels[:, :, :3] * 2.0 ** (pixels[:, :, 3:].astype(float) - 136)


class Failures(ToolTest):
    def test_one_line_and_no_file(self):
        source = save(noisy(64, 64, 3, 16), self.folder / "in.png")
        (self.folder / "text.png").write_text("no picture at all")
        (self.folder / "empty.png").write_bytes(b"")
        vips("black", self.folder / "cmyk.v", 64, 64, "--bands", 4)
        vips("copy", self.folder / "cmyk.v", self.folder / "cmyk.tif", "--interpretation", "cmyk")
        os.remove(self.folder / "cmyk.v")
        out = self.folder / "out.png"
        before = self.names()
        for arguments, words in [([self.folder / "none.png", out], "No such file"),
                                 ([self.folder / "text.png", out], "not a PNG"),
                                 ([self.folder / "empty.png", out], "empty"),
                                 ([self.folder / "cmyk.tif", out], "cmyk"),
                                 ([source, self.folder / "no/such/out.png"], "No such file"),
                                 ([source, self.folder / "out.jpg"], "8 bits"),
                                 ([source, self.folder / "out.exr"], "high dynamic range"),
                                 ([source, self.folder / "out.heic"], "read, not written"),
                                 ([source, self.folder / "out.xyz"], "--format"),
                                 ([source, self.folder / "out.hdr"], "high dynamic range")]:
            self.assertIn(words, self.fails(1, *arguments))
        self.assertEqual(self.names(), before)

    def test_usage(self):
        source = save(noisy(64, 64), self.folder / "in.png")
        for arguments in [[], [source, "o.png", "--strength", "59"], [source, "o.png", "--strength", "151"],
                          [source, "o.png", "--strength", "49", "--preset", "classic"], [source, "o.png", "--strength", "59", "--preset", "fast"], [source, "o.png", "--nonsense"], [source, "o.png", "--preset", "x"],
                          [source, "o.png", "--set", "noise-level=-3"], [source, "o.png", "--set", "sharpening=much"], [source, "o.png", "--set", "luma-keep=nan"],
                          [source, "o.png", "--set", "nothing=1"], [source, "o.png", "--tile", "55"],
                          [source, "--format", "heic"], [source, "--format", "ppm"], [source, self.folder], ["profile"], ["selftest", source]]:
            self.fails(2, *arguments)
        for before in (["--json"], [source]):
            self.assertIn("a file of that name is ./profile", self.fails(2, *before, "profile", source))
        for former, today in (("default", "classic"), ("detail", "best"), ("strong", "best")):
            self.assertIn(f"--preset {today}", self.fails(2, source, "o.png", "--preset", former))
        self.assertEqual(self.names(), ["in.png"])

    def test_replacing(self):
        source = save(noisy(64, 64), self.folder / "in.png")
        out = self.folder / "out.png"
        out.write_text("precious")
        os.chmod(out, 0o640)
        self.fails(1, source, out)
        self.assertEqual(out.read_text(), "precious")
        self.denoise(source, out, "--force")
        self.assertEqual((header(out)[1], out.stat().st_mode & 0o777), (64, 0o640))
        # Never more than the input's, which stand before the name does.
        for mode, old in ((0o600, 0o644), (0o444, None), (0o755, 0o711)):
            os.chmod(source, mode)
            out.unlink() if old is None else os.chmod(out, old)
            beside = self.folder / "r.html", self.folder / "r.json"
            self.denoise(source, out, *(["--force"] if old else []), "--report", beside[0], "--save-recipe", beside[1])
            self.assertEqual([path.stat().st_mode & 0o777 for path in (out, *beside)], [mode & (old or mode), mode, mode])
            for path in beside:
                path.unlink()
        # In place, through a link, which stays a link.
        link = self.folder / "link.png"
        link.symlink_to(source)
        self.denoise(link, link, "--force")
        self.assertTrue(link.is_symlink())
        self.assertEqual(self.names(), ["in.png", "link.png", "out.png"])


if __name__ == "__main__":
    unittest.main()
