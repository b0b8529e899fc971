#!/usr/bin/python3
"""Makes the pictures of docs/quality.md: crops of the samples with noise added, through this library and two peers.

    docs/quality/make_crops.py [LIBRARY]

From left to right: noisy, classic, fast, best, the bilateral filter (blind), non-local means (told the noise), clean.
Needs what scripts/bench --peers needs.
"""

import pathlib
import sys

import cv2
import numpy
from PIL import Image

TOP = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TOP / "bench"))
import peers  # noqa: E402
import quality  # noqa: E402

SIZE, ZOOM = (80, 96), 3


def indoor():
    """At half size, which averages its own noise away."""
    photograph = Image.open(TOP / "samples/indoor-iso382.jpg").convert("RGB")
    return numpy.asarray(photograph.resize((800, 600), Image.LANCZOS)).astype(float)


def night():
    light = cv2.imread(str(TOP / "samples/night.hdr"), cv2.IMREAD_UNCHANGED)[:, :, ::-1].astype(float)
    return quality.from_light(light / numpy.percentile(light, 97))


# Picture, noise of bench/quality.py, left and top.
CROPS = {
    "text": (indoor, "mosaic strong", (600, 355)),
    "leaves": (indoor, "white 20", (200, 170)),
    "wall": (indoor, "mosaic strong", (90, 420)),
    "dark": (indoor, "shot strong", (420, 455)),
    "night": (night, "jpeg strong", (560, 190)),
}


def crops(make, noise, place):
    seed = [name for name, _, _ in quality.NOISES].index(noise)
    _, add, strength = quality.NOISES[seed]
    clean, noisy = add(make(), strength, numpy.random.default_rng(1000 + seed))
    noisy = quality.to_bytes(noisy)
    contest = peers.Contest(sys.argv[1] if len(sys.argv) > 1 else TOP / "build/release/VeskaroNRLib.so.1")
    shown = dict(contest.denoisers())
    results = [noisy, *(shown[name](clean, noisy) for name in ("classic", "fast", "best", "bilateral, blind", "nlmeans, told")), clean]
    (x, y), (width, height) = place, SIZE
    return [quality.to_bytes(r[y : y + height, x : x + width].astype(float)) for r in results]


def main():
    gap = numpy.full((SIZE[1] * ZOOM, 4, 3), 255, numpy.uint8)
    for name, what in CROPS.items():
        parts = [part for crop in crops(*what) for part in (crop.repeat(ZOOM, 0).repeat(ZOOM, 1), gap)]
        Image.fromarray(numpy.hstack(parts[:-1])).save(TOP / f"docs/quality/{name}.jpg", quality=90)


if __name__ == "__main__":
    main()
