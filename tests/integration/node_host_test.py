"""The host in Node.js and its addon, built and started as docs/hosting.md has it.

usage: node_host_test.py BUILD_DIRECTORY NODE C_COMPILER NODE_HEADERS ADDON [TestCase.test]
"""

import pathlib
import re
import shlex
import shutil
import signal
import socket
import sys
import unittest

sys.dont_write_bytecode = True
from server_site import SOURCES, Site, block

Site.build = pathlib.Path(sys.argv.pop(1)).resolve()
NODE = sys.argv.pop(1)
COMPILER = sys.argv.pop(1)
HEADERS = sys.argv.pop(1)
ADDON = pathlib.Path(sys.argv.pop(1)).resolve()
EXAMPLE = SOURCES / "examples" / "node"
SERVED = (200, b"Served over HTTPS with the default certificate.\n")
LEVEL = "SECLEVEL=1"


class NodeHost(Site):
    def setUp(self):
        super().setUp()
        self.host = pathlib.Path(shutil.copy(EXAMPLE / "https_host.js", self.root))
        self.addon = pathlib.Path(shutil.copy(ADDON, self.root))

    def command(self, port="0"):
        _, program, _ = shlex.split(block("sh node"))
        return [NODE, program, port]

    def start(self):
        return self.launch_host(*self.command())

    def stop(self, host, by=signal.SIGTERM):
        self.assertEqual(self.stop_host(host, by), "")

    def script(self, text, *options):
        """What a script says that has the addon's two functions."""
        lines = f"const {{ init, uninit }} = require('{self.addon}');\n{text}"
        status, output = self.run_to_its_end(NODE, *options, "-e", lines)
        self.assertEqual(status, 0, output)
        return output

    def results(self):
        """Handle and count of handles, as the library traced them for each Init and Uninit."""
        return [re.search(r"handle=(\d+), refCount_=(\d+)\n", line).groups()
                for line in self.records() if "returning status=ok" in line]

    def collect_nothing_at_the_end(self):
        """Has process.exit() end each Node.js, which keeps the handles that nobody gave back."""
        (self.root / "exit.js").write_text("process.on('beforeExit', () => process.exit());\n")
        self.environment["NODE_OPTIONS"] = "--require ./exit.js"

    def test_serves_with_the_pair_that_init_made_and_keeps_it_at_the_next_start(self):
        self.collect_nothing_at_the_end()
        host, address = self.start()
        self.assertEqual(self.fetch(address, self.client()), SERVED)
        first = self.pair()
        self.stop(host)
        host, address = self.start()
        self.assertEqual(self.pair(), first)
        self.assertEqual(self.fetch(address, self.client()), SERVED)
        self.stop(host, signal.SIGINT)
        self.assertEqual(self.results(), [("1", "1"), ("1", "0")] * 2)

    def test_ends_although_a_client_says_nothing(self):
        host, address = self.start()
        with socket.create_connection(address, timeout=60) as silent:
            self.assertEqual(self.fetch(address, self.client()), SERVED)
            self.stop(host)
            self.assertEqual(silent.recv(1), b"")
        self.assertEqual(self.results()[-1], ("1", "0"))

    def test_says_why_it_does_not_serve_and_gives_the_handle_back(self):
        self.collect_nothing_at_the_end()
        with socket.socket() as taken:
            taken.bind(("127.0.0.1", 0))
            taken.listen()
            port = taken.getsockname()[1]
            self.assertEqual(self.run_to_its_end(*self.command(str(port))),
                             (1, f"https_host.js: listen EADDRINUSE: address already in use 127.0.0.1:{port}\n"))
        self.assertEqual(self.results().pop(), ("1", "0"))
        self.assertIn(LEVEL, self.host.read_text())
        # The level that Debian's OpenSSL has by itself.
        self.host.write_text(self.host.read_text().replace(LEVEL, "SECLEVEL=2"))
        status, output = self.run_to_its_end(*self.command())
        self.assertEqual(status, 1)
        self.assertRegex(output, rf"\A{re.escape(block('text node').rstrip())}\s\Z")
        self.assertEqual(self.results().pop(), ("1", "0"))

    def test_addon_throws_where_openssl_is_not_ready(self):
        for name in ("libqvsslinit.so.1", "libqv_traceengine.dylib"):
            shutil.copy(self.build / "lib" / name, self.root)
        self.environment["LD_LIBRARY_PATH"] = str(self.root)
        said = self.script("try { init(); } catch (error) { console.log(error.message); }")
        self.assertEqual(said, "init: OpenSSL is not ready; qvsslinit-doctor tells why\n")

    def test_addon_leaves_a_handle_to_whoever_ends_the_process(self):
        self.collect_nothing_at_the_end()
        self.script("globalThis.held = init();")
        self.assertEqual(self.results(), [("1", "1")])

    def test_addon_gives_a_handle_back_once(self):
        said = self.script("""const first = init(), second = init();
            uninit(first); uninit(first); uninit(second);
            for (const stranger of [undefined, null, 7, 'handle', {}])
              try { uninit(stranger); } catch (error) { console.log(error.message); }""")
        self.assertEqual(said, "uninit: that is no handle\n" * 5)
        self.assertEqual(self.results(), [("1", "1"), ("2", "2"), ("1", "1"), ("2", "0")])

    def test_addon_gives_back_what_is_collected_be_it_a_workers(self):
        # Finalizers run when the engine likes: the script waits for the record.
        self.script("""const done = () => require('fs').readFileSync('trace.log').includes('handle=2, refCount_=0');
            const collect = () => { gc(); done() ? process.exit(0) : setImmediate(collect); };
            new (require('worker_threads').Worker)(
                `globalThis.held = require('%s').init();`, { eval: true })
              .on('exit', () => { (() => { init(); })(); collect(); });""" % self.addon, "--expose-gc")
        self.assertEqual(self.results(), [("1", "1"), ("1", "0"), ("2", "1"), ("2", "0")])

    def test_takes_the_addon_that_the_document_builds(self):
        self.addon.unlink()
        shutil.copy(EXAMPLE / "qvsslinit_node.c", self.root)
        lines = block("sh addon").replace("/usr/include/node", HEADERS)
        lines = lines.replace("/opt/server/include", str(SOURCES / "include"))
        lines = re.sub("^cc ", f"{COMPILER} ", self.here(lines))
        self.assertEqual(self.run_to_its_end("sh", "-c", lines), (0, ""))
        host, address = self.start()
        self.assertEqual(self.fetch(address, self.client()), SERVED)
        self.stop(host)


if __name__ == "__main__":
    unittest.main()
