"""An installation works, also where it was moved to, and what docs/hosting.md says about it is so.

usage: install_test.py SOURCES BUILD_DIRECTORY VERSION [Class.test]

The build directory stands for the document's, a temporary one for /opt/server.
"""

import json
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
VERSION = sys.argv.pop(1)
HOSTING = (SOURCES / "docs" / "hosting.md").read_text()
README = (SOURCES / "README.md").read_text()
TRACING = (SOURCES / "docs" / "tracing.md").read_text()

FILES = {
    "bin/qvsslinit-cert", "bin/qvsslinit-doctor", "include/qvsslinit.h", "lib/libeay32.dylib",
    "lib/libqv_traceengine.dylib",
    "lib/libqvsslinit.so", "lib/libqvsslinit.so.1", f"lib/libqvsslinit.so.{VERSION}",
    "lib/libssleay32.dylib", "lib/pkgconfig/qvsslinit.pc", "lib/pkgconfig/qvsslinit-engine.pc",
    "lib/qvsslinit/libqvini.a",
    "lib/qvsslinit/libqvkit.a", "share/man/man3/QVSSLINIT_Init.3", "share/man/man3/QVSSLINIT_Uninit.3",
    "share/man/man5/qvsslinit.cfg.5", "share/man/man8/qvsslinit-cert.8",
    "share/man/man8/qvsslinit-doctor.8",
    "share/doc/qvsslinit/README.md", "share/doc/qvsslinit/docs/hosting.md",
    "share/doc/qvsslinit/LICENSE", "share/doc/qvsslinit/examples/minimal_host.c",
    "share/doc/qvsslinit/examples/https_host.cpp", "share/doc/qvsslinit/examples/host.py",
    "share/doc/qvsslinit/examples/mod_qvsslinit/mod_qvsslinit.c",
    "share/doc/qvsslinit/examples/node/https_host.js",
    "share/doc/qvsslinit/examples/node/qvsslinit_node.c",
    "include/qvsslinit-engine/source/client/ITraceEngine.h",
}
# What the tests of servers try, in tests/integration.
SERVERS = ["sh python", "text python", "sh addon", "sh node", "text node", "sh nginx", "nginx",
           "text nginx", "sh apxs", "apache", "text apache"]
LINES_OF_BUILDS = "cmake_minimum_required(VERSION 3.25)\nproject(elsewhere LANGUAGES C)\n"


def block(text, kind):
    """What stands in the fenced block that bears this name."""
    (body,) = re.findall(rf"^```{kind}\n((?:.*\n)*?)```$", text, re.M)
    return body


class Document(unittest.TestCase):
    def test_holds_the_blocks_that_are_tried_and_no_others(self):
        self.assertEqual(re.findall(r"^```(.*)$", HOSTING, re.M)[::2],
                         ["sh build", "sh install", "sh store", "sh remove", "sh pkg-config", "cmake host", "sh load", *SERVERS,
                          "cmake subproject", "cmake engine", "sh engine"])


    def test_builds_what_is_installed(self):
        """The commands are tried on another directory, and what the second would run is only shown: to
        run it takes minutes."""
        configure, build = block(HOSTING, "sh build").strip().split(" && ")
        self.assertEqual(build, "cmake --build --preset release")
        with tempfile.TemporaryDirectory(prefix="qvsslinit-test-") as tree:
            subprocess.run([*configure.split(), "-B", tree], cwd=SOURCES, check=True, capture_output=True)
            steps = subprocess.run(["ninja", "-C", tree, "-t", "commands"], check=True, capture_output=True,
                                   text=True).stdout
        for file in FILES:
            if re.match(r"bin/|lib/.*(\.dylib|\.so\.\d+\.\d+\.\d+|\.a)$", file):
                self.assertRegex(steps, rf"\b{re.escape(file.replace('lib/qvsslinit/', 'lib/'))}\b")
        self.assertNotIn("_tests", steps)


