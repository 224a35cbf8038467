"""Fails when a source on disk is not part of the build: a test that nobody runs looks like one
that passes."""

import pathlib
import subprocess
import sys

from units import sources_by_unit

root = pathlib.Path(__file__).resolve().parent.parent
built = {source for sources in sources_by_unit(root / sys.argv[1]).values() for source in sources}
listed = subprocess.run(
    ["git", "ls-files", "--cached", "--others", "--exclude-standard", "--", "*.c", "*.cpp"],
    cwd=root, check=True, capture_output=True, text=True).stdout.split()
on_disk = {root / name for name in listed if (root / name).exists()}
if not on_disk:
    sys.exit("check_built: git lists no sources")
missing = sorted(str(path.relative_to(root)) for path in on_disk - built)
for name in missing:
    print(f"not built: {name}", file=sys.stderr)
sys.exit(1 if missing else 0)
