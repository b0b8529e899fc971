#!/usr/bin/python3
"""What the settings gain on photographs with known noise: bench/quality.py FOLDER [--library FILE]

FOLDER holds clean photographs of any size (bench/photographs.py prepares some). Each gets 18 kinds of noise, rounded to
8 bits; nothing is told of the noise. Printed are the mean gains over the noisy pictures in PSNR
and SSIM (luminance, 8 x 8 windows), the worst of all pictures, and what becomes of the clean ones.
"""

import argparse
import ctypes
import io
import pathlib

import numpy
from PIL import Image
from scipy.ndimage import convolve, gaussian_filter

PROJECT = pathlib.Path(__file__).resolve().parents[1]
METHODS = ("classic", "fast", "best")
LUMA = numpy.array([0.299, 0.587, 0.114])


# The library, through the part of veskaronr.h that is needed


class Picture(ctypes.Structure):
    _fields_ = [("struct_size", ctypes.c_size_t), ("type", ctypes.c_int32), ("channels", ctypes.c_int32),
                ("encoding", ctypes.c_int32), ("white", ctypes.c_float), ("x", ctypes.c_int32), ("y", ctypes.c_int32),
                ("width", ctypes.c_int32), ("height", ctypes.c_int32), ("channel", ctypes.c_void_p * 3),
                ("pixel_stride", ctypes.c_ssize_t), ("row_stride", ctypes.c_ssize_t)]


class Noise(ctypes.Structure):
    _fields_ = [("struct_size", ctypes.c_size_t), ("reason", ctypes.c_int32), ("encoding", ctypes.c_int32),
                ("level", ctypes.c_float), ("statistic", ctypes.c_float), ("linear_scale", ctypes.c_float),
                ("blocks", ctypes.c_int64), ("blocks_seen", ctypes.c_int64), ("blocks_usable", ctypes.c_int64),
                ("grain", ctypes.c_int32), ("grain_blocks", ctypes.c_int32), ("sigma", ctypes.c_float * 3),
                ("correlation", ctypes.c_float), ("blotches", ctypes.c_float), ("luma", ctypes.c_float),
                ("chroma", ctypes.c_float), ("coarse_chroma", ctypes.c_float), ("texture_guard", ctypes.c_float),
                ("structure", ctypes.c_float), ("spectrum", ctypes.c_float * 192)]


class Settings(ctypes.Structure):
    _fields_ = [("struct_size", ctypes.c_size_t), ("params", ctypes.c_float * 21), ("recon_threshold", ctypes.c_float),
                ("recon_rolloff", ctypes.c_float), ("linear_scale", ctypes.c_float), ("tile", ctypes.c_int32),
                ("rounding", ctypes.c_int32), ("patch", ctypes.c_float), ("dots_luma", ctypes.c_float),
                ("dots_chroma", ctypes.c_float), ("shrink_luma", ctypes.c_float), ("shrink_chroma", ctypes.c_float),
                ("residual_luma", ctypes.c_float * 8), ("residual_chroma", ctypes.c_float * 8),
                ("spectrum", ctypes.c_float * 192)]


class Library:
    TYPES = {"uint8": 1, "uint16": 2, "float32": 3}

    def __init__(self, file):
        self.functions = ctypes.CDLL(str(file))
        for name in ("vnr_settings_best", "vnr_settings_fast", "vnr_settings_classic"):
            getattr(self.functions, name).argtypes = [ctypes.c_void_p, ctypes.c_float, ctypes.c_void_p]

    def call(self, name, *arguments):
        result = getattr(self.functions, name)(*arguments)
        assert result == 0, f"{name}: {result}"

    def picture(self, samples, is_linear=False):
        height, width, channels = samples.shape
        first, size = samples.ctypes.data, samples.itemsize
        return Picture(ctypes.sizeof(Picture), self.TYPES[str(samples.dtype)], channels, int(is_linear), 0, 0, 0, width,
                       height, (ctypes.c_void_p * 3)(*(first + c * size for c in range(channels))), channels * size,
                       channels * size * width)

    def measure(self, samples, is_linear=False):
        noise = Noise(struct_size=ctypes.sizeof(Noise))
        self.call("vnr_measure", ctypes.byref(self.picture(samples, is_linear)), None, ctypes.byref(noise))
        return noise

    def settings(self, noise, which="best", strength=1.0):
        settings = Settings(struct_size=ctypes.sizeof(Settings))
        self.call(f"vnr_settings_{which}", ctypes.byref(noise), strength, ctypes.byref(settings))
        return settings

    def filter(self, samples, settings, is_linear=False):
        result = numpy.empty_like(samples)
        self.call("vnr_denoise", ctypes.byref(self.picture(samples, is_linear)),
                  ctypes.byref(self.picture(result, is_linear)), ctypes.byref(settings), None)
        return result

    def denoise(self, samples, which="best", is_linear=False):
        return self.filter(samples, self.settings(self.measure(samples, is_linear), which), is_linear)


