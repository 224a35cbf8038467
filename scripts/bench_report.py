"""What scripts/bench makes of the figures that the programs of benchmarks write."""

import collections
import dataclasses
import json
import math
import re
import statistics

from rows import File, Ratio


def given_name(name):
    """Without what Google Benchmark appends."""
    return re.sub(r"(/real_time)?(/threads:\d+)?$", "", name)


def read_times(text):
    """By benchmark, the nanoseconds that a round took in each repetition: {name: {clock: [...]}}."""
    scales = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
    times = collections.defaultdict(lambda: collections.defaultdict(list))
    for run in json.loads(text)["benchmarks"]:
        if run.get("error_occurred"):
            raise ValueError(f"{run['name']}: {run['error_message']}")
        if run["run_type"] != "iteration":
            continue
        name = given_name(run["run_name"])
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


def spread_text(spread, unit=""):
    return f"{spread.median:.2f}{unit} ({spread.low:.2f} to {spread.high:.2f})"


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
    nanoseconds = float(f"{nanoseconds:.3g}")
    for unit, scale in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= scale:
            return f"{nanoseconds / scale:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def instructions_text(count):
    return f"{count / 1e6:.3g} million instructions"


def sized(row, name):
    """The benchmarks that bear a name of a row: one for each size, if it has any."""
    return [f"{name}/{size}" for size in getattr(row, "sizes", ())] or [name]


def names(row):
    """The benchmarks that a row wants, ours first; none where it looks at files."""
    if isinstance(row, File):
        return []
    peers = row.peers.values() if isinstance(row, Ratio) else [row.theirs]
    return [each for name in (row.ours, *peers) if name for each in sized(row, name)]


def fastest_peer(row, times):
    return min(row.peers, key=lambda peer: sum(statistics.median(times[name][row.clock])
                                               for name in sized(row, row.peers[peer])))


def compare(row, ours, theirs):
    """Turns are compared one by one, for what disturbs the machine disturbs both."""
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
    unit, more = (" ns", " ns more") if row.difference else ("", "")
    wanted = f"{'at least' if row.inverted else 'at most'} {row.most:g}{more}" if row.most else ""
    return Line(row.number, row.work, medians(ours), peer, medians(theirs),
                "; ".join(spread_text(each, unit) for each in spreads),
                wanted, reached, instructions)


def exponent(sizes, times):
    """Of the line that fits best through what the sizes took, both as logarithms."""
    return statistics.linear_regression(list(map(math.log, sizes)), list(map(math.log, times))).slope


@dataclasses.dataclass(frozen=True)
class Curve:
    """How some work grows: the median times, in nanoseconds, of its sizes, and the exponent."""
    work: str
    order: str
    sizes: tuple
    times: tuple
    exponent: Spread


def curve(row, name, times):
    by_size = [times[f"{name}/{size}"]["cpu_time"] for size in row.sizes]
    return Curve(row.work, row.order, row.sizes, tuple(map(statistics.median, by_size)),
                 Spread.of([exponent(row.sizes, repetition) for repetition in zip(*by_size)]))


def growth_line(row, times):
    def shown(grown):
        return f"{time_text(grown.times[0])} to {time_text(grown.times[-1])}"

    ours = curve(row, row.ours, times)
    sizes = f"n from {row.sizes[0]:,} to {row.sizes[-1]:,}"
    peers = ""
    if row.theirs:
        theirs = curve(row, row.theirs, times)
        peers = f"{shown(theirs)}, exponent {theirs.exponent.median:.2f}"
    spread = ours.exponent
    return Line(row.number, f"{row.work}: exponent, {sizes}", shown(ours), row.peer, peers,
                spread_text(spread), f"at most {row.most:g}", spread.median <= row.most)


