"""What is measured against what, and how far apart they may be: the rows of docs/performance.md."""

import dataclasses
import math


@dataclasses.dataclass(frozen=True)
class Ratio:
    """Our time over that of the fastest of some peers, all of one program of benchmarks."""
    number: int
    work: str
    program: str
    ours: str
    peers: dict          # the name of a benchmark by what stands for it in the table
    most: float
    clock: str = "cpu_time"     # or "real_time", or "instructions" where whole processes are measured
    inverted: bool = False      # the peer's over ours, which is to be at least `most`; 0 where that is only told
    difference: bool = False    # ours less the peer's, which is to be at most `most` nanoseconds
    sizes: tuple = ()           # where there are several: appended to all names, "ours/1000"
    instructions: bool = False  # counted too: where a single path is measured
    rounds: int = 10_000        # that are counted


@dataclasses.dataclass(frozen=True)
class Growth:
    """The exponent with which the time of some work grows with its size n, over all sizes. Each is a line
    of the section on how cost grows; those with a number and a limit are lines of the table too."""
    work: str
    order: str           # what the time is of the order of, as is known from how it is done
    program: str
    ours: str            # sizes are appended to it: "ours/1000"
    sizes: tuple = (1000, 10_000, 100_000, 1_000_000)
    number: int = 0
    most: float = math.inf
    peer: str = "itself"
    theirs: str = ""     # what grows beside it, in the same sizes


@dataclasses.dataclass(frozen=True)
class Memory:
    """Our bytes over those of a peer, each in a process of its own."""
    number: int
    work: str
    program: str
    ours: str            # gives a counter "bytes", as the peer does
    peer: str            # what stands for it in the table, and its name
    theirs: str
    most: float = math.inf


@dataclasses.dataclass(frozen=True)
class File:
    """What is in the library as a file: its size without symbols, in bytes, its relocations and its
    initializers, beside those of an empty one."""
    number: int
    ours: str            # in the build tree
    theirs: str
    most: int


