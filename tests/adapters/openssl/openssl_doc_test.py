"""docs/openssl.md shows and says what is so.

usage: openssl_doc_test.py SOURCES BUILD_DIRECTORY C_COMPILER LIBCRYPTO LIBSSL [Class.test]

Paths of a site in the document stand for paths below a temporary directory, and build/site in the
source tree for a directory there.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCES = pathlib.Path(sys.argv.pop(1)).resolve()
BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
COMPILER = sys.argv.pop(1)
LIBCRYPTO, LIBSSL = (pathlib.Path(sys.argv.pop(1)).resolve() for _ in range(2))
TEXT = (SOURCES / "docs" / "openssl.md").read_text()
FUNCTIONS = re.findall(r"^QV_OPENSSL_FUNCTION\((\w+), (\w+)",
                       (SOURCES / "source" / "OpensslFunctions.def").read_text(), re.M)

HOST = """
import ctypes, sys
library = ctypes.CDLL(sys.argv[1])
library.QVSSLINIT_Init.restype = ctypes.c_void_p
print(library.QVSSLINIT_Init() is not None, flush=True)
sys.stdin.read()
"""


def block(kind):
    """What stands in the fenced block that bears this name."""
    (body,) = re.findall(rf"^```{kind}\n((?:.*\n)*?)```$", TEXT, re.M)
    return body


def soname(library):
    (name,) = re.findall(r"\(SONAME\).*\[(.*)\]", output("readelf", "-dW", library))
    return name


def output(*command, **options):
    """What a command prints, which must succeed."""
    done = subprocess.run([str(part) for part in command], capture_output=True, text=True,
                          timeout=100, check=False, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command} ended with {done.returncode}: {done.stdout}{done.stderr}")
    return done.stdout


class Document(unittest.TestCase):
    """Each test has a site without OpenSSL files."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="qvsslinit-test-")
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve()
        self.lib = self.root / "opt/server/lib"
        self.data = self.root / "data"
        for directory in (self.lib, self.data, self.root / "bin"):
            directory.mkdir(parents=True)
        shutil.copy(BUILD / "lib" / "libqvsslinit.so", self.lib)
        (self.root / "bin" / "qvsslinit-doctor").symlink_to(BUILD / "bin" / "qvsslinit-doctor")
        # Nothing of the caller's.
        self.environment = {"PATH": f"{self.root}/bin:/usr/bin:/bin", "LC_ALL": "C.UTF-8",
                            "QVPUBAPPDATADIR": str(self.data)}

    def here(self, text):
        return text.replace("/opt/", f"{self.root}/opt/").replace("build/site",
                                                                  f"{self.root}/build")

    def there(self, text):
        return text.replace(f"{self.root}/opt/", "/opt/")

    def run_block(self, kind, **variables):
        return output("sh", "-e", "-c", self.here(block(kind)), cwd=SOURCES,
                      env=self.environment | variables)

    def install_adapters(self):
        for name in ("libeay32.dylib", "libssleay32.dylib"):
            shutil.copy(BUILD / "lib" / name, self.lib)

    def normal(self, text):
        """Without what is this machine's."""
        text = text.replace(str(LIBCRYPTO), "LIBCRYPTO").replace(str(LIBSSL), "LIBSSL")
        text = re.sub(r"/usr/lib/x86_64-linux-gnu/lib(crypto|ssl)\.so\.3",
                      lambda match: f"LIB{match.group(1).upper()}", text)
        return re.sub(r"OpenSSL 3\.\d+\.\d+ +\d+ \w+ \d+", "RELEASE", text)

    def openssl_section(self):
        page = self.run_block("sh doctor")
        (section,) = re.findall(r"^OpenSSL\n(?:  .*\n)*", page, re.M)
        return section

    def host(self):
        host = subprocess.Popen([sys.executable, "-c", HOST, self.lib / "libqvsslinit.so"],
                                env=self.environment, stdin=subprocess.PIPE,
                                stdout=subprocess.PIPE, text=True)

        def end():
            host.communicate(timeout=60)
            self.assertEqual(host.returncode, 0)

        self.addCleanup(end)
        self.assertEqual(host.stdout.readline(), "True\n")
        return host

    def test_the_doctor_says_what_is_shown(self):
        self.install_adapters()
        self.assertEqual(self.normal(self.openssl_section()), self.normal(block("text doctor")))

    def test_the_memory_of_a_server_shows_what_it_uses(self):
        self.install_adapters()
        seen = self.run_block("sh running", PID=str(self.host().pid))
        self.assertEqual(self.normal(self.there(seen)), self.normal(block("text running")))

    def test_the_memory_of_a_server_shows_that_a_file_has_been_replaced(self):
        self.install_adapters()
        host = self.host()
        (self.lib / "libeay32.dylib").unlink()
        self.assertIn("/opt/server/lib/libeay32.dylib (deleted)\n",
                      self.there(self.run_block("sh running", PID=str(host.pid))))

    def test_the_installed_openssl_is_linked_to_stay(self):
        text = block("sh stays")
        self.assertIn("/usr/lib/x86_64-linux-gnu/libcrypto.so.3", text)
        text = text.replace("/usr/lib/x86_64-linux-gnu/libcrypto.so.3", str(LIBCRYPTO))
        self.assertEqual(output("sh", "-e", "-c", text), "NODELETE\n")

    def test_files_of_the_1_0_series_are_used_through_links(self):
        """In its place a pair with the same names that need each other as that does."""
        directory = self.root / "opt/openssl-1.0/lib"
        directory.mkdir(parents=True)
        release = 'const char* SSLeay_version(int t) { return t ? "" : "OpenSSL 1.0.2u"; }\n'
        for library, more, arguments in (
                ("crypto", release, ()),
                ("ssl", "void SSL_CTX_new(void) { SSLeay_version(0); }\n",
                 (f"-L{directory}", "-l:libcrypto.so.1.0.0", "-Wno-implicit-function-declaration"))):
            source = self.root / "source.c"
            source.write_text("".join(f"void* {name}(void) {{ return 0; }}\n"
                                      for owner, name in FUNCTIONS if owner == library) + more)
            name = f"lib{library}.so.1.0.0"
            output(COMPILER, "-shared", "-fPIC", f"-Wl,-soname,{name}", "-o", directory / name,
                   source, *arguments)
        self.run_block("sh links")
        section = self.openssl_section()
        self.assertNotIn("WRONG", section)
        for name in ("libeay32.dylib", "libssleay32.dylib"):
            self.assertIn(f"'{name}' is a genuine OpenSSL library", section)
        self.assertIn("The OpenSSL behind them is OpenSSL 1.0.2u", section)
        self.assertIn("/opt/openssl-1.0/lib/libssl.so.1.0.0\n",
                      self.there(self.run_block("sh running", PID=str(self.host().pid))))

    def install_openssl_elsewhere(self):
        """The one that is there, with another home, which is returned."""
        home = self.root / "opt/openssl-1.1"
        (home / "lib").mkdir(parents=True)
        headers = output("pkg-config", "--variable=includedir", "openssl").strip()
        more = output(COMPILER, "-print-multiarch").strip()
        (home / "include" / "openssl").mkdir(parents=True)
        for folder in (pathlib.Path(headers), pathlib.Path(headers) / more):
            for header in (folder / "openssl").glob("*.h"):
                (home / "include" / "openssl" / header.name).symlink_to(header)
        for library, link in ((LIBCRYPTO, "libcrypto.so"), (LIBSSL, "libssl.so")):
            shutil.copy(library, home / "lib" / soname(library))
            (home / "lib" / link).symlink_to(soname(library))
        return home

    def test_adapters_for_an_openssl_elsewhere_are_built_as_told_beside_a_server_that_runs(self):
        home = self.install_openssl_elsewhere()
        self.install_adapters()
        self.host()
        self.run_block("sh build")
        section = self.openssl_section()
        self.assertNotIn("WRONG", section)
        self.assertIn(f"'libeay32.dylib' is an adapter to '{home}/lib/{soname(LIBCRYPTO)}'",
                      section)
        self.assertIn(f"'libssleay32.dylib' is an adapter to '{home}/lib/{soname(LIBSSL)}'",
                      section)

    def test_the_certificate_tool_is_installed_to_find_an_openssl_elsewhere(self):
        """By what the installation is told to write into it: to build it would take a minute."""
        home = self.install_openssl_elsewhere()
        output("cmake", "-S", SOURCES, "-B", self.root / "build", "-G", "Ninja",
               f"-DOPENSSL_ROOT_DIR={home}", "-DQV_BUILD_TESTS=OFF", env=self.environment)
        told = (self.root / "build/cmake_install.cmake").read_text()
        (place,) = re.findall(r'RPATH_CHANGE\s+FILE "\S*/qvsslinit-cert"\s+OLD_RPATH "\S+"\s+'
                              r'NEW_RPATH "(.*?)"', told)
        self.assertEqual(place, str(home / "lib"))

    def test_the_numbers_are_those_of_the_list_and_the_adapters(self):
        lists = {name: (SOURCES / "tests/adapters/openssl" / f"{name}_exports.txt").read_text().split()
                 for name in ("crypto", "ssl")}
        looked_up = {name: [row for owner, row in FUNCTIONS if owner == name] for name in lists}
        self.assertIn(f"| `libeay32.dylib` | {len(looked_up['crypto'])} functions", TEXT)
        self.assertIn(f"| `libssleay32.dylib` | {len(looked_up['ssl'])} functions", TEXT)
        self.assertIn(f"The {len(FUNCTIONS)} are those", TEXT)
        for name, file in (("crypto", "libeay32.dylib"), ("ssl", "libssleay32.dylib")):
            own = len(set(lists[name]) & set(looked_up[name]))
            self.assertRegex(block("text adapters"), rf"{re.escape(file)} +needs .*, has {own}\b")

    def test_every_block_is_run_or_held_against_something(self):
        self.assertEqual(re.findall(r"^```(.+)$", TEXT, re.M),
                         ["text adapters", "sh links", "sh build", "sh doctor", "text doctor",
                          "sh running", "text running", "sh stays"])


if __name__ == "__main__":
    unittest.main()
