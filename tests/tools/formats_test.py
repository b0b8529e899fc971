"""Kinds of files beyond the common ones: floats, newer codecs, camera raw; what a JPEG's tables and further pictures say."""

import json
import os
import re
import struct
import subprocess
import unittest

import numpy

from support import SAMPLE, SAMPLE_HDR, ToolTest, command, header, noisy, pixels, save, vips

# OpenEXR's numbers for the types of samples.
TYPES = {numpy.dtype("uint32"): 0, numpy.dtype("float16"): 1, numpy.dtype("float32"): 2}


def exr(path, channels, corner=(0, 0), more=b""):
    """A plain OpenEXR file, written by hand and not compressed: planes by name, its data window at a corner."""
    names = sorted(channels)
    height, width = channels[names[0]].shape
    field = lambda name, kind, value: name + b"\0" + kind + b"\0" + struct.pack("<i", len(value)) + value
    kinds = b"".join(name.encode() + b"\0" + struct.pack("<iiii", TYPES[channels[name].dtype], 0, 1, 1) for name in names) + b"\0"
    box = struct.pack("<iiii", corner[0], corner[1], corner[0] + width - 1, corner[1] + height - 1)
    head = struct.pack("<II", 20000630, 2) + field(b"channels", b"chlist", kinds) + field(b"compression", b"compression", b"\0")
    head += field(b"dataWindow", b"box2i", box) + field(b"displayWindow", b"box2i", struct.pack("<iiii", 0, 0, 99, 99))
    head += field(b"lineOrder", b"lineOrder", b"\0") + field(b"pixelAspectRatio", b"float", struct.pack("<f", 1))
    head += field(b"screenWindowCenter", b"v2f", bytes(8)) + field(b"screenWindowWidth", b"float", struct.pack("<f", 1)) + more + b"\0"
    rows = [b"".join(channels[name][y].tobytes() for name in names) for y in range(height)]
    rows = [struct.pack("<ii", corner[1] + y, len(row)) + row for y, row in enumerate(rows)]
    start = len(head) + 8 * height
    path.write_bytes(head + b"".join(struct.pack("<Q", start + y * len(rows[0])) for y in range(height)) + b"".join(rows))
    return path


def planes(path, like):
    """The planes of such a file; its header must be as long as that of the file that it came from."""
    data, names = path.read_bytes(), sorted(like)
    height, width = like[names[0]].shape
    size = sum(like[name].itemsize for name in names) * width
    found = {name: [] for name in names}
    for y in range(height):
        at = len(data) - (height - y) * (size + 8) + 8
        for name in names:
            found[name].append(numpy.frombuffer(data, like[name].dtype, width, at))
            at += width * like[name].itemsize
    return {name: numpy.array(rows) for name, rows in found.items()}


def light(height=96, width=120, noise=0.02, seed=4):
    random = numpy.random.default_rng(seed)
    clean = numpy.full((height, width, 3), [0.5, 0.25, 0.125]) * numpy.linspace(0.3, 2, width)[None, :, None]
    return clean, (clean + random.normal(0, noise, clean.shape) * numpy.sqrt(clean)).astype("float32")


