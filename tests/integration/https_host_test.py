"""The HTTPS host: what it presents, where it listens, how it ends and what it says when it cannot.

usage: https_host_test.py BUILD_DIRECTORY CXX_COMPILER [TestCase.test]
"""

import json
import pathlib
import re
import shlex
import signal
import socket
import ssl
import sys
import unittest

sys.dont_write_bytecode = True
from server_site import SOURCES, Site

Site.build = pathlib.Path(sys.argv.pop(1)).resolve()
COMPILER = sys.argv.pop(1)
EXAMPLE = SOURCES / "examples" / "https_host.cpp"


class HttpsHost(Site):
    def command(self, port="0", library=None):
        return [self.build / "bin" / "https_host", port, library or self.build / "lib" / "libqvsslinit.so"]

    def start(self):
        return self.launch_host(*self.command())

    def stop(self, host, by=signal.SIGTERM):
        self.assertEqual(self.stop_host(host, by), "")

    def presented(self, address, version):
        """The certificate, in DER, that a handshake of this version shows."""
        context = self.client()
        context.minimum_version = context.maximum_version = version
        with socket.create_connection(address, timeout=60) as connection:
            with context.wrap_socket(connection) as secured:
                return secured.getpeercert(binary_form=True)

    def test_presents_exactly_the_default_certificate_and_nothing_older_than_tls_1_2(self):
        host, address = self.start()
        stored = ssl.PEM_cert_to_DER_cert(self.certificate.read_text())
        for version in (ssl.TLSVersion.TLSv1_2, ssl.TLSVersion.TLSv1_3):
            self.assertEqual(self.presented(address, version), stored, version)
        self.expect_nothing_old(address, "protocol version")
        self.stop(host)

    def test_listens_on_the_loopback_interface_alone(self):
        host, address = self.start()
        self.expect_loopback_alone(address)
        self.stop(host)

    def test_ends_by_itself_on_either_signal(self):
        for by in (signal.SIGTERM, signal.SIGINT):
            host, _ = self.start()
            self.stop(host, by)

    def test_ends_soon_although_clients_are_never_done_and_gives_its_handle_back(self):
        host, address = self.start()
        with self.dripping(address):
            self.stop(host)
        self.assertTrue(self.records()[-1].endswith("refCount_=0\n"))

    def test_takes_by_default_the_library_that_the_dynamic_loader_finds(self):
        self.environment["LD_LIBRARY_PATH"] = str(self.build / "lib")
        host, _ = self.launch_host(self.build / "bin" / "https_host")
        self.assertIn(f"{self.build}/lib/libqvsslinit.so.1", pathlib.Path(f"/proc/{host.pid}/maps").read_text())
        self.stop(host)

    def test_is_built_by_the_line_at_its_head(self):
        (line,) = re.findall(r"^ \*     (c\+\+ .*) \\\n \*       (.*)$", EXAMPLE.read_text(), re.M)
        line = " ".join(line).replace("$(pkg-config --cflags qvsslinit)", f"-I{SOURCES / 'include'}")
        # Compiled it is already; by the same options, which leaves the linker's part to be tried.
        (compiled,) = [entry for entry in json.loads((self.build / "compile_commands.json").read_text())
                       if pathlib.Path(entry["file"]) == EXAMPLE]
        status, options = self.run_to_its_end("sh", "-c", f"echo {line}")
        self.assertEqual(status, 0, options)
        options = {option for option in options.split() if re.match("-[DIs]", option)}
        self.assertIn("-std=c++17", options)
        self.assertEqual(options - set(shlex.split(compiled["command"])), set())
        (built,) = re.findall(r"-o (\S+)", compiled["command"])
        line = re.sub("^c\\+\\+ ", f"{COMPILER} ", line).replace(" https_host.cpp", f" {self.build / built}")
        self.assertEqual(self.run_to_its_end("sh", "-c", line), (0, ""))
        host, address = self.launch_host("./https_host", "0", self.build / "lib" / "libqvsslinit.so")
        self.assertEqual(self.fetch(address, self.client())[0], 200)
        self.stop(host)

    def expect_failure(self, command, message):
        status, output = self.run_to_its_end(*command)
        self.assertEqual(status, 1)
        self.assertRegex(output, rf"^https_host: {message}\n$")

    def test_says_that_its_port_is_taken(self):
        with socket.socket() as taken:
            taken.bind(("127.0.0.1", 0))
            taken.listen()
            port = taken.getsockname()[1]
            self.expect_failure(self.command(str(port)), "the port cannot be had")

    def test_says_what_is_no_port(self):
        self.expect_failure(self.command("70000"), "no port: 70000")

    def test_says_that_the_library_is_missing(self):
        missing = self.root / "missing.so"
        self.expect_failure(self.command(library=missing), f"{re.escape(str(missing))}: .*")

    def test_says_that_there_is_no_certificate(self):
        self.data.rmdir()
        self.expect_failure(self.command(), f"certificate {re.escape(str(self.certificate))}: error:.*")
        self.assertIn(f" | Could not create dir at '{self.data}/certstore/'\n", self.trace.read_text())


if __name__ == "__main__":
    unittest.main()
