"""Release assertions of the built library as a host sees them: usage: release_assertion_test.py
LIBRARY ENGINE NAME [TestCase.test]. ENGINE, under NAME beside the library, gives an object that is
no trace engine, which the first Init asserts."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

LIBRARY = pathlib.Path(sys.argv.pop(1))
ENGINE = pathlib.Path(sys.argv.pop(1))
ENGINE_NAME = sys.argv.pop(1)

ON = "[NVE]\nShowReleaseAsserts = true\n"
OFF = "[NVE]\nShowReleaseAsserts = false\n"
ASSERTION = (b"kit/LoadSharedLibrary(283): Release Assertion failed: if getInterfaceFunc() succeeds, "
             b"the returned pointer should be castable to the desired interface\a\n")

# Loads the library, runs the statement between, calls Init. There is no OpenSSL: Init gives null.
HOST = """
import ctypes, pathlib
library = ctypes.CDLL({library!r})
library.QVSSLINIT_Init.restype = ctypes.c_void_p
{between}
print(library.QVSSLINIT_Init())
"""


class ReleaseAssertion(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="qvsslinit-test-")
        self.addCleanup(directory.cleanup)
        installation = pathlib.Path(directory.name, "lib")
        self.current = pathlib.Path(directory.name, "current")
        installation.mkdir()
        self.current.mkdir()
        self.library = shutil.copy(LIBRARY, installation)
        shutil.copy(ENGINE, installation / ENGINE_NAME)

    def errors(self, between="pass"):
        """What a host whose current directory that is sees on standard error."""
        host = HOST.format(library=str(self.library), between=between)
        result = subprocess.run([sys.executable, "-c", host], cwd=self.current, check=True,
                                capture_output=True, timeout=60)
        self.assertEqual(result.stdout, b"None\n")
        return result.stderr

    def errors_with(self, settings, between="pass"):
        (self.current / "vantis.ini").write_text(settings)
        return self.errors(between)

    def test_appears_where_the_file_says_so(self):
        self.assertEqual(self.errors_with(ON), ASSERTION)

    def test_is_silent_without_the_file(self):
        self.assertEqual(self.errors(), b"")

    def test_is_silent_where_the_file_says_so(self):
        self.assertEqual(self.errors_with(OFF), b"")

    def test_does_not_look_at_the_file_again_once_loaded(self):
        write = "pathlib.Path('vantis.ini').write_text({!r})".format
        self.assertEqual(self.errors_with(OFF, write(ON)), b"")
        self.assertEqual(self.errors_with(ON, write(OFF)), ASSERTION)

    def test_looks_for_the_file_where_the_host_is_when_it_loads(self):
        (self.current / "below").mkdir()
        self.assertEqual(self.errors_with(ON, "import os; os.chdir('below')"), ASSERTION)

    def test_does_not_keep_a_host_waiting_at_a_pipe(self):
        os.mkfifo(self.current / "vantis.ini")
        self.assertEqual(self.errors(), b"")


if __name__ == "__main__":
    unittest.main()
