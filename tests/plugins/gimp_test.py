"""The plug-in of GIMP, in GIMP's batch mode."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

import numpy as np
from support import PLUGINS, gegl_path, noisy, photograph, run, veskaronr, with_alpha

CALL = "(plug-in-veskaro-denoise RUN-NONINTERACTIVE image drawable 0 1.0 1.0 1.0)"


@unittest.skipUnless(shutil.which("gimp"), "GIMP is not installed")
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
        run("vips", "rawsave", self.folder / name, self.folder / "raw")
        return np.fromfile(self.folder / "raw", like.dtype).reshape(like.shape)

    def edited(self, array, *steps, fails=False):
        """The picture after steps of Script-Fu."""
        self.raw("in.png", array)
        script = f"""(let* ((image (car (gimp-file-load RUN-NONINTERACTIVE "{self.folder}/in.png" "in.png")))
          (drawable (car (gimp-image-get-active-drawable image)))) {' '.join(steps)}
          (file-png-save RUN-NONINTERACTIVE image drawable "{self.folder}/out.png" "out.png" 0 1 0 0 0 0 0))"""
        (self.folder / "out.png").unlink(missing_ok=True)
        subprocess.run(["gimp", "-i", "-d", "-f", "-b", " ".join(script.split()), "-b", "(gimp-quit 1)"],
                       env=self.environment, capture_output=True, timeout=300)  # fmt: skip
        self.assertEqual((self.folder / "out.png").exists(), not fails)
        return None if fails else self.array("out.png", array)

    def test_bytes_of_the_module(self):
        picture = noisy(photograph(500, 400), 10)
        alpha, wide = with_alpha(picture), picture.astype(np.uint16) * 257
        self.assertTrue((self.edited(alpha, CALL)[..., 3] == alpha[..., 3]).all())
        for array in (picture, wide):
            self.assertTrue((self.edited(array, CALL) == veskaronr.denoise(array, preset="fast")).all(), array.dtype)

    def test_selection(self):
        picture = noisy(photograph(500, 400), 10)
        wanted = picture.copy()
        wanted[100:150, 200:350] = veskaronr.denoise(picture, preset="fast")[100:150, 200:350]
        select = "(gimp-image-select-rectangle image CHANNEL-OP-REPLACE 200 100 150 50)"
        self.assertTrue((self.edited(picture, select, CALL) == wanted).all())

    def test_wrong_arguments(self):
        picture = noisy(photograph(64, 64), 10)
        for arguments in ("7 1.0 1.0 1.0", "0 9.0 1.0 1.0", "0 1.0 -1.0 1.0"):
            self.edited(picture, f"(plug-in-veskaro-denoise RUN-NONINTERACTIVE image drawable {arguments})", fails=True)


if __name__ == "__main__":
    unittest.main()
