"""The plug-in of GIMP, in GIMP's batch mode."""

import os
import pathlib
import subprocess
import tempfile
import unittest

import numpy as np
from support import PLUGINS, gegl_path, noisy, photograph, run, veskaronr, with_alpha

CALL = "(plug-in-veskaro-denoise RUN-NONINTERACTIVE image drawable 0 1.0 1.0 1.0)"


class Gimp(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        (cls.folder / "gimprc").write_text(f'(plug-in-path "${{gimp_plug_in_dir}}/plug-ins:{PLUGINS / "gimp"}")\n')
        cls.environment = {**os.environ, "GIMP2_DIRECTORY": str(cls.folder), "GEGL_PATH": gegl_path()}

    def raw(self, name, array):
        height, width, bands = array.shape
        (self.folder / "raw").write_bytes(array.tobytes())
        kind = "uchar" if array.dtype == np.uint8 else "ushort"
        run("vips", "rawload", self.folder / "raw", self.folder / "raw.v", width, height, bands, "--format", kind,
            "--interpretation", "srgb" if kind == "uchar" else "rgb16")  # fmt: skip
        run("vips", "copy", self.folder / "raw.v", self.folder / name)

    def array(self, name, like):
        if not (self.folder / name).exists():
            return None
        run("vips", "rawsave", self.folder / name, self.folder / "raw")
        return np.fromfile(self.folder / "raw", like.dtype).reshape(like.shape)

    def edited(self, *jobs):
        """The pictures after steps of Script-Fu, a picture and its steps a job; None where a step failed."""
        batches = []
        for number, (array, *steps) in enumerate(jobs):
            self.raw(f"in{number}.png", array)
            (self.folder / f"out{number}.png").unlink(missing_ok=True)
            batches += ["-b", f"""(let* ((image (car (gimp-file-load RUN-NONINTERACTIVE "{self.folder}/in{number}.png" "in")))
                (drawable (car (gimp-image-get-active-drawable image)))) {' '.join(steps)} (file-png-save
                RUN-NONINTERACTIVE image drawable "{self.folder}/out{number}.png" "out" 0 1 0 0 0 0 0))"""]  # fmt: skip
        batches = [" ".join(part.split()) for part in [*batches, "-b", "(gimp-quit 1)"]]
        subprocess.run(["gimp", "-i", "-d", "-f", *batches], env=self.environment, capture_output=True, timeout=500)
        return [self.array(f"out{n}.png", job[0]) for n, job in enumerate(jobs)]

    def test_bytes_of_the_module(self):
        picture = noisy(photograph(500, 400), 10)
        alpha, wide, clean = with_alpha(picture), picture.astype(np.uint16) * 257, picture.copy()
        box = np.s_[100:150, 200:350]
        clean[box] = veskaronr.denoise(picture, preset="fast")[box]
        select = "(gimp-image-select-rectangle image CHANNEL-OP-REPLACE 200 100 150 50)"
        results = self.edited((picture, CALL), (wide, CALL), (alpha, CALL), (picture, select, CALL))
        self.assertTrue((results[0] == veskaronr.denoise(picture, preset="fast")).all())
        self.assertTrue((results[1] == veskaronr.denoise(wide, preset="fast")).all())
        self.assertTrue((results[2][..., 3] == alpha[..., 3]).all())
        self.assertTrue((results[3] == clean).all())

    def test_wrong_arguments(self):
        picture = noisy(photograph(64, 64), 10)
        wrong = ("7 1.0 1.0 1.0", "0 9.0 1.0 1.0", "0 1.0 -1.0 1.0")
        jobs = [(picture, f"(plug-in-veskaro-denoise RUN-NONINTERACTIVE image drawable {each})") for each in wrong]
        *failed, plain = self.edited(*jobs, (picture,))
        self.assertEqual(failed, [None] * 3)
        self.assertTrue((plain == picture).all())


if __name__ == "__main__":
    unittest.main()
