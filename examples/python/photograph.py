"""A picture in, a clean picture out; how much better it is by scikit-image, where that is installed."""

import importlib.util

import numpy as np
from noisy_picture import add_noise, clean_picture, write

import veskaronr

original = clean_picture()
noisy = add_noise(original)
clean, info = veskaronr.denoise(noisy, strength=1.0, return_info=True)
classic = veskaronr.denoise(noisy, preset="classic")
write("photograph_noisy.png", noisy)
write("photograph_clean.png", clean)
noise = info.noise
print("noise of red, green and blue:", *(f"{sigma:.1f}" for sigma in noise.sigma), f"({noise.grain})")
print(f"correlated: {noise.correlation:.0%}, blotches: {noise.blotches:.0%}, denoise2's level: {noise.level:.0f}")

if importlib.util.find_spec("skimage"):
    from skimage.metrics import peak_signal_noise_ratio, structural_similarity  # type: ignore[import]

    wanted = original.astype(np.uint8)
    before = peak_signal_noise_ratio(wanted, noisy)
    for name, picture in (("noisy", noisy), ("best", clean), ("classic", classic)):
        psnr = peak_signal_noise_ratio(wanted, picture)
        ssim = structural_similarity(wanted, picture, channel_axis=-1)
        print(f"{name}: {psnr:.1f} dB, a gain of {psnr - before:.1f}; SSIM {ssim:.3f}")
