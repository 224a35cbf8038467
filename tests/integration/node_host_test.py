"""The host in Node.js and its addon, built and started as docs/hosting.md has it.

usage: node_host_test.py BUILD_DIRECTORY NODE C_COMPILER NODE_HEADERS ADDON [TestCase.test]
"""

import http.client
import pathlib
import re
import shlex
import shutil
import signal
import socket
import sys
import unittest

sys.dont_write_bytecode = True
from server_site import DEFAULT_STORE, SOURCES, Site, block

Site.build = pathlib.Path(sys.argv.pop(1)).resolve()
NODE = sys.argv.pop(1)
COMPILER = sys.argv.pop(1)
HEADERS = sys.argv.pop(1)
ADDON = pathlib.Path(sys.argv.pop(1)).resolve()
EXAMPLE = SOURCES / "examples" / "node"
SERVED = (200, b"Served over HTTPS with the default certificate.\n")
LEVEL = "SECLEVEL=1"

# An addon with what others have: an external value, and an object that leads to data of theirs.
OTHER_ADDON = """
#include <node_api.h>
static const int data[4];
NAPI_MODULE_INIT() {
  napi_value external, wrapped;
  napi_create_external(env, (void *)data, NULL, NULL, &external);
  napi_set_named_property(env, exports, "external", external);
  napi_create_object(env, &wrapped);
  napi_wrap(env, wrapped, (void *)data, NULL, NULL, NULL);
  napi_set_named_property(env, exports, "wrapped", wrapped);
  return exports;
}
"""


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
        self.run_before("process.on('beforeExit', () => process.exit());")

    def run_before(self, text):
        """Has each Node.js run a script before its own."""
        (self.root / "before.js").write_text(text)
        self.environment["NODE_OPTIONS"] = "--require ./before.js"

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

    def test_serves_on_the_loopback_interface_alone_and_nothing_older_than_tls_1_2(self):
        host, address = self.start()
        self.expect_loopback_alone(address)
        self.expect_nothing_old(address, "protocol version")
        self.stop(host)

    def test_looks_for_the_pair_where_the_library_does(self):
        self.run_before("""require.extensions['.node'] = (module) => {
              module.exports = { init: () => ({}), uninit() {} };
            };
            const fs = require('node:fs'), read = fs.readFileSync;
            fs.readFileSync = (file, ...rest) => {
              if (/server_0/.test(file)) throw Error(`asked for ${file}`);
              return read(file, ...rest);
            };""")
        for variable, store in ((None, DEFAULT_STORE), ("", DEFAULT_STORE), ("kestrix", DEFAULT_STORE),
                                ("/srv/kestrix", "/srv/kestrix")):
            self.environment.pop("QVPUBAPPDATADIR", None)
            if variable is not None:
                self.environment["QVPUBAPPDATADIR"] = variable
            self.assertEqual(self.run_to_its_end(*self.command()),
                             (1, f"https_host.js: asked for {store}/certstore/server_certs/server_0.cer\n"))

    def test_ends_at_once_when_its_connections_are_idle(self):
        # Neither of its own limits, nor Node's, comes to the help of this test.
        text = self.host.read_text()
        self.assertIn("PATIENCE = 5000;", text)
        self.host.write_text(text.replace("PATIENCE = 5000;", "PATIENCE = 600000;"))
        self.run_before("""const https = require('node:https'), create = https.createServer;
            https.createServer = (options, answer) =>
              create({ ...options, keepAliveTimeout: 600000 }, answer);""")
        host, address = self.start()
        connection = http.client.HTTPSConnection(*address, timeout=60, context=self.client())
        self.addCleanup(connection.close)
        connection.request("GET", "/")
        self.assertEqual(connection.getresponse().read(), SERVED[1])
        self.assertIsNotNone(connection.sock)
        self.stop(host)

    def test_ends_although_clients_say_nothing_or_are_never_done(self):
        host, address = self.start()
        with socket.create_connection(address, timeout=60) as silent, self.dripping(address):
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
        self.script("""const first = init(), second = init();
            uninit(first); uninit(first); uninit(second);""")
        self.assertEqual(self.results(), [("1", "1"), ("2", "2"), ("1", "1"), ("2", "0")])

    def test_addon_takes_nothing_for_a_handle_that_is_none(self):
        (self.root / "other.c").write_text(OTHER_ADDON)
        self.assertEqual(self.run_to_its_end(COMPILER, "-shared", "-fPIC", "-I", HEADERS, "-o", "other.node",
                                             "other.c"), (0, ""))
        said = self.script("""const handle = init(), { external, wrapped } = require('./other.node');
            const strangers = [undefined, null, 7, 'handle', {}, init, external, wrapped, Object.create(handle)];
            for (const stranger of strangers)
              try { uninit(stranger); } catch (error) { console.log(error.name, error.message); }
            try { uninit(); } catch (error) { console.log(error.name, error.message); }
            uninit(handle);""")
        self.assertEqual(said, "TypeError uninit: that is no handle\n" * 10)
        self.assertEqual(self.results(), [("1", "1"), ("1", "0")])

    def test_addon_shares_the_openssl_of_a_node_that_has_none_inside(self):
        maps = "console.log([...require('fs').readFileSync('/proc/self/maps', 'utf8')" \
               ".matchAll(/\\S+[/]libcrypto[.]so\\S*/g)].map(([file]) => file).join(' '));\n"
        before, after = (set(line.split()) for line in
                         self.script(f"{maps}const handle = init();\n{maps}uninit(handle);").splitlines())
        if not before:
            self.skipTest("this Node.js has an OpenSSL inside; only another, as Debian's, shares the system's")
        self.assertEqual((len(before), after), (1, before))

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
    unittest.main(verbosity=2)
