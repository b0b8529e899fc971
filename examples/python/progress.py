"""A bar, and a way out: another thread (a button of a user interface, say) cancels."""

import threading

from noisy_picture import add_noise, clean_picture, write

import veskaronr

picture = add_noise(clean_picture(1200, 1600))


def show(done: int, total: int) -> None:
    print(f"\r{100 * done // total:3} %", end="" if done < total else "\n", flush=True)


write("progress.png", veskaronr.denoise(picture, progress=show))  # or progress=tqdm.tqdm()

stop = threading.Event()
try:
    # Here the bar itself presses the button, halfway.
    veskaronr.denoise(picture, cancel=stop, progress=lambda done, total: stop.set() if 2 * done > total else None)
except veskaronr.Cancelled:
    print("stopped as wished")
