"""One measurement for a whole series: all frames look alike, and two at a time are filtered."""

from concurrent.futures import ThreadPoolExecutor

from noisy_picture import add_noise, clean_picture, write

import veskaronr

scene = clean_picture()
frames = [add_noise(scene, seed=seed) for seed in range(6)]
settings = veskaronr.measure(frames[0]).settings()

with ThreadPoolExecutor(2) as pool:
    results = pool.map(lambda frame: veskaronr.denoise(frame, settings=settings, threads=1), frames)
    for number, result in enumerate(results):
        write(f"series_{number}.png", result)
