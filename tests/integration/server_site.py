"""What the tests of servers share: a site in a temporary directory, whose paths stand for those in
docs/hosting.md, servers that end with their test, and a client."""

import contextlib
import http.client
import os
import pathlib
import re
import signal
import socket
import ssl
import subprocess
import tempfile
import threading
import time
import unittest

# What files are made with here, whoever runs the tests: servers that root starts read them as somebody else.
os.umask(0o022)

DEFAULT_STORE = "/var/lib/kestrix"
END = 15  # seconds: the examples give their clients five
SOURCES = pathlib.Path(__file__).resolve().parents[2]
# The library's own engine writes lines like this one alone.
RECORD = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z t=[0-9A-F]+ \| (ERROR \| )?qvsslinit \| .*\n")


def block(kind):
    """What stands in the fenced block of docs/hosting.md that bears this name."""
    text = (SOURCES / "docs" / "hosting.md").read_text()
    (body,) = re.findall(rf"^```{kind}\n((?:.*\n)*?)```$", text, re.M)
    return body


class Site(unittest.TestCase):
    """Each test has a data directory that is there and empty, and traces the tag RefCount."""

    build = None  # the build tree that stands for /opt/server

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="qvsslinit-test-")
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve()
        # Servers that root starts go on as somebody else.
        self.root.chmod(0o755)
        self.data = self.root / "kestrix"
        self.data.mkdir(mode=0o755)
        self.certificate = self.data / "certstore" / "server_certs" / "server_0.cer"
        self.key = self.certificate.with_suffix(".key")
        self.trace = self.root / "trace.log"
        (self.root / "qvsslinit.cfg").write_text("RefCount : 1 : yes\n")
        # Nothing of the caller's: no proxy, no locale, no OpenSSL configuration of a site.
        self.environment = {"PATH": f"{self.build}/bin:/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C.UTF-8",
                            "QVPUBAPPDATADIR": str(self.data), "QV_TRACE_CONFIG_DIR": str(self.root),
                            "QV_TRACE_OUTPUT": str(self.trace)}

    def here(self, text):
        """Lines of the document with this site's paths."""
        for documented, own in {"/opt/server": self.build, DEFAULT_STORE: self.data}.items():
            text = text.replace(documented, str(own))
        return text

    def pair(self):
        return self.certificate.read_bytes(), self.key.read_bytes()

    def run_to_its_end(self, *command):
        """The status and all the output of a command that is to end by itself."""
        done = self.launch(*command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        output, _ = done.communicate(timeout=60)
        return done.returncode, output

    def launch(self, *command, **options):
        """A server, which ends with the test together with all processes that it has started."""
        server = subprocess.Popen([str(part) for part in command], env=self.environment, cwd=self.root,
                                  start_new_session=True, text=True, **options)

        def end():
            try:
                os.killpg(server.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            server.communicate()

        self.addCleanup(end)
        return server

    def launch_host(self, *command):
        """One of the examples, which says where it listens; and that address."""
        host = self.launch(*command, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        line = host.stdout.readline()
        match = re.fullmatch(r"listening on https://127\.0\.0\.1:(\d+)/\n", line)
        if match is None:
            self.fail(f"the host said {line!r} and {host.communicate(timeout=60)[1]!r}")
        return host, ("127.0.0.1", int(match.group(1)))

    def stop_host(self, host, by=signal.SIGTERM):
        """What the host has said on standard error when it ends, which no client may hold up for long."""
        host.send_signal(by)
        _, errors = host.communicate(timeout=END)
        self.assertEqual(host.returncode, 0, errors)
        return errors

    def wait_for(self, condition, what, server):
        """Waits until the condition holds, as long as the server lives."""
        deadline = time.monotonic() + 60
        while not condition():
            self.assertIsNone(server.poll(), f"the server ended before it {what}")
            self.assertLess(time.monotonic(), deadline, f"the server never {what}")
            time.sleep(0.01)

    @staticmethod
    def listens(address):
        try:
            socket.create_connection(address, timeout=60).close()
        except ConnectionRefusedError:
            return False
        except ConnectionResetError:  # by a server that just stops listening
            pass
        return True

    def wait_for_port(self, address, server):
        self.wait_for(lambda: self.listens(address), "listened", server)

    def own_address(self):
        """An address of the loopback interface that no other process takes, and a port that is free
        there: between this call and the server's nobody can be given the same."""
        high, low = divmod(os.getpid(), 1 << 8)
        host = f"127.{1 + (high >> 8)}.{high & 255}.{low}"
        with socket.socket() as probe:
            probe.bind((host, 0))
            return probe.getsockname()

    def client(self):
        """A client that trusts the certificate in the store and no other, however small its key."""
        context = ssl.create_default_context(cafile=str(self.certificate))
        context.check_hostname = False  # the default certificate names this host as it calls itself
        context.set_ciphers("DEFAULT@SECLEVEL=1")
        return context

    @staticmethod
    def ask(connection, context, path="/"):
        """Status and body of an answer, which must come whole."""
        with context.wrap_socket(connection, server_hostname="localhost") as secured:
            secured.sendall(f"GET {path} HTTP/1.0\r\nHost: localhost\r\n\r\n".encode())
            with http.client.HTTPResponse(secured) as response:
                response.begin()
                return response.status, response.read()

    @contextlib.contextmanager
    def dripping(self, address):
        """Has two clients say something that never ends, byte by byte: a request, and a handshake."""
        over = threading.Event()

        def drip(connections):
            while not over.wait(0.2):
                for connection in connections:
                    with contextlib.suppress(OSError):
                        connection.send(b"x")

        with socket.create_connection(address, timeout=60) as greeting, \
             socket.create_connection(address, timeout=60) as connection, \
             self.client().wrap_socket(connection) as asking:
            greeting.sendall(b"\x16\x03\x01\x40\x00")  # a record of 16 KiB
            asking.sendall(b"GET / HTTP/1.1\r\nX: ")
            dripper = threading.Thread(target=drip, args=[[greeting, asking]])
            dripper.start()
            try:
                yield
            finally:
                over.set()
                dripper.join()

    def expect_nothing_old(self, address, alert=r"\w+"):
        """The server refuses a client that knows nothing newer than TLS 1.1, with this alert, or than signatures
        over SHA-1, which the level of security 0 would bring back."""
        def greet(*options):
            return self.run_to_its_end("openssl", "s_client", "-connect", "%s:%d" % address,
                                       "-cipher", "DEFAULT@SECLEVEL=0", *options)

        status, output = greet("-tls1_2")
        self.assertEqual(status, 0, output)
        for old, told in ((["-tls1_1"], alert), (["-tls1_2", "-sigalgs", "RSA+SHA1"], "handshake failure")):
            status, output = greet(*old)
            self.assertEqual(status, 1, (old, output))
            self.assertRegex(output, rf"\balert {told}\b", old)

    def expect_loopback_alone(self, address):
        """Nobody listens at the port but on the loopback interface."""
        listening = []
        for table in pathlib.Path("/proc/net").glob("tcp*"):  # one of them only where there is IPv6
            for line in table.read_text().splitlines()[1:]:
                (local, port), state = line.split()[1].split(":"), line.split()[3]
                if state == "0A" and int(port, 16) == address[1]:
                    listening.append(local)
        self.assertEqual(listening, ["0100007F"])

    def fetch(self, address, context, path="/"):
        with socket.create_connection(address, timeout=60) as connection:
            return self.ask(connection, context, path)

    def records(self):
        """The trace, in the file and in those it was renamed to; every line must be a whole record."""
        files = sorted(self.root.glob(f"{self.trace.name}*"), reverse=True)
        lines = [line for file in files for line in file.read_text().splitlines(keepends=True)]
        for line in lines:
            self.assertRegex(line, rf"\A{RECORD.pattern}\Z")
        return lines
