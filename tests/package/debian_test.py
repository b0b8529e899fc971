"""A second build of the same sources in another folder: the same bytes, and Debian packages made of it."""

import os
import pathlib
import re
import shutil
import tempfile
import unittest

from support import BUILD, LIBRARY, SOURCE, run

# Why it is there is said in CONTRIBUTING.md.
EXPLAINED = {"package-name-doesnt-match-sonames"}

# Where a host looks for its plug-in, and what that stands on.
PLUGINS = {
    "gegl": (r"/gegl-0\.4/veskaro-denoise\.so", "libgegl-0.4-0"),
    "gimp": (r"/usr/lib/gimp/2\.0/plug-ins/veskaro-denoise/veskaro-denoise", "gegl-veskaronr"),
    "frei0r": (r"/usr/lib/frei0r-1/veskaro\.so", "libveskaronrlib1"),
    "vips": (r"/vips-modules-8\.\d+/veskaro\.so", "libvips42"),
}


def cached(name):
    """A value of the first build's cache."""
    found = re.search(rf"^{name}:\w+=(.*)$", (BUILD / "CMakeCache.txt").read_text(), re.M)
    return found.group(1) if found else ""


class Debian(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        top = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        elsewhere, cls.build = top / "another folder", top / "and its build"
        shutil.copytree(SOURCE, elsewhere, ignore=shutil.ignore_patterns(".git", "build*", "out", "__pycache__"))
        # The companion takes longer to build than all else; VESKARO_TEST_ALL=1 brings it in.
        tools = cached("VESKARO_BUILD_TOOLS") if os.environ.get("VESKARO_TEST_ALL") else "OFF"
        same = ["CMAKE_BUILD_TYPE", "CMAKE_C_COMPILER", "CMAKE_CXX_COMPILER", "CMAKE_C_FLAGS", "CMAKE_CXX_FLAGS"]
        run("cmake", "-S", elsewhere, "-B", cls.build, "-DCMAKE_INSTALL_PREFIX=/usr", "-DVESKARO_BUILD_TESTS=OFF",
            f"-DVESKARO_BUILD_TOOLS={tools}", *(f"-D{name}={cached(name)}" for name in same))  # fmt: skip
        run("cmake", "--build", cls.build, "--parallel", str(len(os.sched_getaffinity(0))))
        run("cpack", "--config", cls.build / "CPackConfig.cmake", cwd=cls.build)
        cls.packages = {path.name.split("_")[0]: path for path in (cls.build / "packages").glob("*.deb")}

    def field(self, package, name):
        return run("dpkg-deb", "-f", self.packages[package], name).strip()

    def test_same_sources_give_the_same_bytes(self):
        self.assertEqual((self.build / "VeskaroNRLib.so.1").read_bytes(), LIBRARY.read_bytes())

    def test_contents_and_dependencies(self):
        wanted = {"libveskaronrlib1", "libveskaronrlib-dev", "python3-veskaronr"}
        if (self.build / "veskaro-nr").exists():
            wanted.add("veskaro-nr")
            needs = self.field("veskaro-nr", "Depends")
            self.assertIn("libvips42", needs)
            self.assertIn("libveskaronrlib1 (= ", needs)
        for host, (file, needs) in PLUGINS.items():
            if list((self.build / "plugins" / host).glob("**/veskaro*")):
                package = f"{host}-veskaronr"
                wanted.add(package)
                self.assertIn(needs, self.field(package, "Depends"))
                self.assertRegex(run("dpkg-deb", "-c", self.packages[package]), file)
        self.assertEqual(set(self.packages), wanted)
        self.assertRegex(self.field("libveskaronrlib1", "Depends"), r"libc6 \(>= .*libstdc\+\+6")
        self.assertIn("libveskaronrlib1 (= ", self.field("libveskaronrlib-dev", "Depends"))
        self.assertIn("python3-numpy", self.field("python3-veskaronr", "Depends"))
        symbols = run("dpkg-deb", "-I", self.packages["libveskaronrlib1"], "symbols")
        self.assertIn(" denoise2@Base", symbols)

    def test_lintian_has_nothing_new_to_say(self):
        if not shutil.which("lintian"):
            self.skipTest("lintian is not installed")
        said = run("lintian", "--profile", "debian", "--allow-root", "--fail-on", "none", *self.packages.values())
        tags = set(re.findall(r"^[EW]: [\w-]+: ([\w-]+)", said, re.M))
        self.assertLessEqual(tags, EXPLAINED, said)


if __name__ == "__main__":
    unittest.main()