class Floats(ToolTest):
    def test_exr_stays_what_it_is(self):
        clean, picture = light()
        picture[0, :4] = [[numpy.nan] * 3, [numpy.inf] * 3, [-1e-3] * 3, [0] * 3]
        random = numpy.random.default_rng(5)
        for kind in ("float16", "float32"):
            before = dict(zip("RGB", numpy.moveaxis(picture.astype(kind), 2, 0)))
            before |= {"A": random.random((96, 120)).astype("float16"), "depth.Z": random.random((96, 120)).astype("float32"),
                       "id": random.integers(0, 2**32, (96, 120), dtype="uint32")}
            note = b"owner\0string\0" + struct.pack("<i", 6) + b"nobody"
            source = exr(self.folder / f"{kind}.exr", before, (-7, 11), note)
            told = json.loads(self.denoise(source, "--json"))
            self.assertEqual((told["samples"], told["channels"], told["mode"]), (f"{kind[5:]}-bit float RGB", 6, "light"))
            result = self.folder / f"{kind}-clean.exr"
            self.assertIn(note, result.read_bytes())
            self.assertIn(struct.pack("<iiii", -7, 11, 112, 106), result.read_bytes())
            after = planes(result, before)
            for name in ("A", "depth.Z", "id"):
                numpy.testing.assert_array_equal(after[name], before[name])
            colour = numpy.dstack([after[c].astype(float) for c in "RGB"])
            numpy.testing.assert_array_equal(colour[0, :2], picture[0, :2].astype(float))
            error = [numpy.abs(p[1:].astype(float) - clean[1:]).mean() for p in (picture, colour)]
            self.assertLess(error[1], 0.5 * error[0])
            # Without those that have no place there, the same through RGBE and TIFF.
        self.assertIn("choose .exr", self.fails(1, source, self.folder / "o.hdr"))
        self.assertIn("whole numbers", self.fails(1, source, self.folder / "o.tif"))
        self.assertIn("RGBE", self.denoise(source, self.folder / "classic.exr", "--preset", "classic"))
        self.assertLess(numpy.nanmean(numpy.abs(planes(self.folder / "classic.exr", before)["G"][1:] - clean[1:, :, 1])), 0.02)

    def test_exr_that_cannot_be_kept(self):
        _, picture = light(40, 60)
        before = dict(zip("RGB", numpy.moveaxis(picture, 2, 0)))
        source = exr(self.folder / "in.exr", before)
        whole = source.read_bytes()
        for part in range(1, 20):
            (self.folder / "cut.exr").write_bytes(whole[: len(whole) * part // 20])
            self.fails(1, self.folder / "cut.exr", "-d", self.folder / "out")
        chance = numpy.random.default_rng(8)
        for _ in range(40):
            damaged = bytearray(whole)
            damaged[chance.integers(8, 400)] = chance.integers(256)
            (self.folder / "cut.exr").write_bytes(damaged)
            self.assertIn(command(self.folder / "cut.exr", "-d", self.folder / "out", "--force").returncode, (0, 1))
        for channels, words in (({"RY": picture[:, :, 0], "Y": picture[:, :, 1]}, "lower resolution"), ({"Z": picture[:, :, 0]}, "no channels R, G and B")):
            self.assertIn(words, self.fails(1, exr(self.folder / "x.exr", channels), self.folder / "y.exr"))
        exr(self.folder / "grey.exr", {"Y": picture[:, :, 1]})
        self.assertIn("32-bit float grey", self.denoise(self.folder / "grey.exr"))
        change = planes(self.folder / "grey-clean.exr", {"Y": picture[:, :, 1]})["Y"] - picture[:, :, 1]
        self.assertTrue(0 < numpy.abs(change).mean() < 0.05)

    def test_tiff_and_between(self):
        clean, picture = light()
        raw = self.folder / "p.pfm"
        raw.write_bytes(b"PF\n120 96\n-1.0\n" + picture[::-1].astype("<f4").tobytes())
        vips("copy", raw, self.folder / "in.tif", "--interpretation", "scrgb")
        results = {}
        for name in ("in.tif", "p.pfm"):
            for kind in ("tif", "exr", "hdr"):
                self.denoise(self.folder / name, self.folder / f"o.{kind}", "--force")
                results[name, kind] = self.floats(self.folder / f"o.{kind}", picture)
        for (name, kind), after in results.items():
            self.assertLess(numpy.abs(after - clean).mean(), 0.5 * numpy.abs(picture - clean).mean(), (name, kind))
            numpy.testing.assert_allclose(after, results["in.tif", "exr"], rtol=1e-3, atol=0.02 if kind == "hdr" else 0)
        # What a screen takes is filtered as it is, with the noise measured there.
        screen = (numpy.clip(noisy(96, 120).astype("float32") / 255, 0, 1)).astype("<f4")
        raw.write_bytes(b"PF\n120 96\n-1.0\n" + screen[::-1].tobytes())
        told = json.loads(self.denoise(raw, self.folder / "s.tif", "--display-referred", "--json"))
        numpy.testing.assert_allclose(told["noise_sigma"], 8, rtol=0.15)
        self.assertNotIn("mode", told)
        self.assertIn(".tif or .hdr", self.fails(1, self.folder / "in.tif", self.folder / "o.jpg"))
        self.denoise(SAMPLE_HDR, self.folder / "night.exr", "--report", self.folder / "r.html")
        self.assertEqual(len(json.loads(self.denoise("profile", self.folder / "night.exr", "--json"))["noise_sigma"]), 3)

    def floats(self, path, like):
        if path.suffix == ".exr":
            return numpy.dstack(list(planes_of_plain(path, like)))
        if path.suffix == ".hdr":
            rgbe = pixels(path).astype(float)
            return rgbe[:, :, :3] * 2.0 ** (rgbe[:, :, 3:] - 136)
        vips("rawsave", path, self.folder / "raw")
        return numpy.fromfile(self.folder / "raw", "<f4").reshape(like.shape)


def planes_of_plain(path, like):
    """Red, green and blue of any OpenEXR file, through libvips."""
    with_alpha = path.with_suffix(".raw")
    vips("rawsave", path, with_alpha)
    floats = numpy.fromfile(with_alpha, "<f4").reshape(*like.shape[:2], -1)
    return (floats[:, :, c] for c in range(3))


class Codecs(ToolTest):
    def test_noise_falls_and_layout_stays(self):
        before = noisy(120, 168)
        for kind, options in (("avif", ["--compression", "av1", "--Q", "97"]), ("jxl", ["--lossless"]), ("heic", ["--Q", "97"])):
            with self.subTest(kind):
                save(before, self.folder / "in.png")
                source, result = self.folder / f"in.{kind}", self.folder / f"in-clean.{kind.replace('heic', 'jpg')}"
                vips("jxlsave" if kind == "jxl" else "heifsave", self.folder / "in.png", source, *options)
                self.denoise(source)
                self.assertEqual(header(result), (120, 168, 3, "uint8"))
                spread = [numpy.diff(pixels(p)[4:56, 4:-4].astype(float), axis=0).std() for p in (source, result)]
                self.assertLess(spread[1], 0.8 * spread[0])
                whole = source.read_bytes()
                for part in range(1, 10):
                    (self.folder / f"cut.{kind}").write_bytes(whole[: len(whole) * part // 10])
                    self.fails(1, self.folder / f"cut.{kind}", "-d", self.folder / "out")
        # Lossless stays lossless, with all bits; what has losses is not blown up.
        deep = save(noisy(120, 168, 4, 16), self.folder / "deep.png")
        options = "--preset=fast", "--set=luma-keep=1", "--set=chroma-keep=1"
        for step in (deep, self.folder / "deep.jxl"):
            self.denoise(step, self.folder / "deep.jxl", "--force", *options)
            numpy.testing.assert_array_equal(pixels(self.folder / "deep.jxl"), pixels(deep))
        self.denoise(SAMPLE, self.folder / "photo.jxl")
        self.assertLess((self.folder / "photo.jxl").stat().st_size, 1.5 * SAMPLE.stat().st_size)
        self.assertIn("12 bits", self.fails(1, deep, self.folder / "deep.avif"))

    def test_any_scale_of_pnm(self):
        random = numpy.random.default_rng(3)
        for white in (100, 1023):
            samples = random.integers(0, white + 1, (40, 50, 3))
            source = self.folder / "in.ppm"
            source.write_bytes(b"P6 # a remark 7\n50 40\n%d\n" % white + samples.astype(">u2" if white > 255 else "u1").tobytes())
            self.denoise(source, "--preset=fast", "--set=luma-keep=1", "--set=chroma-keep=1", "--force")
            full = 65535 if white > 255 else 255
            self.assertLessEqual(numpy.abs(pixels(self.folder / "in-clean.tif") - samples * (full / white)).max(), 0.51)

    def test_tags_move_and_the_picture_is_upright(self):
        source = save(noisy(64, 80), self.folder / "in.jpg", "profile=p3")
        exiftool = lambda *a: subprocess.run(["exiftool", "-q", *map(str, a)], capture_output=True, text=True, check=True).stdout
        exiftool("-overwrite_original", "-Orientation#=6", "-EXIF:Artist=A. Person", "-GPSLatitude=10.5", "-GPSLatitudeRef=N", "-XMP:Rating=4", source)
        # In a JPEG XL the profile is part of what is coded, where only a decoder finds it.
        words = lambda kind: ["-Artist", "-GPSLatitude", "-XMP:Rating", *(["-ICC_Profile:ColorSpaceData"] if kind != "jxl" else [])]
        for kinds in (("avif", "avif", "jxl", "png"), ("jxl", "jxl", "avif", "jpg")):
            step = source
            for number, kind in enumerate(kinds):
                result = self.folder / f"{number}.{kind}"
                self.denoise(step, result, "--force")
                self.assertEqual(exiftool("-s", "-n", *words(kind), result), exiftool("-s", "-n", *words(kind), source), result)
                self.assertEqual((header(result)[:2], exiftool("-s3", "-n", "-IFD0:Orientation", result)), ((80, 64), "1\n"))
                step = result


class Refused(ToolTest):
    def test_camera_raw(self):
        save(noisy(40, 60), self.folder / "plain.tif")
        plain = (self.folder / "plain.tif").read_bytes()
        tag = plain.index(struct.pack("<HHI", 0x0106, 3, 1))
        sensor = plain[: tag + 8] + struct.pack("<H", 32803) + plain[tag + 10 :]
        # In front of the sensor's picture, a thumbnail as libvips would take it.
        directory = struct.pack("<HHHIIHHIII", 2, 0x014A, 4, 1, 40, 0x00FE, 4, 1, 1, 0)
        hidden = b"II*\0" + struct.pack("<I", 8) + directory.ljust(32, b"\0") + struct.pack("<HHHII", 1, 0x0106, 3, 1, 32803) + bytes(4)
        for name, data in (("a.tif", sensor), ("b.tif", hidden), ("c.NEF", plain), ("d.dng", b"junk"), ("e.bin", b"\0\0\0\x18ftypcrx " + bytes(40)),
                           ("f.bin", b"FUJIFILMCCD-RAW 0201"), ("g.bin", b"II*\0\x10\0\0\0CR\2\0" + bytes(40)), ("h.bin", b"IIU\0" + bytes(40))):
            (self.folder / name).write_bytes(data)
            self.assertIn("raw converter", self.fails(1, self.folder / name, self.folder / "o.tif"), name)
        self.fails(1, "profile", self.folder / "c.NEF")
        self.assertNotIn("o.tif", self.names())

    def test_what_other_loaders_would_take(self):
        for name, data, words in (("a.png", b"BM" + bytes(60), "BMP"), ("b.png", b"GIF89a" + bytes(40), "GIF"),
                                  ("c.png", b'<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9"/>', "not a PNG"), ("d.png", b"1,2\n3,4\n", "not a PNG")):
            (self.folder / name).write_bytes(data)
            self.assertIn(words, self.fails(1, self.folder / name, self.folder / "o.png"))


class Jpeg(ToolTest):
    def test_quality_is_the_pictures_own(self):
        picture = noisy(80, 96)
        for quality in (35, 50, 75, 92, 100):
            source = save(picture, self.folder / f"{quality}.jpg", f"Q={quality}")
            tables = lambda path: re.findall(rb"\xff\xdb\0[\x43\x84].{65,130}", path.read_bytes(), re.S)[0][:132]
            self.denoise(source, self.folder / "o.jpg", "--force")
            self.assertEqual(tables(self.folder / "o.jpg"), tables(source))
        self.denoise(source, self.folder / "low.jpg", "--quality", 40)
        self.assertLess((self.folder / "low.jpg").stat().st_size, (self.folder / "o.jpg").stat().st_size / 2)

    def test_what_is_left_behind(self):
        plain = save(noisy(40, 60), self.folder / "in.jpg").read_bytes()
        index = b"MPF\0II*\0" + struct.pack("<IHHHIII", 8, 1, 0xB001, 4, 1, 3, 0)
        segment = lambda marker, data: b"\xff" + bytes([marker]) + struct.pack(">H", len(data) + 2) + data
        xmp = lambda words: segment(0xE1, b"http://ns.adobe.com/xap/1.0/\0<x:xmpmeta>" + words + b"</x:xmpmeta>")
        for front, behind, words in ((segment(0xE2, index), plain, "its 2 further pictures is left behind"), (xmp(b"hdrgm:Version") + segment(0xE2, index), plain, "its gain map is"),
                                     (xmp(b"GCamera:MotionPhoto"), b"\0\0\0\x18ftypmp42", "the video of its motion photo"), (b"", plain, "a second picture behind it"),
                                     (xmp(b"GCamera:MotionPhoto"), b"", None), (b"", bytes(9), None)):
            (self.folder / "x.jpg").write_bytes(plain[:2] + front + plain[2:] + behind)
            line = self.denoise(self.folder / "x.jpg", self.folder / "o.jpg", "--force")
            self.assertIn(words, line) if words else self.assertNotIn("left behind", line)
            self.assertNotIn("left behind", self.denoise(self.folder / "o.jpg", self.folder / "p.jpg", "--force"))


if __name__ == "__main__":
    unittest.main()