# Noise


def to_light(picture):
    v = picture / 255
    return numpy.where(v <= 0.04045, v / 12.92, ((v + 0.055) / 1.055) ** 2.4)


def from_light(light):
    v = light.clip(0, 1)
    return 255 * numpy.where(v <= 0.0031308, 12.92 * v, 1.055 * v ** (1 / 2.4) - 0.055)


def shot(light, strength, random):
    return light + random.normal(size=light.shape) * numpy.sqrt(strength * (0.004 * light + 0.00002))


def demosaiced(light):
    """Through an RGGB mosaic and bilinear interpolation."""
    height, width, _ = light.shape
    row, column = numpy.mgrid[:height, :width]
    result = numpy.empty_like(light)
    cross = numpy.array([[0, 1, 0], [1, 4, 1], [0, 1, 0]]) / 4
    square = numpy.array([[1, 2, 1], [2, 4, 2], [1, 2, 1]]) / 4
    for c, (seen, kernel) in enumerate((((row % 2 == 0) & (column % 2 == 0), square),
                                        ((row + column) % 2 == 1, cross),
                                        ((row % 2 == 1) & (column % 2 == 1), square))):
        result[:, :, c] = convolve(light[:, :, c] * seen, kernel, mode="mirror")
    return result


def as_jpeg(picture):
    stream = io.BytesIO()
    Image.fromarray(to_bytes(picture)).save(stream, "JPEG", quality=90)
    return numpy.asarray(Image.open(stream)).astype(float)


def to_bytes(picture):
    return picture.round().clip(0, 255).astype("uint8")


def white(clean, s, random):
    return clean, clean + random.normal(0, s, clean.shape)


def blurred(clean, s, random):
    noise = gaussian_filter(random.normal(size=clean.shape), (0.75, 0.75, 0))
    return clean, clean + noise * (s / noise.std())


def shot_noise(clean, strength, random):
    return clean, from_light(shot(to_light(clean), strength, random))


def mosaic(clean, strength, random):
    light = to_light(clean)
    return from_light(demosaiced(light)), from_light(demosaiced(shot(light, strength, random)))


def mosaic_jpeg(clean, strength, random):
    reference, noisy = mosaic(clean, strength, random)
    return reference, as_jpeg(noisy)


def blotches(clean, s, random):
    coarse = gaussian_filter(random.normal(size=(*clean.shape[:2], 2)), (1.5, 1.5, 0))
    cb, cr = numpy.moveaxis(coarse * (s / coarse.std((0, 1))), 2, 0)
    y = random.normal(0, 4, clean.shape[:2])
    return clean, clean + numpy.stack((y + 1.402 * cr, y - 0.344136 * cb - 0.714136 * cr, y + 1.772 * cb), 2)


NOISES = ([(f"white {s}", white, s) for s in (3, 5, 10, 15, 20, 30)]
          + [(f"blurred {s}", blurred, s) for s in (5, 10, 20)]
          + [(f"shot {name}", shot_noise, k) for name, k in (("weak", 0.25), ("medium", 1), ("strong", 4))]
          + [(f"mosaic {name}", mosaic, k) for name, k in (("weak", 0.25), ("medium", 1), ("strong", 4))]
          + [("jpeg medium", mosaic_jpeg, 1), ("jpeg strong", mosaic_jpeg, 4), ("blotches", blotches, 14)])


# Quality


def psnr(a, b):
    return min(99, 10 * numpy.log10(255**2 / max(((a - b) ** 2).mean(), 1e-10)))


def ssim(a, b, window=8):
    def mean(values):
        sums = numpy.pad(values, ((1, 0), (1, 0))).cumsum(0).cumsum(1)
        return (sums[window:, window:] - sums[:-window, window:] - sums[window:, :-window]
                + sums[:-window, :-window]) / window**2

    a, b = a @ LUMA, b @ LUMA
    mean_a, mean_b = mean(a), mean(b)
    var_a, var_b, both = mean(a * a) - mean_a**2, mean(b * b) - mean_b**2, mean(a * b) - mean_a * mean_b
    one, two = (0.01 * 255) ** 2, (0.03 * 255) ** 2
    return ((2 * mean_a * mean_b + one) * (2 * both + two)
            / ((mean_a**2 + mean_b**2 + one) * (var_a + var_b + two))).mean()


