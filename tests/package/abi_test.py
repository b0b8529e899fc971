"""The binary interface is what docs/abi/ says. Run with --write to describe an intended change."""

import pathlib
import re
import shutil
import sys
import tempfile
import unittest

from support import EXPORT_LIST, HEADER, INTERFACE, LIBRARY, SOURCE, declarations, run

DESCRIPTION = SOURCE / "docs/abi/VeskaroNRLib.so.1.abi"


def definition(declaration):
    if not declaration.startswith("extern"):
        return declaration.removesuffix(";") + " { __builtin_trap(); }"
    names = declaration.removeprefix("extern ")
    return names if "const" not in names else re.sub(r"(\w+)(?=[,;])", r"\1 = 1", names)


def build(folder, header):
    """The description of the interface that a header declares.

    It is taken from a file that defines everything with empty bodies, so that it does not depend on the compiler and
    the options that the library was built with. A definition in the library that differs from the header does not
    compile.
    """
    source, built, described = folder / "stub.c", folder / "VeskaroNRLib.so.1", folder / "described.abi"
    source.write_text("\n".join([f'#include "{header.name}"', *map(definition, declarations(header))]))
    run("gcc", "-g", "-fno-eliminate-unused-debug-types", "-O0", "-w", "-shared", "-fPIC", f"-ffile-prefix-map={folder}=.", f"-I{header.parent}",
        "-Wl,-soname,VeskaroNRLib.so.1", f"-Wl,--version-script={EXPORT_LIST}", source, "-o", built, cwd=folder)  # fmt: skip
    run("abidw", "--load-all-types", "--no-corpus-path", "--no-comp-dir-path", "--no-show-locs", "--out-file", described, built)
    return described


class Abi(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def test_header_still_has_the_described_interface(self):
        run("abidiff", "--non-reachable-types", DESCRIPTION, build(self.folder, INTERFACE))

    def test_built_file_has_the_described_symbols(self):
        run("abidiff", DESCRIPTION, LIBRARY)

    def test_a_changed_signature_or_structure_is_noticed(self):
        text = HEADER.read_text()
        for old, new in (("mem4denoise(int wOrig", "mem4denoise(long wOrig"), ("int rang;  ", "long rang; ")):
            with self.subTest(old):
                self.assertIn(old, text)
                (self.folder / HEADER.name).write_text(text.replace(old, new))
                changed = shutil.copy(INTERFACE, self.folder)
                described = build(self.folder, pathlib.Path(changed))
                self.assertRaises(AssertionError, run, "abidiff", "--non-reachable-types", DESCRIPTION, described)


if __name__ == "__main__":
    if "--write" in sys.argv:
        with tempfile.TemporaryDirectory() as folder:
            DESCRIPTION.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(build(pathlib.Path(folder), INTERFACE), DESCRIPTION)
    else:
        unittest.main()
