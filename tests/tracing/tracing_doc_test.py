"""docs/tracing.md shows and says what is so.
usage: tracing_doc_test.py DOCUMENT COMPILER BUILD_DIRECTORY COUNT_BLOCKS [Class.test]

Paths of a site in the document stand for paths below a temporary directory."""

import contextlib
import fcntl
import gzip
import json
import os
import pathlib
import re
import select
import shlex
import shutil
import stat
import subprocess
import sys
import tempfile
import time
import unittest

DOCUMENT = pathlib.Path(sys.argv.pop(1)).resolve()
COMPILER = sys.argv.pop(1)
BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
COUNT_BLOCKS = pathlib.Path(sys.argv.pop(1)).resolve()
ROOT = DOCUMENT.parent.parent
HOST = pathlib.Path(__file__).resolve().parent / "host.py"

ENGINE = "libqv_traceengine.dylib"
SITE_PATHS = ["/opt/server", "/etc/kestrix", "/var/log/kestrix"]
TIME = r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z"
RECORD = re.compile(rf"{TIME} t=[0-9A-F]+ \| ")
DROPPED = re.compile(rf"{TIME} records dropped: (\d+) \(process (\d+)\)")
ALL_TAGS = "".join(f"Tag{number} : {number} : yes\n" for number in (1, 4, 5, 6))

BLOCKS = ["sh install", "cfg", "sh run", "text records", "text nameless", "text error",
          "text escaped", "logrotate", "text dropped", "cpp entry", "cpp", "sh engine", "text engine"]
TABLES = ["Variable", "Line", "Id", "Slot", "Field"]


def blocks():
    """The fenced blocks: what stands behind the fence, and the lines."""
    return re.findall(r"^```(\S.*)\n((?:.*\n)*?)```$", DOCUMENT.read_text(), re.M)


def block(kind):
    found = [body for name, body in blocks() if name == kind]
    if len(found) != 1:
        raise AssertionError(f"{len(found)} blocks of the kind {kind}")
    return found[0]


def tables():
    """The tables: the cells of each, line by line, by the first cell of its head."""
    found = {}
    for text in re.findall(r"(?:^\|.*\n)+", DOCUMENT.read_text(), re.M):
        rows = [[cell.strip() for cell in line.strip("|\n").split("|")]
                for line in text.splitlines()]
        if rows[0][0] in found:
            raise AssertionError(f"two tables begin with {rows[0][0]}")
        found[rows[0][0]] = rows[2:]
    return found


def table(name):
    return tables()[name]


def code(cell):
    """What stands between the backticks of a cell."""
    return re.match(r"`([^`]*)`", cell).group(1)


def normal(text):
    """Trace lines without what differs from run to run."""
    text = re.sub(rf"^{TIME} ", "TIME ", text, flags=re.M)
    text = re.sub(r"^\d+ t=", "SECONDS t=", text, flags=re.M)
    return re.sub(r" t=[0-9A-F]+ ", " t=THREAD ", text)


def until(condition):
    """What condition gives as soon as it gives something."""
    end = time.monotonic() + 60
    while time.monotonic() < end:
        result = condition()
        if result:
            return result
        time.sleep(0.01)
    raise AssertionError("it did not come about in a minute")


