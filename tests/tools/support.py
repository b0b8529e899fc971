"""What the tests of veskaro-nr share: the binary, small pictures, a folder of one's own."""

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

import numpy

SOURCE = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("VESKARO_BUILD_DIR", SOURCE / "build/release"))
SAMPLE = SOURCE / "samples/indoor-iso382.jpg"
SAMPLE_HDR = SOURCE / "samples/night.hdr"

def command(*arguments, **options):
    """The finished run of veskaro-nr with these arguments, standard output and error as text."""
    options = {"capture_output": True, "text": True, "timeout": 300, **options}
    return subprocess.run([str(BUILD / "veskaro-nr"), *map(str, arguments)], **options)


def vips(*arguments):
    return subprocess.run(["vips", *map(str, arguments)], capture_output=True, text=True, check=True).stdout


def header(path):
    """(height, width, bands, type) of a picture."""
    said = subprocess.run(["vipsheader", str(path)], capture_output=True, text=True, check=True).stdout
    width, height, kind, bands = re.search(r"(\d+)x(\d+)(?: (\w+), (\d+) band|, rad)", said).groups()
    return int(height), int(width), int(bands or 4), "uint16" if kind == "ushort" else "uint8"


def pixels(path):
    """The samples of a picture as height x width x bands; of a Radiance picture its four bytes a pixel."""
    *shape, dtype = header(path)
    with tempfile.NamedTemporaryFile(suffix=".raw") as raw:
        vips("rawsave", path, raw.name)
        return numpy.fromfile(raw.name, dtype=dtype).reshape(shape)


def noisy(height, width, bands=3, bits=8, seed=1):
    """A picture with shadows, highlights, an edge, and Gaussian noise."""
    random = numpy.random.default_rng(seed)
    ramp = numpy.linspace(30, 190, width)[None, :] + numpy.where(numpy.arange(height) < height // 2, 0, 30)[:, None]
    picture = ramp[:, :, None] + random.normal(0, 8, (height, width, bands))
    return (numpy.clip(picture, 1, 254) * (257 if bits == 16 else 1)).astype("uint16" if bits == 16 else "uint8")


def save(samples, path, *options):
    """Writes an array of samples as a picture of the kind that its name says."""
    height, width, bands = samples.shape
    name = f"{path}[{','.join(options)}]" if options else path
    with tempfile.TemporaryDirectory() as folder:
        if bands in (1, 3):
            plain = f"{folder}/p.ppm"
            with open(plain, "wb") as file:
                file.write(b"P%d %d %d %d\n" % (6 if bands == 3 else 5, width, height, numpy.iinfo(samples.dtype).max))
                file.write(samples.astype(samples.dtype.newbyteorder(">")).tobytes())
        else:
            kind, meaning = ("uchar", ("b-w", "srgb")) if samples.dtype == numpy.uint8 else ("ushort", ("grey16", "rgb16"))
            plain = f"{folder}/p.v"
            samples.tofile(f"{folder}/p.raw")
            vips("rawload", f"{folder}/p.raw", plain, width, height, bands, "--format", kind, "--interpretation", meaning[bands == 4])
        vips("copy", plain, name)
    return path


class ToolTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="veskaro-nr test "))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def denoise(self, *arguments, **options):
        """Runs and expects success without a word on standard error."""
        done = command(*arguments, **options)
        self.assertEqual((done.returncode, done.stderr), (0, ""), arguments)
        return done.stdout

    def fails(self, status, *arguments, **options):
        """Runs and expects this exit status with one line on standard error, which is returned."""
        done = command(*arguments, **options)
        self.assertEqual(done.returncode, status, (arguments, done.stderr))
        self.assertRegex(done.stderr, r"\Aveskaro-nr: [^\n]+\n\Z", arguments)
        return done.stderr

    def names(self):
        return sorted(path.name for path in self.folder.iterdir())
