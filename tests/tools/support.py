"""What the tests of veskaro-nr share: the binary, small pictures, a folder of one's own."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

import numpy

SOURCE = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("VESKARO_BUILD_DIR", SOURCE / "build/release"))
SAMPLE = SOURCE / "samples/indoor-iso382.jpg"
SAMPLE_HDR = SOURCE / "samples/night.hdr"

_DTYPES = {"VIPS_FORMAT_UCHAR": "uint8", "VIPS_FORMAT_USHORT": "uint16"}


def command(*arguments, **options):
    """The finished run of veskaro-nr with these arguments, standard output and error as text."""
    options = {"capture_output": True, "text": True, "timeout": 300, **options}
    return subprocess.run([str(BUILD / "veskaro-nr"), *map(str, arguments)], **options)


def vips(*arguments):
    return subprocess.run(["vips", *map(str, arguments)], capture_output=True, text=True, check=True).stdout


def header(path, field):
    said = subprocess.run(["vipsheader", "-f", field, str(path)], capture_output=True, text=True, check=True).stdout
    return said.strip().strip("()").split()[-1].strip(")")


def pixels(path):
    """The samples of a picture as height x width x bands; of a Radiance picture its four bytes a pixel."""
    dtype = _DTYPES[header(path, "format")]
    with tempfile.NamedTemporaryFile(suffix=".raw") as raw:
        vips("rawsave", path, raw.name)
        shape = [int(header(path, field)) for field in ("height", "width", "bands")]
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
    kind = "ushort" if samples.dtype == numpy.uint16 else "uchar"
    meaning = {1: "b-w", 2: "b-w", 3: "srgb", 4: "srgb"}[bands] if kind == "uchar" else {1: "grey16", 2: "grey16", 3: "rgb16", 4: "rgb16"}[bands]
    with tempfile.TemporaryDirectory() as folder:
        raw, plain = f"{folder}/p.raw", f"{folder}/p.v"
        samples.tofile(raw)
        vips("rawload", raw, plain, width, height, bands, "--format", kind, "--interpretation", meaning)
        vips("copy", plain, f"{path}[{','.join(options)}]" if options else path)
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
