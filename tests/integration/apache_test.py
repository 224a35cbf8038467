"""Apache httpd with examples/mod_qvsslinit, built and configured as docs/hosting.md has it.

usage: apache_test.py BUILD_DIRECTORY APACHE APXS MODULE C_COMPILER [TestCase.test]
"""

import concurrent.futures
import os
import pathlib
import re
import shutil
import signal
import sys
import threading
import unittest

sys.dont_write_bytecode = True
from server_site import SOURCES, Site, block

Site.build = pathlib.Path(sys.argv.pop(1)).resolve()
APACHE = sys.argv.pop(1)
APXS = sys.argv.pop(1)
MODULE = pathlib.Path(sys.argv.pop(1)).resolve()
COMPILER = sys.argv.pop(1)
PAGE = b"".join(b"Line %05d of a page of the site.\n" % number for number in range(250))
LEVEL = "    SSLCipherSuite        DEFAULT@SECLEVEL=1\n"
LIBRARY = "QvSslInitLibrary /opt/server/lib/libqvsslinit.so.1\n"

# What Debian has below /etc and /var, for any user and for several servers at a time. Children end after
# a few hundred connections, so that there are many of them.
AROUND = """
ServerRoot {root}
DefaultRuntimeDir {root}
PidFile {root}/apache.pid
Mutex file:{root}
ServerName localhost
ErrorLog {root}/error.log
LogLevel warn mpm_{mpm}:notice qvsslinit:info
KeepAlive Off
MaxConnectionsPerChild 250
StartServers 4
LoadModule mpm_{mpm}_module {modules}/mod_mpm_{mpm}.so
LoadModule authz_core_module {modules}/mod_authz_core.so
LoadModule ssl_module {modules}/mod_ssl.so
<IfModule !mpm_prefork_module>
    ThreadsPerChild 4
    MaxRequestWorkers 16
</IfModule>
{site}
"""
# A library that is ready in the process that loads it, and in no child.
READY_IN_THE_PARENT = """
#include <unistd.h>
static pid_t parent;
__attribute__((constructor)) static void load(void) { parent = getpid(); }
void *QVSSLINIT_Init(void) { return getpid() == parent ? &parent : NULL; }
void QVSSLINIT_Uninit(void *handle) { (void)handle; }
"""
AS_ROOT = "User nobody\nGroup nogroup\n"