ROWS = [
    Ratio(1, "a disabled scope, in and out", "trace", "Scope",
          {"two loads with their branches": "Scope/loads"}, 2.5, instructions=True),
    Ratio(2, "the same", "trace", "Scope", {"two disabled calls of spdlog": "Scope/spdlog"}, 0.25,
          instructions=True),
    Ratio(3, "a record of about 100 bytes", "trace", "Record",
          {"spdlog, a sink under a mutex that discards": "Record/spdlog"}, 0.9, instructions=True,
          rounds=1000),
    Ratio(4, "the same", "trace", "Record",
          {"one `vsnprintf` and one `gettimeofday`": "Record/vsnprintf"}, 1.3, instructions=True,
          rounds=1000),
    Ratio(5, "records from two threads", "trace", "RecordsOfTwo", {"from one": "RecordsOfOne"}, 1.8,
          clock="real_time", inverted=True),
    Ratio(5, "the machine's own limit: `vsnprintf` from two threads", "trace", "PrintingOfTwo",
          {"from one": "PrintingOfOne"}, 0, clock="real_time", inverted=True),
    Ratio(6, "an Init and its Uninit while another handle is out", "init", "Init",
          {"four locks of a recursive `pthread_mutex_t`, one `new` and `delete`": "Init/locks"}, 1.5,
          instructions=True),
    *(Growth(f"giving back n handles, {arranged}", order, "init", ours, number=7, most=1.1,
             peer="a bare `delete` of as many objects", theirs=f"{ours}/delete")
      for arranged, order, ours in (("the oldest first", "n log n", "OldestFirst"),
                                    ("the newest first", "n", "NewestFirst"),
                                    ("shuffled", "n log n", "Shuffled"))),
    *(Ratio(8, f"a first Init that finds a certificate, {how}", "process", "init",
            {"the same files, functions and calls, by hand": "init/hand"}, 1.05, clock=clock)
      for how, clock in (("time", "cpu_time"), ("instructions", "instructions"))),
    Ratio(9, "a first Init that makes key and certificate, without finding the key", "process", "create",
          {"the same calls by hand": "create/hand"}, 1.05, clock="instructions"),
    Ratio(10, "`dlopen` and `dlclose` of the library", "process", "load", {"of an empty one": "load/empty"}, 1.5),
    File(10, "lib/libqvsslinit.so", "lib/libbench_empty.so", 256 * 1024),
    Ratio(11, "`CriticalSection`: enter and leave", "lock", "CriticalSection",
          {"a recursive `pthread_mutex_t`": "CriticalSection/pthread"}, 1.25, instructions=True),
    Ratio(11, "`AtomicInt`: increment", "lock", "AtomicInt",
          {"a recursive `pthread_mutex_t`": "AtomicInt/pthread"}, 1.25, instructions=True),
    Ratio(12, "INI: reading 1 MB, 200 sections of 100 keys, from memory", "ini", "IniRead",
          {"SimpleIni": "IniRead/SimpleIni", "inih's `INIReader`": "IniRead/inih",
           "Boost.PropertyTree": "IniRead/PropertyTree"}, 0.5, instructions=True, rounds=5),
    Ratio(12, "INI: reading the same from a file", "ini", "IniReadFile",
          {"SimpleIni": "IniReadFile/SimpleIni", "inih's `INIReader`": "IniReadFile/inih",
           "Boost.PropertyTree": "IniReadFile/PropertyTree", "iniparser": "IniReadFile/iniparser"}, 0.5,
          instructions=True, rounds=5),
    Growth("INI: reading n keys of one section", "n", "ini", "IniReadKeys", number=13, most=1.1),
    Growth("INI: reading n sections of one key", "n", "ini", "IniReadSections", number=13, most=1.1),
    Ratio(14, "INI: one look-up of a random key in the document of row 12", "ini", "IniGet",
          {"SimpleIni": "IniGet/SimpleIni", "inih's `INIReader`": "IniGet/inih",
           "Boost.PropertyTree": "IniGet/PropertyTree", "iniparser": "IniGet/iniparser"}, 0.33,
          instructions=True, rounds=20000),
    Ratio(15, "INI: writing that document to memory", "ini", "IniWrite",
          {"Boost.PropertyTree": "IniWrite/PropertyTree", "SimpleIni": "IniWrite/SimpleIni"}, 0.6,
          instructions=True, rounds=5),
    Ratio(16, "UTF-8 to wide and back, 1 MB of ASCII", "utf8", "Ascii",
          {"utfcpp": "Ascii/utfcpp", "ICU (`U8_NEXT`, `U8_APPEND`)": "Ascii/icu"}, 0.6),
    Ratio(16, "the same", "utf8", "Ascii", {"copying each into the other's width": "Ascii/copying"}, 1.5),
    Ratio(17, "UTF-8 to wide and back, 1 MB of Latin, CJK and emoji", "utf8", "Mixed",
          {"utfcpp": "Mixed/utfcpp", "ICU (`U8_NEXT`, `U8_APPEND`)": "Mixed/icu", "`iconv`": "Mixed/iconv",
           "`mbsnrtowcs`, `wcsnrtombs`": "Mixed/libc"}, 0.8, instructions=True, rounds=5),
    Ratio(18, "a path of 40 characters to narrow text and back, process locale UTF-8", "conversion", "PathUtf8",
          {"`iconv_open`, `iconv`, `iconv_close`": "PathUtf8/iconv"}, 0.2, instructions=True, rounds=1000),
    Ratio(18, "the same, process locale \"C\"", "conversion", "PathC",
          {"`iconv_open`, `iconv`, `iconv_close`": "PathC/iconv"}, 0.2, instructions=True, rounds=1000),
    Ratio(19, "1 MB of EUC-JP from wide text and back", "conversion", "Legacy",
          {"the bare `iconv` calls": "Legacy/iconv"}, 1.1),
    *(Ratio(20, f"{what} to {text}, up to 1, 100, 1,000,000 characters", "string", ours,
            {f"`{peer}`": f"{ours}/std"}, 1.1, sizes=(1, 100, 1_000_000))
      for what, kind in (("appending characters", "Characters"), ("appending pieces of 16 characters", "Pieces"))
      for text, peer, ours in (("narrow text", "std::string", kind), ("wide text", "std::wstring", "Wide" + kind))),
    *(Ratio(21, f"equality of two {text} of 64 characters that differ {how}", "string", kind + ours,
            {f"`{peer}`": f"{kind}{ours}/libc"}, most, instructions=True, rounds=2000)
      for text, kind, peer, most in (("narrow texts", "", "strcasecmp", 1.5), ("wide texts", "Wide", "wcscasecmp", 0.3))
      for how, ours in (("only in case", "OtherCase"), ("in the last one", "OtherEnd"))),
    Ratio(22, "`StatusChain`: construct, clear, pass, test, destroy", "container", "StatusChain",
          {"an `int`": "StatusChain/int"}, 5, difference=True, instructions=True),
    Ratio(23, "appending 1, 1,000, 1,000,000 numbers to a `Vector`", "container", "Vector",
          {"`std::vector`, same growth": "Vector/std"}, 1.1, sizes=(1, 1000, 1_000_000)),
    Ratio(23, "appending 1, 1,000, 1,000,000 single bytes to an `AutoBuffer`", "container", "AutoBuffer",
          {"`std::vector`, same growth": "AutoBuffer/std"}, 1.1, sizes=(1, 1000, 1_000_000)),
    *(Ratio(24, f"{kind} integer of 8, 16, 32, 64 bits as text in base {base}", "conversion", sign + ours,
            {"`std::to_chars`, and the string made of it": f"{sign}{ours}/to_chars"}, 1.3, sizes=(8, 16, 32, 64))
      for base, ours in ((10, "Decimal"), (16, "Hexadecimal"))
      for kind, sign in (("a signed", ""), ("an unsigned", "Unsigned"))),
    Ratio(25, "`CurrentSystemTime`", "clock", "TimeStamp", {"`gettimeofday`": "TimeStamp/gettimeofday"}, 1.5,
          instructions=True),
    Memory(26, "memory of a live handle", "init", "HandleMemory", "its number", "HandleMemory/data"),
    Memory(26, "memory of a trace tag", "trace", "TagMemory", "its name and number", "TagMemory/data"),
    Memory(26, "memory of an INI entry", "ini", "IniMemory", "its name and value", "IniMemory/data"),
    Memory(26, "the same", "ini", "IniMemory", "SimpleIni", "IniMemory/SimpleIni", 1.5),
    Growth("taking n handles", "n", "init", "Take"),
    Growth("INI: one look-up among n keys", "1", "ini", "IniGetKeys"),
    Growth("INI: writing n keys", "n", "ini", "IniWriteKeys"),
    Growth("appending n characters to a text", "n", "string", "Characters"),
    Growth("appending n numbers to a `Vector`", "n", "container", "Vector"),
    Growth("appending n bytes to an `AutoBuffer`", "n", "container", "AutoBuffer"),
    Growth("UTF-8 of n bytes to wide and back", "n", "utf8", "MixedBytes"),
    Growth("EUC-JP of n characters to wide and back", "n", "conversion", "LegacyCharacters"),
]
