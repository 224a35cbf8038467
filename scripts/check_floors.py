"""Fails when a file includes from a floor above its own. docs/architecture.md draws the floors."""

import pathlib
import re
import sys

root = pathlib.Path(__file__).resolve().parent.parent

FLOORS = {
    1: """kit/exception/Exception kit/AddFileAndLineInfo kit/SafeInteger kit/NumericCast
          kit/CharactersToBytes kit/RangeLength kit/DLLAlloc kit/little_endian kit/big_endian
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


checked = 0
wrong = []
for folder in ("qvini", "kit", "source", "engine"):
    for path in sorted((root / folder).rglob("*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        name = str(path.relative_to(root))
        for include in re.findall(r'^#include "((?:qvini|kit|source|engine)/[^"]+)"', path.read_text(), re.M):
            checked += 1
            if floor_of(include) > floor_of(name) and (name, include) not in KNOWN_EXCEPTIONS:
                wrong.append(f"{name} (floor {floor_of(name)}) includes "
                             f"{include} (floor {floor_of(include)})")
if checked == 0:
    sys.exit("check_floors: found no include at all")
print("\n".join(wrong), file=sys.stderr, end="\n" if wrong else "")
sys.exit(1 if wrong else 0)
