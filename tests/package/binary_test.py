"""The built file: what it exports, what it needs, how it is laid out."""

import ctypes
import re
import unittest

from support import BUILD, EXPORT_LIST, HEADER, LIBRARY, SOURCE, declared, run


def exported():
    """Symbol name -> kind of nm, of everything the library defines for others."""
    lines = run("nm", "-D", "--defined-only", LIBRARY).split("\n")
    return {line.split()[2].split("@")[0]: line.split()[1] for line in lines if line}


class Exports(unittest.TestCase):
    def test_header_list_and_file_agree(self):
        functions, variables, constants = declared()
        listed = set(re.findall(r"^    (\w+);$", EXPORT_LIST.read_text(), re.M))
        header = functions | variables | constants
        self.assertEqual(listed, header)
        self.assertEqual(set(exported()), header)

    def test_constants_are_read_only_and_variables_are_not(self):
        functions, variables, constants = declared()
        kinds = exported()
        for names, wanted in ((functions, "T"), (variables, "BD"), (constants, "R")):
            for name in names:
                self.assertIn(kinds[name], wanted, name)


class Values(unittest.TestCase):
    """What the header's comments say is what the file holds, to the last bit."""

    def setUp(self):
        self.header, self.library = HEADER.read_text(), ctypes.CDLL(LIBRARY)

    def said(self, text):
        numerator, _, denominator = text.partition("/")
        return ctypes.c_float(float(numerator) / float(denominator or 1)).value

    def test_constants_and_variables(self):
        _, _, constants = declared()
        comments = dict(re.findall(r"float (\w+); +/\*\*< (-?[\d.]+(?: ?/ ?[\d.]+)?)", self.header))
        self.assertLessEqual(constants, comments.keys())
        self.assertIn("reconSimilarityRolloff", comments)
        for name, text in comments.items():
            self.assertEqual(ctypes.c_float.in_dll(self.library, name).value, self.said(text), name)

    def test_defaults(self):
        comments = re.findall(r"^  NR_\w+ = \d+, +/\*\*< (-?[\d.]+) ", self.header, re.M)
        vector = (ctypes.c_float * (len(comments) + 1))(*[-9.0] * (len(comments) + 1))
        self.assertEqual(self.library.nr_def(vector), 1)
        self.assertEqual(list(vector), [*map(self.said, comments), -9.0])
        self.assertEqual(len(comments), 21)


class Layout(unittest.TestCase):
    def setUp(self):
        self.dynamic = run("readelf", "-dW", LIBRARY)
        self.segments = run("readelf", "-lW", LIBRARY)

    def test_name_and_needs(self):
        self.assertEqual(re.findall(r"SONAME.*\[(.*)\]", self.dynamic), ["VeskaroNRLib.so.1"])
        allowed = {"libc.so.6", "libm.so.6", "libstdc++.so.6", "libgcc_s.so.1", "libgomp.so.1", "libomp.so.5"}
        allowed |= {"libhwy.so.1", "libpthread.so.0", "ld-linux-x86-64.so.2", "libasan.so.8", "libubsan.so.1"}
        self.assertLessEqual(set(re.findall(r"NEEDED.*\[(.*)\]", self.dynamic)), allowed)

    def test_calculates_by_itself(self):
        """Of the C library's functions only those that are exact are the same everywhere."""
        needed = re.findall(r" U (\w+)", run("nm", "-D", "--undefined-only", LIBRARY))
        inexact = r"(log|exp|pow|sin|cos|tan|hypot|cbrt|erf|[lt]gamma|fma)(2|10|1p|m1|h|_r)?[fl]?"
        self.assertEqual([name for name in needed if re.fullmatch(inexact, name)], [])

    def test_hardening(self):
        self.assertIn("GNU_RELRO", self.segments)
        self.assertRegex(self.dynamic, r"BIND_NOW|\bNOW\b")
        self.assertIn("NODELETE", self.dynamic)
        self.assertNotIn("TEXTREL", self.dynamic)
        self.assertNotIn("SYMBOLIC", self.dynamic)
        stack = next(line for line in self.segments.split("\n") if "GNU_STACK" in line)
        self.assertNotIn("E", stack.split()[6])
        self.assertNotRegex(self.segments, r"LOAD.* RWE ")
        self.assertIn("__stack_chk_fail", run("nm", "-D", "--undefined-only", LIBRARY))

    def test_no_place_of_this_machine_inside(self):
        contents = LIBRARY.read_bytes()
        for place in (SOURCE, BUILD.resolve()):
            self.assertNotIn(str(place).encode(), contents)


if __name__ == "__main__":
    unittest.main()
