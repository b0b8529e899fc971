"""An exact preview: the noise is measured once, then any part of the picture costs its own tiles only."""

from noisy_picture import add_noise, clean_picture, write

import veskaronr

picture = add_noise(clean_picture(1200, 1600))
settings = veskaronr.measure(picture).settings(strength=1.2)
plan = veskaronr.Plan(picture.shape, picture.dtype, settings)

for step in range(3):  # the user pans to the right
    wanted = veskaronr.Box(200 + 300 * step, 600 + 300 * step, 400, 700)
    read, _ = plan.cover(wanted)
    write(f"preview_{step}.png", plan.filter(picture[read.slices], read, wanted))
