"""Fails when a source on disk is not part of the build: a test that nobody runs looks like one
that passes."""

import json
import pathlib
import subprocess
import sys

root = pathlib.Path(__file__).resolve().parent.parent
commands = root / sys.argv[1] / "compile_commands.json"
built = {pathlib.Path(entry["file"]).resolve() for entry in json.loads(commands.read_text())}
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
