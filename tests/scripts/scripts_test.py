"""What scripts/coverage and scripts/mutate make of what they measure, on figures made up here; what
scripts/check has the lint read; and which arguments scripts refuse.

usage: scripts_test.py SCRIPTS [Class.test]
"""

import contextlib
import importlib.machinery
import importlib.util
import io
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPTS = sys.argv.pop(1)
sys.dont_write_bytecode = True
sys.path.insert(0, SCRIPTS)

import coverage_report
import mutants
from reasons import read_listed

LOADER = importlib.machinery.SourceFileLoader("mutate", f"{SCRIPTS}/mutate")
mutate = importlib.util.module_from_spec(importlib.util.spec_from_loader("mutate", LOADER))
LOADER.exec_module(mutate)

TEXT = """int choose(int a, int b) {
  if (a > 0 && done(b)) {
    return (a > b) ? 1 : 2;
  }
  return a;
}
""".splitlines()

# Two instances of a template: together they take each way of the first condition.
SHOWN = f"""{coverage_report.ROOT}/kit/choose.h:
    1|  1.20k|int choose(int a, int b) {{
    2|  1.20k|  if (a > 0 && done(b)) {{
  ------------------
  |  Branch (2:7): [True: 0, False: 7]
  |  Branch (2:16): [True: 0, False: 0]
  ------------------
  |  Branch (2:7): [True: 1.1k, False: 0]
  |  Branch (2:16): [True: 0, False: 1.1k]
  ------------------
    3|      0|    return (a > b) ? 1 : 2;
  ------------------
  |  Branch (3:12): [True: 0, False: 0]
  ------------------
    4|      0|  }}
    5|  1.20k|  return a;
    6|  1.20k|}}
  ------------------
  |  Branch (6:1): [Folded - Ignored]
  ------------------
    7|       |
"""
UNCOVERED = ["kit/choose.h: never run: return (a > b) ? 1 : 2;", "kit/choose.h: never true: done(b)"]


def shown_sources():
    return coverage_report.read_shown(SHOWN, lambda name: TEXT)


def source(lines, branches):
    return coverage_report.Source(["f();"] * len(lines), dict(enumerate(lines, 1)),
                                  {(1, column): counts for column, counts in enumerate(branches, 1)})


def listed(*places):
    return read_listed("\n".join(["It has a reason.", *(f"  {place}" for place in places)]))


class Coverage(unittest.TestCase):
    def test_counts_lines_and_adds_up_the_branches_of_a_templates_instances(self):
        figures = coverage_report.Figures()
        figures.add(shown_sources()["kit/choose.h"])
        self.assertEqual((figures.lines, figures.lines_run), (6, 4))
        self.assertEqual((figures.branches, figures.branches_taken), (6, 3))

    def test_names_what_is_not_run_and_conditions_that_go_one_way_alone(self):
        _, objections = coverage_report.judge(shown_sources(), listed())
        for place in UNCOVERED:
            self.assertIn(f"not covered, and not listed: {place}", objections)
        self.assertEqual(sum("not listed" in objection for objection in objections), len(UNCOVERED))

    def test_has_no_objection_to_what_is_listed(self):
        _, objections = coverage_report.judge(shown_sources(), listed(*UNCOVERED))
        self.assertFalse([objection for objection in objections if "listed" in objection])

    def test_objects_to_what_is_listed_more_often_than_it_is_uncovered(self):
        _, objections = coverage_report.judge(shown_sources(), listed(*UNCOVERED, UNCOVERED[0]))
        self.assertIn(f"listed, but covered or gone: {UNCOVERED[0]}", objections)

    def test_accepts_either_where_that_depends_on_the_run(self):
        sometimes = [f"sometimes: {place}" for place in [UNCOVERED[0], "kit/choose.h: never run: return a;"]]
        _, objections = coverage_report.judge(shown_sources(), listed(*sometimes, UNCOVERED[1]))
        self.assertFalse([objection for objection in objections if "listed" in objection])

    def test_accepts_the_least_of_lines_and_branches_and_nothing_below(self):
        def limits(lines, branches):
            _, objections = coverage_report.judge(
                {"kit/a.cpp": source([1] * lines + [0] * (100 - lines),
                                     [(1, 1)] * branches + [(0, 0)] * (100 - branches))}, listed())
            return [objection for objection in objections if "fewer than" in objection]

        self.assertEqual(limits(97, 90), [])
        self.assertEqual(len(limits(96, 90)), 1)
        self.assertEqual(len(limits(97, 89)), 1)

    def test_objects_when_nothing_was_counted(self):
        self.assertIn("nothing was counted", coverage_report.judge({}, listed())[1])

    def test_takes_no_list_without_a_reason(self):
        with self.assertRaises(SystemExit):
            read_listed("It has a reason.\n  kit/a.cpp: never run: f();\n\n  kit/b.cpp: never run: g();\n")


