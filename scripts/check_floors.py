"""Fails when a file includes from a floor above its own. docs/architecture.md draws the floors: with --dot
it prints that drawing, as Graphviz reads it, with an arrow for each two floors one of which includes the
other."""

import pathlib
import re
import sys

root = pathlib.Path(__file__).resolve().parent.parent

TITLES = {
    8: "service, exports",
    7: "tracing client",
    6: "plug-ins, INI manager",
    5: "operating system, seams",
    4: "values with text",
    3: "strings",
    2: "text on raw ranges",
    1: "ground",
    0: "INI documents",
}
FLOORS = {
    1: """kit/exception/Exception kit/AddFileAndLineInfo kit/SafeInteger kit/NumericCast
          kit/CharactersToBytes kit/RangeLength kit/DLLAlloc kit/Utf8Run kit/little_endian kit/big_endian
          kit/osdep/CriticalSection kit/osdep/UnixCriticalSection kit/osdep/AtomicInt
          kit/osdep/CancellationDeferral
          kit/IRefCounted kit/SmartPtr kit/AbsTime kit/FixedPoint128 kit/TimeValue kit/TimeAbsolute
          kit/osdep/CurrentSystemTime""",
    2: """kit/Vector kit/Utf8ToWide kit/WideToUtf8 kit/StringCompare kit/osdep/IConv
          kit/osdep/AnsiToWide kit/osdep/WideToAnsi kit/osdep/AllocateConverted
          kit/osdep/ProcessLocaleAscii
          kit/osdep/platform/SystemEncoding kit/osdep/platform/CFOwner""",
    3: "kit/StringBase kit/StringForms kit/BufferStrategy",
    4: """kit/exception/InvalidArgument2 kit/exception/OutOfRange2 kit/exception/BoundExceeded2
          kit/exception/AccessDenied kit/exception/OSException kit/exception/PosixError
          kit/exception/CarbonError kit/osdep/IntegerToString kit/osdep/ThreadID
          kit/osdep/CharacterAttributes kit/StatusChain kit/StatusFromException kit/AutoBuffer
          kit/BufferWrapper kit/CompareBuffers kit/osdep/Latin1""",
    6: """kit/LibraryInterface kit/InterfaceCast kit/LoadSharedLibrary kit/osdep/INIFileManager
          kit/osdep/OutputReleaseAssertion""",
}
FOLDERS = ("qvini", "kit", "source", "engine")
COLOURS = ["#34507a", "#a4452c", "#2e7d4f", "#7a3f8f", "#8a6d1a"]
# The string source reports bad positions with the two exceptions that carry a string.
KNOWN_EXCEPTIONS = {
    ("kit/StringBase.cpp", "kit/exception/OutOfRange2.h"),
    ("kit/StringBase.cpp", "kit/exception/BoundExceeded2.h"),
}
BY_STEM = {stem: floor for floor, stems in FLOORS.items() for stem in stems.split()}


def floor_of(path: str) -> int:
    stem = path.rsplit(".", 1)[0]
    if stem in BY_STEM:
        return BY_STEM[stem]
    if stem.startswith("kit/exception/"):
        return 1
    if stem.startswith("kit/osdep/platform/"):
        seam = "kit/osdep/platform/" + stem.rsplit("/", 1)[1]
        return BY_STEM.get(seam, 5)
    if stem.startswith("kit/"):
        return 5 if stem.startswith("kit/osdep/") else 4
    if stem.startswith("qvini/"):
        return 0
    if stem.startswith(("source/client/", "source/utils/")):
        return 7
    return 8


def includes():
    """Which file includes which, as two paths."""
    for folder in FOLDERS:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix in (".h", ".c", ".cpp"):
                name = str(path.relative_to(root))
                for include in re.findall(rf'^\s*#\s*include\s*["<]((?:{"|".join(FOLDERS)})/[^">]+)[">]',
                                          path.read_text(), re.M):
                    yield name, include


def drawing(found) -> str:
    """The floors, highest first, and beside the service our engine, which is a library of its own."""

    def box(path):
        return "engine" if path.startswith("engine/") else f"floor{floor_of(path)}"

    arrows = {(box(name), box(include)): (name, include) in KNOWN_EXCEPTIONS for name, include in found
              if box(name) != box(include)}
    lines = ["// Written by scripts/check_floors.py --dot.", "digraph floors {",
             '  graph [bgcolor=white, pad=0.3, nodesep=0.25, ranksep=0.4]',
             '  node [shape=box, style="rounded,filled", fillcolor="#e8eef7", color="#34507a",',
             '        fontname="Helvetica,Arial,sans-serif", fontsize=12, width=3.2]',
             '  edge [arrowsize=0.7]']
    lines += [f'  floor{floor} [label="{floor}  {title}", group=house]' for floor, title in TITLES.items()]
    lines += ['  engine [label="engine, a plug-in", width=1.8]', "  {rank=same; floor8; engine}",
              "  " + " -> ".join(f"floor{floor}" for floor in TITLES) + " [style=invis, weight=100]"]
    # Arrows of one colour come from one box.
    boxes = [*(f"floor{floor}" for floor in TITLES), "engine"]
    lines += [f'  {upper} -> {lower} [color="{COLOURS[boxes.index(upper) % len(COLOURS)]}"' +
              (", style=dashed, constraint=false]" if is_exception else "]")
              for (upper, lower), is_exception in sorted(arrows.items())]
    return "\n".join(lines + ["}"]) + "\n"


def main():
    found = list(includes())
    if not found:
        sys.exit("check_floors: found no include at all")
    if sys.argv[1:] == ["--dot"]:
        print(drawing(found), end="")
        return
    wrong = [f"{name} (floor {floor_of(name)}) includes {include} (floor {floor_of(include)})"
             for name, include in found
             if floor_of(include) > floor_of(name) and (name, include) not in KNOWN_EXCEPTIONS]
    print("\n".join(wrong), file=sys.stderr, end="\n" if wrong else "")
    sys.exit(1 if wrong else 0)


if __name__ == "__main__":
    main()
