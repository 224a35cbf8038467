"""The built library, looked at from outside: usage: library_test.py LIBRARY [TestCase.test]."""

import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import tool

HERE = pathlib.Path(__file__).resolve().parent
LIBRARY = sys.argv.pop(1)


class Library(unittest.TestCase):
    def test_links_no_openssl(self):
        needed = tool.dynamic(LIBRARY, "NEEDED")
        self.assertTrue(any("libc.so" in name for name in needed), needed)
        for name in needed:
            self.assertNotRegex(name, "ssl|crypto|eay")

    def test_stays_in_memory_once_loaded(self):
        self.assertIn("NODELETE", " ".join(tool.dynamic(LIBRARY, "FLAGS_1")))

    def test_finds_its_neighbours(self):
        self.assertEqual(tool.dynamic(LIBRARY, "RUNPATH"), ["Library runpath: [$ORIGIN]"])

    def test_runs_just_the_known_static_initializers(self):
        symbols = tool.output("nm", "--defined-only", LIBRARY)
        # Their paths for exceptions may have symbols of their own.
        initializers = sorted(name for name in re.findall(r"_GLOBAL__sub_I_(\S+)", symbols)
                              if not name.endswith(".cold"))
        self.assertEqual(initializers, (HERE / "static_initializers.txt").read_text().split())

    def test_has_no_code_that_nothing_reaches(self):
        # Making the name of a temporary file is offered to programs that link the support library.
        self.assertNotIn(" tempnam@", tool.output("nm", "-D", "--undefined-only", LIBRARY))

    def test_takes_at_most_256_kibibytes(self):
        with tempfile.TemporaryDirectory() as folder:
            stripped = pathlib.Path(folder) / "stripped"
            subprocess.run(["strip", "-o", stripped, LIBRARY], check=True)
            self.assertLessEqual(stripped.stat().st_size, 256 * 1024)

    def test_names_no_path_of_the_machine_that_built_it(self):
        texts = tool.output("strings", "-a", LIBRARY)
        sources = [line for line in texts.splitlines() if re.search(r"kit/\w+\.(h|cpp)$", line)]
        self.assertTrue(sources, "no recorded source file found at all")
        loaded = tool.output("readelf", "-p", ".rodata", LIBRARY)
        self.assertNotIn(str(HERE.parent.parent), loaded)


if __name__ == "__main__":
    unittest.main()