class Installation(unittest.TestCase):
    """Each test has one, which was moved after it was installed."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="qvsslinit-test-")
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve()
        self.prefix = self.root / "moved to" / "server"
        self.host = self.root / "host"
        self.environment = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8",
                            "QVPUBAPPDATADIR": str(self.root), "QV_TRACE_CONFIG_DIR": str(self.root),
                            "PKG_CONFIG_PATH": str(self.prefix / "lib" / "pkgconfig"),
                            "CMAKE_PREFIX_PATH": str(self.prefix)}
        self.prefix.parent.mkdir()
        self.host.mkdir()
        self.sh(block(HOSTING, "sh install").replace("build/release", str(BUILD))
                .replace("/opt/server", str(self.root / "server")))
        (self.root / "server").rename(self.prefix)

    def sh(self, *lines, **variables):
        """Runs lines of a shell in the host's directory; what they write to standard output."""
        done = subprocess.run(["/bin/sh", "-e", "-c", "\n".join(lines)], cwd=self.host, text=True,
                              env=self.environment | variables, capture_output=True, timeout=100,
                              check=False)
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)
        return done.stdout

    def write(self, name, text):
        (self.host / name).write_text(text)

    def start(self, program, **variables):
        """What a host prints that finds the library by the path of the dynamic loader."""
        return self.sh(program, LD_LIBRARY_PATH=str(self.prefix / "lib"), **variables)

    def test_holds_what_there_is_to_use(self):
        found = {str(path.relative_to(self.prefix)) for path in self.prefix.rglob("*")}
        self.assertEqual(FILES - found, set())
        documents = {path.suffix for path in (self.prefix / "share").rglob("*.*") if path.is_file()}
        self.assertLessEqual(documents, {".md", ".svg", ".c", ".cpp", ".h", ".js", ".py", ".3", ".5", ".8"})
        for rows in re.findall(r"^\| (`\S.*?`) \|", HOSTING, re.M):
            for name in re.findall("`(.*?)`", rows):
                self.assertTrue(list(self.prefix.glob(name)), name)
        for link in ("lib/libqvsslinit.so", "lib/libqvsslinit.so.1"):
            self.assertFalse(os.path.isabs(os.readlink(self.prefix / link)), link)

    def test_names_neither_where_it_was_built_nor_where_it_was_installed(self):
        for folder in ("lib/cmake", "lib/pkgconfig"):
            for file in (self.prefix / folder).rglob("*.*"):
                if file.is_file():
                    for place in (SOURCES, BUILD, self.root / "server"):
                        self.assertNotIn(str(place), file.read_text(), file)

    def test_is_gone_once_it_is_removed_as_its_list_says(self):
        files = [path for path in self.prefix.rglob("*") if not path.is_dir()]
        listed = self.host / "build/release/install_manifest.txt"
        listed.parent.mkdir(parents=True)
        listed.write_text("".join(f"{path}\n" for path in files))
        self.sh(block(HOSTING, "sh remove"))
        self.assertGreater(len(files), 40)
        self.assertEqual([path for path in self.prefix.rglob("*") if not path.is_dir()], [])

    def test_has_a_place_for_its_store_that_is_the_servers(self):
        place = self.root / "var/lib/kestrix"
        lines = block(HOSTING, "sh store").replace("/var/lib", str(place.parent))
        user = "www-data" if os.geteuid() == 0 else str(os.geteuid())
        self.sh(lines.replace("www-data", user))
        self.assertEqual(place.owner(), user if os.geteuid() == 0 else self.root.owner())
        self.assertEqual(place.stat().st_mode & 0o7777, 0o755)

    def test_gives_a_host_by_pkg_config(self):
        self.write("server.c", block(README, "c"))
        # Names with blanks are for those who quote what pkg-config gives.
        plain = self.root / "plain"
        plain.symlink_to(self.prefix)
        found = self.sh(block(HOSTING, "sh pkg-config").replace("/opt/server", str(plain)), "./server")
        self.assertEqual(found, "OpenSSL is ready\n")
        self.assertTrue((self.root / "certstore/server_certs/server_0.cer").is_file())
        self.assertEqual(self.sh("pkg-config --modversion qvsslinit"), f"{VERSION}\n")

    def test_gives_a_host_and_an_engine_by_cmake_with_options_of_their_own(self):
        self.write("server.c", block(README, "c"))
        self.write("my_engine.cpp", block(TRACING, "cpp"))
        self.write("CMakeLists.txt", block(HOSTING, "cmake host") + block(HOSTING, "cmake engine"))
        self.sh("cmake -S . -B build -G Ninja -DCMAKE_EXPORT_COMPILE_COMMANDS=ON 2>&1",
                "cmake --build build")
        options = set(" ".join(entry["command"].replace(str(self.prefix), "PREFIX") for entry in json.loads(
            (self.host / "build" / "compile_commands.json").read_text())).split())
        self.assertEqual([option for option in options if re.match("-[DWfO]", option)
                          and option not in ("-Dmy_engine_EXPORTS", "-fPIC", "-fvisibility=hidden")], [])
        (self.root / "qvsslinit.cfg").write_text("RefCount : 1 : yes\n")
        plain = self.root / "plain"
        plain.symlink_to(self.prefix)
        self.sh(block(HOSTING, "sh engine"), PKG_CONFIG_PATH=str(plain / "lib" / "pkgconfig"))
        for folder in ("build", "."):
            shutil.copy(self.host / folder / "libqv_traceengine.dylib", self.prefix / "lib")
            done = self.start("./build/server 2>&1", MY_TRACE_DIRECTORY=str(self.root))
            self.assertIn("LoadLibrary | returning status=ok, handle=1, refCount_=1", done)
            self.assertIn("OpenSSL is ready\n", done)
            (self.prefix / "lib" / "libqv_traceengine.dylib").unlink()

    def test_is_loaded_by_the_host_that_comes_with_it(self):
        shutil.copy(self.prefix / "share/doc/qvsslinit/examples/minimal_host.c", self.host)
        (self.root / "plain").symlink_to(self.prefix)
        self.environment["PKG_CONFIG_PATH"] = str(self.root / "plain" / "lib" / "pkgconfig")
        done = self.sh(block(HOSTING, "sh load").replace("/opt/server", str(self.root / "plain")))
        self.assertIn("OpenSSL is ready", done)
        self.assertIn("OpenSSL is ready", self.start("./minimal_host"))

    def test_is_found_by_its_doctor_with_what_programs_need_alone(self):
        (self.prefix / "lib" / "libqvsslinit.so").unlink()
        report = json.loads(self.sh(f"'{self.prefix}/bin/qvsslinit-doctor' --json"))
        self.assertEqual(report["library"], str(self.prefix / "lib" / "libqvsslinit.so.1"))
        self.assertTrue(report["healthy"])
        engine = next(section["facts"] for section in report["sections"] if section["name"] == "engine")
        self.assertTrue(engine["found"])

    def test_refuses_who_wants_another_major_version(self):
        self.write("CMakeLists.txt", LINES_OF_BUILDS + "foreach(version IN ITEMS 0.9 1.0 2)\n"
                   "find_package(qvsslinit ${version} CONFIG QUIET)\n"
                   "file(APPEND found ${qvsslinit_FOUND})\nendforeach()\n"
                   "find_package(qvsslinit 1 CONFIG COMPONENTS nonsense)\n"
                   "file(APPEND found ${qvsslinit_FOUND})\n")
        told = self.sh("cmake -S . -B build -G Ninja 2>&1")
        self.assertEqual((self.host / "found").read_text().replace("FALSE", "0"), "0100")
        self.assertIn("Reason given by package:\n\n  qvsslinit has no components\n", told)


if __name__ == "__main__":
    unittest.main()
