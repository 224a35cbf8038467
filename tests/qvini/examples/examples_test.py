"""The programs and files in docs/ini-format.md do what it says.
usage: examples_test.py DOCUMENT COMPILER LIBRARY [Class.test]

An "ini in:NAME" block is a file that the next program finds, a "c" block a program, a "text" block
what it prints, and an "ini out:NAME" block a file that it leaves."""

import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

DOCUMENT = pathlib.Path(sys.argv.pop(1)).resolve()
COMPILER = sys.argv.pop(1)
LIBRARY = pathlib.Path(sys.argv.pop(1)).resolve()
ROOT = DOCUMENT.parent.parent


def examples():
    """The programs in their order, each with its files and its output."""
    found = []
    files = {}
    for kind, body in re.findall(r"^```(\S.*)\n((?:.*\n)*?)```$", DOCUMENT.read_text(), re.M):
        if kind.startswith("ini in:"):
            files[kind.removeprefix("ini in:")] = body
        elif kind == "c":
            found.append({"program": body, "in": files, "out": {}, "text": None})
            files = {}
        elif kind == "text":
            found[-1]["text"] = body
        elif kind.startswith("ini out:"):
            found[-1]["out"][kind.removeprefix("ini out:")] = body
        else:
            raise AssertionError(f"a block of an unknown kind: {kind}")
    return found


class Examples(unittest.TestCase):
    def test_programs_print_and_write_what_the_document_shows(self):
        ran = 0
        for example in examples():
            with self.subTest(program=example["program"]), tempfile.TemporaryDirectory() as name:
                directory = pathlib.Path(name)
                for file, body in example["in"].items():
                    (directory / file).write_text(body)
                source = directory / "example.c"
                source.write_text(example["program"])
                program = directory / "example"
                subprocess.run(
                    [COMPILER, "-std=c99", "-Wall", "-Wextra", "-Wpedantic", "-Werror",
                     f"-I{ROOT}", "-o", program, source, LIBRARY], check=True)
                done = subprocess.run([program], cwd=directory, check=True, timeout=60,
                                      capture_output=True, text=True)
                self.assertEqual(done.stdout, example["text"])
                for file, body in example["out"].items():
                    self.assertEqual((directory / file).read_text(), body)
                ran += 1
        self.assertGreaterEqual(ran, 3)


if __name__ == "__main__":
    unittest.main()
