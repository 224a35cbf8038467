"""What stands in the way of an attacker in each file that is shipped, looked at from outside.

Usage: hardening_test.py COMPILE_COMMANDS FILE... -- [TestCase.test]
"""

import json
import pathlib
import platform
import re
import subprocess
import sys
import unittest

import tool

END = sys.argv.index("--")
COMMANDS = json.loads(pathlib.Path(sys.argv[1]).read_text())
FILES = [pathlib.Path(name) for name in sys.argv[2:END]]
del sys.argv[1:END + 1]

# Too small to hold a buffer that could run over.
ADAPTERS = {"libeay32.dylib", "libssleay32.dylib"}

# By one of these, somebody else calls each file.
ENTRIES = ["QVSSLINIT_Init", "GetInterface", "CRYPTO_set_locking_callback", "SSL_library_init",
           "main"]


def segments(file):
    """Type and flags of each program header, as in ("LOAD", "RE")."""
    rows = re.findall(r"^  ([A-Z_]+) +(?:0x[0-9a-f]+ +){5}([RWE ]{3}) ",
                      tool.output("readelf", "-lW", file), re.MULTILINE)
    return [(kind, flags.replace(" ", "")) for kind, flags in rows]


class Hardening(unittest.TestCase):
    def files(self, without=()):
        files = [file for file in FILES if file.name not in without]
        self.assertGreaterEqual(len(files), 3)
        return files

    def test_is_bound_at_load_and_read_only_afterwards(self):
        for file in self.files():
            with self.subTest(file=file.name):
                self.assertIn("NOW", " ".join(tool.dynamic(file, "FLAGS_1")))
                self.assertIn(("GNU_RELRO", "R"), segments(file))

    def test_has_no_executable_stack(self):
        for file in self.files():
            with self.subTest(file=file.name):
                self.assertIn(("GNU_STACK", "RW"), segments(file))

    def test_has_no_memory_that_is_written_and_executed(self):
        for file in self.files():
            with self.subTest(file=file.name):
                loaded = [flags for kind, flags in segments(file) if kind == "LOAD"]
                self.assertEqual(loaded, ["R", "RE", "R", "RW"])

    def test_lies_at_an_address_of_chance(self):
        for file in self.files():
            with self.subTest(file=file.name):
                self.assertRegex(tool.output("readelf", "-hW", file), r"Type: +DYN ")

    def test_has_no_text_relocations(self):
        for file in self.files():
            with self.subTest(file=file.name):
                self.assertEqual(tool.dynamic(file, "TEXTREL"), [])
                self.assertNotEqual(tool.dynamic(file, "STRTAB"), [])

    def test_notices_an_overrun_of_the_stack(self):
        for file in self.files(without=ADAPTERS):
            with self.subTest(file=file.name):
                self.assertIn("__stack_chk_fail", tool.output("nm", "-D", "--undefined-only", file))

    def test_checks_the_room_of_what_it_calls(self):
        for file in self.files(without=ADAPTERS):
            with self.subTest(file=file.name):
                self.assertRegex(tool.output("nm", "-D", "--undefined-only", file),
                                 r"__(?!stack)\w+_chk\b")

    @unittest.skipUnless(platform.machine() == "x86_64", "marks are those of this processor")
    def test_marks_where_calls_may_arrive(self):
        for file in self.files():
            with self.subTest(file=file.name):
                code = tool.output("objdump", "-d", "--no-show-raw-insn", "-j", ".text", file)
                begins = dict(re.findall(r"^[0-9a-f]+ <(\w+)>:\n +[0-9a-f]+:\s+(\w+)", code,
                                         re.MULTILINE))
                entry = next(name for name in ENTRIES if name in begins)
                self.assertEqual(begins[entry], "endbr64", entry)


class Compilation(unittest.TestCase):
    ROOT = pathlib.Path(__file__).resolve().parents[2]
    FOLDERS = {"source", "kit", "qvini", "engine", "adapters", "tools"}

    def commands(self):
        """Those of what is shipped; the tests compile some of the same sources for themselves."""
        found = [command for command in COMMANDS
                 if any(pathlib.Path(command["file"]).resolve().is_relative_to(self.ROOT / folder)
                        for folder in self.FOLDERS) and " -o tests/" not in command["command"]]
        self.assertGreater(len(found), 100)
        return found

    def test_asks_for_every_protection_in_every_source(self):
        flags = ["-fstack-protector-strong", "-fstack-clash-protection", "-D_FORTIFY_SOURCE=3"]
        if platform.machine() == "x86_64":
            flags.append("-fcf-protection=full")
        for command in self.commands():
            with self.subTest(file=command["file"]):
                self.assertEqual([flag for flag in flags if flag not in command["command"].split()], [])


class Tool(unittest.TestCase):
    def test_that_fails_is_a_failure(self):
        with self.assertRaises(subprocess.CalledProcessError):
            tool.output("readelf", "-h", "/nonexistent")

    def test_that_says_nothing_is_a_failure(self):
        with self.assertRaises(RuntimeError):
            tool.output("true", FILES[0])

    def test_that_is_missing_is_a_failure(self):
        with self.assertRaises(FileNotFoundError):
            tool.output("no-such-tool", FILES[0])


if __name__ == "__main__":
    unittest.main()
