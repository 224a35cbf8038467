"""Fails when a source on disk is not part of the build: a test that nobody runs looks like one
that passes."""

import json
import pathlib
import re
import subprocess
import sys

root = pathlib.Path(__file__).resolve().parent.parent
commands = root / sys.argv[1] / "compile_commands.json"
built = {pathlib.Path(entry["file"]).resolve() for entry in json.loads(commands.read_text())}
# Tests are compiled several at a time, through sources that include them.
for together in [path for path in built if re.fullmatch(r"unity_\d+_cxx\.cxx", path.name)]:
    built.update(pathlib.Path(name).resolve()
                 for name in re.findall(r'^#include "(.*)"$', together.read_text(), re.M))
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
