"""nginx, as docs/hosting.md configures it, with the pair that Init makes and with a better one.

usage: nginx_test.py BUILD_DIRECTORY NGINX [TestCase.test]
"""

import pathlib
import signal
import ssl
import sys
import unittest

sys.dont_write_bytecode = True
from server_site import Site, block

Site.build = pathlib.Path(sys.argv.pop(1)).resolve()
NGINX = sys.argv.pop(1)
PAGE = b"A page of the site.\n"
LEVEL = "    ssl_ciphers         DEFAULT@SECLEVEL=1;\n"

# What Debian has below /etc and /var, for any user and for several servers at a time.
AROUND = """
daemon off;
pid nginx.pid;
events {{}}
http {{
    ssl_protocols TLSv1 TLSv1.1 TLSv1.2 TLSv1.3;
    access_log off;
    client_body_temp_path temporary;
    proxy_temp_path temporary;
    fastcgi_temp_path temporary;
    uwsgi_temp_path temporary;
    scgi_temp_path temporary;
    {server}
}}
"""


class Nginx(Site):
    def setUp(self):
        super().setUp()
        (self.root / "index.html").write_bytes(PAGE)
        self.address = self.own_address()

    def make_default_pair(self):
        (self.root / "minimal_host").symlink_to(self.build / "bin" / "minimal_host")
        status, output = self.run_to_its_end("sh", "-c", self.here(block("sh nginx")))
        self.assertEqual(status, 0, output)

    def make_better_pair(self, *options):
        status, output = self.run_to_its_end("qvsslinit-cert", "--key", "p256", *options)
        self.assertEqual(status, 0, output)

    def command(self, server):
        host, port = self.address
        server = self.here(server).replace("listen 8443", f"listen {host}:{port}")
        server = server.replace("/srv/www", str(self.root))
        (self.root / "nginx.conf").write_text(AROUND.format(server=server))
        return [NGINX, "-p", self.root, "-c", "nginx.conf", "-e", "stderr"]

    def start(self, server):
        nginx = self.launch(*self.command(server))
        self.wait_for_port(self.address, nginx)
        return nginx

    def stop(self, nginx):
        nginx.send_signal(signal.SIGQUIT)
        self.assertEqual(nginx.wait(timeout=60), 0)

    def presented(self):
        return ssl.get_server_certificate(self.address, timeout=60)

    def test_serves_with_the_pair_that_init_made(self):
        self.make_default_pair()
        nginx = self.start(block("nginx"))
        for version in (ssl.TLSVersion.TLSv1_2, ssl.TLSVersion.TLSv1_3):
            client = self.client()
            client.minimum_version = client.maximum_version = version
            self.assertEqual(self.fetch(self.address, client), (200, PAGE), version)
        self.expect_nothing_old(self.address)
        self.stop(nginx)

    def test_refuses_that_pair_without_the_line_that_lowers_its_level(self):
        self.make_default_pair()
        self.assertIn(LEVEL, block("nginx"))
        status, output = self.run_to_its_end(*self.command(block("nginx").replace(LEVEL, "")))
        self.assertEqual(status, 1, output)
        self.assertIn(self.here(block("text nginx")).rstrip(), output)

    def test_serves_with_a_better_pair_and_no_such_line_and_takes_the_next_one_when_told(self):
        self.make_better_pair()
        nginx = self.start(block("nginx").replace(LEVEL, ""))
        strict = ssl.create_default_context(cafile=str(self.certificate))
        self.assertEqual(self.fetch(self.address, strict), (200, PAGE))
        self.make_better_pair("--replace")
        self.assertNotEqual(self.presented(), self.certificate.read_text())
        nginx.send_signal(signal.SIGHUP)
        self.wait_for(lambda: self.presented() == self.certificate.read_text(), "took the next pair", nginx)
        self.stop(nginx)


if __name__ == "__main__":
    unittest.main()
