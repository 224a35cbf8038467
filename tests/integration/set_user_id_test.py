"""A host that runs with the rights of another user or group than the one that started it.
usage: set_user_id_test.py BUILD_DIRECTORY [Class.test]"""

import grp
import os
import pathlib
import pwd
import shutil
import subprocess
import sys
import tempfile
import unittest

BUILD = pathlib.Path(sys.argv.pop(1)).resolve()


def lend(program):
    """Gives the program's file rights of its own: root another user's, anybody else a group's."""
    if os.statvfs(program).f_flag & os.ST_NOSUID:
        raise unittest.SkipTest(f"{program.parent} is mounted without set-user-ID programs")
    if os.geteuid() == 0:
        nobody = pwd.getpwnam("nobody")
        os.chown(program, nobody.pw_uid, nobody.pw_gid)
        program.chmod(0o4755)
        return
    others = [group for group in os.getgroups() if group != os.getgid()]
    if not others:
        raise unittest.SkipTest(
            f"neither root nor a member of another group than {grp.getgrgid(os.getgid()).gr_name}")
    os.chown(program, -1, others[0])
    program.chmod(0o2755)


class SetUserId(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.directory = pathlib.Path(folder.name)
        self.directory.chmod(0o755)
        # Whose rights the program has may read them too, wherever the build tree is.
        for name in ("libqvsslinit.so", "libqv_traceengine.dylib", "libeay32.dylib",
                     "libssleay32.dylib"):
            shutil.copy(BUILD / "lib" / name, self.directory)
        self.host = pathlib.Path(shutil.copy(BUILD / "bin" / "minimal_host", self.directory))
        self.data = self.directory / "data"
        self.data.mkdir()
        self.data.chmod(0o777)
        (self.directory / "qvsslinit.cfg").write_text("Initializer : 4 : yes\n")

    def run_host(self):
        return subprocess.run([self.host, self.directory / "libqvsslinit.so"], capture_output=True,
                              text=True, timeout=60,
                              env={"LC_ALL": "C", "QVPUBAPPDATADIR": str(self.data),
                                   "QV_TRACE_CONFIG_DIR": str(self.directory),
                                   "QV_TRACE_OUTPUT": str(self.data / "trace.log")})

    def test_program_does_not_take_the_callers_word_for_where_keys_and_traces_are(self):
        if pathlib.Path("/var/lib/kestrix").exists():
            raise unittest.SkipTest("this machine has a store of its own, which is no test's")
        lend(self.host)
        done = self.run_host()
        # Init looked for a store: whether it found, or could make, the system's own never fails it.
        self.assertIn("OpenSSL is ready", done.stdout, done.stderr)
        self.assertEqual(list(self.data.iterdir()), [])

    def test_program_without_such_rights_does(self):
        done = self.run_host()
        self.assertIn("OpenSSL is ready", done.stdout)
        self.assertTrue((self.data / "certstore" / "server_certs" / "server_0.key").exists())
        self.assertIn("SslInitializerImplementation", (self.data / "trace.log").read_text())


if __name__ == "__main__":
    unittest.main()
