"""What scripts/bench starts, each once: that it works and that the rows name what there is.

usage: benches_test.py ROOT TREE [Class.test]
"""

import pathlib
import sys
import unittest

ROOT, TREE = (pathlib.Path(sys.argv.pop(1)) for _ in range(2))
sys.dont_write_bytecode = True
sys.path[:0] = [str(ROOT / "scripts"), str(ROOT / "bench")]

import bench_process
import bench_programs
import bench_report
from rows import ROWS, File

PROCESSES = sorted({name for row in ROWS if not isinstance(row, File) and row.program == "process"
                    for name in bench_report.names(row)})


class Rows(unittest.TestCase):
    def test_name_every_benchmark_and_no_other(self):
        named = {}
        for row in ROWS:
            if not isinstance(row, File) and row.program != "process":
                named.setdefault(row.program, set()).update(bench_report.names(row))
        for program, names in named.items():
            self.assertEqual(bench_programs.registered(TREE, program), names)


class Programs(unittest.TestCase):
    def test_are_measured_in_turns(self):
        times = bench_programs.measure(TREE, "clock", ["TimeStamp", "TimeStamp/gettimeofday"], 0.001, 2)
        for name in ("TimeStamp", "TimeStamp/gettimeofday"):
            for clock in ("cpu_time", "real_time"):
                self.assertEqual([took > 0 for took in times[name][clock]], [True] * 2)

    def test_are_started_the_other_way_round_too(self):
        names = ["TimeStamp", "TimeStamp/gettimeofday"]
        for arguments, expected in (((), names), (("--reversed",), names[::-1])):
            listed = bench_programs.run(TREE, "clock", "--benchmark_list_tests", *arguments).stdout.split()
            self.assertEqual(listed, expected)

    def test_have_their_instructions_counted(self):
        counted = bench_programs.instructions(TREE, "lock", "CriticalSection/pthread", 1000)
        self.assertGreater(counted, 20)
        self.assertLess(counted, 2000)

    def test_have_their_memory_counted(self):
        counted = bench_programs.memory(TREE, "trace", ["TagMemory", "TagMemory/data"], 1)
        self.assertEqual([len(counted[name]) for name in counted], [1, 1])
        self.assertGreater(counted["TagMemory"][0], counted["TagMemory/data"][0])


class Processes(unittest.TestCase):
    def test_say_how_long_their_work_took(self):
        for name in PROCESSES:
            with self.subTest(name):
                self.assertGreater(bench_process.nanoseconds(TREE, name), 0)

    def test_make_the_same_key_from_the_same_random_numbers(self):
        ours, by_hand = (bench_process.run(TREE, name)[1] for name in ("create", "create/hand"))
        for key, certificate in (ours, by_hand):
            self.assertIn("BEGIN RSA PRIVATE KEY", key)
            self.assertIn("BEGIN CERTIFICATE", certificate)
        self.assertEqual(ours[0], by_hand[0])

    def test_have_their_instructions_counted(self):
        self.assertGreater(bench_process.instructions(TREE, "init/hand"), 1_000_000)


class Files(unittest.TestCase):
    def test_show_what_is_in_them(self):
        row, = (row for row in ROWS if isinstance(row, File))
        library, empty = (bench_programs.contents(TREE / name) for name in (row.ours, row.theirs))
        self.assertGreater(library[0], empty[0])
        for size, relocations, symbols in (library, empty):
            self.assertIn("R_X86_64_RELATIVE", relocations)
        self.assertIn(" T QVSSLINIT_Init", library[2])
        self.assertIn(" T Nothing", empty[2])


if __name__ == "__main__":
    unittest.main()
