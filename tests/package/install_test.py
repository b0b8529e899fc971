"""The installed package as a stranger meets it: installed, moved, found, linked and run outside the build tree."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

from support import BUILD, SOURCE, VERSION, run

EXAMPLES = SOURCE / "examples"


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.top = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        staged = cls.top / "staged"
        run("cmake", "--install", BUILD, "--prefix", "/opt/first", env={**os.environ, "DESTDIR": str(staged)})
        # Nothing may remember where it was installed first.
        cls.prefix = cls.top / "moved here"
        shutil.move(staged / "opt/first", cls.prefix)
        assert not list(path for path in staged.rglob("*") if path.is_file())
        cls.lib = next(cls.prefix.rglob("VeskaroNRLib.so.1")).parent
        cls.pkg_config = {**os.environ, "PKG_CONFIG_PATH": str(cls.lib / "pkgconfig")}

    def flags(self, what):
        # Spaces in the prefix come back escaped.
        import shlex

        return shlex.split(run("pkg-config", what, "veskaronr", env=self.pkg_config))

    def test_files(self):
        links = {path.name: os.readlink(path) for path in self.lib.iterdir() if path.is_symlink()}
        self.assertEqual(links["libVeskaroNRLib.so"], "VeskaroNRLib.so")
        self.assertEqual(links["VeskaroNRLib.so"], "VeskaroNRLib.so.1")
        self.assertEqual(links["VeskaroNRLib.so.1"], f"VeskaroNRLib.so.{VERSION}")
        self.assertNotRegex(run("readelf", "-dW", self.lib / "VeskaroNRLib.so.1"), "RPATH|RUNPATH")
        for path in self.prefix.rglob("*"):
            if path.is_file() and not path.is_symlink():
                contents = path.read_bytes()
                for place in (SOURCE, BUILD.resolve(), "/opt/first"):
                    self.assertNotIn(str(place).encode(), contents, path)

    def test_examples_by_cmake(self):
        # From a copy, so that nothing of the source tree is in reach.
        shutil.copytree(EXAMPLES, self.top / "examples")
        build = self.top / "examples/build"
        run("cmake", "-S", self.top / "examples", "-B", build, f"-DCMAKE_PREFIX_PATH={self.prefix}",
            "-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_C_FLAGS=-Wall -Wextra -Werror", "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror")  # fmt: skip
        run("cmake", "--build", build, "--parallel", "2")
        said = run("ctest", "--test-dir", build, "--output-on-failure", "--no-tests=error")
        self.assertIn("100% tests passed, 0 tests failed out of 12", said)

    def test_version_is_checked(self):
        for wanted, found in (("1", True), (VERSION, True), ("2", False), ("0.9", False), ("1.99", False)):
            folder = self.top / f"version-{wanted}"
            folder.mkdir()
            (folder / "CMakeLists.txt").write_text(
                "cmake_minimum_required(VERSION 3.16)\nproject(Check LANGUAGES C)\n"
                f"find_package(VeskaroNRLib {wanted} REQUIRED)\n"
            )
            command = ["cmake", "-S", str(folder), "-B", str(folder / "b"), f"-DCMAKE_PREFIX_PATH={self.prefix}"]
            done = subprocess.run(command, capture_output=True, text=True)
            self.assertEqual(done.returncode == 0, found, (wanted, done.stderr))

    def test_plain_compiler_and_pkg_config(self):
        program = self.top / "plain"
        for source in ("denoise.c", "own_pyramid.c"):
            run("cc", EXAMPLES / source, *self.flags("--cflags"), *self.flags("--libs"), "-o", program)
            run(program, env={**os.environ, "LD_LIBRARY_PATH": str(self.lib)})
        self.assertEqual(run("pkg-config", "--modversion", "veskaronr", env=self.pkg_config).strip(), VERSION)

    def test_a_host_that_is_no_position_independent_executable(self):
        # Such a host has its own copy of a variable, which the library must then use as well.
        source = self.top / "host.c"
        source.write_text(
            "#include <VeskaroNRLib.h>\n"
            "int main(void) {\n"
            "  float params[NR_PARAM_COUNT];\n"
            "  nr_def(params);\n"
            "  params[NR_LUMA_KEEP] = 0.25f;\n"
            "  calcParams(params);\n"
            "  if (lumaMix != 0.75f || WHITE_LEVEL != 255) return 1;\n"
            "  reconSimilarityThreshold = 0;\n"
            "  reconSimilarityRolloff = 100;\n"
            "  return reconDistanceSimilarity(50, 0, 0, 0, 0, 0) == 0.5f ? 0 : 2;\n"
            "}\n"
        )
        for options in (["-no-pie", "-fno-pie"], ["-pie", "-fPIE"]):
            program = self.top / "host"
            run("cc", "-O2", *options, source, *self.flags("--cflags"), *self.flags("--libs"), "-o", program)
            run(program, env={**os.environ, "LD_LIBRARY_PATH": str(self.lib)})
            copied = "R_X86_64_COPY" in run("readelf", "-rW", program)
            if "-no-pie" in options and os.uname().machine == "x86_64":
                self.assertTrue(copied, "the host was to hold the variables")

    def test_python_module_finds_its_library(self):
        found = list(self.prefix.rglob("veskaronr/__init__.py"))
        if not found:
            self.skipTest("installed without the Python module")
        environment = {k: v for k, v in os.environ.items() if k not in ("VESKARONR_LIBRARY", "LD_LIBRARY_PATH")}
        environment["PYTHONPATH"] = str(found[0].parents[1])
        said = run(
            "/usr/bin/python3", "-c", "import veskaronr; print(veskaronr.__version__, veskaronr.c_library()._name)", env=environment, cwd=self.top
        )
        version, path = said.strip().split(" ", 1)
        self.assertEqual(version, VERSION)
        self.assertEqual(pathlib.Path(path).resolve(), (self.lib / "VeskaroNRLib.so.1").resolve())

    def test_wheel(self):
        # Nothing of the source tree is written to; the library is the one under test.
        sources, wheels, room = self.top / "sources/python", self.top / "wheels", self.top / "room"
        shutil.copytree(SOURCE / "python", sources, ignore=shutil.ignore_patterns("build"))
        shutil.copytree(SOURCE / "include", self.top / "sources/include")
        pip = ("/usr/bin/python3", "-m", "pip", "-q", "--disable-pip-version-check")
        environment = {**os.environ, "VESKARONR_LIBRARY": str(self.lib / "VeskaroNRLib.so.1")}
        run(*pip, "wheel", "--no-build-isolation", "--no-deps", "--no-index", "-w", wheels, sources, env=environment)
        (wheel,) = wheels.iterdir()
        self.assertRegex(wheel.name, rf"^veskaronr-{VERSION}-py3-none-linux_\w+\.whl$")
        run("/usr/bin/python3", "-m", "venv", "--system-site-packages", room)
        run(room / "bin/pip", "-q", "install", "--no-index", wheel)
        code = "import veskaronr; print(veskaronr.c_library()._name); veskaronr.denoise([[1, 2], [3, 4]])"
        environment = {k: v for k, v in os.environ.items() if k not in ("VESKARONR_LIBRARY", "PYTHONPATH")}
        self.assertIn(str(room), run(room / "bin/python", "-W", "ignore", "-c", code, env=environment, cwd=self.top))

    def test_companion_finds_its_library(self):
        tool = self.prefix / "bin/veskaro-nr"
        if not tool.exists():
            self.skipTest("installed without the companion")
        environment = {k: v for k, v in os.environ.items() if k != "LD_LIBRARY_PATH"}
        self.assertIn(VERSION, run(tool, "--version", env=environment))
        found = run("ldd", tool, env=environment)
        self.assertIn(str(self.lib), str(pathlib.Path(found.split("VeskaroNRLib.so.1 => ")[1].split(" (")[0]).resolve()))


if __name__ == "__main__":
    unittest.main()
