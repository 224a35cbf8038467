"""Runs those commands of the pages that take minutes to hours: scripts/test --long, after everything else.

Fuzzers and benchmarks run for seconds, and a few of the changes of the sources are made; all else is as
it is written. What a command says is left in build/long. What it changes in the documents is put back.

usage: long_commands.py [Class[.test]]
"""

import contextlib
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

sys.dont_write_bytecode = True
from pages import BLOCKS, LONG, PAGES, SOURCES, split

sys.path.insert(0, str(SOURCES / "bench"))
from rows import ROWS

LOGS = SOURCES / "build" / "long"

SHORTER = {
    "scripts/fuzz": "scripts/fuzz all 2",
    "scripts/fuzz ini 3600": "scripts/fuzz ini 2",
    "scripts/mutate": "scripts/mutate --under kit/osdep/p",
    "scripts/bench": "scripts/bench --seconds 0.001 --repetitions 2",
    "scripts/bench --row 11": "scripts/bench --row 11 --seconds 0.001 --repetitions 2",
}
# In so short a time some ratio always misses what is wanted of it, which these tell by their status. They
# must have come to their last row, which is this.
JUDGES = {"scripts/bench": max(row.number for row in ROWS), "scripts/bench --row 11": 11}
# What writes into the documents.
WRITERS = ("scripts/bench", "scripts/pictures")
# What runs this.
CALLER = "scripts/test --long"
# What has been run when this is, or by every change that is accepted, and the script that says so.
RUN_BEFORE = {"scripts/test": ".ci/run", "scripts/bootstrap": "scripts/test", "scripts/demo": "scripts/test",
              "scripts/check": "scripts/test"}


def in_blocks():
    return [re.sub(" +#.*", "", line).removeprefix("./") for page, claims in BLOCKS.items()
            if isinstance(claims, list) for (_, body), (_, test) in zip(split(SOURCES / page)[1], claims)
            if test == LONG for line in body.splitlines()]


def in_the_text():
    spans = {span for page in PAGES for span in re.findall(r"`(?:\./)?(scripts/[^`]+)`",
                                                           "\n".join(split(page)[0]))}
    return sorted(span for span in spans if not span.endswith(".txt"))


@contextlib.contextmanager
def kept_documents():
    """Puts back what is written meanwhile, whoever writes it."""
    before = {path: path.read_bytes() for path in (SOURCES / "docs").rglob("*") if path.is_file()}
    try:
        yield
    finally:
        for path, contents in before.items():
            if path.read_bytes() != contents:
                path.write_bytes(contents)


def run(line, directory=SOURCES):
    """The status of a line for the shell, and what it said."""
    LOGS.mkdir(parents=True, exist_ok=True)
    log = LOGS / (re.sub(r"\W+", "-", line).strip("-")[:80] + ".log")
    begin = time.monotonic()
    with log.open("w") as output:
        done = subprocess.run(["bash", "-ec", line], cwd=directory, stdin=subprocess.DEVNULL, stdout=output,
                              stderr=subprocess.STDOUT, check=False)
    print(f"{done.returncode:3}  {time.monotonic() - begin:5.0f} s  {line}", flush=True)
    return done.returncode, log.read_text(errors="replace")


class LongCommands(unittest.TestCase):
    def expect_success(self, line, directory=SOURCES, said="^", statuses=(0,)):
        with self.subTest(line=line):
            status, output = run(line, directory)
            self.assertIn(status, statuses, output[-3000:])
            self.assertNotIn("Traceback", output)
            self.assertRegex(output, said)

    def judged(self, line):
        """What is expected of a line otherwise than of others."""
        return {"said": rf"(?m)^\| {JUDGES[line]} \|", "statuses": (0, 1)} if line in JUDGES else {}

    def expect_command(self, line):
        """Runs a line of a page, unless something has run it before."""
        if line in RUN_BEFORE:
            self.assertIn(f"./{line}", (SOURCES / RUN_BEFORE[line]).read_text())
        elif line != CALLER:
            with kept_documents() if line.split()[0] in WRITERS else contextlib.nullcontext():
                self.expect_success(SHORTER.get(line, line), **self.judged(line))

    def test_do_what_they_say(self):
        for line in dict.fromkeys(in_blocks() + in_the_text()):
            self.expect_command(line)

    def test_of_the_sweeps_run_what_their_lines_tell_of(self):
        page = (SOURCES / "docs" / "reliability.md").read_text()
        (command,) = re.findall(r"`(build/\S+ --gtest_filter=)FILTER`", page)
        names = re.findall(r"\| \d+ \| `(.*?)` \|$", page, re.M)
        self.assertTrue(names)
        for name in names:
            self.expect_success(f"{command}'{name}'", said=r"\[  PASSED  \] [1-9]")

    def test_of_the_fuzzers_take_one_input(self):
        page = (SOURCES / "docs" / "reliability.md").read_text()
        (command,) = re.findall(r"`(build/fuzz/bin/NAME_fuzzer FILE)`", page)
        self.expect_success("cmake --preset fuzz && cmake --build --preset fuzz --target fuzzers")
        input_file = LOGS / "input"
        input_file.write_bytes(b"[section]\nkey=value\n")
        sources = sorted((SOURCES / "fuzz").glob("*_fuzzer.cpp"))
        self.assertTrue(sources)
        for source in sources:
            line = command.replace("NAME", source.stem.removesuffix("_fuzzer")).replace("FILE", str(input_file))
            self.expect_success(line, said="Executed .*/input in ")

    def test_of_a_port_build_it_and_run_its_tests(self):
        with tempfile.TemporaryDirectory(prefix="qvsslinit-test-") as folder:
            copy = pathlib.Path(folder).resolve() / "sources"
            shutil.copytree(SOURCES, copy, ignore=shutil.ignore_patterns("build", ".git"))
            blocks = split(SOURCES / "docs" / "porting.md")[1]
            self.assertTrue(blocks)
            for _, body in blocks:
                for line in body.splitlines():
                    self.expect_success(line, copy)


if __name__ == "__main__":
    unittest.main()
