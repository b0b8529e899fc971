"""Light itself: linear floats of any scale, and pictures with a shared exponent as Radiance files hold them."""

import numpy as np
from noisy_picture import clean_picture, write
from numpy.typing import NDArray

import veskaronr

random = np.random.default_rng(1)
light = (clean_picture() / 255) ** 2.2 * 40
photons = random.poisson(light * 50) / 50
clean = veskaronr.denoise(photons.astype(np.float32), linear=True)


def display(picture: NDArray[np.float32]) -> NDArray[np.uint8]:
    return (np.clip(picture / 40, 0, 1) ** (1 / 2.2) * 255).astype(np.uint8)


before, after = (np.sqrt(np.mean((picture - light) ** 2)) for picture in (photons, clean))
print(f"mean error of light: {before:.2f} before, {after:.2f} after, {20 * np.log10(before / after):.1f} dB gained")
write("linear_noisy.png", display(photons.astype(np.float32)))
write("linear_clean.png", display(clean))

exponents = np.ceil(np.log2(photons.max(axis=-1) + 1e-3)).astype(int)
mantissas = np.clip(photons * 2.0 ** (8 - exponents)[..., np.newaxis], 0, 255)
rgbe = np.dstack([mantissas, exponents + 128]).astype(np.uint8)
clean_rgbe = veskaronr.denoise_rgbe(rgbe, 120)
write("rgbe_clean.png", display(clean_rgbe[..., :3] * 2.0 ** (clean_rgbe[..., 3:].astype(np.float32) - 136)))
