"""The built trace engine, looked at from outside: usage: engine_test.py ENGINE [TestCase.test]."""

import pathlib
import re
import sys
import unittest

import tool

ENGINE = pathlib.Path(sys.argv.pop(1))


class Engine(unittest.TestCase):
    def test_bears_the_name_of_its_file(self):
        self.assertEqual(ENGINE.name, "libqv_traceengine.dylib")
        self.assertEqual(tool.dynamic(ENGINE, "SONAME"), [f"Library soname: [{ENGINE.name}]"])

    def test_needs_nothing_but_the_system(self):
        needed = re.findall(r"\[(.*?)\]", " ".join(tool.dynamic(ENGINE, "NEEDED")))
        self.assertIn("libc.so.6", needed)
        self.assertLessEqual(set(needed), {"libc.so.6", "libstdc++.so.6", "libgcc_s.so.1",
                                           "libm.so.6"})

    def test_stays_in_memory_once_loaded(self):
        self.assertIn("NODELETE", " ".join(tool.dynamic(ENGINE, "FLAGS_1")))

    def test_runs_no_static_initializer(self):
        symbols = tool.output("nm", "--defined-only", ENGINE)
        self.assertIn("GetInterface", symbols)
        self.assertEqual(re.findall(r"_GLOBAL__sub_I_(\S+)", symbols), [])

    def test_names_no_path_of_the_machine_that_built_it(self):
        loaded = tool.output("readelf", "-p", ".rodata", ENGINE)
        self.assertIn("QV_TRACE_OUTPUT", loaded)
        self.assertNotIn(str(pathlib.Path(__file__).resolve().parent.parent.parent), loaded)


if __name__ == "__main__":
    unittest.main()
