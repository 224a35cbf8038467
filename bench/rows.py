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
]
