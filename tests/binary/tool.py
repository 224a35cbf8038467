"""What the tools of the compiler say about a file."""

import re
import subprocess


def output(*command):
    """The command's output; a tool that fails or says nothing fails the test."""
    # Constants among the texts are no UTF-8.
    text = subprocess.run([str(part) for part in command], check=True, capture_output=True,
                          errors="replace", env={"LC_ALL": "C", "PATH": "/usr/bin:/bin"}).stdout
    if not text.strip():
        raise RuntimeError(f"{command[0]} said nothing about {command[-1]}")
    return text


def dynamic(file, tag):
    """The values of the entries of that tag in the dynamic section."""
    return re.findall(rf"\({tag}\)\s+(.*)", output("readelf", "-dW", file))
