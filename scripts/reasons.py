"""Lists of exceptions to a rule: paragraphs of a reason and, indented, what it is true of. Before
what is an exception in some runs alone stands "sometimes:"."""

import collections
import re
import sys


def read_listed(text):
    """Everything listed, as often as it is. Exits where something has no reason."""
    listed = collections.Counter()
    for paragraph in re.split(r"\n\s*\n", text.strip("\n")):
        lines = paragraph.splitlines()
        items = [line.strip() for line in lines if line.startswith(" ")]
        if items and len(items) == len(lines):
            sys.exit(f"no reason is given for: {items[0]}")
        listed.update(items)
    return listed
