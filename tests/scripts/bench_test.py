"""What scripts/bench makes of what it measures, on figures made up here.

usage: bench_test.py ROOT [Class.test]
"""

import json
import re
import subprocess
import sys
import unittest

ROOT = sys.argv.pop(1)
sys.dont_write_bytecode = True
sys.path[:0] = [f"{ROOT}/scripts", f"{ROOT}/bench"]

import bench_process
import bench_programs
import bench_report
from rows import File, Growth, Memory, Ratio

RATIO = Ratio(1, "work", "program", "work", {"one": "work/one", "other": "work/other"}, 1.25)
GROWTH = Growth("`work`", "n", "program", "work", (10, 1000), number=2, most=1.1)
MEMORY = Memory(3, "work", "program", "work", "peer", "work/peer", 1.5)


def written(runs, **more):
    """What Google Benchmark writes for (name, processor times in nanoseconds)."""
    return json.dumps({"benchmarks": [
        {"name": name, "run_name": name, "run_type": "iteration", "cpu_time": time, "real_time": 2 * time,
         "time_unit": "ns"} | more for name, times in runs for time in times]})


def line_of(ours, *peers):
    names = ["work", "work/one", "work/other"]
    return bench_report.ratio_line(RATIO, bench_report.read_times(written(zip(names, [ours, *peers]))))


class Times(unittest.TestCase):
    def test_are_nanoseconds_whatever_their_unit(self):
        times = bench_report.read_times(written([("a", [1.5, 2])], time_unit="us"))
        self.assertEqual(times["a"], {"cpu_time": [1500, 2000], "real_time": [3000, 4000]})

    def test_are_found_under_the_name_that_was_given(self):
        self.assertEqual(list(bench_report.read_times(written([("a/1/real_time/threads:2", [1])]))), ["a/1"])

    def test_are_not_those_of_a_summary(self):
        self.assertFalse(bench_report.read_times(written([("a", [1])], run_type="aggregate")))

    def test_are_none_where_a_benchmark_failed(self):
        with self.assertRaises(ValueError):
            bench_report.read_times(written([("a", [1])], error_occurred=True, error_message="it failed"))

    def test_are_shown_with_three_digits(self):
        self.assertEqual([bench_report.time_text(time) for time in (1.234, 56.78, 1234, 999999, 5.678e6, 9e9)],
                         ["1.23 ns", "56.8 ns", "1.23 µs", "1 ms", "5.68 ms", "9 s"])


class RatioLine(unittest.TestCase):
    def test_compares_repetition_with_repetition(self):
        line = line_of([1, 20, 300], [1, 10, 100], [999] * 3)
        self.assertEqual(line.ratio, "2.00 (1.50 to 2.50)")

    def test_is_against_the_fastest_peer(self):
        self.assertEqual(line_of([3] * 3, [4] * 3, [2] * 3).peer, "other")

    def test_is_reached_up_to_the_limit_and_not_beyond(self):
        self.assertTrue(line_of([125] * 3, [100] * 3, [999] * 3).reached)
        self.assertFalse(line_of([126] * 3, [100] * 3, [999] * 3).reached)

    def test_may_ask_for_more_than_the_peer(self):
        row = Ratio(1, "work", "program", "work", {"one": "one"}, 1.8, clock="real_time", inverted=True)
        for ours, reached in ((55, True), (56, False)):
            times = bench_report.read_times(written([("work", [ours] * 2), ("one", [99] * 2)]))
            self.assertEqual(bench_report.ratio_line(row, times).reached, reached)

    def test_may_tell_what_a_peer_takes_and_want_nothing(self):
        row = Ratio(1, "work", "program", "work", {"one": "one"}, 0, inverted=True)
        times = bench_report.read_times(written([("work", [10] * 2), ("one", [1] * 2)]))
        line = bench_report.ratio_line(row, times)
        self.assertEqual((line.reached, line.wanted), (True, ""))

    def test_may_be_nanoseconds_more(self):
        row = Ratio(1, "work", "program", "work", {"one": "one"}, 5, difference=True)
        for ours, reached in ((15, True), (15.5, False)):
            times = bench_report.read_times(written([("work", [ours] * 2), ("one", [10] * 2)]))
            line = bench_report.ratio_line(row, times)
            self.assertEqual((line.reached, line.wanted), (reached, "at most 5 ns more"))
            self.assertTrue(line.ratio.startswith(f"{ours - 10:.2f} ns ("))

    def test_of_several_sizes_is_reached_if_it_is_for_each(self):
        row = Ratio(1, "work", "program", "work", {"one": "one", "other": "other"}, 1.5, sizes=(1, 20))
        for first, last, reached in ((1, 30, True), (2, 20, False), (1, 40, False)):
            times = bench_report.read_times(written([
                ("work/1", [first] * 2), ("work/20", [last] * 2), ("one/1", [1] * 2), ("one/20", [20] * 2),
                ("other/1", [0.5] * 2), ("other/20", [30] * 2)]))
            line = bench_report.ratio_line(row, times)
            self.assertEqual((line.peer, line.reached), ("one", reached))
            self.assertEqual(line.peers, "1 ns; 20 ns")
            self.assertEqual(line.ratio, "; ".join(f"{value:.2f} ({value:.2f} to {value:.2f})"
                                                   for value in (first, last / 20)))


