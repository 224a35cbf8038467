"""The built trace engine, looked at from outside: usage: engine_test.py ENGINE [TestCase.test]."""

import pathlib
import re
import subprocess
import sys
import unittest

ENGINE = pathlib.Path(sys.argv.pop(1))


def run(*command):
    """The command's output; a tool that fails or says nothing fails the test."""
    # Constants among the texts are no UTF-8.
    output = subprocess.run(command, check=True, capture_output=True, errors="replace",
                            env={"LC_ALL": "C", "PATH": "/usr/bin:/bin"}).stdout
    if not output.strip():
        raise RuntimeError(f"{command[0]} said nothing about {ENGINE}")
    return output


class Engine(unittest.TestCase):
    def dynamic(self, tag):
        return re.findall(rf"\({tag}\)\s+(.*)", run("readelf", "-dW", ENGINE))

    def test_exports_exactly_its_entry_point(self):
        lines = run("nm", "-D", "--defined-only", ENGINE).splitlines()
        self.assertEqual([line.split()[-1] for line in lines], ["GetInterface"])

    def test_bears_the_name_of_its_file(self):
        self.assertEqual(ENGINE.name, "libqv_traceengine.dylib")
        self.assertEqual(self.dynamic("SONAME"), [f"Library soname: [{ENGINE.name}]"])

    def test_needs_nothing_but_the_system(self):
        needed = re.findall(r"\[(.*?)\]", " ".join(self.dynamic("NEEDED")))
        self.assertIn("libc.so.6", needed)
        self.assertLessEqual(set(needed), {"libc.so.6", "libstdc++.so.6", "libgcc_s.so.1",
                                           "libm.so.6"})

    def test_stays_in_memory_once_loaded(self):
        self.assertIn("NODELETE", " ".join(self.dynamic("FLAGS_1")))

    def test_is_bound_at_load_and_read_only_afterwards(self):
        self.assertIn("NOW", " ".join(self.dynamic("FLAGS_1")))
        self.assertIn("GNU_RELRO", run("readelf", "-lW", ENGINE))

    def test_has_no_executable_stack(self):
        stack = re.search(r"GNU_STACK.*", run("readelf", "-lW", ENGINE))
        self.assertIsNotNone(stack)
        self.assertRegex(stack.group(0), r"\sRW\s")

    def test_has_no_text_relocations(self):
        self.assertEqual(self.dynamic("TEXTREL"), [])
        self.assertNotEqual(self.dynamic("STRTAB"), [])

    def test_runs_no_static_initializer(self):
        symbols = run("nm", "--defined-only", ENGINE)
        self.assertIn("GetInterface", symbols)
        self.assertEqual(re.findall(r"_GLOBAL__sub_I_(\S+)", symbols), [])

    def test_names_no_path_of_the_machine_that_built_it(self):
        loaded = run("readelf", "-p", ".rodata", ENGINE)
        self.assertIn("QV_TRACE_OUTPUT", loaded)
        self.assertNotIn(str(pathlib.Path(__file__).resolve().parent.parent.parent), loaded)


if __name__ == "__main__":
    unittest.main()
