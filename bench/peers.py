#!/usr/bin/python3
"""VeskaroNRLib beside denoisers of OpenCV, FFmpeg and scikit-image: bench/peers.py FOLDER [--plot FILE] [--markdown FILE]

FOLDER holds clean photographs (bench/photographs.py prepares some), which get the 18 kinds of noise of bench/quality.py.
Every peer is run twice: told the deviation of the noise, and blind, with the deviation that the median of the finest
diagonal wavelet details tells. Its strength is a factor on that: the one that did best on the photographs for fitting.
Ours are told nothing. All have one thread; speed is CPU time over one of the photographs, mirrored to 12 megapixels.
"""

import argparse
import os
import pathlib
import resource
import subprocess

import cv2
import numpy
import quality
from PIL import Image
from skimage.restoration import denoise_wavelet, estimate_sigma


def cpu_seconds():
    """Of this process and the programs that it ran."""
    return sum(use.ru_utime + use.ru_stime for use in map(resource.getrusage, (resource.RUSAGE_SELF, resource.RUSAGE_CHILDREN)))


def seconds_of(function, *arguments):
    start = cpu_seconds()
    function(*arguments)
    return cpu_seconds() - start


def through_ffmpeg(picture, filters):
    height, width = picture.shape[:2]
    done = subprocess.run(["ffmpeg", "-v", "error", "-f", "rawvideo", "-pix_fmt", "rgb24", "-s", f"{width}x{height}", "-i", "-",
                           "-filter_threads", "1", "-vf", filters, "-f", "rawvideo", "-pix_fmt", "rgb24", "-"],
                          input=picture.tobytes(), capture_output=True, check=True)
    return numpy.frombuffer(done.stdout, numpy.uint8).reshape(picture.shape)


def ffmpeg(template):
    return lambda picture, s: through_ffmpeg(picture, template.format(f"{s:.3f}"))


def wavelets(picture, s):
    """In luminance and chroma, thresholds by BayesShrink."""
    return 255 * denoise_wavelet(picture / 255, sigma=s / 255, channel_axis=2, convert2ycbcr=True, rescale_sigma=True)


# Name, function of picture and strength, and the strength in deviations of the noise.
PEERS = (
    ("bilateral", lambda p, s: cv2.bilateralFilter(p.astype("float32"), 9, s, 3), 4.5),
    ("wavelets", wavelets, 1.0),
    ("nlmeans", lambda p, s: cv2.fastNlMeansDenoising(p, None, s, 5, 15), 1.2),
    ("dctdnoiz", ffmpeg("format=rgb24,dctdnoiz=s={}"), 1.2),
    ("bm3d", ffmpeg("format=gbrp,bm3d=sigma={}"), 5.0),
)
OURS = ("classic", "fast", "best")
OF_FFMPEG = ("dctdnoiz", "bm3d")


def blind_deviation(noisy):
    return float(estimate_sigma(noisy, channel_axis=-1, average_sigmas=True))


class Contest:
    """Gains of every denoiser over all noisy pictures, and speeds."""

    def __init__(self, library):
        self.library = quality.Library(library)
        self.gains, self.rates = {}, {}

    def denoisers(self):
        """Name and function of the clean picture, which some are told, and the noisy one."""
        for name in OURS:
            yield name, lambda _, noisy, name=name: self.library.denoise(noisy, name)
        for name, function, factor in PEERS:
            strength = lambda deviation, factor=factor: max(factor * float(deviation), 0.1)
            yield f"{name}, told", lambda clean, noisy, f=function, s=strength: f(noisy, s((noisy - clean).std()))
            yield f"{name}, blind", lambda _, noisy, f=function, s=strength: f(noisy, s(blind_deviation(noisy)))

    def meet(self, noise, reference, noisy):
        before = numpy.array((quality.psnr(noisy, reference), quality.ssim(noisy, reference)))
        for name, denoise in self.denoisers():
            denoised = denoise(reference, noisy).astype(float)
            after = quality.psnr(denoised, reference), quality.ssim(denoised, reference)
            self.gains.setdefault(name, {}).setdefault(noise, []).append(after - before)

    def race(self, clean):
        """The shortest of some runs over one picture with white noise of 10, for ours with measuring it."""
        noisy = quality.to_bytes(quality.white(clean, 10, numpy.random.default_rng(1))[1])
        start_of_ffmpeg = min(seconds_of(through_ffmpeg, noisy, "null") for _ in range(3))
        for name, denoise in self.denoisers():
            told = name.replace("blind", "told")  # which is the same work
            if told not in self.rates:
                seconds = min(seconds_of(denoise, clean, noisy) for _ in range(5 if name in OURS else 1))
                seconds -= start_of_ffmpeg if name.startswith(OF_FFMPEG) else 0
                self.rates[told] = noisy.shape[0] * noisy.shape[1] / seconds / 1e6
            self.rates[name] = self.rates[told]

    def mean(self, name, noises=None):
        of = self.gains[name]
        return numpy.mean([gain for noise in noises or of for gain in of[noise]], axis=0)

    def tables(self):
        yield "| denoiser | MP/s | gain, dB | gain, SSIM | worst picture, dB |\n|---|---:|---:|---:|---:|"
        for name in self.gains:
            gain, worst = self.mean(name), min(g[0] for of in self.gains[name].values() for g in of)
            yield f"| {name} | {self.rates[name]:.2f} | {gain[0]:.2f} | {gain[1]:.3f} | {worst:.1f} |"
        yield "\n| noise | " + " | ".join(self.gains) + " |\n|---" + "|---:" * len(self.gains) + "|"
        for noise in next(iter(self.gains.values())):
            yield f"| {noise} | " + " | ".join(f"{self.mean(name, [noise])[0]:.1f}" for name in self.gains) + " |"