def plot(curves, output):
    """What gnuplot is told: the curves with both axes as logarithms, as an SVG file."""
    colours = ("#1b6ca8", "#c0392b", "#1e8449", "#8e44ad", "#b9770e", "#34495e", "#d81b60")
    blocks, drawn = [], []
    for number, each in enumerate(curves):
        blocks += [f"$curve{number} << END", *(f"{size} {time}" for size, time in zip(each.sizes, each.times)),
                   "END"]
        title = each.work.replace("`", "")
        drawn.append(f"$curve{number} with linespoints title '{title}' linewidth 2 "
                     f"linecolor '{colours[number % len(colours)]}' pointtype {number + 1}")
    return "\n".join([
        "set terminal svg size 1100,600 noenhanced background 'white' font 'sans-serif,13'",
        f"set output '{output}'",
        "set logscale xy",
        f"set xrange [{curves[0].sizes[0]}:{curves[0].sizes[-1]}]",
        "set xlabel 'n'",
        "set ylabel 'time'",
        "set ytics ('100 ns' 1e2, '1 µs' 1e3, '10 µs' 1e4, '100 µs' 1e5, '1 ms' 1e6, '10 ms' 1e7, '100 ms' 1e8, "
        "'1 s' 1e9)",
        "set xtics ('1,000' 1e3, '10,000' 1e4, '100,000' 1e5, '1,000,000' 1e6)",
        "set grid",
        "set key outside right center reverse Left spacing 1.3",
        *blocks,
        "plot " + ", \\\n     ".join(drawn)]) + "\n"


def read_bytes(text):
    """What the only benchmark counted."""
    run, = json.loads(text)["benchmarks"]
    return run["bytes"]


def memory_line(row, counted):
    ours, theirs = counted[row.ours], counted[row.theirs]
    spread = Spread.of([one / other for one, other in zip(ours, theirs)])
    wanted = "" if math.isinf(row.most) else f"at most {row.most:g}"
    return Line(row.number, row.work, f"{statistics.median(ours):.0f} bytes", row.peer,
                f"{statistics.median(theirs):.0f} bytes", spread_text(spread), wanted, spread.median <= row.most)


def relocations(shown):
    """What readelf -r shows, counted by kind."""
    counts = collections.Counter(re.findall(r" (R_\w+)", shown))
    return ", ".join(f"{count} `{kind}`" for kind, count in sorted(counts.items())) or "none"


def initializers(symbols):
    """The sources that something of is run when the library is loaded, of what nm shows."""
    names = re.findall(r"_GLOBAL__sub_I_(\S+)", symbols)
    return ", ".join(sorted(f"`{name}`" for name in names if not name.endswith(".cold"))) or "none"


def file_lines(row, ours, theirs):
    """Of two files, each as (bytes, what readelf -r shows, what nm shows)."""
    peer = "an empty one"
    return [
        Line(row.number, "size of the library without symbols", f"{ours[0]:,} bytes", peer, f"{theirs[0]:,} bytes",
             "", f"at most {row.most:,} bytes", ours[0] <= row.most),
        Line(row.number, "its relocations", relocations(ours[1]), peer, relocations(theirs[1]), "", "", True),
        Line(row.number, "its initializers", initializers(ours[2]), peer, initializers(theirs[2]), "", "", True)]


def row(*cells):
    return "| " + " | ".join(map(str, cells)) + " |\n"


def body(lines):
    return "".join(row(line.number, line.work, line.ours, line.peer, line.peers, line.ratio,
                       line.wanted if line.reached else f"**{line.wanted}**", line.instructions) for line in lines)


def table(lines):
    return (row("#", "Work", "Ours", "Against", "Theirs", "Ratio, and half of all", "Wanted", "Instructions") +
            "|---" * 8 + "|\n" + body(lines))


def growth_body(curves):
    return "".join(row(each.work, each.order, *(time_text(each.times[index]) for index in (0, -1)),
                       f"{each.exponent.median:.2f}") for each in curves)


def growth_table(curves):
    return (row("Work", "Of the order of", "n = 1,000", "n = 1,000,000", "Exponent measured") +
            "|---" * 5 + "|\n" + growth_body(curves))


def replace_between(text, begin, end, new):
    """The text with what lies between two lines of it made new."""
    first, rest = text.split(begin + "\n", 1)
    return first + begin + "\n" + new + end + rest.split(end, 1)[1]
