"""A picture that does not fit into memory, strip by strip: on disk before and after, and the bytes of the whole."""

import numpy as np
from noisy_picture import FOLDER, add_noise, clean_picture, write

import veskaronr

height, width = shape = (2000, 1500)
disk = np.memmap(FOLDER / "strips.raw", np.uint8, "w+", shape=(*shape, 3))
disk[:] = add_noise(clean_picture(*shape))
result = np.memmap(FOLDER / "strips_clean.raw", np.uint8, "w+", shape=(*shape, 3))

measurement = veskaronr.Measurement(shape)
for y in range(0, height, 256):
    measurement.add(disk[y : y + 256], 0, y)

plan = veskaronr.Plan(disk.shape, disk.dtype, measurement.finish().settings())
y = 0
while y < height:
    read, strip = plan.cover((0, width, y, y + 1))  # the row of tiles that begins here
    plan.filter(disk[read.slices], read, strip, out=result[strip.slices])
    y = strip.y1
write("strips_clean.png", np.asarray(result))
