"""VeskaroNRLib beside denoisers of OpenCV and FFmpeg: speed on one picture, quality on a photograph with known noise.

Every peer gets the strength with which it comes closest to the clean photograph; ours gets three of its strengths.
"""

import argparse
import os
import resource
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import cv2
import numpy as np
from PIL import Image

PROJECT = Path(__file__).resolve().parent.parent
PHOTOGRAPH = PROJECT / "samples/indoor-iso382.jpg"
DEVIATION = 10.0  # of the noise that is added


# Pictures


def clean_photograph():
    """The sample at half size, which averages most of its own noise away."""
    photograph = Image.open(PHOTOGRAPH).convert("RGB")
    half = photograph.resize((photograph.width // 2, photograph.height // 2), Image.LANCZOS)
    return np.asarray(half)


def mirrored(picture, width, height):
    rows = np.pad(picture, ((0, max(0, height - picture.shape[0])), (0, max(0, width - picture.shape[1])), (0, 0)),
                  mode="symmetric")
    return rows[:height, :width]


def add_noise(picture, is_correlated):
    """Gaussian noise, independent in every sample or spread over neighbours as interpolated sensor colours have it."""
    noise = np.random.default_rng(1).normal(0, 1, picture.shape)
    if is_correlated:
        noise = cv2.GaussianBlur(noise, (0, 0), 0.8)
    noise *= DEVIATION / noise.std()
    return np.clip(np.rint(picture + noise), 0, 255).astype(np.uint8)


# Quality


def psnr(clean, picture):
    return 10 * np.log10(255**2 / np.mean((clean.astype(float) - picture) ** 2))


def ssim(clean, picture):
    """Mean structural similarity of the luminance, in the usual Gaussian window of deviation 1.5."""
    a, b = (cv2.cvtColor(p, cv2.COLOR_RGB2GRAY).astype(float) for p in (clean, picture))
    blur = lambda image: cv2.GaussianBlur(image, (11, 11), 1.5)
    mean_a, mean_b = blur(a), blur(b)
    var_a, var_b, cov = blur(a * a) - mean_a**2, blur(b * b) - mean_b**2, blur(a * b) - mean_a * mean_b
    c1, c2 = (0.01 * 255) ** 2, (0.03 * 255) ** 2
    return np.mean((2 * mean_a * mean_b + c1) * (2 * cov + c2)
                   / ((mean_a**2 + mean_b**2 + c1) * (var_a + var_b + c2)))


# Denoisers: each takes picture and strength, and returns the result and the seconds it took.


class Clock:
    """Seconds of a call: CPU time for one thread, which other work on the machine disturbs little; else wall time."""

    def __init__(self, threads):
        self.threads = threads

    def now(self):
        return time.process_time() if self.threads == 1 else time.perf_counter()

    def of_call(self, function):
        start = self.now()
        result = function()
        return result, self.now() - start

    def of_command(self, command):
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        start = time.perf_counter()
        subprocess.run(command, check=True, stdin=subprocess.DEVNULL)
        wall = time.perf_counter() - start
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        cpu = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
        return cpu if self.threads == 1 else wall


def ours(clock):
    import veskaronr

    def run(picture, strength):
        return clock.of_call(lambda: veskaronr.denoise(picture, strength, preset="classic", threads=clock.threads))

    return run


def opencv(clock, function):
    return lambda picture, strength: clock.of_call(lambda: function(picture, strength))


class Ffmpeg:
    """One picture through a filter of the ffmpeg command, less the time of the command without the filter."""

    def __init__(self, clock, folder):
        self.clock = clock
        self.folder = Path(folder)
        self.overhead = {}

    def pass_through(self, picture, filters):
        height, width = picture.shape[:2]
        source, result = self.folder / "in.rgb", self.folder / "out.rgb"
        source.write_bytes(picture.tobytes())
        seconds = self.clock.of_command(
            ["ffmpeg", "-hide_banner", "-nostats", "-v", "error", "-y", "-f", "rawvideo", "-pix_fmt", "rgb24", "-s",
             f"{width}x{height}", "-i", str(source), "-filter_threads", str(self.clock.threads), "-vf", filters, "-f",
             "rawvideo", "-pix_fmt", "rgb24", str(result)])
        return np.frombuffer(result.read_bytes(), np.uint8).reshape(picture.shape), seconds

    def filter(self, before, template):
        def run(picture, strength):
            key = picture.shape, before
            if key not in self.overhead:
                self.overhead[key] = min(self.pass_through(picture, before)[1] for _ in range(3))
            result, seconds = self.pass_through(picture, f"{before},{template.format(strength)}")
            return result, max(seconds - self.overhead[key], 1e-6)

        return run


def denoisers(clock, ffmpeg):
    """Name, function, strengths to choose the best from; or, for ours, each its own row."""
    nl_means = lambda p, s: cv2.fastNlMeansDenoisingColored(p, None, s, s)
    bilateral = lambda d: lambda p, s: cv2.bilateralFilter(p, d, s, d / 2)
    colours = [15, 25, 35, 50, 70, 100]
    run = ours(clock)
    return [
        *((f"VeskaroNRLib denoise2, strength {s}", run, [s]) for s in (0.5, 1.0, 1.5)),
        ("OpenCV fastNlMeansDenoisingColored, h {}", opencv(clock, nl_means), [6, 9, 12, 16]),
        ("OpenCV bilateralFilter, d 5, sigmaColor {}", opencv(clock, bilateral(5)), colours),
        ("OpenCV bilateralFilter, d 9, sigmaColor {}", opencv(clock, bilateral(9)), colours),
        ("FFmpeg nlmeans, s {}", ffmpeg.filter("format=gbrp", "nlmeans=s={}"), [4, 5.5, 7, 9]),
        ("FFmpeg bm3d, sigma {}", ffmpeg.filter("format=gbrp", "bm3d=sigma={}"), [20, 30, 40, 50, 60]),
        ("FFmpeg dctdnoiz, s {}", ffmpeg.filter("format=rgb24", "dctdnoiz=s={}"), [8, 11, 15, 20]),
    ]


# The table


def best_quality(clean, noisy, function, strengths):
    results = [(psnr(clean, result), ssim(clean, result), strength)
               for strength in strengths for result, _ in [function(noisy, strength)]]
    return max(results)


def shortest(function, picture, strength, repetitions):
    """The shortest of some runs; of fewer where they take long."""
    seconds = []
    while len(seconds) < repetitions and sum(seconds) < 15:
        seconds.append(function(picture, strength)[1])
    return min(seconds)


def rows(arguments, clock, ffmpeg):
    clean = clean_photograph()
    white, correlated = add_noise(clean, False), add_noise(clean, True)
    big = add_noise(mirrored(clean, arguments.width, arguments.height), False)
    yield ["the noisy picture itself", "", f"{psnr(clean, white):.2f}", f"{ssim(clean, white):.3f}",
           f"{psnr(clean, correlated):.2f}", f"{ssim(clean, correlated):.3f}"]
    for name, function, strengths in denoisers(clock, ffmpeg):
        print(name, file=sys.stderr)
        of_white = best_quality(clean, white, function, strengths)
        of_correlated = best_quality(clean, correlated, function, strengths)
        seconds = shortest(function, big, of_white[2], arguments.repetitions)
        used = " / ".join(str(s) for s in dict.fromkeys((of_white[2], of_correlated[2])))
        yield [name.format(used), f"{big.shape[0] * big.shape[1] / seconds / 1e6:.2f}", f"{of_white[0]:.2f}",
               f"{of_white[1]:.3f}", f"{of_correlated[0]:.2f}", f"{of_correlated[1]:.3f}"]


def processor():
    with open("/proc/cpuinfo") as info:
        return next((line.split(":", 1)[1].strip() for line in info if line.startswith("model name")), "unknown")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--shared-object", required=True, help="VeskaroNRLib.so.1")
    parser.add_argument("--threads", type=int, default=1, help="of every denoiser (default 1)")
    parser.add_argument("--width", type=int, default=4000, help="of the picture that is timed")
    parser.add_argument("--height", type=int, default=3000)
    parser.add_argument("--repetitions", type=int, default=3, help="the shortest counts (default 3)")
    arguments = parser.parse_args()

    os.environ["VESKARONR_LIBRARY"] = arguments.shared_object
    sys.path.insert(0, str(PROJECT / "python"))
    cv2.setNumThreads(arguments.threads)
    cv2.ocl.setUseOpenCL(False)
    with tempfile.TemporaryDirectory() as folder:
        clock = Clock(arguments.threads)
        table = list(rows(arguments, clock, Ffmpeg(clock, folder)))

    of = "CPU time" if arguments.threads == 1 else "wall time"
    print(f"{processor()}, {os.cpu_count()} cores; {arguments.width} x {arguments.height} pixels of 8 bits, "
          f"{arguments.threads} thread{'' if arguments.threads == 1 else 's'}, {of}; "
          f"OpenCV {cv2.__version__}, FFmpeg {ffmpeg_version()}; noise of deviation {DEVIATION:g}.\n")
    print("| denoiser | MP/s | PSNR | SSIM | PSNR, correlated | SSIM, correlated |")
    print("|---|---:|---:|---:|---:|---:|")
    for row in table:
        print("| " + " | ".join(row) + " |")


def ffmpeg_version():
    return subprocess.run(["ffmpeg", "-version"], capture_output=True, text=True).stdout.split()[2]


if __name__ == "__main__":
    main()
