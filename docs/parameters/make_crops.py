#!/usr/bin/python3
"""Makes docs/before-after.jpg and the pictures of docs/parameters.md: crops of the sample photograph, filtered with one
setting changed at a time. Noise is added first, fine grain and blotches, and in the latter contrast afterwards, so that
it shows.

    VESKARONR_LIBRARY=build/release/VeskaroNRLib.so.1 docs/parameters/make_crops.py
"""

import dataclasses
import pathlib
import sys

import numpy as np
from PIL import Image

TOP = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TOP / "python"))
import veskaronr  # noqa: E402

SIGN, FRAME, WALL = (1212, 718), (300, 706), (180, 860)  # left and top of the crops in the photograph
SIZE, ZOOM = (80, 60), 3

# entry: (place, low, high); the middle crop has what the profile measured or the default.
ENTRIES = {
    "noise_level": (SIGN, 15.0, 600.0),
    "highlight_noise": (FRAME, 0.01, 1.0),
    "level0_noise": (SIGN, 0.0, 3.0),
    "level1_noise": (SIGN, 0.0, 3.0),
    "level2_noise": (SIGN, 0.0, 10.0),
    "level3_noise": (SIGN, 0.0, 10.0),
    "luma_keep": (SIGN, 0.0, 1.0),
    "chroma_keep": (SIGN, 0.0, 1.0),
    "level0_amount": (SIGN, 0.0, 2.0),
    "level1_amount": (SIGN, 0.0, 2.0),
    "level2_amount": (SIGN, 0.0, 2.0),
    "level3_amount": (SIGN, 0.0, 2.0),
    "sharpening": (SIGN, 0.0, 2.0),
    "level0_sharpening": (SIGN, 0.0, 10.0),
    "level1_sharpening": (SIGN, 0.0, 10.0),
    "level2_sharpening": (SIGN, 0.0, 10.0),
    "level3_sharpening": (SIGN, 0.0, 10.0),
    "highlight_start": (FRAME, 0.0, 255.0),
    "highlight_width": (FRAME, 0.0, 255.0),
    "chroma_sharpening": (SIGN, 0.0, 2.0),
}


# The same with the preset "best": factors on what is measured, of entries that it adds.
STAGES = {
    "patch": (SIGN, 0.0, 1.4),
    "dots_luma": (WALL, 0.0, 4.0),
    "dots_chroma": (WALL, 0.0, 4.0),
    "shrink_luma": (SIGN, 0.0, 6.0),
    "shrink_chroma": (SIGN, 0.0, 20.0),
    "residual_luma": (SIGN, 0.0, 2.0),
    "residual_chroma": (SIGN, 0.0, 2.0),
}


def noisy(photograph):
    rng = np.random.default_rng(5)
    height, width = photograph.shape[:2]
    fine = rng.normal(0, 4, photograph.shape)
    coarse = rng.normal(0, 4, (height // 4 + 1, width // 4 + 1, 3)).repeat(4, 0).repeat(4, 1)[:height, :width]
    return (photograph + fine + coarse).clip(0, 255).astype(np.uint8)


def grainy(photograph):
    noise = np.random.default_rng(6).normal(0, 24, photograph.shape)
    return (photograph + noise).round().clip(0, 255).astype(np.uint8)


def crop(photograph, place, settings=None):
    box = veskaronr.Box(place[0], place[0] + SIZE[0], place[1], place[1] + SIZE[1])
    if settings is None:
        return photograph[box.slices]
    plan = veskaronr.Plan(photograph.shape, photograph.dtype, settings)
    read, _ = plan.cover(box)
    return plan.filter(photograph[read.slices], read, box)


def times(value, factor):
    return tuple(v * factor for v in value) if isinstance(value, tuple) else value * factor


def strip(crops):
    gap = np.full((SIZE[1] * ZOOM, 4, 3), 255, np.uint8)
    parts = []
    for part in crops:
        middle = part.mean((0, 1))
        part = ((part - middle) * 1.6 + middle).clip(0, 255).astype(np.uint8)
        parts += [part.repeat(ZOOM, 0).repeat(ZOOM, 1), gap]
    return Image.fromarray(np.hstack(parts[:-1]))


def main():
    photograph = noisy(np.asarray(Image.open(TOP / "samples/indoor-iso382.jpg").convert("RGB")))
    whole, info = veskaronr.denoise(photograph, preset="classic", return_info=True)
    sides = [picture[680:800, 1160:1320].repeat(ZOOM, 0).repeat(ZOOM, 1) for picture in (photograph, whole)]
    Image.fromarray(np.hstack(sides)).save(TOP / "docs/before-after.jpg", quality=88)

    for entry, (place, low, high) in ENTRIES.items():
        values = (low, getattr(info.settings, entry), high)
        settings = [dataclasses.replace(info.settings, **{entry: value}) for value in values]
        strip([crop(photograph, place, s) for s in (None, *settings)]).save(
            TOP / f"docs/parameters/{entry}.jpg", quality=88
        )
        print(f"{entry}: {low:g}, {values[1]:g}, {high:g}")

    photograph = grainy(np.asarray(Image.open(TOP / "samples/indoor-iso382.jpg").convert("RGB")))
    best = veskaronr.measure(photograph).settings()
    for entry, (place, *factors) in STAGES.items():
        settings = [dataclasses.replace(best, **{entry: times(getattr(best, entry), factor)}) for factor in (factors[0], 1, factors[1])]
        strip([crop(photograph, place, s) for s in (None, *settings)]).save(
            TOP / f"docs/parameters/{entry}.jpg", quality=88
        )
        print(f"{entry}: {factors[0]:g}, 1, {factors[1]:g} times {getattr(best, entry)}")


if __name__ == "__main__":
    main()
