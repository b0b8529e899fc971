"""The version is that of the library's header; pyproject.toml has the rest. The wheel brings the library with it: the
one that VESKARONR_LIBRARY names, or one built from the sources around.

    pip wheel --no-build-isolation --no-deps ./python
"""

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import setup
from setuptools.command.build_py import build_py
from wheel.bdist_wheel import bdist_wheel

SOURCE = Path(__file__).resolve().parents[1]
HEADER = SOURCE / "include/VeskaroNRLib.h"
# As the module looks for it.
LIBRARY_NAME = {"win32": "VeskaroNRLib.dll", "darwin": "VeskaroNRLib.1.dylib"}.get(sys.platform, "VeskaroNRLib.so.1")


def build_library(folder):
    options = ["-DCMAKE_BUILD_TYPE=Release", "-DVESKARO_BUILD_TESTS=OFF", "-DVESKARO_BUILD_TOOLS=OFF"]
    subprocess.run(["cmake", "-S", SOURCE, "-B", folder, *options], check=True)
    subprocess.run(["cmake", "--build", folder, "--target", "VeskaroNRLib", "--parallel"], check=True)
    return folder / LIBRARY_NAME


class BuildWithLibrary(build_py):
    def run(self):
        shutil.rmtree(Path(self.build_lib) / "veskaronr", ignore_errors=True)  # what an earlier version left
        super().run()
        named = os.environ.get("VESKARONR_LIBRARY")
        library = Path(named) if named else build_library(Path(self.build_lib).resolve().parent / "library")
        shutil.copyfile(library, Path(self.build_lib) / "veskaronr" / LIBRARY_NAME)


class PlatformWheel(bdist_wheel):
    def get_tag(self):
        # Loaded with ctypes: any Python 3, one processor and system.
        return "py3", "none", super().get_tag()[2]


setup(
    version=".".join(re.findall(r"#define VESKARONR_VERSION_\w+ (\d+)", HEADER.read_text())),
    cmdclass={"build_py": BuildWithLibrary, "bdist_wheel": PlatformWheel},
    has_ext_modules=lambda: True,
)
