"""The HTTPS host: what it presents, where it listens, how it ends and what it says when it cannot.

usage: https_host_test.py HTTPS_HOST LIBRARY [TestCase.test]
"""

import os
import pathlib
import re
import signal
import socket
import ssl
import subprocess
import sys
import tempfile
import unittest

HOST = sys.argv.pop(1)
LIBRARY = sys.argv.pop(1)


class HttpsHost(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="qvsslinit-test-")
        self.addCleanup(directory.cleanup)
        self.data = pathlib.Path(directory.name)
        self.certificate = self.data / "certstore" / "server_certs" / "server_0.cer"
        # The engine that lies beside the library speaks on standard error otherwise.
        self.trace = self.data / "trace.log"

    def launch(self, port="0", library=LIBRARY, data=None):
        host = subprocess.Popen([HOST, port, library], stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, text=True,
                                env={**os.environ, "QVPUBAPPDATADIR": str(data or self.data),
                                     "QV_TRACE_CONFIG_DIR": str(self.data),
                                     "QV_TRACE_OUTPUT": str(self.trace)})

        def end():
            if host.poll() is None:
                host.kill()
            host.communicate()

        self.addCleanup(end)
        return host

    def start(self):
        """A host that serves, and its port."""
        host = self.launch()
        line = host.stdout.readline()
        match = re.fullmatch(r"listening on https://127\.0\.0\.1:(\d+)/\n", line)
        if match is None:
            self.fail(f"the host said {line!r} and {host.communicate(timeout=60)[1]!r}")
        return host, int(match.group(1))

    def stop(self, host, by=signal.SIGTERM):
        host.send_signal(by)
        _, errors = host.communicate(timeout=60)
        self.assertEqual((host.returncode, errors), (0, ""))

    def presented(self, port, version):
        """The certificate, in DER, that a handshake of this version shows."""
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
        context.check_hostname = False
        context.verify_mode = ssl.CERT_NONE
        context.set_ciphers("DEFAULT@SECLEVEL=0")
        context.minimum_version = context.maximum_version = version
        with socket.create_connection(("127.0.0.1", port), timeout=60) as connection:
            with context.wrap_socket(connection) as secured:
                return secured.getpeercert(binary_form=True)

    def test_presents_exactly_the_default_certificate_in_every_tls_version(self):
        host, port = self.start()
        stored = ssl.PEM_cert_to_DER_cert(self.certificate.read_text())
        for version in (ssl.TLSVersion.TLSv1_2, ssl.TLSVersion.TLSv1_3):
            self.assertEqual(self.presented(port, version), stored, version)
        self.stop(host)

    def test_listens_on_the_loopback_interface_alone(self):
        host, port = self.start()
        listening = []
        for line in pathlib.Path("/proc/net/tcp").read_text().splitlines()[1:]:
            local, state = line.split()[1], line.split()[3]
            address, of_port = local.split(":")
            if state == "0A" and int(of_port, 16) == port:
                listening.append(address)
        self.assertEqual(listening, ["0100007F"])
        self.stop(host)

    def test_ends_by_itself_on_either_signal(self):
        for by in (signal.SIGTERM, signal.SIGINT):
            host, _ = self.start()
            self.stop(host, by)

    def expect_failure(self, host, message):
        output, errors = host.communicate(timeout=60)
        self.assertEqual(host.returncode, 1)
        self.assertEqual(output, "")
        self.assertRegex(errors, rf"^https_host: {message}\n$")

    def test_says_that_its_port_is_taken(self):
        with socket.socket() as taken:
            taken.bind(("127.0.0.1", 0))
            taken.listen()
            port = taken.getsockname()[1]
            self.expect_failure(self.launch(str(port)), "the port cannot be had")

    def test_says_what_is_no_port(self):
        self.expect_failure(self.launch("70000"), "no port: 70000")

    def test_says_that_the_library_is_missing(self):
        missing = str(self.data / "missing.so")
        self.expect_failure(self.launch(library=missing), f"{re.escape(missing)}: .*")

    def test_says_that_there_is_no_certificate(self):
        data = self.data / "missing"
        file = re.escape(str(data / "certstore" / "server_certs" / "server_0.cer"))
        self.expect_failure(self.launch(data=data), f"certificate {file}: error:.*")
        self.assertIn(f" | Could not create dir at '{data}/certstore/'\n", self.trace.read_text())


if __name__ == "__main__":
    unittest.main()
