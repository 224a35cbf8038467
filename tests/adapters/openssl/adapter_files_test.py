"""The adapters as they were linked, looked at from outside.

usage: adapter_files_test.py CRYPTO_ADAPTER SSL_ADAPTER LIBCRYPTO LIBSSL [Class.test]
"""

import pathlib
import re
import subprocess
import sys
import unittest

HERE = pathlib.Path(__file__).resolve().parent
CRYPTO, SSL, LIBCRYPTO, LIBSSL = (pathlib.Path(sys.argv.pop(1)).resolve() for _ in range(4))


def run(*command):
    """The command's output; a tool that fails or says nothing fails the test."""
    output = subprocess.run([str(part) for part in command], check=True, capture_output=True,
                            text=True, env={"LC_ALL": "C", "PATH": "/usr/bin:/bin"}).stdout
    if not output.strip():
        raise RuntimeError(f"{command} said nothing")
    return output


def dynamic(library, tag):
    return re.findall(rf"\({tag}\)\s+(?:[\w ]+: )?(.*)", run("readelf", "-dW", library))


def soname(library):
    (name,) = dynamic(library, "SONAME")
    return name


def defined(library):
    return sorted(line.split()[-1].split("@")[0]
                  for line in run("nm", "-D", "--defined-only", library).splitlines())


def wanted(library):
    """The names that a library takes from others, but for the C library's."""
    lines = run("nm", "-D", "--undefined-only", library).splitlines()
    names = [line.split() for line in lines]
    return sorted(name for kind, name in names if kind == "U" and "@GLIBC" not in name)


class Adapters(unittest.TestCase):
    def test_define_exactly_what_the_installed_openssl_lacks(self):
        for adapter, library, kept in ((CRYPTO, LIBCRYPTO, "crypto_exports.txt"),
                                       (SSL, LIBSSL, "ssl_exports.txt")):
            self.assertEqual(defined(adapter), (HERE / kept).read_text().split())
            self.assertEqual(set(defined(adapter)) & set(defined(library)), set())

    def test_need_openssl_and_the_c_library_and_nothing_else(self):
        crypto, ssl = soname(LIBCRYPTO), soname(LIBSSL)
        self.assertEqual(sorted(dynamic(CRYPTO, "NEEDED")), sorted([crypto, "[libc.so.6]"]))
        self.assertEqual(sorted(dynamic(SSL, "NEEDED")), sorted([crypto, ssl, "[libc.so.6]"]))

    def test_call_only_the_start_up_functions_of_today(self):
        self.assertRegex(" ".join(wanted(CRYPTO)), r"^OPENSSL_init_crypto@OPENSSL_\S+$")
        self.assertRegex(" ".join(wanted(SSL)), r"^OPENSSL_init_ssl@OPENSSL_\S+$")

    def test_bear_the_names_that_are_looked_for(self):
        self.assertEqual((soname(CRYPTO), soname(SSL)), ("[libeay32.dylib]", "[libssleay32.dylib]"))

    def test_are_bound_at_load_and_read_only_afterwards(self):
        for adapter in (CRYPTO, SSL):
            self.assertEqual(dynamic(adapter, "FLAGS_1"), ["NOW"])
            self.assertIn("GNU_RELRO", run("readelf", "-lW", adapter))
            self.assertRegex(run("readelf", "-lW", adapter), r"GNU_STACK.*\sRW\s")
            self.assertEqual(dynamic(adapter, "RUNPATH") + dynamic(adapter, "RPATH"), [])


if __name__ == "__main__":
    unittest.main()
