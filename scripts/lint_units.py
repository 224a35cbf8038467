"""What to give to clang-tidy, two arguments at a time and a zero byte behind each, so that it reads
certain sources and no others: lint_units.py TREE SOURCE... Fails when no file that is compiled in the
tree has one of them without others beside it."""

import pathlib
import sys

from units import sources_by_unit


def config_of(source):
    """The nearest one to the source, which is not near the batch that it is in."""
    return next(folder / ".clang-tidy" for folder in source.parents if (folder / ".clang-tidy").exists())


def size(unit):
    return sum(source.stat().st_size for source in units[unit])


wanted = {pathlib.Path(name).resolve() for name in sys.argv[2:]}
unread = set(wanted)
units = sources_by_unit(sys.argv[1])
# The longest first, so that nobody waits for them at the end.
for unit in sorted(units, key=size, reverse=True):
    if wanted.issuperset(units[unit]) and unread.intersection(units[unit]):
        unread.difference_update(units[unit])
        print(f"--config-file={config_of(units[unit][0])}", unit, sep="\0", end="\0")
for source in sorted(unread):
    print(f"not read: {source}", file=sys.stderr)
sys.exit(1 if unread else 0)
