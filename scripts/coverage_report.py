"""Judges what llvm-cov shows of our sources: coverage_report.py SHOWN EXPECTED

Prints lines and branches by folder. Fails when they are too few, or when what no test runs is not
what the file EXPECTED lists: paragraphs of a reason and, indented, the places that it is true of.
"""

import collections
import dataclasses
import pathlib
import re
import sys

from reasons import read_listed

LEAST_LINES = 97.0
LEAST_BRANCHES = 90.0
ROOT = pathlib.Path(__file__).resolve().parent.parent


@dataclasses.dataclass
class Source:
    """One file: how often a line runs by its number, how often a condition holds and does not by
    its place."""
    text: list
    lines: dict = dataclasses.field(default_factory=dict)
    branches: dict = dataclasses.field(default_factory=dict)

    def condition(self, place):
        """The text from a place to where the condition that begins there ends."""
        line, column = place
        text = self.text[line - 1][column - 1:]
        depth = 0
        for end, char in enumerate(text):
            depth += (char in "([{") - (char in ")]}")
            if depth < 0 or depth == 0 and (char in ";?" or text[end:end + 4] in (" && ", " || ")):
                return text[:end].strip()
        return text.strip()

    def uncovered(self):
        """What no test runs, in words that outlive a change somewhere else in the file. A condition
        that is never reached follows from a line or another condition that is listed."""
        for number, count in sorted(self.lines.items()):
            if count == 0 and self.text[number - 1].strip() not in ("}", "};", "} // namespace"):
                yield f"never run: {self.text[number - 1].strip()}"
        for place, (held, failed) in sorted(self.branches.items()):
            if (held == 0) != (failed == 0):
                yield f"never {'true' if held == 0 else 'false'}: {self.condition(place)}"


def number(text):
    """A count as llvm-cov shortens it: 17, 1.2k, 3M."""
    scale = {"k": 1e3, "M": 1e6, "G": 1e9, "T": 1e12}
    return float(text[:-1]) * scale[text[-1]] if text[-1] in scale else float(text)


def read_shown(shown, texts):
    """The sources by name, from the output of llvm-cov show. A template's branches come once for
    each of its instances, and are added up."""
    sources = {}
    for line in shown.splitlines():
        if heading := re.fullmatch(r"(/\S+):", line):
            name = str(pathlib.Path(heading[1]).relative_to(ROOT))
            source = sources.setdefault(name, Source(texts(name)))
        elif counted := re.match(r" *(\d+)\| *([\d.]+[kMGT]?)\|", line):
            source.lines[int(counted[1])] = number(counted[2])
        elif branch := re.match(r" *\|  Branch \((\d+):(\d+)\): \[True: (\S+), False: (\S+)\]", line):
            place = int(branch[1]), int(branch[2])
            before = source.branches.get(place, (0, 0))
            source.branches[place] = before[0] + number(branch[3]), before[1] + number(branch[4])
    return sources


@dataclasses.dataclass
class Figures:
    lines: int = 0
    lines_run: int = 0
    branches: int = 0
    branches_taken: int = 0

    def add(self, source):
        self.lines += len(source.lines)
        self.lines_run += sum(count > 0 for count in source.lines.values())
        self.branches += 2 * len(source.branches)
        self.branches_taken += sum((held > 0) + (failed > 0) for held, failed in source.branches.values())

    def line_percent(self):
        return 100 * self.lines_run / self.lines if self.lines else 100.0

    def branch_percent(self):
        return 100 * self.branches_taken / self.branches if self.branches else 100.0

    def row(self, name):
        return (f"{name:<24}{self.lines_run:>6} of {self.lines:>6} lines {self.line_percent():6.2f} %"
                f"{self.branches_taken:>7} of {self.branches:>6} branches {self.branch_percent():6.2f} %")


def judge(sources, expected):
    """The table, and every objection."""
    folders = collections.defaultdict(Figures)
    everything = Figures()
    found = collections.Counter()
    for name, source in sources.items():
        folders[str(pathlib.PurePath(name).parent)].add(source)
        everything.add(source)
        found.update(f"{name}: {place}" for place in source.uncovered())
    table = [folders[name].row(name) for name in sorted(folders)] + [everything.row("in all")]

    mark = "sometimes: "
    always = collections.Counter({place: n for place, n in expected.items() if not place.startswith(mark)})
    ever = always + collections.Counter(
        {place.removeprefix(mark): n for place, n in expected.items() if place.startswith(mark)})
    objections = [f"not covered, and not listed: {place}" for place in sorted((found - ever).elements())]
    objections += [f"listed, but covered or gone: {place}" for place in sorted((always - found).elements())]
    if everything.lines == 0 or everything.branches == 0:
        objections.append("nothing was counted")
    if everything.line_percent() < LEAST_LINES:
        objections.append(f"fewer than {LEAST_LINES} % of the lines are run")
    if everything.branch_percent() < LEAST_BRANCHES:
        objections.append(f"fewer than {LEAST_BRANCHES} % of the branches are taken")
    return table, objections


def main(shown, expected):
    sources = read_shown(pathlib.Path(shown).read_text(errors="replace"),
                         lambda name: (ROOT / name).read_text().splitlines())
    table, objections = judge(sources, read_listed(pathlib.Path(expected).read_text()))
    print("\n".join(table))
    print("\n".join(objections), file=sys.stderr, end="\n" if objections else "")
    return 1 if objections else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