def mirrored(photograph, width=4000, height=3000):
    picture = numpy.asarray(Image.open(photograph).convert("RGB")).astype(float)
    return numpy.pad(picture, ((0, height - picture.shape[0]), (0, width - picture.shape[1]), (0, 0)), mode="symmetric")


def plot(contest, file):
    import matplotlib

    matplotlib.use("svg")
    matplotlib.rcParams["svg.hashsalt"] = "peers"
    from matplotlib import pyplot

    figure, axes = pyplot.subplots(figsize=(8, 4.5))
    for name in contest.gains:
        plain, _, how = name.rpartition(", ") if name not in OURS else (name, "", "ours")
        colour = {"ours": "#c0392b", "told": "#7f8c8d", "blind": "#2c3e50"}[how]
        x, y = contest.rates[name], contest.mean(name)[0]
        axes.scatter([x], [y], s=60, color=colour, marker="o" if how != "told" else "^", zorder=3)
        label = plain if how == "ours" else f"{plain}, told" if how == "told" else plain
        axes.annotate(label, (x, y), xytext=(7, -3), textcoords="offset points", fontsize=9, color=colour)
    axes.set_xscale("log")
    axes.set_xlim(right=4 * axes.get_xlim()[1])
    axes.set_xlabel("megapixels a second on one core")
    axes.set_ylabel("mean gain over the noisy picture, dB")
    axes.grid(color="#dddddd", which="major")
    figure.tight_layout()
    figure.savefig(file, metadata={"Date": None})


def versions():
    import skimage

    of_ffmpeg = subprocess.run(["ffmpeg", "-version"], capture_output=True, text=True).stdout.split()[2]
    return f"OpenCV {cv2.__version__}, FFmpeg {of_ffmpeg}, scikit-image {skimage.__version__}"


def processor():
    with open("/proc/cpuinfo") as info:
        return next((line.split(":", 1)[1].strip() for line in info if line.startswith("model name")), "unknown")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--shared-object", default=quality.PROJECT / "build/release/VeskaroNRLib.so.1")
    parser.add_argument("--plot", type=pathlib.Path, help="write gain over speed as a picture (SVG)")
    parser.add_argument("--markdown", type=pathlib.Path, help="write the tables to a file, too")
    parser.add_argument("--photographs", type=int, help="so many of the folder, not all")
    options = parser.parse_args()
    os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})  # one thread for all, whatever starts it
    cv2.setNumThreads(1)
    cv2.ocl.setUseOpenCL(False)
    contest, photographs = Contest(options.shared_object), quality.photographs_in(options.folder)[: options.photographs]
    for _, noise, reference, noisy in quality.noisy_pictures(photographs):
        contest.meet(noise, reference, noisy)
    contest.race(mirrored(photographs[0]))
    text = f"{len(photographs)} photographs; {processor()}; {versions()}\n\n" + "\n".join(contest.tables())
    print(text)
    if options.markdown:
        options.markdown.write_text(text + "\n")
    if options.plot:
        plot(contest, options.plot)


if __name__ == "__main__":
    main()
