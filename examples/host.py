"""A web server in Python on the library, through ctypes: QVSSLINIT_Init leaves a key and a certificate,
and one page is served with exactly that pair, on the loopback interface, until SIGTERM or SIGINT.

    host.py [PORT [LIBRARY]]

PORT 0, the default, lets the system choose. LIBRARY is by default the one that the dynamic loader finds.
"""

import contextlib
import ctypes
import http.server
import os
import signal
import socket
import ssl
import sys
import threading


class QvSslInitHandle(ctypes.Structure):
    """Opaque, as in the header."""


def load(file):
    library = ctypes.CDLL(file)
    # Without these, ctypes takes pointers for int and cuts them to 32 bits.
    library.QVSSLINIT_Init.argtypes = []
    library.QVSSLINIT_Init.restype = ctypes.POINTER(QvSslInitHandle)
    library.QVSSLINIT_Uninit.argtypes = [ctypes.POINTER(QvSslInitHandle)]
    library.QVSSLINIT_Uninit.restype = None
    return library


@contextlib.contextmanager
def ready_openssl(library):
    """OpenSSL, ready within the block."""
    # Python's ssl module has the system's libssl and libcrypto in this process already. The adapters
    # beside the library need the same files, so there is one OpenSSL, which both use. Uninit closes the
    # adapters alone: what the ssl module holds stays. A Python with another OpenSSL inside would keep
    # to that one, and the library to its own.
    handle = library.QVSSLINIT_Init()
    if not handle:
        raise OSError("QVSSLINIT_Init: OpenSSL is not ready; qvsslinit-doctor tells why")
    try:
        yield
    finally:
        library.QVSSLINIT_Uninit(handle)


def default_pair():
    """Certificate and key as the library has made them, or found them."""
    data = os.environ.get("QVPUBAPPDATADIR", "")
    directory = data if data.startswith("/") else "/var/lib/kestrix"
    pair = f"{directory}/certstore/server_certs/server_0"
    return f"{pair}.cer", f"{pair}.key"


def server_context():
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.minimum_version = ssl.TLSVersion.TLSv1_2
    # Debian's level of security, 2, refuses the default pair, whose RSA key has 1024 bits. The level counts
    # from here on, so it comes first. A better pair needs no such line.
    context.set_ciphers("DEFAULT@SECLEVEL=1")
    certificate, key = default_pair()
    try:
        context.load_cert_chain(certificate, key)
    except OSError as error:
        raise OSError(f"{certificate} and its key: {error}") from error
    return context


PATIENCE = 5  # seconds, with a silent client, and with all clients when the server ends


class Page(http.server.BaseHTTPRequestHandler):
    timeout = PATIENCE

    def do_GET(self):
        body = b"Served over HTTPS with the default certificate.\n"
        self.send_response(http.HTTPStatus.OK)
        self.send_header("Content-Type", "text/plain")
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)


class Server(http.server.ThreadingHTTPServer):
    # server_close waits for threads that are no daemons: none may be inside OpenSSL at the last Uninit.
    daemon_threads = False

    def __init__(self, port):
        self.connections = set()
        super().__init__(("127.0.0.1", port), Page)
        # The handshake is left to the connection's own thread: a slow client keeps nobody else waiting.
        self.socket = server_context().wrap_socket(self.socket, server_side=True,
                                                   do_handshake_on_connect=False)

    def process_request(self, request, client_address):
        self.connections.add(request)
        super().process_request(request, client_address)

    def shutdown_request(self, request):
        self.connections.discard(request)
        super().shutdown_request(request)

    def server_close(self):
        cut = threading.Timer(PATIENCE, self.cut_connections)
        cut.start()
        super().server_close()
        cut.cancel()

    def cut_connections(self):
        for connection in list(self.connections):
            with contextlib.suppress(OSError):
                # Below TLS, whose state is its own thread's.
                socket.socket.shutdown(connection, socket.SHUT_RDWR)

    def handle_error(self, request, client_address):
        # What a client does wrong ends its connection, and nothing else.
        if not isinstance(sys.exc_info()[1], OSError):
            super().handle_error(request, client_address)


def serve_until(signals, port):
    """Serves until one of the signals arrives, which every thread must have blocked by then."""
    with Server(port) as server:
        def shut_down():
            signal.sigwait(signals)
            server.shutdown()

        print(f"listening on https://127.0.0.1:{server.server_port}/", flush=True)
        threading.Thread(target=shut_down, daemon=True).start()
        server.serve_forever()


def main(port="0", library="libqvsslinit.so.1"):
    signals = {signal.SIGTERM, signal.SIGINT}
    # Before there are threads: they inherit it, and a signal finds nobody but sigwait.
    signal.pthread_sigmask(signal.SIG_BLOCK, signals)
    try:
        with ready_openssl(load(library)):
            serve_until(signals, int(port))
    except (OSError, OverflowError, ValueError) as error:
        sys.exit(f"host.py: {error}")


if __name__ == "__main__":
    main(*sys.argv[1:3])
