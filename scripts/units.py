"""What the compilers are given in a build tree: sources, or batches of sources, each of which includes
some."""

import json
import pathlib
import re


def sources_by_unit(tree):
    """By the path of each file that a compiler is given, the sources that are compiled with it."""
    entries = json.loads((pathlib.Path(tree) / "compile_commands.json").read_text())
    return {pathlib.Path(entry["file"]): sources_of(pathlib.Path(entry["file"])) for entry in entries}


def sources_of(unit):
    if not re.fullmatch(r"unity_\d+_c(xx\.cxx|\.c)", unit.name):
        return [unit.resolve()]
    included = re.findall(r'^#include "(.*)"$', unit.read_text(), re.M)
    return [pathlib.Path(name).resolve() for name in included]