CODE = """#include <vector>
// if (a < b) f();
static const char* text = "a < b && 7";
template <typename T, int kSize = 3>
int f(const std::vector<int>& all, char* p) {
  if (all.size() <= 4 && p != nullptr) g(all);
  total += 'x';
  return true;
}
"""


class Mutation(unittest.TestCase):
    def changed_lines(self):
        for mutant in mutants.mutants_of("kit/f.cpp", CODE):
            before, after = CODE.splitlines(), mutant.apply(CODE).splitlines()
            self.assertEqual(len(before), len(after))
            changed = [(old, new) for old, new in zip(before, after) if old != new]
            self.assertEqual(len(changed), 1)
            yield mutant.kind, changed[0][1].strip()

    def test_changes_operators_constants_conditions_and_statements_one_at_a_time(self):
        self.assertCountEqual(list(self.changed_lines()), [
            ("comparison", "if (all.size() < 4 && p != nullptr) g(all);"),
            ("comparison", "if (all.size() <= 4 && p == nullptr) g(all);"),
            ("logic", "if (all.size() <= 4 || p != nullptr) g(all);"),
            ("constant", "if (all.size() <= 5 && p != nullptr) g(all);"),
            ("constant", "if (all.size() <= 3 && p != nullptr) g(all);"),
            ("condition", "if (!(all.size() <= 4 && p != nullptr)) g(all);"),
            ("statement", "if (all.size() <= 4 && p != nullptr) ;"),
            ("arithmetic", "total -= 'x';"),
            ("statement", ";"),
            ("constant", "return false;")])

    def test_gives_each_change_a_name_of_its_own_that_outlives_other_lines(self):
        twice = "  ++a;\n  ++a;\n"
        names = [mutant.name for mutant in mutants.mutants_of("a.c", twice)]
        self.assertEqual(len(names), 4)
        self.assertEqual(len(set(names)), 4)
        self.assertEqual(names, [mutant.name for mutant in mutants.mutants_of("a.c", "// new\n" + twice)])

    def test_takes_from_each_file_its_share_and_the_same_each_time(self):
        sources = {"a.c": "  ++a;\n" * 50, "b.c": "  ++a;\n" * 150}
        chosen = mutants.sample(sources, 40, 1)
        self.assertEqual(sum(mutant.path == "a.c" for mutant in chosen), 10)
        self.assertEqual(sum(mutant.path == "b.c" for mutant in chosen), 30)
        self.assertEqual(chosen, mutants.sample(sources, 40, 1))
        self.assertNotEqual(chosen, mutants.sample(sources, 40, 2))

    def objections(self, noticed, unnoticed=0, untried=0, excused=()):
        chosen = list(mutants.mutants_of("a.c", "  ++a;\n" * 100))[:noticed + unnoticed + untried]
        ends = ["noticed"] * noticed + ["unnoticed"] * unnoticed
        results = {mutant.name: {"end": end} for mutant, end in zip(chosen, ends)}
        excused = listed(*(chosen[place].name for place in excused))
        with contextlib.redirect_stdout(io.StringIO()):
            return mutate.report(chosen, results, excused)

    def test_is_content_when_every_change_is_noticed_or_excused(self):
        self.assertEqual(self.objections(noticed=10), [])
        self.assertEqual(self.objections(noticed=9, unnoticed=1, excused=[9]), [])

    def test_objects_to_what_is_not_noticed_not_tried_or_excused_for_nothing(self):
        self.assertEqual(len(self.objections(noticed=99, unnoticed=1)), 1)
        self.assertEqual(len(self.objections(noticed=99, untried=1)), 1)
        self.assertEqual(len(self.objections(noticed=10, excused=[3])), 1)

    def test_objects_when_fewer_than_ninety_of_a_hundred_are_noticed(self):
        def too_few(noticed, unnoticed):
            return any("fewer than" in objection for objection in self.objections(noticed, unnoticed))

        self.assertFalse(too_few(90, 10))
        self.assertTrue(too_few(89, 11))

    def test_objects_when_nothing_was_tried(self):
        self.assertNotEqual(self.objections(noticed=0), [])


