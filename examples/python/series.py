"""One measurement for a whole series, kept as a recipe: all frames look alike, and two at a time are filtered."""

from concurrent.futures import ThreadPoolExecutor

from noisy_picture import FOLDER, add_noise, clean_picture, write

import veskaronr

scene = clean_picture()
frames = [add_noise(scene, seed=seed) for seed in range(6)]
veskaronr.measure(frames[0]).settings().save(FOLDER / "series.json")

settings = veskaronr.Settings.load(FOLDER / "series.json")  # tomorrow, or on another machine

with ThreadPoolExecutor(2) as pool:
    results = pool.map(lambda frame: veskaronr.denoise(frame, settings=settings, threads=1), frames)
    for number, result in enumerate(results):
        write(f"series_{number}.png", result)
