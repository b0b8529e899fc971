"""A picture in, a clean picture out; how good it is by scikit-image, where that is installed."""

import importlib.util

import numpy as np
from noisy_picture import add_noise, clean_picture, write

import veskaronr

original = clean_picture()
noisy = add_noise(original)
clean, info = veskaronr.denoise(noisy, strength=1.0, return_info=True)
write("photograph_noisy.png", noisy)
write("photograph_clean.png", clean)
print(f"noise level {info.noise.level:.0f}, chroma kept {info.settings.chroma_keep:.2f}")

if importlib.util.find_spec("skimage"):
    from skimage.metrics import peak_signal_noise_ratio, structural_similarity  # type: ignore[import]

    for name, picture in (("noisy", noisy), ("clean", clean)):
        wanted = original.astype(np.uint8)
        psnr = peak_signal_noise_ratio(wanted, picture)
        ssim = structural_similarity(wanted, picture, channel_axis=-1)
        print(f"{name}: {psnr:.1f} dB, SSIM {ssim:.3f}")
