"""What the tests of the plug-ins share: where things are, noisy pictures, the Python module to compare with."""

import os
import pathlib
import subprocess
import sys
import warnings

import numpy as np
from PIL import Image

SOURCE = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("VESKARO_BUILD_DIR", SOURCE / "build/release"))
PLUGINS = BUILD / "plugins"
FORMATS = {"uint8": "uchar", "int8": "char", "uint16": "ushort", "int16": "short", "uint32": "uint", "int32": "int",
           "float32": "float", "float64": "double", "complex64": "complex"}  # fmt: skip

sys.path.insert(0, str(SOURCE / "python"))
os.environ.setdefault("VESKARONR_LIBRARY", str(BUILD / "VeskaroNRLib.so.1"))
import veskaronr  # noqa: E402


def run(*command, **options):
    """Standard output of a command that must succeed; what it said is part of the failure."""
    options = {"capture_output": True, "timeout": 500, **options}
    done = subprocess.run([str(part) for part in command], **options)
    if done.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, command))}: {done.returncode}\n{done.stderr[-3000:]}")
    return done.stdout


def photograph(width, height):
    """The sample photograph at another size, as 8-bit RGB."""
    with Image.open(SOURCE / "samples/indoor-iso382.jpg") as picture:
        return np.asarray(picture.convert("RGB").resize((width, height), Image.LANCZOS))


def noisy(picture, sigma, seed=1):
    noise = np.random.default_rng(seed).normal(0, sigma, picture.shape)
    return np.clip(picture + noise + 0.5, 0, 255).astype(np.uint8)


def with_alpha(picture):
    """Alpha of all values, and none of them in a pattern of the picture's."""
    height, width = picture.shape[:2]
    alpha = (np.arange(width) * 7 + np.arange(height)[:, None] * 3) % (np.iinfo(picture.dtype).max + 1)
    return np.dstack([picture, alpha.astype(picture.dtype)])


def wanted(array, preset="fast", **options):
    """What the Python module makes of a picture, without a word about tiny ones."""
    with warnings.catch_warnings(action="ignore"):
        return veskaronr.denoise(np.ascontiguousarray(array), preset=preset, **options)


def write_image(path, array, interpretation=None):
    """The array's samples as a file, through libvips."""
    raw = path.with_suffix(".raw")
    raw.write_bytes(np.ascontiguousarray(array).tobytes())
    interpretation = interpretation or ("rgb16" if array.dtype == np.uint16 else "srgb")
    bands = 1 if array.ndim == 2 else array.shape[2]
    run("vips", "rawload", raw, raw.with_suffix(".v"), array.shape[1], array.shape[0], bands, "--format",
        FORMATS[array.dtype.name], "--interpretation", interpretation)  # fmt: skip
    if path.suffix != ".v":
        run("vips", "copy", raw.with_suffix(".v"), path)
    return path


def read_image(path, like):
    run("vips", "rawsave", path, path.with_suffix(".raw"))
    return np.fromfile(path.with_suffix(".raw"), like.dtype).reshape(like.shape)


def gegl_path():
    """Where GEGL finds its own operations and ours."""
    own = run("pkg-config", "--variable=pluginsdir", "gegl-0.4").decode().strip()
    return f"{own}:{PLUGINS / 'gegl'}"
