"""The names that programs find the libraries and their functions by, held against abi/exports.txt.

usage: exports_test.py ROOT VERSION LIBRARY... -- [TestCase.test]
"""

import pathlib
import re
import sys
import unittest

import tool

END = sys.argv.index("--")
ROOT = pathlib.Path(sys.argv[1])
VERSION = sys.argv[2]
LIBRARIES = sys.argv[3:END]
del sys.argv[1:END + 1]


def exports(library):
    """A line for each function: the library's own name and the function's."""
    (soname,) = re.findall(r"\[(.*)\]", " ".join(tool.dynamic(library, "SONAME")))
    return [f"{soname} {line.split()[-1].split('@')[0]}"
            for line in tool.output("nm", "-D", "--defined-only", library).splitlines()]


class Exports(unittest.TestCase):
    def test_are_those_that_programs_rely_on(self):
        found = sorted(line for library in LIBRARIES for line in exports(library))
        self.assertEqual(found, (ROOT / "abi" / "exports.txt").read_text().splitlines(),
                         "abi/README.md tells what to do about it")

    def test_belong_to_a_library_named_after_the_major_version(self):
        sonames = {line.split()[0] for library in LIBRARIES for line in exports(library)}
        self.assertIn(f"libqvsslinit.so.{VERSION.split('.')[0]}", sonames)

    def test_are_those_that_the_package_promises(self):
        head, *lines = (ROOT / "packaging/debian/libqvsslinit1.symbols").read_text().splitlines()
        soname, package = head.split()[:2]
        self.assertEqual(package, soname.replace(".so.", ""))
        self.assertEqual([f"{soname} {line.split('@')[0].strip()}" for line in lines],
                         [line for line in (ROOT / "abi" / "exports.txt").read_text().splitlines()
                          if line.startswith(f"{soname} ")])


if __name__ == "__main__":
    unittest.main()
