"""What scripts/bench makes of the figures that the programs of benchmarks write."""

import collections
import dataclasses
import json
import math
import re
import statistics


def read_times(text):
    """By benchmark, the nanoseconds that a round took in each repetition: {name: {clock: [...]}}."""
    scales = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
    times = collections.defaultdict(lambda: collections.defaultdict(list))
    for run in json.loads(text)["benchmarks"]:
        if run.get("error_occurred"):
            raise ValueError(f"{run['name']}: {run['error_message']}")
        if run["run_type"] != "iteration":
            continue
        name = re.sub(r"(/real_time)?(/threads:\d+)?$", "", run["run_name"])
        for clock in ("cpu_time", "real_time"):
            times[name][clock].append(run[clock] * scales[run["time_unit"]])
    return times


@dataclasses.dataclass(frozen=True)
class Spread:
    """A median, and between what half of all values lie."""
    median: float
    low: float
    high: float

    @staticmethod
    def of(values):
        low, median, high = statistics.quantiles(values, n=4, method="inclusive")
        return Spread(median, low, high)


@dataclasses.dataclass(frozen=True)
class Line:
    """A line of the table."""
    number: int
    work: str
    ours: str
    peer: str
    peers: str
    ratio: str
    wanted: str
    reached: bool
    instructions: str = ""


def time_text(nanoseconds):
    for unit, scale in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= scale:
            return f"{nanoseconds / scale:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def instructions_text(count):
    return f"{count / 1e6:.3g} million instructions"


def sized(row, name):
    """The benchmarks that bear a name of a row: one for each size, if it has any."""
    return [f"{name}/{size}" for size in row.sizes] or [name]


def fastest_peer(row, times):
    return min(row.peers, key=lambda peer: sum(statistics.median(times[name][row.clock])
                                               for name in sized(row, row.peers[peer])))


def compare(row, ours, theirs):
    """Repetitions are compared one by one, for what disturbs the machine disturbs both."""
    pairs = zip(ours, theirs)
    if row.difference:
        return Spread.of([one - other for one, other in pairs])
    return Spread.of([other / one if row.inverted else one / other for one, other in pairs])


def ratio_line(row, times, instructions=""):
    def values(name):
        return [times[each][row.clock] for each in sized(row, name)]

    def medians(lists):
        text = instructions_text if row.clock == "instructions" else time_text
        return "; ".join(text(statistics.median(each)) for each in lists)

    peer = fastest_peer(row, times)
    ours, theirs = values(row.ours), values(row.peers[peer])
    spreads = [compare(row, *each) for each in zip(ours, theirs)]
    reached = all(each.median >= row.most if row.inverted else each.median <= row.most for each in spreads)
    unit = " ns more" if row.difference else ""
    return Line(row.number, row.work, medians(ours), peer, medians(theirs),
                "; ".join(f"{each.median:.2f} ({each.low:.2f} to {each.high:.2f})" for each in spreads),
                f"{'at least' if row.inverted else 'at most'} {row.most:g}{unit}", reached, instructions)


def exponent(sizes, times):
    """Of the line that fits best through what the sizes took, both as logarithms."""
    return statistics.linear_regression(list(map(math.log, sizes)), list(map(math.log, times))).slope


def growth_line(row, times):
    by_size = [times[f"{row.ours}/{size}"]["cpu_time"] for size in row.sizes]
    spread = Spread.of([exponent(row.sizes, repetition) for repetition in zip(*by_size)])
    shown = [time_text(statistics.median(values)) for values in by_size]
    return Line(row.number, row.work, f"{shown[0]} to {shown[-1]}", "itself",
                f"{row.sizes[0]:,} to {row.sizes[-1]:,}",
                f"{spread.median:.2f} ({spread.low:.2f} to {spread.high:.2f})",
                f"at most {row.most:g}", spread.median <= row.most)


def read_bytes(text):
    """What the only benchmark counted."""
    run, = json.loads(text)["benchmarks"]
    return run["bytes"]


def memory_line(row, ours, theirs):
    ratio = ours / theirs
    wanted = "" if math.isinf(row.most) else f"at most {row.most:g}"
    return Line(row.number, row.work, f"{ours:.0f} bytes", row.peer, f"{theirs:.0f} bytes", f"{ratio:.2f}",
                wanted, ratio <= row.most)


def table(lines):
    rows = ["| # | Work | Ours | Against | Theirs | Ratio, and half of all | Wanted | Instructions |",
            "|---|---|---|---|---|---|---|---|"]
    for line in lines:
        wanted = line.wanted if line.reached else f"**{line.wanted}**"
        rows.append(f"| {line.number} | {line.work} | {line.ours} | {line.peer} | {line.peers} | "
                    f"{line.ratio} | {wanted} | {line.instructions} |")
    return "\n".join(rows) + "\n"


def replace_between(text, begin, end, new):
    """The text with what lies between two lines of it made new."""
    first, rest = text.split(begin + "\n", 1)
    return first + begin + "\n" + new + end + rest.split(end, 1)[1]
