#!/usr/bin/python3
"""What the presets of veskaro-nr gain on photographs with known noise: bench/presets.py FOLDER

The photographs of the folder are scaled down to at most 768 pixels, so that their own noise is gone, and get noise:
Gaussian of a standard deviation in every channel, the same smoothed with 1 2 1 both ways as demosaicing and JPEG leave
it ("soft"), or colour blotches of 5 x 5 pixels without luminance.
Printed are the mean gains over the noisy pictures in PSNR and SSIM (luminance, 8 x 8 windows).
"""

import pathlib
import subprocess
import sys
import tempfile

import numpy

SOURCE = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(SOURCE / "tests/tools"))
from support import command, pixels, save  # noqa: E402

PRESETS = ("best", "fast", "classic", "chroma-only")
NOISES = ("gauss 10", "gauss 20", "soft 5", "soft 10", "soft 20", "blotches")
LUMA = numpy.array([0.299, 0.587, 0.114])


def with_noise(picture, noise, random):
    result = picture.astype(float)
    if noise.startswith("gauss"):
        result += random.normal(0, float(noise.split()[1]), result.shape)
    elif noise.startswith("soft"):
        height, width, _ = result.shape
        grain = random.normal(0, 1, (height + 2, width + 2, 3))
        grain = grain[:-2] + 2 * grain[1:-1] + grain[2:]
        grain = grain[:, :-2] + 2 * grain[:, 1:-1] + grain[:, 2:]
        result += grain * (float(noise.split()[1]) / grain.std())
    else:
        height, width = result.shape[:2]
        for channel in (0, 2):
            blotch = random.normal(0, 1, (height // 5 + 2, width // 5 + 2)).repeat(5, 0).repeat(5, 1)[:height, :width]
            blotch *= 12 / blotch.std()
            result[:, :, channel] += blotch
            # Green takes back what red or blue adds to the luminance.
            result[:, :, 1] -= blotch * LUMA[channel] / LUMA[1]
        result += random.normal(0, 2, result.shape)
    return result.round().clip(0, 255).astype("uint8")


def psnr(a, b):
    return 10 * numpy.log10(255**2 / ((a - b) ** 2).mean())


def ssim(a, b, window=8):
    def mean(values):
        sums = numpy.pad(values, ((1, 0), (1, 0))).cumsum(0).cumsum(1)
        return (sums[window:, window:] - sums[:-window, window:] - sums[window:, :-window] + sums[:-window, :-window]) / window**2

    a, b = a @ LUMA, b @ LUMA
    mean_a, mean_b = mean(a), mean(b)
    var_a, var_b, both = mean(a * a) - mean_a**2, mean(b * b) - mean_b**2, mean(a * b) - mean_a * mean_b
    one, two = (0.01 * 255) ** 2, (0.03 * 255) ** 2
    return ((2 * mean_a * mean_b + one) * (2 * both + two) / ((mean_a**2 + mean_b**2 + one) * (var_a + var_b + two))).mean()


def main():
    photographs = sorted(p for p in pathlib.Path(sys.argv[1]).iterdir() if p.suffix.lower() in (".jpg", ".png"))
    gains = {}
    with tempfile.TemporaryDirectory() as folder:
        clean, noisy, result = (f"{folder}/{name}.png" for name in ("clean", "noisy", "result"))
        for photograph in photographs:
            subprocess.run(["vipsthumbnail", photograph, "-s", "768x768>", "--eprofile", "srgb", "-o", clean], check=True)
            reference = pixels(clean)[:, :, :3].astype(float)
            random = numpy.random.default_rng(5)
            for noise in NOISES:
                picture = with_noise(reference, noise, random)
                save(picture, noisy)
                before = psnr(picture.astype(float), reference), ssim(picture.astype(float), reference)
                for preset in PRESETS:
                    done = command(noisy, result, "--force", "--preset", preset)
                    assert done.returncode == 0, done.stderr
                    after = pixels(result).astype(float)
                    gain = psnr(after, reference) - before[0], ssim(after, reference) - before[1]
                    gains.setdefault((preset, noise), []).append(gain)
    print(f"{len(photographs)} photographs; gain in dB and SSIM\n")
    print("| preset |", " | ".join(NOISES), "|")
    print("|---|" + "---|" * len(NOISES))
    for preset in PRESETS:
        cells = ["{:+.1f} dB, {:+.3f}".format(*numpy.mean(gains[preset, noise], axis=0)) for noise in NOISES]
        print(f"| {preset} |", " | ".join(cells), "|")


if __name__ == "__main__":
    main()