class GrowthLine(unittest.TestCase):
    def growth(self, *times):
        runs = [("work/10", [times[0]] * 3), ("work/1000", [times[1]] * 3)]
        return bench_report.growth_line(GROWTH, bench_report.read_times(written(runs)))

    def test_is_the_exponent_of_the_growth(self):
        self.assertEqual(self.growth(1, 100).ratio, "1.00 (1.00 to 1.00)")
        self.assertEqual(self.growth(1, 10000).ratio, "2.00 (2.00 to 2.00)")

    def test_is_reached_up_to_the_limit_and_not_beyond(self):
        self.assertTrue(self.growth(1, 158).reached)
        self.assertFalse(self.growth(1, 160).reached)

    def test_may_show_what_grows_beside_it(self):
        row = Growth("work", "n", "program", "work", (10, 1000), number=2, most=1.1, peer="other", theirs="other")
        runs = [("work/10", [1] * 2), ("work/1000", [100] * 2), ("other/10", [2] * 2), ("other/1000", [2000] * 2)]
        line = bench_report.growth_line(row, bench_report.read_times(written(runs)))
        self.assertEqual((line.ours, line.peer, line.peers),
                         ("1 ns to 100 ns", "other", "2 ns to 2 µs, exponent 1.50"))
        self.assertTrue(line.reached)


class HowCostGrows(unittest.TestCase):
    def setUp(self):
        runs = [("work/10", [1, 2, 3]), ("work/1000", [50, 200, 400])]
        self.curve = bench_report.curve(GROWTH, "work", bench_report.read_times(written(runs)))

    def test_is_a_line_for_each_work(self):
        self.assertEqual(bench_report.growth_table([self.curve]).splitlines()[2],
                         "| `work` | n | 2 ns | 200 ns | 1.00 |")

    def test_is_drawn_through_the_medians(self):
        self.assertIn("$curve0 << END\n10 2.0\n1000 200.0\nEND\n", bench_report.plot([self.curve], "file"))

    def test_is_drawn_as_a_curve_for_each_work(self):
        lines = bench_report.plot([self.curve] * 2, "file").splitlines()
        self.assertIn("set output 'file'", lines)
        self.assertIn("set logscale xy", lines)
        self.assertEqual([line.split(" linewidth")[0] for line in lines[-2:]],
                         [f"{begin}$curve{number} with linespoints title 'work'"
                          for number, begin in enumerate(("plot ", "     "))])


class FileLines(unittest.TestCase):
    FILE = File(4, "ours", "theirs", 100)
    RELOCATIONS = """Relocation section '.rela.dyn' at offset 0x1 contains 3 entries:
    Offset             Info             Type               Symbol's Value  Symbol's Name + Addend
0000000000003df8  0000000000000008 R_X86_64_RELATIVE                         1100
0000000000003e00  0000000000000008 R_X86_64_RELATIVE                         10c0
0000000000003fd8  0000000100000006 R_X86_64_GLOB_DAT      0000000000000000 f + 0
"""
    SYMBOLS = "001 t _GLOBAL__sub_I_b.cpp\n002 t _GLOBAL__sub_I_a.cpp.cold\n003 t _GLOBAL__sub_I_a.cpp\n004 T f\n"

    def lines(self, size):
        return bench_report.file_lines(self.FILE, (size, self.RELOCATIONS, self.SYMBOLS), (20000, "", ""))

    def test_count_the_bytes(self):
        for size, reached in ((100, True), (101, False)):
            line = self.lines(size)[0]
            self.assertEqual((line.ours, line.peers, line.wanted, line.reached),
                             (f"{size} bytes", "20,000 bytes", "at most 100 bytes", reached))

    def test_count_the_relocations_of_each_kind(self):
        line = self.lines(1)[1]
        self.assertEqual((line.ours, line.peers), ("1 `R_X86_64_GLOB_DAT`, 2 `R_X86_64_RELATIVE`", "none"))

    def test_name_the_initializers(self):
        line = self.lines(1)[2]
        self.assertEqual((line.ours, line.peers), ("`a.cpp`, `b.cpp`", "none"))


