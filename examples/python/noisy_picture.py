"""What the examples share: a clean picture and noise to put on it, and how to write one."""

import sys
from pathlib import Path
from typing import Any

import numpy as np
from numpy.typing import NDArray
from PIL import Image

FOLDER = Path(sys.argv[1] if len(sys.argv) > 1 else ".")


def clean_picture(height: int = 480, width: int = 640) -> NDArray[np.float64]:
    """Colour of 0 to 255: a gradient, discs and stripes."""
    y, x = np.mgrid[0:height, 0:width] / height
    grey = 60 + 80 * x + 30 * y
    grey[(x - 0.4) ** 2 + (y - 0.5) ** 2 < 0.06] += 60
    stripes = (x > 0.9) & (np.sin(60 * (x + y)) > 0)
    grey[stripes] -= 40
    return np.multiply.outer(grey, [1.0, 0.9, 0.75]).astype(np.float64)


def add_noise(picture: NDArray[np.float64], deviation: float = 12.0, seed: int = 1) -> NDArray[np.uint8]:
    noise = np.random.default_rng(seed).normal(0, deviation, picture.shape)
    return np.clip(picture + noise, 0, 255).astype(np.uint8)


def write(name: str, picture: NDArray[Any]) -> None:
    Image.fromarray(picture).save(FOLDER / name)
    print("wrote", FOLDER / name)
