"""The plug-in of GIMP, in GIMP's batch mode."""

import os
import pathlib
import subprocess
import tempfile
import unittest

import numpy as np
from support import PLUGINS, gegl_path, noisy, photograph, read_image, wanted, with_alpha, write_image

CALL = "(plug-in-veskaro-denoise RUN-NONINTERACTIVE image drawable {})"
SELECT = "(gimp-image-select-rectangle image CHANNEL-OP-REPLACE 200 100 150 50)"


class Gimp(unittest.TestCase):
    def edited(self, *jobs):
        """Pictures after steps of Script-Fu, a picture and its steps a job; None where a step failed."""
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        (folder / "gimprc").write_text(f'(plug-in-path "${{gimp_plug_in_dir}}/plug-ins:{PLUGINS / "gimp"}")\n')
        environment, batches = {**os.environ, "GIMP2_DIRECTORY": str(folder), "GEGL_PATH": gegl_path()}, []
        for number, (array, *steps) in enumerate(jobs):
            given, made = write_image(folder / f"in{number}.png", array), folder / f"out{number}.png"
            batches += ["-b", f'(let* ((image (car (gimp-file-load RUN-NONINTERACTIVE "{given}" "in")))'
                        f"(drawable (car (gimp-image-get-active-drawable image)))) {' '.join(steps)}"
                        f'(file-png-save RUN-NONINTERACTIVE image drawable "{made}" "out" 0 1 0 0 0 0 0))']  # fmt: skip
        subprocess.run(["gimp", "-i", "-d", "-f", *batches, "-b", "(gimp-quit 1)"], env=environment,
                       capture_output=True, timeout=500)  # fmt: skip
        made = [folder / f"out{number}.png" for number in range(len(jobs))]
        return [read_image(path, job[0]) if path.exists() else None for path, job in zip(made, jobs)]

    def test_in_batches(self):
        picture, call = noisy(photograph(500, 400), 10), CALL.format("0 1.0 1.0 1.0")
        alpha, wide, box = with_alpha(picture), picture.astype(np.uint16) * 257, np.s_[100:150, 200:350]
        part = picture.copy()
        part[box] = wanted(picture)[box]
        wrong = [(picture, CALL.format(values)) for values in ("7 1.0 1.0 1.0", "0 9.0 1.0 1.0", "0 1.0 -1.0 1.0")]
        jobs = [(picture, call), (wide, call), (alpha, call), (picture, SELECT, call)]
        *results, one, two, three = self.edited(*jobs, *wrong)
        for result, right in zip(results, (wanted(picture), wanted(wide), None, part)):
            self.assertTrue(right is None or (result == right).all())
        self.assertTrue((results[2][..., 3] == alpha[..., 3]).all())
        self.assertEqual([one, two, three], [None] * 3)


if __name__ == "__main__":
    unittest.main()
