"""Includes go one way, down the layers, and every folder has one namespace."""

import graphlib
import re
import unittest

from support import SOURCE

BASE = {"simd", "platform"}
STAGE = BASE | {"pixels", "params/settings.h"}  # settings are plain values
PUBLIC = {"VeskaroNRLib.h", "veskaronr.h"}
LIBRARY = {  # folder of src/: what it may include beside itself
    "platform": set(),
    "simd": {"platform"},
    "pixels": BASE,
    "filters": STAGE,
    "pyramid": STAGE,
    "blend": STAGE,
    "dots": STAGE,
    "shrink": STAGE,
    "params": BASE | PUBLIC | {"pixels"},
    "measure": BASE | {"pixels"},
    "tiled": STAGE | {"filters", "pyramid", "blend", "dots", "shrink"},
    "hdr": BASE | PUBLIC | {"pixels"},
}
LIBRARY["api"] = PUBLIC.union(LIBRARY)
TOOLS = {"base": set(), "pictures": {"base"}, "find": {"base", "pictures"}, "run": {"base", "pictures"}}
TOOLS["tell"] = {"base", "pictures", "run"}
TOOLS["tune"] = {"find", "tell"} | TOOLS["tell"]
TOOLS["command"] = TOOLS["main.cpp"] = {"command"}.union(TOOLS)

PLUGINS = ("common", "frei0r", "gegl", "gimp", "vips")


def includes(root, mark='"'):
    """File below the root -> what its includes in quotes (or other marks) name."""
    files = [path for path in (SOURCE / root).rglob("*") if path.suffix in (".h", ".c", ".cpp")]
    return {
        str(path.relative_to(SOURCE / root)): re.findall(rf'^ *# *include {mark}([^">]+)', path.read_text(), re.M)
        for path in files
    }


class Layers(unittest.TestCase):
    def expect_order(self, root, allowed):
        for file, names in includes(root).items():
            folder = file.split("/")[0]
            for name in names:
                fits = {name, name.split("/")[0]} & (allowed[folder] | {folder})
                self.assertTrue(fits, f"{root}/{file} includes {name}")

    def test_includes_go_down(self):
        self.expect_order("src", LIBRARY)
        self.expect_order("tools", TOOLS)
        self.expect_order("plugins", {plugin: {"common", "veskaronr.h"} for plugin in PLUGINS})

    def test_clients_know_public_headers_only(self):
        for root in ("tools", "examples", "plugins", "python"):
            for file, names in includes(root, '["<]').items():
                inside = [n for n in names if (SOURCE / "src" / n).is_file() and not (SOURCE / root / n).is_file()]
                self.assertEqual(inside, [], f"{root}/{file}")

    def test_no_includes_in_a_ring(self):
        for root in ("src", "tools", "plugins"):
            tuple(graphlib.TopologicalSorter(includes(root)).static_order())

    def test_a_folder_is_a_namespace(self):
        for root, outer in (("src", "veskaro"), ("tools", "tool")):
            for file in includes(root):
                for inner in re.findall(rf"^namespace {outer}(?:::(\w+))?", (SOURCE / root / file).read_text(), re.M):
                    self.assertEqual(inner, file.split("/")[0].replace("base", ""), f"{root}/{file}")


if __name__ == "__main__":
    unittest.main()
