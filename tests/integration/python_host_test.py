"""The host in Python, as docs/hosting.md starts it.

usage: python_host_test.py BUILD_DIRECTORY [TestCase.test]
"""

import contextlib
import pathlib
import shlex
import shutil
import signal
import socket
import sys
import unittest

sys.dont_write_bytecode = True
from server_site import DEFAULT_STORE, SOURCES, Site, block

Site.build = pathlib.Path(sys.argv.pop(1)).resolve()


class PythonHost(Site):
    def command(self, port="0", **paths):
        python, program, _, library = shlex.split(self.here(block("sh python")))
        return [python, SOURCES / "examples" / program, port, paths.get("library", library)]

    def start(self):
        return self.launch_host(*self.command())

    def script(self, text):
        """Status and output of a script that has the host as a module."""
        python, *_ = self.command()
        self.environment["PYTHONPATH"] = str(SOURCES / "examples")
        return self.run_to_its_end(python, "-B", "-c", f"import host\n{text}")

    def test_serves_a_page_with_the_pair_that_init_made(self):
        host, address = self.start()
        self.assertEqual(self.fetch(address, self.client()),
                         (200, b"Served over HTTPS with the default certificate.\n"))
        self.assertRegex(self.stop_host(host), r'\A127\.0\.0\.1 .* "GET / HTTP/1\.0" 200 -\n\Z')

    def test_serves_on_the_loopback_interface_alone_and_nothing_older_than_tls_1_2(self):
        host, address = self.start()
        self.expect_loopback_alone(address)
        self.expect_nothing_old(address, "protocol version")
        self.assertNotIn("Traceback", self.stop_host(host))

    def test_takes_by_default_the_library_that_the_dynamic_loader_finds(self):
        self.environment["LD_LIBRARY_PATH"] = str(self.build / "lib")
        python, program, *_ = self.command()
        host, _ = self.launch_host(python, program)
        self.assertIn(f"{self.build}/lib/libqvsslinit.so.1", pathlib.Path(f"/proc/{host.pid}/maps").read_text())
        self.stop_host(host)

    def test_looks_for_the_pair_where_the_library_does(self):
        for variable, store in ((None, DEFAULT_STORE), ("", DEFAULT_STORE), ("kestrix", DEFAULT_STORE),
                                ("/srv/kestrix", "/srv/kestrix")):
            self.environment.pop("QVPUBAPPDATADIR", None)
            if variable is not None:
                self.environment["QVPUBAPPDATADIR"] = variable
            pair = f"{store}/certstore/server_certs/server_0"
            self.assertEqual(self.script("print(*host.default_pair())"), (0, f"{pair}.cer {pair}.key\n"))

    def test_tells_ctypes_that_a_handle_is_a_pointer(self):
        *_, library = self.command()
        status, said = self.script(
            f"library = host.load({library!r})\n"
            "for function in library.QVSSLINIT_Init, library.QVSSLINIT_Uninit:\n"
            "    print(*(kind and kind.__name__ for kind in [function.restype, *function.argtypes]))\n")
        self.assertEqual((status, said), (0, "LP_QvSslInitHandle\nNone LP_QvSslInitHandle\n"))

    def test_keeps_the_pair_at_the_next_start(self):
        host, _ = self.start()
        first = self.pair()
        self.stop_host(host)
        host, address = self.start()
        self.assertEqual(self.pair(), first)
        self.assertEqual(self.fetch(address, self.client())[0], 200)

    def test_gives_its_handle_back_on_either_signal(self):
        for by in (signal.SIGTERM, signal.SIGINT):
            host, address = self.start()
            self.fetch(address, self.client())
            self.stop_host(host, by)
            given, gone, returned = [line.split(" | ")[-1] for line in self.records()]
            self.assertEqual(given, "returning status=ok, handle=1, refCount_=1\n")
            self.assertEqual(gone, "refCount_ became zero, so unloading SSL libraries\n")
            self.assertEqual(returned, "returning status=ok, handle=1, refCount_=0\n")
            self.trace.unlink()

    def test_answers_who_is_connected_when_it_ends_but_waits_for_nobody_who_is_silent_or_never_done(self):
        host, address = self.start()
        with socket.create_connection(address, timeout=60) as silent, self.dripping(address), \
             socket.create_connection(address, timeout=60) as late:
            self.assertEqual(self.fetch(address, self.client())[0], 200)
            host.send_signal(signal.SIGTERM)
            self.wait_for(lambda: not self.listens(address), "stopped listening", host)
            self.assertEqual(self.ask(late, self.client())[0], 200)
            self.assertEqual(silent.recv(1), b"")
            self.assertNotIn("Traceback", self.stop_host(host))
        self.assertTrue(self.records()[-1].endswith("refCount_=0\n"))

    def test_ends_where_it_cannot_say_where_it_listens(self):
        line = shlex.join(map(str, self.command()))
        status, output = self.run_to_its_end("sh", "-c", f"exec {line} >/dev/full")
        self.assertNotEqual(status, 0)
        self.assertIn("host.py: [Errno 28] No space left on device\n", output)
        self.assertTrue(self.records()[-1].endswith("refCount_=0\n"))

    def test_ends_when_serving_does(self):
        *_, library = self.command()
        status, output = self.script("host.Server.service_actions = lambda self: 1 / 0\n"
                                     f"host.main('0', {library!r})")
        self.assertEqual(status, 1)
        self.assertIn("ZeroDivisionError", output)
        self.assertTrue(self.records()[-1].endswith("refCount_=0\n"))

    def test_survives_a_client_that_speaks_no_tls(self):
        host, address = self.start()
        with socket.create_connection(address, timeout=60) as stranger:
            stranger.sendall(b"GET / HTTP/1.0\r\n\r\n")
            with contextlib.suppress(ConnectionResetError):
                stranger.recv(100)
        self.assertEqual(self.fetch(address, self.client())[0], 200)
        self.assertNotIn("Traceback", self.stop_host(host))

    def test_says_why_it_does_not_serve(self):
        alone = shutil.copy(self.build / "lib" / "libqvsslinit.so", self.root)
        self.assertEqual(self.run_to_its_end(*self.command(library=alone)), (1, block("text python")))
        self.assertEqual(self.run_to_its_end(*self.command(port="seven"))[0], 1)
        missing = self.root / "missing.so"
        self.assertEqual(self.run_to_its_end(*self.command(library=missing)),
                         (1, f"host.py: {missing}: cannot open shared object file: No such file or "
                             "directory\n"))

    def test_names_the_certificate_that_is_not_there(self):
        self.data.rmdir()
        self.assertEqual(self.run_to_its_end(*self.command()),
                         (1, f"host.py: {self.certificate} and its key: "
                             "[Errno 2] No such file or directory\n"))
        self.assertTrue(self.records()[-1].endswith("refCount_=0\n"))


if __name__ == "__main__":
    unittest.main()
