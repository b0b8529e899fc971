#!/usr/bin/python3
"""Makes docs/before-after.jpg and the pictures of docs/parameters.md: crops of the sample photograph, filtered with one
entry of the parameter vector changed at a time. Noise is added first, fine grain and blotches, and in the latter
contrast afterwards, so that it shows.

    VESKARONR_LIBRARY=build/release/VeskaroNRLib.so.1 docs/parameters/make_crops.py

denoise2 measures four of the entries itself, so the crops are made with the building blocks instead: the tuning
variables from the vector, one tile through the pyramid, and the blend with the input.
"""

import pathlib
import sys
from ctypes import POINTER, c_float, c_int

import numpy as np
from PIL import Image

TOP = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TOP / "python"))
import veskaronr  # noqa: E402

SIGN, FRAME = (1212, 718), (300, 706)  # left and top of the crops in the photograph
SIZE, MARGIN, ZOOM = (80, 60), 40, 3

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

lib = veskaronr.c_library()
lib.calcParams.argtypes = [POINTER(c_float)]
lib.len_pyram.argtypes = [c_int] * 3


def noisy(photograph):
    rng = np.random.default_rng(5)
    height, width = photograph.shape[:2]
    fine = rng.normal(0, 4, photograph.shape)
    coarse = rng.normal(0, 4, (height // 4 + 1, width // 4 + 1, 3)).repeat(4, 0).repeat(4, 1)[:height, :width]
    return (photograph + fine + coarse).clip(0, 255).astype(np.uint8)


def floats(count):
    memory = np.zeros(count, np.float32)
    return memory, memory.ctypes.data_as(POINTER(c_float))


def filtered(image, params):
    """A small picture through the four-level pyramid, as the one tile that denoise2 would make of it."""
    lib.calcParams(params.to_vector())
    tile = np.pad(image, ((8, 8), (8, 8), (0, 0)))
    height, width = tile.shape[:2]
    pyramid = 3 * lib.len_pyram(3, width, height)
    levels, levels_pointer = floats(pyramid)
    levels[: tile.size] = tile.ravel()
    scratch = [floats(count) for count in (pyramid, tile.size, tile.size)]
    inside = (c_int * 4)(8, width - 8, 8, height - 8)
    lib.denoise_tile(width, height, inside, 3, 1, *(pointer for _, pointer in scratch), levels_pointer)
    return np.trunc(levels[: tile.size].reshape(tile.shape)[8:-8, 8:-8]).clip(0, 255)


def tuning(name):
    return c_float.in_dll(lib, name).value


def split(image):
    """Luma and the differences blue - luma, red - luma."""
    luma = image @ np.array([0.299, 0.587, 0.114])
    return luma, image[..., 2] - luma, image[..., 0] - luma


def blended(image, clean):
    """Luminance and chroma of the filtered picture mixed with the input's."""
    luma, blue, red = split(image)
    clean_luma, clean_blue, clean_red = split(clean)
    start, end = tuning("highlightNRlowThreshold"), tuning("highlightNRhighThreshold")
    ramp = tuning("highlightNRslope") * clean_luma + tuning("highlightNRintercept") if end > start else 0 * clean_luma
    share = tuning("lumaMix") * np.where(clean_luma <= start, 1, np.where(clean_luma >= end, 0, ramp))
    luma = (1 - share) * luma + share * clean_luma
    blue = (1 - tuning("chromaMix")) * blue + tuning("chromaMix") * clean_blue + luma
    red = (1 - tuning("chromaMix")) * red + tuning("chromaMix") * clean_red + luma
    green = (luma - 0.299 * red - 0.114 * blue) / 0.587
    return np.trunc(np.dstack([red, green, blue])).clip(0, 255)


def around(photograph, place):
    left, top = place
    return photograph[top - MARGIN : top + SIZE[1] + MARGIN, left - MARGIN : left + SIZE[0] + MARGIN].astype(np.float32)


def crop(photograph, place, params):
    image = around(photograph, place)
    result = image if params is None else blended(image, filtered(image, params))
    return result[MARGIN:-MARGIN, MARGIN:-MARGIN].astype(np.uint8)


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
    whole, measured = veskaronr.denoise(photograph, return_params=True)
    sides = [picture[680:800, 1160:1320].repeat(ZOOM, 0).repeat(ZOOM, 1) for picture in (photograph, whole)]
    Image.fromarray(np.hstack(sides)).save(TOP / "docs/before-after.jpg", quality=88)

    # The way through the building blocks is the library's own: denoise2 gives the same but for a rounding here or there.
    image = around(photograph, SIGN)
    clean, used = veskaronr.denoise(image.astype(np.uint8), return_params=True)
    difference = np.abs(clean - blended(image, filtered(image, used)))
    assert difference.mean() < 0.01, f"the crops are not what denoise2 makes: {difference.mean()}"

    for entry, (place, low, high) in ENTRIES.items():
        values = (low, getattr(measured, entry), high)
        settings = [veskaronr.Params(**{**vars(measured), entry: value}) for value in values]
        crops = [crop(photograph, place, params) for params in (None, *settings)]
        strip(crops).save(TOP / f"docs/parameters/{entry}.jpg", quality=88)
        print(f"{entry}: {low:g}, {values[1]:g}, {high:g}")


if __name__ == "__main__":
    main()
