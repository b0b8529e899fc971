"""The version is that of the library's header; pyproject.toml has the rest."""

import pathlib
import re

from setuptools import setup

header = pathlib.Path(__file__).resolve().parents[1] / "include/VeskaroNRLib.h"
setup(version=".".join(re.findall(r"#define VESKARONR_VERSION_\w+ (\d+)", header.read_text())))
