"""The built library, looked at from outside: usage: library_test.py LIBRARY [TestCase.test]."""

import pathlib
import re
import subprocess
import sys
import unittest

HERE = pathlib.Path(__file__).resolve().parent
LIBRARY = sys.argv.pop(1)


def run(*command):
    """The command's output; a tool that fails or says nothing fails the test."""
    # Constants among the texts are no UTF-8.
    output = subprocess.run(command, check=True, capture_output=True, errors="replace",
                            env={"LC_ALL": "C", "PATH": "/usr/bin:/bin"}).stdout
    if not output.strip():
        raise RuntimeError(f"{command[0]} said nothing about {LIBRARY}")
    return output


class Library(unittest.TestCase):
    def dynamic(self, tag):
        return re.findall(rf"\({tag}\)\s+(.*)", run("readelf", "-dW", LIBRARY))

    def test_exports_exactly_the_two_functions(self):
        lines = run("nm", "-D", "--defined-only", LIBRARY).splitlines()
        exported = sorted(line.split()[-1].split("@")[0] for line in lines)
        self.assertEqual(exported, (HERE / "exports.txt").read_text().split())

    def test_links_no_openssl(self):
        needed = self.dynamic("NEEDED")
        self.assertTrue(any("libc.so" in name for name in needed), needed)
        for name in needed:
            self.assertNotRegex(name, "ssl|crypto|eay")

    def test_stays_in_memory_once_loaded(self):
        self.assertIn("NODELETE", " ".join(self.dynamic("FLAGS_1")))

    def test_finds_its_neighbours(self):
        self.assertEqual(self.dynamic("RUNPATH"), ["Library runpath: [$ORIGIN]"])

    def test_is_bound_at_load_and_read_only_afterwards(self):
        self.assertIn("NOW", " ".join(self.dynamic("FLAGS_1")))
        self.assertIn("GNU_RELRO", run("readelf", "-lW", LIBRARY))

    def test_has_no_executable_stack(self):
        stack = re.search(r"GNU_STACK.*", run("readelf", "-lW", LIBRARY))
        self.assertIsNotNone(stack)
        self.assertRegex(stack.group(0), r"\sRW\s")

    def test_has_no_text_relocations(self):
        self.assertEqual(self.dynamic("TEXTREL"), [])
        self.assertNotEqual(self.dynamic("STRTAB"), [])

    def test_runs_just_the_known_static_initializers(self):
        symbols = run("nm", "--defined-only", LIBRARY)
        # Their paths for exceptions may have symbols of their own.
        initializers = sorted(name for name in re.findall(r"_GLOBAL__sub_I_(\S+)", symbols)
                              if not name.endswith(".cold"))
        self.assertEqual(initializers, (HERE / "static_initializers.txt").read_text().split())

    def test_names_no_path_of_the_machine_that_built_it(self):
        texts = run("strings", "-a", LIBRARY)
        sources = [line for line in texts.splitlines() if re.search(r"kit/\w+\.(h|cpp)$", line)]
        self.assertTrue(sources, "no recorded source file found at all")
        loaded = run("readelf", "-p", ".rodata", LIBRARY)
        self.assertNotIn(str(HERE.parent.parent), loaded)


if __name__ == "__main__":
    unittest.main()
