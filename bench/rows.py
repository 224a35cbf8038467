"""What is measured against what, and how far apart they may be: the rows of docs/performance.md."""

import dataclasses


@dataclasses.dataclass(frozen=True)
class Ratio:
    """Our time over that of the fastest of some peers, all of one program of benchmarks."""
    number: int
    work: str
    program: str
    ours: str
    peers: dict          # the name of a benchmark by what stands for it in the table
    most: float
    clock: str = "cpu_time"
    inverted: bool = False      # the peer's over ours, which is to be at least `most`
    instructions: bool = False  # counted too: where a single path is measured
    rounds: int = 1000          # that are counted


@dataclasses.dataclass(frozen=True)
class Growth:
    """The exponent with which the time of all the work grows with its size, over all sizes."""
    number: int
    work: str
    program: str
    ours: str            # sizes are appended to it: "ours/1000"
    sizes: tuple
    most: float


ROWS = [
    Ratio(11, "`CriticalSection`: enter and leave", "lock", "CriticalSection",
          {"a recursive `pthread_mutex_t`": "CriticalSection/pthread"}, 1.25, instructions=True),
    Ratio(11, "`AtomicInt`: increment", "lock", "AtomicInt",
          {"a recursive `pthread_mutex_t`": "AtomicInt/pthread"}, 1.25, instructions=True),
    Ratio(12, "INI: reading 1 MB, 200 sections of 100 keys, from memory", "ini", "IniRead",
          {"SimpleIni": "IniRead/SimpleIni", "inih's `INIReader`": "IniRead/inih",
           "Boost.PropertyTree": "IniRead/PropertyTree"}, 0.5, instructions=True, rounds=5),
    Ratio(12, "INI: reading the same from a file", "ini", "IniReadFile",
          {"SimpleIni": "IniReadFile/SimpleIni", "inih's `INIReader`": "IniReadFile/inih",
           "Boost.PropertyTree": "IniReadFile/PropertyTree", "iniparser": "IniReadFile/iniparser"}, 0.5),
    Growth(13, "INI: reading 1,000 to 1,000,000 keys of one section", "ini", "IniReadKeys",
           (1000, 10000, 100000, 1000000), 1.1),
    Growth(13, "INI: reading 1,000 to 1,000,000 sections", "ini", "IniReadSections",
           (1000, 10000, 100000, 1000000), 1.1),
    Ratio(14, "INI: one look-up of a random key in the document of row 12", "ini", "IniGet",
          {"SimpleIni": "IniGet/SimpleIni", "inih's `INIReader`": "IniGet/inih",
           "Boost.PropertyTree": "IniGet/PropertyTree", "iniparser": "IniGet/iniparser"}, 0.33,
          instructions=True),
    Ratio(15, "INI: writing that document to memory", "ini", "IniWrite",
          {"Boost.PropertyTree": "IniWrite/PropertyTree", "SimpleIni": "IniWrite/SimpleIni"}, 0.6,
          instructions=True, rounds=5),
]