class Lint(unittest.TestCase):
    """In a tree that compiles a batch of two sources, one beside a test, and one by itself."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="qvsslinit-test-")
        self.addCleanup(folder.cleanup)
        self.home = pathlib.Path(folder.name).resolve()
        for name, text in {".clang-tidy": "", "tools/.clang-tidy": "", "kit/a.cpp": "", "kit/b.cpp": "",
                           "kit/c.cpp": "", "kit/c_test.cpp": "", "tools/d.cpp": " "}.items():
            self.write(name, text)
        self.batches = [self.batch(0, "kit/a.cpp", "kit/b.cpp"), self.batch(1, "kit/c.cpp", "kit/c_test.cpp")]
        self.compile(*self.batches, self.home / "tools/d.cpp")

    def write(self, name, text):
        path = self.home / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
        return path

    def batch(self, number, *names):
        lines = [f'#include "{self.home / name}"\n' for name in names]
        return self.write(f"build/unity_{number}_cxx.cxx", "".join(lines))

    def compile(self, *units):
        self.write("build/compile_commands.json", json.dumps([{"file": str(unit)} for unit in units]))

    def read(self, *names):
        """The status, what clang-tidy is given, and what is said to be missing."""
        done = subprocess.run([sys.executable, f"{SCRIPTS}/lint_units.py", self.home / "build",
                               *(self.home / name for name in names)], check=False, capture_output=True,
                              text=True)
        arguments = done.stdout.split("\0")
        self.assertEqual(arguments.pop(), "")
        return done.returncode, list(zip(arguments[::2], arguments[1::2], strict=True)), done.stderr

    def test_reads_a_batch_once_and_a_source_by_itself_with_the_settings_of_its_folder(self):
        self.assertEqual(self.read("kit/a.cpp", "kit/b.cpp", "tools/d.cpp"), (0, [
            (f"--config-file={self.home}/tools/.clang-tidy", f"{self.home}/tools/d.cpp"),
            (f"--config-file={self.home}/.clang-tidy", f"{self.batches[0]}")], ""))

    def test_reads_no_batch_with_something_else_in_it_and_objects(self):
        self.assertEqual(self.read("kit/c.cpp"), (1, [], f"not read: {self.home}/kit/c.cpp\n"))

    def test_objects_to_a_source_that_is_not_compiled(self):
        self.write("kit/e.cpp", "")
        self.assertEqual(self.read("kit/e.cpp"), (1, [], f"not read: {self.home}/kit/e.cpp\n"))

    def test_reads_no_source_by_itself_that_it_has_read_in_a_batch(self):
        self.compile(self.home / "kit/a.cpp", self.batches[0], self.home / "kit/b.cpp")
        self.assertEqual(self.read("kit/a.cpp", "kit/b.cpp")[1], [
            (f"--config-file={self.home}/.clang-tidy", f"{self.home}/kit/a.cpp"),
            (f"--config-file={self.home}/.clang-tidy", f"{self.batches[0]}")])


class Arguments(unittest.TestCase):
    def test_that_a_script_does_not_know_are_refused_before_anything_is_done(self):
        for script in ("check", "demo", "test"):
            with self.subTest(script=script):
                done = subprocess.run([f"{SCRIPTS}/{script}", "--help"], check=False, capture_output=True,
                                      text=True, timeout=20)
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertTrue(done.stderr.startswith(f"usage: scripts/{script}"), done.stderr)

    def test_that_take_root_are_refused_to_others_before_anything_is_done(self):
        with tempfile.TemporaryDirectory(prefix="qvsslinit-test-") as folder:
            somebody = pathlib.Path(folder, "id")
            somebody.write_text("#!/bin/sh\necho 1000\n")
            somebody.chmod(0o755)
            done = subprocess.run([f"{SCRIPTS}/test", "--long"], check=False, capture_output=True, text=True,
                                  timeout=20, env=os.environ | {"PATH": f"{folder}:{os.environ['PATH']}"})
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertTrue(done.stderr.startswith("scripts/test --long needs root"), done.stderr)


if __name__ == "__main__":
    unittest.main()
