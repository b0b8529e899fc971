"""What files say beside their pixels must survive; exiftool reads it."""

import json
import subprocess
import unittest

from support import SAMPLE, ToolTest, noisy, save

# What describes the file or how it holds its pixels, and not the picture.
STORAGE = {"StripOffsets", "StripByteCounts", "RowsPerStrip", "Compression", "Predictor", "Filter", "EncodingProcess", "BitsPerSample",
           "ColorComponents", "YCbCrSubSampling", "SampleFormat", "ThumbnailOffset", "PlanarConfiguration", "FillOrder"}
# Tags with which every kind of file is tried.
TAGS = ["-EXIF:Make=Maker", "-EXIF:Model=Câmera 7", "-EXIF:Orientation#=6", "-EXIF:ExposureTime=1/60", "-EXIF:ISO=800",
        "-EXIF:DateTimeOriginal=2020:02:03 04:05:06", "-EXIF:Artist=A. Person", "-EXIF:UserComment=remark", "-EXIF:XResolution=240",
        "-EXIF:YResolution=240", "-EXIF:ResolutionUnit=inches", "-XMP:Rating=4", "-XMP-dc:Subject=one", "-XMP-dc:Subject=two",
        "-XMP-xmpRights:Marked=True"]
GPS = ["-EXIF:GPSLatitude=10.5", "-EXIF:GPSLatitudeRef=N", "-EXIF:GPSAltitude=12"]
PROFILE = "profile=p3"  # of libvips' savers: embeds a colour profile
IPTC = ["-IPTC:Keywords=alpha", "-IPTC:Keywords=beta", "-IPTC:By-line=A. Person", "-IPTC:Caption-Abstract=words"]


def exiftool(*arguments):
    return subprocess.run(["exiftool", "-q", "-q", *map(str, arguments)], capture_output=True, text=True, check=True).stdout


def tags(path, groups=()):
    """Group and tag to value, as stored; without what is about the file."""
    read = json.loads(exiftool("-j", "-a", "-u", "-G1", "-n", "--System:all", "--ExifTool:all", "--Composite:all", "--File:all", path))[0]
    found = {}
    for name, value in read.items():
        group, _, tag = name.rpartition(":")
        if tag not in STORAGE | {"SourceFile"} and group != "RIFF" and (not groups or group.startswith(tuple(groups))):
            found[name] = value
    return found


class Metadata(ToolTest):
    def tagged(self, name, *options, bits=8, more=()):
        source = save(noisy(64, 80, 3, bits), self.folder / name, *options)
        exiftool("-overwrite_original", *TAGS, *more, source)
        return source

    def test_same_format_keeps_every_tag(self):
        for name, bits, more in [("a.jpg", 8, GPS + IPTC), ("a.png", 8, GPS), ("b.png", 16, GPS), ("a.tif", 8, GPS + IPTC), ("b.tif", 16, GPS + IPTC),
                                 ("a.webp", 8, GPS)]:
            with self.subTest(name):
                source = self.tagged(name, PROFILE, bits=bits, more=more)
                result = self.folder / f"out-{name}"
                self.denoise(source, result)
                before = tags(source)
                self.assertGreater(len(before), 30)
                self.assertEqual(tags(result), before)
                profiles = [subprocess.run(["exiftool", "-b", "-icc_profile", str(p)], capture_output=True, check=True).stdout for p in (source, result)]
                self.assertGreater(len(profiles[0]), 100)
                self.assertEqual(profiles[1], profiles[0])

    def test_nothing_is_made_up(self):
        for name in ("a.jpg", "a.png", "a.webp"):
            source = save(noisy(64, 80), self.folder / name, "strip")
            self.denoise(source, self.folder / f"out-{name}")
            self.assertEqual(tags(self.folder / f"out-{name}"), tags(source))

    def test_a_camera_file(self):
        result = self.folder / "out.jpg"
        self.denoise(SAMPLE, result)
        self.assertEqual(tags(result), tags(SAMPLE))

    def test_between_formats(self):
        kinds = ("jpg", "png", "tif", "webp")
        groups = ("ExifIFD", "GPS", "XMP", "ICC", "IFD0")
        # Tags that only make sense in a file of a certain kind.
        storage = {"IFD0:YCbCrPositioning", "IFD0:ImageWidth", "IFD0:ImageHeight", "IFD0:PhotometricInterpretation", "IFD0:SamplesPerPixel",
                   "IFD0:Software", "IFD0:XResolution", "IFD0:YResolution", "IFD0:ExtraSamples"}
        for source_kind in kinds:
            source = self.tagged(f"in.{source_kind}", PROFILE, more=GPS)
            for kind in kinds:
                if kind == source_kind:
                    continue
                with self.subTest(source=source_kind, result=kind):
                    result = self.folder / f"from-{source_kind}.{kind}"
                    self.denoise(source, result)
                    before, after = ({k: v for k, v in tags(p, groups).items() if k not in storage} for p in (source, result))
                    self.assertEqual(after, before)
                    # Pixels stay as they lie and so does the tag that turns them.
                    self.assertEqual(after["IFD0:Orientation"], 6)

    def test_iptc_goes_where_it_can(self):
        source = self.tagged("in.jpg", more=IPTC)
        for kind in ("tif", "png"):
            self.denoise(source, self.folder / f"out.{kind}")
            self.assertEqual(tags(self.folder / f"out.{kind}", ["IPTC"])["IPTC:Keywords"], ["alpha", "beta"])
        # Back again; exiftool deflates the text that a PNG has it in.
        deflated = self.tagged("in.png", more=IPTC)
        for source in (self.folder / "out.tif", self.folder / "out.png", deflated):
            for kind in ("jpg", "tif"):
                back = self.folder / f"back-{source.name}.{kind}"
                self.denoise(source, back)
                self.assertEqual(tags(back, ["IPTC"]), tags(source, ["IPTC"]), back)
                self.assertEqual(tags(back, ["IPTC"])["IPTC:Caption-Abstract"], "words")


if __name__ == "__main__":
    unittest.main()
