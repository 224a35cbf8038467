"""Measures what whole processes do: each time is that of a process of its own, started on a site of its
own, which is the library with OpenSSL beside it and a store."""

import contextlib
import os
import pathlib
import re
import shutil
import subprocess
import tempfile

from bench_programs import in_turns

FILES = ("libqvsslinit.so", "libeay32.dylib", "libssleay32.dylib")
COUNTED_TIMES = 3  # with the same random numbers, instructions differ by less than one in a thousand


@contextlib.contextmanager
def site(tree, has_certificate):
    with tempfile.TemporaryDirectory() as folder:
        place = pathlib.Path(folder)
        for name in FILES:
            shutil.copy(tree / "lib" / name, place)
        servers = place / "data" / "certstore" / "server_certs"
        servers.mkdir(parents=True)
        for other in ("open_csrs", "temp"):
            (servers.parent / other).mkdir()
        if has_certificate:
            (servers / "server_0.cer").write_text("there")
        yield place


def command(tree, name, place):
    """The process that does the work of a name: "init", "create" and "load" are ours."""
    library, host, loader = place / FILES[0], tree / "bin" / "bench_host", tree / "bin" / "bench_load"
    same_random = place / FILES[1]
    return {"init": [host, "init", library], "init/hand": [host, "start", place],
            "create": [host, "init", library, same_random], "create/hand": [host, "create", place, same_random],
            "load": [loader, library], "load/empty": [loader, tree / "lib" / "libbench_empty.so"]}[name]


def made(name, place):
    """The key and the certificate that the work of a name makes; none where it finds them."""
    servers = place / "data" / "certstore" / "server_certs"
    return {"create": [servers / "server_0.key", servers / "server_0.cer"],
            "create/hand": [place / "key", place / "certificate"]}.get(name, [])


def run(tree, name, prefix=()):
    """What the process printed, and what is in the files that it made."""
    with site(tree, has_certificate=not name.startswith("create")) as place:
        printed = subprocess.run([*prefix, *command(tree, name, place)], cwd=place,
                                 env=os.environ | {"QVPUBAPPDATADIR": str(place / "data")}, check=True,
                                 stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True).stdout
        return printed, [file.read_text() for file in made(name, place)]


def nanoseconds(tree, name):
    return float(run(tree, name)[0])


def instructions(tree, name):
    """Of the part that is measured, without those that find the primes of a key: their number is for
    chance to say."""
    with tempfile.NamedTemporaryFile() as profile:
        run(tree, name, ["valgrind", "--tool=callgrind", "--collect-atstart=no", "--toggle-collect=Measured*",
                         f"--callgrind-out-file={profile.name}"])
        shown = subprocess.run(["callgrind_annotate", "--inclusive=yes", "--threshold=100", profile.name],
                               check=True, stdout=subprocess.PIPE, text=True).stdout
    return without_keys(shown)


def without_keys(shown):
    """The sum in what callgrind_annotate shows, less what is under the generation of a key."""
    def number(pattern):
        found = re.search(r"^ *([\d,]+) .*" + pattern, shown, re.M)
        return int(found[1].replace(",", "")) if found else 0

    return number("PROGRAM TOTALS") - number(r":RSA_generate_key \[")


def measure(tree, names, clock, repetitions):
    """In turns, as scripts/bench wants it: {name: {clock: [...]}}."""
    figure, rounds = (instructions, COUNTED_TIMES) if clock == "instructions" else (nanoseconds, repetitions)
    times = {name: {clock: []} for name in names}
    for turn in in_turns(names, rounds):
        for name in turn:
            times[name][clock].append(figure(tree, name))
    return times
