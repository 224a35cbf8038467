"""That the signature check can fail: it is compiled against lists and headers that are wrong.

usage: signatures_test.py COMPILER SOURCES OPENSSL_INCLUDES [Class.test]
"""

import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

COMPILER = sys.argv.pop(1)
SOURCES = pathlib.Path(sys.argv.pop(1)).resolve()
OPENSSL = sys.argv.pop(1)

FUNCTIONS = "source/OpensslFunctions.def"
DIFFERENCES = "tests/source/OpensslDifferences.def"


class SignatureCheck(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="qvsslinit-test-")
        self.addCleanup(folder.cleanup)
        self.own = pathlib.Path(folder.name)
        self.headers = self.own / "headers.h"
        self.headers.touch()

    def change(self, list_, old, new):
        """One place of a list is another in this test."""
        path = self.own / list_
        text = (path if path.exists() else SOURCES / list_).read_text()
        self.assertEqual(text.count(old), 1, old)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text.replace(old, new))

    def objections(self):
        """What the check says of which functions."""
        done = subprocess.run(
            [COMPILER, "-std=c++17", "-fsyntax-only", "-DOPENSSL_SUPPRESS_DEPRECATED", "-include",
             self.headers, "-I", self.own, "-I", SOURCES, "-I", OPENSSL,
             SOURCES / "tests/source/OpensslSignatures_check.cpp"],
            env={"PATH": "/usr/bin:/bin", "LC_ALL": "C"}, capture_output=True, text=True,
            timeout=60, check=False)
        found = re.findall(r'(?:failed: |")(\w+ (?:is|differs) [a-z ]+)"?$', done.stderr, re.M)
        self.assertEqual(done.returncode == 0, not done.stderr, done.stderr)
        return sorted(set(found)), done.stderr

    def test_takes_the_lists_as_they_are(self):
        self.assertEqual(self.objections(), ([], ""))

    def test_objects_to_every_kind_of_difference(self):
        # An argument and a result of another type; a name that the headers do not know.
        self.change(FUNCTIONS, "(X509 * certificate, X509_EXTENSION* extension, int location)",
                    "(X509 * certificate, X509_EXTENSION* extension, long location)")
        self.change(FUNCTIONS, "RSA_check_key, int,", "RSA_check_key, long,")
        self.change(FUNCTIONS, "crypto, BIO_free, int", "crypto, BIO_release, int")
        # A difference that is none any more.
        self.change(FUNCTIONS, "PEM_write_bio_X509, int, (BIO * bio, X509* certificate)",
                    "PEM_write_bio_X509, int, (BIO * bio, const X509* certificate)")
        # Another difference than the one that is listed; one that is more than const.
        self.change(DIFFERENCES, "X509_set_issuer_name, int, (X509*, const X509_NAME*)",
                    "X509_set_issuer_name, int, (const X509*, const X509_NAME*)")
        self.change(FUNCTIONS, "X509_set_subject_name, int,", "X509_set_subject_name, long,")
        # Macros that have become functions, and that have gone.
        self.headers.write_text('#include <openssl/crypto.h>\n#undef CRYPTO_num_locks\n'
                                'extern "C" int CRYPTO_num_locks(void);\n'
                                '#undef CRYPTO_set_id_callback\n')
        objections, text = self.objections()
        self.assertEqual(objections, [
            "BIO_release is not declared as it is listed",
            "CRYPTO_num_locks is no macro",
            "CRYPTO_num_locks is not declared as it is listed",
            "CRYPTO_set_id_callback is no macro",
            "PEM_write_bio_X509 is not declared as it is listed",
            "RSA_check_key is not declared as it is listed",
            "X509_add_ext is not declared as it is listed",
            "X509_set_issuer_name is not declared as its difference is listed",
            "X509_set_subject_name differs in more than const",
        ])
        # And the sums no longer come out.
        self.assertRegex(text, r"static_assert\(kSame ==")
        self.assertRegex(text, r"static_assert\(kOtherwise ==")


if __name__ == "__main__":
    unittest.main()