class Apache(Site):
    def setUp(self):
        super().setUp()
        (self.root / "index.html").write_bytes(PAGE)
        self.address = self.own_address()
        self.log = self.root / "error.log"

    def site(self):
        host, port = self.address
        lines = block("apache").replace("/opt/server/lib/mod_qvsslinit.so", str(MODULE))
        lines = lines.replace("Listen 8443", f"Listen {host}:{port}").replace("*:8443", f"*:{port}")
        return self.here(lines).replace("/srv/www", str(self.root))

    def command(self, site, *options, mpm="prefork"):
        configuration = AROUND.format(root=self.root, mpm=mpm, site=site, modules="/usr/lib/apache2/modules")
        if os.geteuid() == 0:
            configuration += AS_ROOT
        (self.root / "apache.conf").write_text(configuration)
        return [APACHE, "-D", "FOREGROUND", "-f", self.root / "apache.conf", *options]

    def start(self, mpm):
        apache = self.launch(*self.command(self.site(), mpm=mpm))
        self.wait_for(lambda: self.resumed() == 1, "was ready", apache)
        return apache

    def make_better_pair(self):
        status, output = self.run_to_its_end("qvsslinit-cert", "--key", "p256")
        self.assertEqual(status, 0, output)

    def with_library(self, file):
        """The site with another library."""
        return re.sub("QvSslInitLibrary .*", f"QvSslInitLibrary {file}", self.site())

    def restart(self, apache, by):
        before = self.resumed()
        apache.send_signal(by)
        self.wait_for(lambda: self.resumed() > before, "resumed", apache)

    def stop(self, apache, by):
        apache.send_signal(by)
        self.assertEqual(apache.wait(timeout=60), 0)

    def logged(self, text):
        return self.log.read_text().count(text) if self.log.exists() else 0

    def resumed(self):
        return self.logged("configured -- resuming normal operations")

    def counts(self):
        """How many times the trace tells that so many handles were left."""
        told = re.findall(r"refCount_=(\d+)\n", "".join(self.records()))
        return {int(number): told.count(number) for number in set(told)}

    def fetch_all(self, number, at, act):
        """Fetches that many pages, several at a time; acts once each time that the count of pages is in at.
        What went wrong."""
        context = self.client()
        lock = threading.Lock()
        done = 0
        wrong = []

        def fetch_one(_):
            nonlocal done
            try:
                answer = self.fetch(self.address, context, "/index.html")
            except (OSError, ValueError) as error:
                answer = error
            with lock:
                done += 1
                if answer != (200, PAGE):
                    wrong.append(answer)
                due = done in at
            if due:
                act()

        with concurrent.futures.ThreadPoolExecutor(12) as clients:
            list(clients.map(fetch_one, range(number)))
        self.assertEqual(done, number)
        return wrong

    def check_restarts_under_load(self, mpm):
        apache = self.start(mpm)
        restarts = [750, 1500, 2250]

        def rotate():
            self.trace.rename(f"{self.trace}.{self.resumed()}")
            self.restart(apache, signal.SIGUSR1)

        self.assertEqual(self.fetch_all(3000, restarts, rotate), [])
        self.stop(apache, signal.SIGWINCH)
        self.assertEqual(self.resumed(), 1 + len(restarts))
        # The configuration is read once when the server starts, once more before it serves, and by each
        # restart. Each reading but the first takes a second handle and gives one back; the end, the last.
        # Each child takes a second handle and keeps it.
        readings = 1 + len(restarts)
        children = self.logged("mod_qvsslinit: OpenSSL is ready\n")
        self.assertGreater(children, 10)
        self.assertEqual(self.counts(), {0: 1, 1: 1 + readings, 2: readings + children})
        self.assertEqual(len(list(self.root.glob("trace.log*"))), 1 + len(restarts))

    def test_with_prefork_loses_no_request_and_no_record_over_rotations_and_graceful_restarts(self):
        self.check_restarts_under_load("prefork")

    def test_with_event_loses_no_request_and_no_record_over_rotations_and_graceful_restarts(self):
        self.check_restarts_under_load("event")

    def test_takes_a_handle_and_gives_the_former_one_back_at_an_ordinary_restart(self):
        apache = self.start("event")
        self.restart(apache, signal.SIGHUP)
        self.assertEqual(self.fetch(self.address, self.client(), "/index.html"), (200, PAGE))
        self.stop(apache, signal.SIGTERM)
        # Two readings at the start and one more. Children may be ended before they tell of theirs.
        counts = self.counts()
        self.assertEqual((counts.pop(0), counts.pop(1)), (1, 1 + 2))
        self.assertEqual(list(counts), [2])

    def test_goes_on_with_its_handle_where_a_restart_gets_none_and_takes_the_next(self):
        self.environment["LD_LIBRARY_PATH"] = str(self.build / "lib")
        apache = self.start("event")
        self.command(self.with_library(self.root / "missing.so"), mpm="event")
        for count, by in enumerate([signal.SIGUSR1, signal.SIGHUP], start=1):
            self.restart(apache, by)
            self.assertEqual(self.logged("mod_qvsslinit: going on with the former handle: QvSslInitLibrary: "
                                         f"{self.root}/missing.so: cannot open shared object file"), count)
            self.assertEqual(self.fetch(self.address, self.client(), "/index.html"), (200, PAGE))
        self.assertEqual(self.counts()[1], 1 + 1)
        # What the line said is forgotten with it.
        self.command(self.site().replace(self.here(LIBRARY), ""), mpm="event")
        self.restart(apache, signal.SIGUSR1)
        self.assertEqual(self.logged("going on with the former handle"), 2)
        self.assertEqual(self.counts()[1], 1 + 2)
        self.stop(apache, signal.SIGTERM)
        self.assertTrue(self.records()[-1].endswith("refCount_=0\n"))

    def test_serves_in_a_child_without_a_handle_of_its_own(self):
        self.make_better_pair()
        (self.root / "double.c").write_text(READY_IN_THE_PARENT)
        double = self.root / "double.so"
        self.assertEqual(self.run_to_its_end(COMPILER, "-shared", "-fPIC", "-o", double, "double.c"), (0, ""))
        apache = self.launch(*self.command(self.with_library(double)))
        self.wait_for(lambda: self.resumed() == 1, "was ready", apache)
        self.assertEqual(self.fetch(self.address, self.client(), "/index.html"), (200, PAGE))
        self.assertGreater(self.logged(
            "mod_qvsslinit: no handle for this child, which goes on with its parent's"), 0)
        self.assertEqual(self.logged("mod_qvsslinit: OpenSSL is ready"), 0)
        self.stop(apache, signal.SIGTERM)

    def test_makes_the_pair_where_it_only_tests_its_configuration(self):
        status, output = self.run_to_its_end(*self.command(self.site(), "-t"))
        self.assertEqual((status, output.splitlines()[-1]), (0, "Syntax OK"), output)
        self.pair()
        self.assertEqual(self.counts(), {0: 1, 1: 1})

    def test_takes_one_library_for_all_virtual_hosts(self):
        self.environment["LD_LIBRARY_PATH"] = str(self.build / "lib")
        line = self.here(LIBRARY)
        site = self.site().replace(line, "").replace("    SSLEngine", f"{line}    SSLEngine")
        self.assertEqual(site.count(line), 1)
        status, output = self.run_to_its_end(*self.command(site, "-t"))
        self.assertEqual(status, 1)
        self.assertIn("QvSslInitLibrary cannot occur within <VirtualHost> section", output)

    def test_has_the_pair_of_its_first_start_and_gives_the_handle_back_when_it_is_stopped(self):
        for mpm in ("prefork", "event"):
            apache = self.start(mpm)
            first = self.pair()
            self.assertEqual(self.fetch(self.address, self.client(), "/index.html"), (200, PAGE))
            self.expect_nothing_old(self.address)
            self.stop(apache, signal.SIGTERM)
            self.assertTrue(self.records()[-1].endswith("refCount_=0\n"))
            self.assertEqual(self.pair(), first)
            self.trace.unlink()
            self.log.unlink()

    def test_refuses_that_pair_without_the_line_that_lowers_its_level(self):
        self.assertIn(LEVEL, block("apache"))
        self.assertEqual(self.run_to_its_end(*self.command(self.site().replace(LEVEL, "")))[0], 1)
        for line in self.here(block("text apache")).splitlines():
            self.assertIn(line, self.log.read_text())
        self.assertTrue(self.records()[-1].endswith("refCount_=0\n"))

    def test_does_not_start_without_the_library_and_says_why(self):
        # Nothing else is missing.
        self.make_better_pair()
        for name, problem in (("missing.so", "QvSslInitLibrary: .*cannot open shared object file"),
                              ("libqvsslinit.so", "OpenSSL is not ready; qvsslinit-doctor tells why")):
            shutil.copy(self.build / "lib" / "libqvsslinit.so", self.root / "libqvsslinit.so")
            status, output = self.run_to_its_end(*self.command(self.with_library(self.root / name), "-t"))
            self.assertEqual(status, 1)
            self.assertRegex(output, f"mod_qvsslinit: .*{problem}")
        output = self.run_to_its_end(*self.command(self.with_library(name), "-t"))[1]
        self.assertIn("QvSslInitLibrary: the path is not absolute", output)

    def test_takes_the_module_that_apxs_builds(self):
        work = self.root / "module"
        shutil.copytree(SOURCES / "examples" / "mod_qvsslinit", work)
        lines = block("sh apxs").replace("/opt/server/include", str(SOURCES / "include"))
        lines = lines.replace("/opt/server/lib/", f"{work}/").replace("apxs ", f"{APXS} ")
        status, output = self.run_to_its_end("sh", "-e", "-c", f"cd {work}\n{lines}")
        self.assertEqual(status, 0, output)
        self.assertNotIn("warning", output)
        site = self.site().replace(str(MODULE), str(work / "mod_qvsslinit.so"))
        status, output = self.run_to_its_end(*self.command(site, "-t"))
        self.assertEqual((status, output.splitlines()[-1]), (0, "Syntax OK"), output)


if __name__ == "__main__":
    unittest.main()