def photographs_in(folder):
    return sorted(p for p in folder.iterdir() if p.suffix.lower() in (".jpg", ".png"))


def noisy_pictures(photographs):
    """(photograph, noise, clean, noisy) of all pairs; the same whichever other photographs there are."""
    for photograph in photographs:
        clean = numpy.asarray(Image.open(photograph).convert("RGB")).astype(float)
        for kind, (name, make, strength) in enumerate(NOISES):
            reference, noisy = make(clean, strength, numpy.random.default_rng(1000 + kind))
            yield photograph.stem, name, reference, to_bytes(noisy)


# Linear light


def mu_law(picture, white):
    return numpy.log1p(5000 * (picture / white).clip(0, 1)) / numpy.log(5001)


def linear_pictures(photographs):
    """(photograph, noise, clean, noisy) in linear floats: shot and read noise that leaves 40 or 30 dB."""
    for photograph in photographs:
        clean = to_light(numpy.asarray(Image.open(photograph).convert("RGB")).astype(float))
        white = numpy.percentile(clean, 99.5)
        for kind, (name, left) in enumerate((("weak", 39.9), ("strong", 30.1))):
            low, high = 1e-5, 1e3
            for _ in range(20):
                strength = (low * high) ** 0.5
                noisy = shot(clean, strength, numpy.random.default_rng(2000 + kind)).clip(0)
                noisy_enough = linear_psnr(noisy, clean, white) < left
                low, high = (low, strength) if noisy_enough else (strength, high)
            yield photograph.stem, name, clean, (7.5 * noisy).astype("float32")


def linear_psnr(picture, clean, white):
    return -10 * numpy.log10(((mu_law(picture, white) - mu_law(clean, white)) ** 2).mean())


def linear_table(library, photographs):
    print("\nlinear light: mean gain and worst, dB after a mu-law of 5000")
    gains = {}
    for photograph, noise, clean, noisy in linear_pictures(photographs):
        white = numpy.percentile(clean, 99.5)
        for method in METHODS:
            result = library.denoise(noisy, method, is_linear=True).astype(float) / 7.5
            gain = linear_psnr(result, clean, white) - linear_psnr(noisy / 7.5, clean, white)
            gains.setdefault((noise, method), []).append(gain)
    for (noise, method), of in gains.items():
        print(f"{noise}, {method}: {numpy.mean(of):.2f}, {min(of):.2f}")


def table(gains, METHODS):
    print("| noise |", " | ".join(methods), "|")
    print("|---|" + "---|" * len(methods))
    rows = [(name, [name]) for name, _, _ in NOISES] + [("mean", [name for name, _, _ in NOISES])]
    for title, names in rows:
        means = [numpy.mean([g for n in names for g in gains[m, n].values()], axis=0) for m in methods]
        print(f"| {title} |", " | ".join("{:.2f}, {:.3f}".format(*m) for m in means), "|")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--library", default=PROJECT / "build/release/VeskaroNRLib.so.1")
    options = parser.parse_args()
    library = Library(options.library)
    photographs = photographs_in(options.folder)
    gains = {(m, n): {} for m in METHODS for n, _, _ in NOISES}
    for photograph, noise, reference, noisy in noisy_pictures(photographs):
        before = numpy.array((psnr(noisy, reference), ssim(noisy, reference)))
        for method in METHODS:
            result = library.denoise(noisy, method).astype(float)
            gains[method, noise][photograph] = (psnr(result, reference), ssim(result, reference)) - before
    print(f"{len(photographs)} photographs; gain in dB and SSIM\n")
    table(gains, methods)
    for method in METHODS:
        worst = min((gain[0], noise, photograph) for (m, noise), of in gains.items() if m == method
                    for photograph, gain in of.items())
        print("\n{}: worst picture {:.2f} dB ({}, {})".format(method, *worst), end="")
    print("\n\nclean pictures, dB:")
    for method in METHODS:
        cleans = [numpy.asarray(Image.open(p).convert("RGB")) for p in photographs]
        left = sorted(psnr(library.denoise(c, method).astype(float), c) for c in cleans)
        print(f"{method}: lowest {left[0]:.1f}, mean {numpy.mean(left):.1f}")
    linear_table(library, photographs)


if __name__ == "__main__":
    main()
