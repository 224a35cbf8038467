"""Programs of 32 and of 64 bits write the same files and read each other's."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

PROGRAMS = {32: pathlib.Path(sys.argv.pop(1)), 64: pathlib.Path(sys.argv.pop(1))}

# Where an ELF file says for which width it is.
ELF_CLASSES = {b"\x7fELF\x01": 32, b"\x7fELF\x02": 64}


def run(width, verb, directory):
    return subprocess.run([PROGRAMS[width], verb, directory], capture_output=True, text=True)


class WidthExchange(unittest.TestCase):
    def setUp(self):
        self.directories = {}
        for width in PROGRAMS:
            temporary = tempfile.TemporaryDirectory()
            self.addCleanup(temporary.cleanup)
            self.directories[width] = pathlib.Path(temporary.name)
            self.assert_succeeds(width, "write", self.directories[width])

    def assert_succeeds(self, width, verb, directory):
        result = run(width, verb, directory)
        said = result.stdout + result.stderr
        self.assertTrue(result.returncode == 0 and not said,
                        f"{verb} by the program of {width} bits: {result.returncode}\n{said}")

    def test_the_programs_have_the_widths_that_they_stand_for(self):
        for width, program in PROGRAMS.items():
            with open(program, "rb") as file:
                self.assertEqual(ELF_CLASSES.get(file.read(5)), width, program)

    def test_each_width_reads_what_it_wrote(self):
        for width, directory in self.directories.items():
            self.assert_succeeds(width, "read", directory)

    def test_64_bits_read_what_32_wrote(self):
        self.assert_succeeds(64, "read", self.directories[32])

    def test_32_bits_read_what_64_wrote(self):
        self.assert_succeeds(32, "read", self.directories[64])

    def test_both_widths_write_the_same_bytes(self):
        contents = {width: {path.name: path.read_bytes() for path in directory.iterdir()}
                    for width, directory in self.directories.items()}
        self.assertEqual(sorted(contents[32]), sorted(contents[64]))
        for name, narrow in contents[32].items():
            wide = contents[64][name]
            difference = next((place for place, (a, b) in enumerate(zip(narrow, wide)) if a != b),
                              min(len(narrow), len(wide)))
            self.assertTrue(narrow == wide, f"{name} differs from byte {difference} on")

    def test_a_file_that_is_cut_short_is_told_by_name(self):
        for width, directory in self.directories.items():
            names = sorted(path.name for path in directory.iterdir())
            for name in names:
                contents = (directory / name).read_bytes()
                (directory / name).write_bytes(contents[:len(contents) // 2])
            result = run(width, "read", directory)
            self.assertEqual(result.returncode, 1)
            told = sorted(line.split(":")[0] for line in result.stderr.splitlines())
            self.assertEqual(told, names)


if __name__ == "__main__":
    unittest.main()