class Processes(unittest.TestCase):
    SHOWN = """1,234,567 (100.0%)  PROGRAM TOTALS

1,234,567 (100.0%)  ???:MeasuredInit [bin/bench_host]
  234,500 (19.0%)  ???:RSA_generate_key [lib/libeay32.dylib]
   34,500 ( 2.8%)  ???:RSA_generate_key_ex [libcrypto.so.3]
"""

    def test_are_counted_without_what_finds_a_key(self):
        self.assertEqual(bench_process.without_keys(self.SHOWN), 1000067)

    def test_are_counted_whole_where_there_is_no_key(self):
        self.assertEqual(bench_process.without_keys("  17 (100.0%)  PROGRAM TOTALS\n"), 17)

    def test_show_instructions_as_such(self):
        row = Ratio(1, "work", "process", "work", {"one": "one"}, 1.05, clock="instructions")
        times = {"work": {"instructions": [2e6] * 2}, "one": {"instructions": [1.5e6] * 2}}
        self.assertEqual(bench_report.ratio_line(row, times).peers, "1.5 million instructions")


class MemoryLine(unittest.TestCase):
    def line(self, ours, theirs, row=MEMORY):
        return bench_report.memory_line(row, {"work": ours, "work/peer": theirs})

    def test_compares_what_two_processes_counted(self):
        line = self.line([100, 150.2, 300], [100, 99.9, 100])
        self.assertEqual((line.ours, line.peers, line.ratio), ("150 bytes", "100 bytes", "1.50 (1.25 to 2.25)"))

    def test_takes_the_bytes_that_a_benchmark_counted(self):
        self.assertEqual(bench_report.read_bytes(written([("a", [1])], bytes=150.2)), 150.2)

    def test_is_reached_up_to_the_limit_and_not_beyond(self):
        self.assertTrue(self.line([150] * 3, [100] * 3).reached)
        self.assertFalse(self.line([151] * 3, [100] * 3).reached)

    def test_may_have_no_limit(self):
        line = self.line([900] * 3, [1] * 3, Memory(3, "work", "program", "work", "peer", "work/peer"))
        self.assertEqual((line.wanted, line.reached), ("", True))


class Refusals(unittest.TestCase):
    """Before anything is built or measured."""

    def refusal(self, *arguments):
        done = subprocess.run([f"{ROOT}/scripts/bench", *arguments], check=False, capture_output=True,
                              text=True, timeout=20)
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        return done.stderr.splitlines()[-1]

    def test_of_rows_that_there_are_not_name_them(self):
        self.assertEqual(self.refusal("--row", "11", "--row", "99"), "bench: error: there is no row 99")

    def test_of_a_single_repetition_say_why(self):
        self.assertEqual(self.refusal("--repetitions", "1"),
                         "bench: error: the spread of a ratio takes two repetitions")


class Names(unittest.TestCase):
    def test_are_ours_and_those_of_all_peers_in_all_sizes(self):
        row = Ratio(1, "work", "program", "work", {"one": "work/one"}, 1, sizes=(1, 20))
        self.assertEqual(bench_report.names(row), ["work/1", "work/20", "work/one/1", "work/one/20"])
        self.assertEqual(bench_report.names(RATIO), ["work", "work/one", "work/other"])
        self.assertEqual(bench_report.names(GROWTH), ["work/10", "work/1000"])
        self.assertEqual(bench_report.names(MEMORY), ["work", "work/peer"])


class Turns(unittest.TestCase):
    def test_go_there_and_back_again(self):
        self.assertEqual(list(bench_programs.in_turns(["a", "b", "c"], 3)),
                         [["a", "b", "c"], ["c", "b", "a"], ["a", "b", "c"]])

    def test_pick_the_named_benchmarks_and_no_others(self):
        pattern = bench_programs.only(["a", "b/1"]).removeprefix("--benchmark_filter=")
        for name, picked in (("a", True), ("a/real_time/threads:2", True), ("a/iterations:5", True), ("b/1", True),
                             ("aa", False), ("a/1", False), ("b/10", False)):
            self.assertEqual(re.search(pattern, name) is not None, picked, name)


class Page(unittest.TestCase):
    def test_shows_what_is_not_reached_in_bold(self):
        table = bench_report.table([line_of([2] * 3, [1] * 3, [9] * 3)])
        self.assertIn("| 2.00 (2.00 to 2.00) | **at most 1.25** |", table)

    def test_changes_between_the_marks_only(self):
        self.assertEqual(bench_report.replace_between("a\n<b>\nold\n<e>\nc\n", "<b>", "<e>", "new\n"),
                         "a\n<b>\nnew\n<e>\nc\n")


if __name__ == "__main__":
    unittest.main()
