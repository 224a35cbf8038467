"""As a part of somebody's own project it keeps to itself, and it installs with that where it is told to.

usage: subproject_test.py SOURCES [Class.test]
"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

SOURCES = pathlib.Path(sys.argv.pop(1)).resolve()
HOSTING = (SOURCES / "docs" / "hosting.md").read_text()
(LINES,) = re.findall(r"^```cmake subproject\n((?:.*\n)*?)```$", HOSTING, re.M)

# Properties of the parent's directory and variables that the part could spoil.
PARENT = """
cmake_minimum_required(VERSION 3.25)
project(server VERSION 3.2 LANGUAGES C CXX)
function(write_state file)
  set(state "")
  foreach(property IN ITEMS COMPILE_OPTIONS COMPILE_DEFINITIONS INCLUDE_DIRECTORIES LINK_OPTIONS TESTS
      BUILDSYSTEM_TARGETS)
    get_directory_property(value ${property})
    string(APPEND state "${property}=${value}\\n")
  endforeach()
  get_cmake_property(names VARIABLES)
  foreach(name IN LISTS names)
    if(name MATCHES "^(CMAKE|BUILD)_" AND NOT name MATCHES "^CMAKE_INSTALL_[A-Z]+DIR$"
       AND NOT name MATCHES "^CMAKE_HAVE_")
      string(APPEND state "${name}=${${name}}\\n")
    endif()
  endforeach()
  file(WRITE "${CMAKE_BINARY_DIR}/${file}" "${state}")
endfunction()
file(WRITE server.cpp "#include <qvsslinit.h>\\nint main() { QVSSLINIT_Uninit(QVSSLINIT_Init()); }\\n")
file(WRITE engine.cpp "#include <source/client/ITraceEngine.h>\\n")
add_executable(server server.cpp)
add_library(my_engine MODULE engine.cpp)
write_state(before)
"""
AFTER = """target_link_libraries(my_engine PRIVATE qvsslinit::engine_sdk)
write_state(after)
"""


class Subproject(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="qvsslinit-test-")
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name).resolve()
        self.build = self.root / "build"
        (self.root / "qvsslinit").symlink_to(SOURCES)
        (self.root / "CMakeLists.txt").write_text(PARENT + LINES + AFTER)

    def run_in_root(self, *command):
        done = subprocess.run([str(part) for part in command], cwd=self.root, capture_output=True,
                              text=True, timeout=100, check=False)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return done.stdout

    def configure(self, *options):
        self.run_in_root("cmake", "-S", ".", "-B", self.build, "-G", "Ninja",
                         "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", "-DCMAKE_INSTALL_PREFIX=/opt/server", *options)

    def all_commands(self):
        """How each source is compiled."""
        commands = json.loads((self.build / "compile_commands.json").read_text())
        return {pathlib.Path(entry["file"]): entry["command"] for entry in commands}

    def commands(self):
        """How each of the parent's sources is compiled."""
        found = {file.name: command for file, command in self.all_commands().items()
                 if file.parent == self.root}
        self.assertEqual(sorted(found), ["engine.cpp", "server.cpp"])
        return found

    def pkg_config(self):
        (file,) = self.build.rglob("qvsslinit.pc")
        return dict(re.findall(r"^(\w+)=(.*)$", file.read_text(), re.M))

    def test_leaves_nothing_in_its_parent(self):
        self.configure()
        before, after = (set((self.build / name).read_text().splitlines()) for name in ("before", "after"))
        self.assertIn("BUILDSYSTEM_TARGETS=server;my_engine", before)
        self.assertEqual(after ^ before, set())
        for file, command in self.commands().items():
            self.assertEqual([word for word in command.split() if re.match("-[DWOf]", word)
                              and word not in ("-Dmy_engine_EXPORTS", "-fPIC")], [], file)
        for file, command in self.all_commands().items():
            self.assertNotRegex(command, "-Werror", file)
        part = self.root / "qvsslinit"
        self.assertEqual({file.relative_to(part).parts[0] for file in self.all_commands()
                          if file.is_relative_to(part)},
                         {"adapters", "engine", "kit", "qvini", "source"})
        self.assertNotIn("libqvsslinit", (self.build / "cmake_install.cmake").read_text())
        self.run_in_root("cmake", "--install", self.build, "--prefix", self.root / "installed")
        self.assertEqual([path for path in self.root.glob("installed/**/*") if path.is_file()], [])

    def test_names_whole_paths_only_where_the_library_goes_elsewhere_than_below_the_prefix(self):
        for directory, up in (("lib/x86_64-linux-gnu", "../../.."), ("/opt/server/lib64", "../..")):
            self.configure("-DQV_INSTALL=ON", f"-DCMAKE_INSTALL_LIBDIR={directory}")
            self.assertEqual(self.pkg_config(), {"prefix": "${pcfiledir}/" + up,
                                                 "libdir": "${pcfiledir}/..",
                                                 "includedir": "${prefix}/include"})
        self.assertNotIn("/opt/server/", "".join(
            path.read_text() for path in self.build.rglob("qvsslinitTargets*.cmake")))
        # The library goes elsewhere.
        self.configure("-DQV_INSTALL=ON", "-DCMAKE_INSTALL_LIBDIR=/srv/lib")
        self.assertEqual(self.pkg_config(), {"prefix": "/opt/server", "libdir": "${pcfiledir}/..",
                                             "includedir": "${prefix}/include"})
        # Pages are of those programs alone that are there.
        installed = "".join(path.read_text() for path in self.build.rglob("cmake_install.cmake"))
        self.assertIn("QVSSLINIT_Init.3", installed)
        self.assertNotIn("qvsslinit-doctor.8", installed)


if __name__ == "__main__":
    unittest.main()
