"""Measures with the programs of benchmarks of a build tree, and looks at what else lies in it."""

import collections
import pathlib
import re
import subprocess
import tempfile

import bench_report


def in_turns(names, repetitions):
    """Names, as often as that: there and back again, so that none always comes after the same other."""
    for turn in range(repetitions):
        yield list(names) if turn % 2 == 0 else list(reversed(names))


def only(names):
    """The argument that picks benchmarks; what Google Benchmark appends to a name stays open."""
    appended = "(/iterations:[0-9]+)?(/real_time)?(/threads:[0-9]+)?"
    return f"--benchmark_filter=^({'|'.join(map(re.escape, names))}){appended}$"


def run(tree, program, *arguments, prefix=()):
    return subprocess.run([*prefix, tree / "bin" / f"{program}_bench", *arguments], check=True,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)


def registered(tree, program):
    """The names of all benchmarks of a program."""
    return set(map(bench_report.given_name, run(tree, program, "--benchmark_list_tests").stdout.split()))


def measure(tree, program, names, seconds, repetitions):
    """Each turn is a process in which each of the benchmarks runs once, in the order in which they are
    registered or in that reversed: {name: {clock: [...]}}."""
    times = collections.defaultdict(lambda: collections.defaultdict(list))
    for turn in range(repetitions):
        written = run(tree, program, only(names), *["--reversed"] * (turn % 2), f"--benchmark_min_time={seconds}",
                      "--benchmark_format=json").stdout
        for name, clocks in bench_report.read_times(written).items():
            for clock, took in clocks.items():
                times[name][clock] += took
    return times


def instructions(tree, program, name, rounds):
    """Of one round: those of many rounds, less those of half as many, shared out."""
    def counted(iterations):
        shown = run(tree, program, only([name]), f"--iterations={iterations}",
                    prefix=["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"]).stderr
        return int(re.search(r"Collected : (\d+)", shown)[1])

    return (counted(2 * rounds) - counted(rounds)) / rounds


def memory(tree, program, names, repetitions):
    """Each time in a process of its own, whose memory nobody has used and freed before: {name: [...]}."""
    counted = {name: [] for name in names}
    for turn in in_turns(names, repetitions):
        for name in turn:
            shown = run(tree, program, only([name]), "--iterations=1", "--benchmark_format=json").stdout
            counted[name].append(bench_report.read_bytes(shown))
    return counted


def contents(file):
    """The size of a file without symbols, what readelf -r shows of it, and what nm shows."""
    def shown(*tool):
        return subprocess.run([*tool, file], check=True, stdout=subprocess.PIPE, text=True).stdout

    with tempfile.TemporaryDirectory() as folder:
        stripped = pathlib.Path(folder) / "stripped"
        subprocess.run(["strip", "-o", stripped, file], check=True)
        return stripped.stat().st_size, shown("readelf", "-rW"), shown("nm")