class Host:
    """A process that calls Init and Uninit when it is told to."""

    def __init__(self, site, **variables):
        self.process = subprocess.Popen(
            [sys.executable, HOST, site.library], env=site.environment | variables,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def do(self, command):
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()
        answer = self.process.stdout.readline()
        if answer != "done\n":
            raise AssertionError(f"'{command}': {answer}{self.process.stderr.read()}")

    def end(self):
        """Lets it exit; what it wrote to standard error."""
        _, errors = self.process.communicate(timeout=60)
        if self.process.returncode != 0:
            raise AssertionError(f"the host ended with {self.process.returncode}: {errors}")
        return errors


class Site(unittest.TestCase):
    """Each test has an installation of its own with the engine, and all tags on."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="qvsslinit-test-")
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve()
        self.lib, self.tags, self.data, self.logs = (
            self.root / name
            for name in ("opt/server/lib", "etc/kestrix/trace", "data", "var/log/kestrix"))
        for directory in (self.lib, self.tags, self.data, self.logs):
            directory.mkdir(parents=True)
        for name in ("libqvsslinit.so", "libeay32.dylib", "libssleay32.dylib", ENGINE):
            shutil.copy(BUILD / "lib" / name, self.lib)
        self.library = self.lib / "libqvsslinit.so"
        self.trace = self.logs / "trace.log"
        # Nothing of the caller's.
        self.environment = {"PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8",
                            "QVPUBAPPDATADIR": str(self.data),
                            "QV_TRACE_CONFIG_DIR": str(self.tags)}
        self.write_tags(ALL_TAGS)

    def write_tags(self, text):
        (self.tags / "qvsslinit.cfg").write_text(text)

    def call(self, *command, **variables):
        return subprocess.run([str(part) for part in command], env=self.environment | variables,
                              cwd=self.root, capture_output=True, text=True, timeout=100,
                              check=False)

    def init(self, status=0, **variables):
        """What an Init and an Uninit write to standard error."""
        done = self.call(BUILD / "bin" / "minimal_host", self.library, **variables)
        self.assertEqual(done.returncode, status, done.stderr)
        return done.stderr

    def doctor(self, section, **variables):
        """What the doctor finds out about the engine or the tags."""
        done = self.call(BUILD / "bin" / "qvsslinit-doctor", "--library", self.library, "--no-init",
                         "--json", **variables)
        self.assertEqual(done.stderr, "")
        return next(found["facts"] for found in json.loads(done.stdout)["sections"]
                    if found["name"] == section)

    def here(self, text):
        """Text of the document with the paths of this installation, and a user of this machine."""
        for path in SITE_PATHS:
            text = text.replace(path, f"{self.root}{path}")
        if os.geteuid() != 0:
            text = text.replace("www-data", str(os.geteuid()))
        return text

    def run_lines(self, kind, directory, **variables):
        """Runs a block of shell lines; what they write to standard error."""
        done = subprocess.run(["/bin/sh", "-e", "-c", self.here(block(kind))], cwd=directory,
                              env=self.environment | variables, capture_output=True, text=True,
                              timeout=100, check=False)
        self.assertEqual((done.returncode, done.stdout), (0, ""), done.stderr)
        return done.stderr

    def source_tree(self):
        """The repository as one finds it after a build with the preset."""
        tree = self.root / "repository"
        (tree / "build").mkdir(parents=True)
        for path in ROOT.iterdir():
            if path.name != "build":
                (tree / path.name).symlink_to(path)
        (tree / "build" / "default").symlink_to(BUILD)
        return tree


class Document(unittest.TestCase):
    def test_holds_the_blocks_and_tables_that_are_tried_here_and_no_others(self):
        self.assertEqual([kind for kind, _ in blocks()], BLOCKS)
        self.assertEqual(DOCUMENT.read_text().count("\n```"), 2 * len(BLOCKS))
        self.assertEqual(list(tables()), TABLES)

    def test_shows_the_entry_point_as_the_example_has_it(self):
        declared = " ".join(block("cpp entry").split()).rstrip(";")
        self.assertIn(f" {declared} {{", " ".join(block("cpp").split()).replace("( ", "("))


class Operation(Site):
    def test_the_lines_for_installing_install_and_the_server_traces(self):
        for path in (self.root / "opt", self.root / "etc", self.root / "var"):
            shutil.rmtree(path)
        self.lib.mkdir(parents=True)
        for name in ("libqvsslinit.so", "libeay32.dylib", "libssleay32.dylib"):
            shutil.copy(BUILD / "lib" / name, self.lib)
        self.logs.parent.mkdir(parents=True)
        server = self.root / "opt/server/bin/server"
        server.parent.mkdir()
        server.write_text("#!/bin/sh\nexec " + shlex.join(
            [str(BUILD / "bin" / "minimal_host"), str(self.library)]) + " >/dev/null\n")
        server.chmod(0o755)
        self.assertEqual(self.run_lines("sh run", self.root), "")
        self.assertFalse(self.trace.exists())
        self.run_lines("sh install", self.source_tree())
        self.assertEqual(self.logs.owner(), "www-data" if os.geteuid() == 0 else self.root.owner())
        self.write_tags(block("cfg"))
        self.assertEqual(self.run_lines("sh run", self.root), "")
        self.assertTrue(RECORD.match(self.trace.read_text()))
        self.assertEqual(stat.S_IMODE(self.trace.stat().st_mode), 0o600)

    def test_environment_and_tag_file_are_read_by_the_first_init_alone(self):
        host = Host(self)
        host.do("cycle 1")
        self.write_tags("")
        host.do(f"set QV_TRACE_OUTPUT={self.trace}")
        host.do("cycle 1")
        self.assertEqual(host.end().count("ReleaseLibrary | Out"), 2)
        self.assertFalse(self.trace.exists())

    def test_the_engine_reads_the_variables_that_are_documented(self):
        source = (ROOT / "engine" / "EngineSettings.cpp").read_text()
        self.assertEqual(re.findall(r'Variable\("(\w+)"\)', source),
                         [code(row[0]) for row in table("Variable")])
        self.assertEqual(source.count("getenv("), 1)

    def default(self, variable):
        return next(code(row[2]) for row in table("Variable") if code(row[0]) == variable)

    def test_the_directory_of_the_tag_file(self):
        def directory(value):
            self.environment["QV_TRACE_CONFIG_DIR"] = value
            return self.doctor("engine")["engine"]["config_directory"].rstrip("/")

        self.assertEqual(directory(str(self.tags)), str(self.tags))
        self.assertEqual(directory(os.fsdecode(b"/\xff")), "/?")
        for nonsense in ("", "trace", "./trace"):
            self.assertEqual(directory(nonsense), self.default("QV_TRACE_CONFIG_DIR"), nonsense)
        del self.environment["QV_TRACE_CONFIG_DIR"]
        self.assertEqual(self.doctor("engine")["engine"]["config_directory"].rstrip("/"),
                         self.default("QV_TRACE_CONFIG_DIR"))

    def test_the_output_file(self):
        self.assertTrue(RECORD.match(self.init()))
        for nonsense in ("", "trace.log", "./trace.log"):
            self.assertTrue(RECORD.match(self.init(QV_TRACE_OUTPUT=nonsense)), nonsense)
        self.assertEqual(list(self.root.rglob("trace.log")), [])
        self.assertEqual(self.init(QV_TRACE_OUTPUT=str(self.trace)), "")
        self.assertTrue(RECORD.match(self.trace.read_text()))

    def test_a_file_that_cannot_be_opened_takes_no_records_and_neither_does_another(self):
        self.assertEqual(self.init(QV_TRACE_OUTPUT=str(self.logs / "missing" / "trace.log")), "")
        self.assertEqual(list(self.logs.iterdir()), [])

    def test_the_number_of_blocks(self):
        def count(**variables):
            done = self.call(COUNT_BLOCKS, self.lib / ENGINE, **variables)
            self.assertEqual(done.returncode, 0, done.stderr)
            return done.stdout.strip()

        self.assertEqual(count(), self.default("QV_TRACE_BLOCKS"))
        for number in ("1", "16", "65536"):
            self.assertEqual(count(QV_TRACE_BLOCKS=number), number)
        for nonsense in ("", "0", "65537", "-1", "+8", " 8", "0x10", "many"):
            self.assertEqual(count(QV_TRACE_BLOCKS=nonsense), self.default("QV_TRACE_BLOCKS"),
                             nonsense)

    def test_the_names_of_tags(self):
        self.assertIn(" | qvsslinit | Tag4 | Ssl", self.init())
        for other in ("", "No", "NO", "0", "no "):
            self.assertIn(" | qvsslinit | Tag4 | Ssl", self.init(QV_TRACE_TAG_NAMES=other), other)
        self.assertNotIn("Tag4", self.init(QV_TRACE_TAG_NAMES="no"))


class TagFile(Site):
    def read(self, text):
        """The tags as the library reads them, by id."""
        self.write_tags(text)
        return {tag["id"]: tag for tag in self.doctor("tags")["tags"]}

    def test_the_example_switches_tags_as_it_says(self):
        tags = self.read(block("cfg"))
        self.assertEqual([(tags[number]["name"], tags[number]["on"]) for number in sorted(tags)],
                         [("RefCount", True), ("Initializer", True), ("Certificate", True),
                          ("CertCreator", False)])

    def test_each_line_has_the_effect_that_is_documented(self):
        for line, effect in table("Line"):
            with self.subTest(line=line):
                tags = self.read(code(line) + "\n")
                found = [f"tag {number} {'on' if tag['on'] else 'off'}"
                         for number, tag in tags.items()]
                self.assertEqual(" ".join(found) or "nothing", effect)

    def test_rules_that_take_more_than_a_line(self):
        self.assertFalse(self.read("A : 4 : yes\nB : 4 : no\n")[4]["on"])
        self.assertTrue(self.read("A : 4 : no\nB : 4 : yes\n")[4]["on"])
        self.assertEqual(self.read("#Initializer : 4 : yes\n")[4]["name"], "#Initializer")
        self.assertEqual(self.read("Output_File : 4 : yes\n")[0]["name"], "")
        self.assertEqual(self.read("N" * 127 + " : 255 : yes\n")[255]["name"], "N" * 127)
        self.assertEqual(self.read("N" * 128 + " : 255 : yes\n"), {})
        self.assertEqual(self.read("#" * 1022 + "Rest : 9 : yes\n")[9]["name"], "Rest")
        self.assertEqual(self.read("#" * 1021 + "Rest : 9 : yes\n")[9]["name"], "est")

    def test_each_tag_shows_what_is_documented(self):
        ids = (ROOT / "source" / "TraceTagIds.h").read_text()
        self.assertEqual([row[0] for row in table("Id")], re.findall(r"constexpr .* = (\d+);", ids))
        for number, shows, where in table("Id"):
            with self.subTest(id=number):
                shutil.rmtree(self.data / "certstore", ignore_errors=True)
                self.write_tags(f"Tag : {number} : yes\n")
                records = [line.split(" | ")[3:] for line in self.init().splitlines()]
                self.assertEqual({function.split("::")[0] for function, _ in records},
                                 {code(where)})
                is_scope = [message in ("In", "Out") for _, message in records]
                self.assertEqual(set(is_scope), {shows.startswith("entry to and exit from")})


class Records(Site):
    def test_are_those_that_are_shown(self):
        self.init()
        self.write_tags(block("cfg"))
        written = self.init().replace(str(self.data), "/var/lib/kestrix")
        self.assertEqual(normal(written), normal(block("text records")))

    def test_leave_out_the_tag_as_shown(self):
        self.write_tags(block("cfg"))
        written = self.init(QV_TRACE_TAG_NAMES="no")
        self.assertIn(normal(block("text nameless")), normal(written))

    def test_of_errors_are_all_that_an_engine_writes_that_nobody_configured(self):
        (self.tags / "qvsslinit.cfg").unlink()
        self.assertEqual(self.init(), "")
        self.replace_crypto_library()
        written = self.init(status=1).replace(
            "minimal_host: OpenSSL is not ready; qvsslinit-doctor tells why\n", "")
        self.assertEqual(normal(written), normal(block("text error")))

    def replace_crypto_library(self):
        """By one that has none of the functions."""
        subprocess.run([COMPILER, "-shared", "-o", self.lib / "libeay32.dylib", "-x", "c++",
                        "/dev/null"], check=True)

    def test_of_errors_do_not_tell_of_a_missing_library_but_tag_4_does(self):
        (self.lib / "libeay32.dylib").unlink()
        for tags, functions in ((ALL_TAGS, ["SslInitializerImplementation::initialize"] * 2),
                                ("", [])):
            self.write_tags(tags)
            records = [line.split(" | ") for line in self.init(status=1).splitlines()]
            self.assertEqual([record[3] for record in records if len(record) > 1], functions)

    def test_escape_line_ends_as_shown(self):
        data = self.root / "two\nlines"
        data.mkdir()
        written = self.init(QVPUBAPPDATADIR=str(data)).replace(str(self.root), "/srv")
        self.assertIn(normal(block("text escaped")),
                      normal(written.replace("| Tag5 |", "| Certificate |")))

    def test_escape_control_characters_and_backslashes(self):
        data = self.root / "a\tb\\c"
        data.mkdir()
        self.assertIn(r"/a\x09b\\c/certstore/'", self.init(QVPUBAPPDATADIR=str(data)))

    def test_are_cut_to_511_bytes_behind_the_time(self):
        data = self.root
        for _ in range(5):
            data = data / ("d" * 120)
        data.mkdir(parents=True)
        lines = self.init(QVPUBAPPDATADIR=str(data)).splitlines()
        self.assertEqual(max(len(re.sub(rf"^{TIME} ", "", line)) for line in lines), 511)


class Rotation(Site):
    def lines(self, path):
        return path.read_text().splitlines() if path.exists() else []

    def logrotate(self):
        """Applies the stanza, whether a week is over or not."""
        stanza = self.root / "stanza"
        stanza.write_text(self.here(block("logrotate")))
        stanza.chmod(0o644)
        # As the page has it made: where others may write, no file is rotated.
        self.logs.chmod(0o700)
        return subprocess.run(["logrotate", "--force", "--state", self.root / "state", stanza], check=True,
                              capture_output=True, text=True,
                              env=self.environment | {"PATH": f"{os.environ['PATH']}:/usr/sbin"}).stderr

    def test_by_the_stanza_loses_nothing(self):
        if shutil.which("logrotate", path=f"{os.environ['PATH']}:/usr/sbin") is None:
            self.skipTest("logrotate is not installed: scripts/bootstrap servers")
        self.assertIn(f"QV_TRACE_OUTPUT={block('logrotate').split()[0]} ", block("sh run"))
        host = Host(self, QV_TRACE_OUTPUT=str(self.trace))
        for handle in (1, 2, 3):
            host.do("cycle 1")
            until(lambda: self.trace.exists() and f"handle={handle}, refCount_=0" in self.trace.read_text())
            self.assertEqual(self.logrotate(), "")
        self.assertFalse(self.trace.exists())
        host.do("cycle 1")
        host.end()
        self.assertEqual(self.logrotate(), "")
        self.assertEqual(sorted(file.name for file in self.logs.iterdir()),
                         ["trace.log.1", *(f"trace.log.{age}.gz" for age in (2, 3, 4))])
        traces = [(self.logs / "trace.log.1").read_text()]
        for age in (2, 3, 4):
            with gzip.open(self.logs / f"trace.log.{age}.gz", "rt") as old:
                traces.append(old.read())
        for handle, trace in zip((4, 3, 2, 1), traces):
            self.assertIn(f"returning status=ok, handle={handle}, refCount_=1", trace)
            self.assertIn(f"returning status=ok, handle={handle}, refCount_=0", trace)

    def test_a_rename_loses_nothing(self):
        host = Host(self, QV_TRACE_OUTPUT=str(self.trace))
        host.do("cycle 1")
        until(lambda: self.trace.exists() and "refCount_=0" in self.trace.read_text())
        renamed = self.logs / "trace.log.1"
        self.trace.rename(renamed)
        host.do("cycle 1")
        until(lambda: self.lines(self.trace))
        self.trace.unlink()
        host.do("cycle 1")
        host.end()
        self.assertIn("handle=1,", renamed.read_text())
        self.assertIn("handle=3,", self.trace.read_text())
        self.assertEqual(stat.S_IMODE(self.trace.stat().st_mode), 0o600)

    def test_a_rename_in_the_midst_loses_nothing(self):
        once = Host(self, QV_TRACE_OUTPUT=str(self.root / "reference"))
        once.do("cycle 1")
        once.do("cycle 200")
        once.end()
        host = Host(self, QV_TRACE_OUTPUT=str(self.trace), QV_TRACE_BLOCKS="65536")
        host.do("cycle 1")
        for number in range(1, 6):
            host.do("cycle 40")
            until(self.trace.exists)
            self.trace.rename(self.logs / f"trace.log.{number}")
        host.end()
        handles = [line for path in self.logs.iterdir() for line in self.lines(path)
                   if "LoadLibrary | returning" in line]
        numbers = sorted(int(re.search(r"handle=(\d+)", line).group(1)) for line in handles)
        self.assertEqual(numbers, list(range(1, 202)))

    def test_while_no_new_file_can_be_made_the_old_one_is_written(self):
        host = Host(self, QV_TRACE_OUTPUT=str(self.trace))
        host.do("cycle 1")
        until(self.trace.exists)
        moved = self.root / "moved"
        self.logs.rename(moved)
        host.do("cycle 1")
        host.end()
        self.assertIn("handle=2,", (moved / "trace.log").read_text())
        self.assertFalse(self.logs.exists())


class Losses(Site):
    def expected(self, cycles):
        """How many records so many cycles write."""
        path = self.root / "reference"
        host = Host(self, QV_TRACE_OUTPUT=str(path))
        host.do("cycle 1")
        host.end()
        first = len(path.read_text().splitlines())
        path.unlink()
        host = Host(self, QV_TRACE_OUTPUT=str(path))
        host.do("cycle 2")
        host.end()
        second = len(path.read_text().splitlines()) - first
        return first + (cycles - 1) * second

    def assert_accounted_for(self, text, records, host):
        """Each line is whole; what is missing has been counted, and something is missing."""
        found = dropped = 0
        for line in text.splitlines():
            count = DROPPED.fullmatch(line)
            if count:
                self.assertEqual(int(count.group(2)), host.process.pid)
                dropped += int(count.group(1))
                shown = DROPPED.fullmatch(block("text dropped").rstrip("\n"))
                self.assertEqual(re.sub(r"\d+", "N", line), re.sub(r"\d+", "N", shown.group()))
            else:
                self.assertTrue(RECORD.match(line), line)
                found += 1
        self.assertGreater(dropped, 0)
        self.assertEqual(found + dropped, records)

    @contextlib.contextmanager
    def narrow_pipe(self):
        """A pipe in the place of the file, and its end for reading."""
        os.mkfifo(self.trace)
        reader = os.open(self.trace, os.O_RDONLY | os.O_NONBLOCK)
        fcntl.fcntl(reader, fcntl.F_SETPIPE_SZ, 4096)
        os.set_blocking(reader, True)
        try:
            yield reader
        finally:
            os.close(reader)

    def test_records_without_a_block_are_dropped_and_counted(self):
        self.init()
        records = self.expected(50)
        with self.narrow_pipe() as reader:
            host = Host(self, QV_TRACE_OUTPUT=str(self.trace), QV_TRACE_BLOCKS="1")
            host.do("cycle 50")
            # Before the engine has opened the pipe its end would seem to be there.
            until(lambda: select.select([reader], [], [], 0)[0])
            host.process.stdin.close()
            text = b""
            while piece := os.read(reader, 65536):
                text += piece
            self.assertEqual(host.process.wait(timeout=60), 0)
            host.process.stdout.close()
            host.process.stderr.close()
        self.assert_accounted_for(text.decode(), records, host)

    def test_an_exit_waits_two_seconds_for_a_file_that_takes_nothing(self):
        with self.narrow_pipe():
            host = Host(self, QV_TRACE_OUTPUT=str(self.trace))
            host.do("cycle 50")
            start = time.monotonic()
            host.end()
            self.assertGreaterEqual(time.monotonic() - start, 1.9)

    def test_a_full_disk_disturbs_nobody_and_what_does_not_fit_is_counted(self):
        self.init()
        host = Host(self, QV_TRACE_OUTPUT=str(self.trace))
        host.do("cycle 1")
        until(lambda: self.trace.exists() and self.trace.stat().st_size > 0)
        cycles = 1

        def dropped():
            nonlocal cycles
            host.do(f"limit {self.trace.stat().st_size + 5}")
            host.do("cycle 1")
            host.do("limit -1")
            host.do("cycle 1")
            cycles += 2
            return "dropped" in self.trace.read_text()

        until(dropped)
        host.end()
        self.assert_accounted_for(self.trace.read_text(), self.expected(cycles), host)

    def test_a_child_traces_to_the_same_file_and_repeats_nothing_of_the_parent(self):
        host = Host(self, QV_TRACE_OUTPUT=str(self.trace))
        host.do("cycle 1")
        host.do("fork")
        host.do("cycle 1")
        host.end()
        handles = re.findall(r"LoadLibrary \| returning status=ok, handle=(\d+)",
                             self.trace.read_text())
        # The child goes on counting where the parent was.
        self.assertEqual(sorted(handles), ["1", "2", "2"])


class OwnEngine(Site):
    def setUp(self):
        super().setUp()
        self.tree = self.source_tree()
        (self.tree / "my_engine.cpp").write_text(block("cpp"))
        tools = self.root / "tools"
        tools.mkdir()
        compiler = tools / "c++"
        compiler.write_text(f'#!/bin/sh\nexec {shlex.quote(COMPILER)} "$@" $MORE_OPTIONS\n')
        compiler.chmod(0o755)
        self.environment["PATH"] = f"{tools}:{self.environment['PATH']}"
        (self.lib / ENGINE).unlink()
        self.own_tags = self.root / "own"
        self.own_tags.mkdir()
        (self.own_tags / "qvsslinit.cfg").write_text("RefCount : 1 : yes\n")
        self.environment["MY_TRACE_DIRECTORY"] = str(self.own_tags)

    def build(self, **variables):
        self.assertEqual(self.run_lines("sh engine", self.tree, **variables), "")
        shutil.move(self.tree / ENGINE, self.lib / ENGINE)

    def test_the_example_writes_what_is_shown(self):
        self.assertEqual(self.init(), "")
        self.build()
        written = self.init()
        self.assertEqual(normal(written), normal(block("text engine")))
        for line in written.splitlines():
            self.assertLess(abs(int(line.split()[0]) - time.time()), 600)

    def test_the_example_writes_error_records_without_a_null_character(self):
        self.build()
        subprocess.run([COMPILER, "-shared", "-o", self.lib / "libeay32.dylib", "-x", "c++",
                        "/dev/null"], check=True)
        self.assertIn("may be missing.\n", self.init(status=1))

    def test_the_example_exports_the_entry_point_and_takes_its_directory(self):
        self.build()
        self.assertEqual(self.doctor("engine")["engine"]["config_directory"].rstrip("/"),
                         str(self.own_tags))

    def test_an_engine_without_type_information_is_not_used(self):
        self.build(MORE_OPTIONS="-fno-rtti")
        self.assertEqual(self.init(), "")

    def test_an_engine_that_leaves_its_status_alone_has_failed(self):
        text = block("cpp")
        self.assertEqual(text.count("status.clear();"), 1)
        (self.tree / "my_engine.cpp").write_text(text.replace("status.clear();", "return engine;"))
        self.build()
        self.assertEqual(self.init(), "")

    def test_is_asked_for_version_0(self):
        text = block("cpp")
        self.assertEqual(text.count("version == 0"), 1)
        (self.tree / "my_engine.cpp").write_text(text.replace("version == 0", "version != 0"))
        self.build()
        self.assertEqual(self.init(), "")

    def test_the_slots_are_in_the_order_documented(self):
        operations = []
        for header in ("kit/IRefCounted.h", "source/client/ITraceEngine.h"):
            operations += re.findall(r"^  virtual .*?(\w+)\(", (ROOT / header).read_text(), re.M)
        self.assertEqual([(row[0], code(row[1])) for row in table("Slot")],
                         [(str(slot), name) for slot, name in enumerate(operations)])

    def test_blocks_are_laid_out_as_documented(self):
        members = ["used_", "enginesOwn_", "timeStamp_", "type_", "payload_", "factory_"]
        rows = table("Field")
        self.assertEqual(len(rows), len(members) + 2)
        for column, option in ((1, "-m32"), (2, "-m64")):
            lines = ['#include <cstddef>', '#include "source/utils/LoggingBlock.h"',
                     "using Block = qv::traceengine::LoggingBlock;",
                     f"static_assert(sizeof(Block) == {rows[-1][column]});"]
            self.assertEqual(rows[0][column], "0")
            for member, row in zip(members, rows[1:-1]):
                lines.append(f"static_assert(offsetof(Block, {member}) == {row[column]});")
                if row[3] != "a pointer":
                    lines.append(f"static_assert(sizeof(Block::{member}) == {row[3]});")
            subprocess.run([COMPILER, option, "-std=c++17", "-fno-access-control",
                            "-Wno-invalid-offsetof", "-fsyntax-only", f"-I{ROOT}", "-x", "c++",
                            "-"], input="\n".join(lines) + "\n", text=True, check=True)


if __name__ == "__main__":
    unittest.main()
