"""docs/porting.md tells porters what is so.
usage: porting_doc_test.py DOCUMENT BUILD_DIRECTORY [Class.test]

A port is configured as the document says, in a copy of the sources. It is not built, nor configured
once more with tests, which takes minutes: that it would compile the right sources, and that the tests
to run are there, is asked of the build files."""

import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

DOCUMENT = pathlib.Path(sys.argv.pop(1)).resolve()
BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
ROOT = DOCUMENT.parent.parent
SEAMS = ROOT / "kit/osdep/platform"

BLOCKS = dict(re.findall(r"^```sh (\S+)\n((?:.*\n)*?)```$", DOCUMENT.read_text(), re.M))


def run(command, directory, expected=0):
    """What the command says; fails unless it ends with the expected status."""
    result = subprocess.run(["bash", "-ec", command], cwd=directory, text=True,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if result.returncode != expected:
        raise AssertionError(f"'{command}' ended with {result.returncode}:\n{result.stdout}")
    return result.stdout


def lines(block, beginning):
    found = [line for line in BLOCKS[block].splitlines() if line.startswith(beginning)]
    if not found:
        raise AssertionError(f"no '{beginning}' in the block '{block}'")
    return found


def targets(block):
    [build] = lines(block, "cmake --build build/mysystem --target ")
    return build.split("--target ")[1].split()


class PortingDocument(unittest.TestCase):
    def test_has_no_other_blocks(self):
        self.assertEqual(list(BLOCKS), ["configure", "build", "test"])
        self.assertEqual(DOCUMENT.read_text().count("```"), 2 * len(BLOCKS))

    def test_tells_of_every_function_of_every_seam(self):
        told = {}
        for header, table in re.findall(r"^\| `(\w+\.h)` .*\n\|[-|]*\n((?:\|.*\n)*)",
                                        DOCUMENT.read_text(), re.M):
            told[header] = re.findall(r"^\| `(\w+)` \|", table, re.M)
        declared = {}
        for header in SEAMS.glob("*.h"):
            declared[header.name] = re.findall(r"^[A-Za-z][\w:*& ]*?(\w+)\(", header.read_text(), re.M)
        self.assertEqual({name: sorted(functions) for name, functions in told.items()},
                         {name: sorted(functions) for name, functions in declared.items()})


class Port(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="qvsslinit-test-")
        self.addCleanup(folder.cleanup)
        self.sources = pathlib.Path(folder.name).resolve() / "sources"
        shutil.copytree(ROOT, self.sources, ignore=shutil.ignore_patterns("build", ".git"))

    def commands(self):
        """By source file, how the port compiles it."""
        database = self.sources / "build/mysystem/compile_commands.json"
        return {str(pathlib.Path(entry["file"]).relative_to(self.sources)): entry["command"]
                for entry in json.loads(database.read_text())}

    def test_compiles_its_own_folder_as_that_asks(self):
        run(BLOCKS["configure"], self.sources)
        (self.sources / "kit/osdep/platform/mysystem/platform.cmake").write_text(
            "target_compile_definitions(qvkit PRIVATE ASKED_FOR_BY_THE_PLATFORM)\n")
        [configure] = lines("configure", "cmake ")
        run(configure, self.sources)
        seams = {name for name in self.commands() if "/platform/" in name}
        self.assertEqual(seams, {f"kit/osdep/platform/mysystem/{header.stem}.cpp"
                                 for header in SEAMS.glob("*.h")})
        for name in seams:
            self.assertIn("-DASKED_FOR_BY_THE_PLATFORM", self.commands()[name])
        [target] = targets("build")
        self.assertIn("mysystem/SystemEncoding.cpp",
                      run(f"ninja -C build/mysystem -t commands {target}", self.sources))

        refused = run(f"{configure} -DQV_PLATFORM=nowhere", self.sources, 1)
        self.assertIn("QV_PLATFORM is 'nowhere'", refused)
        refused = run(f"{configure} -UQV_WCHAR_SIZE -UHAVE_QV_WCHAR_SIZE "
                      "-DCMAKE_CXX_FLAGS=-fshort-wchar", self.sources, 1)
        self.assertIn("wchar_t is 2 bytes wide", refused)


    def test_for_a_mac_compiles_and_links_what_that_needs(self):
        configure = "cmake -S . -B build/mysystem -G Ninja -DQV_BUILD_TESTS=OFF -DQV_PLATFORM=apple"
        run(configure, self.sources)
        sources = {name for name in self.commands() if "/platform/" in name}
        self.assertEqual(sources, {str(source.relative_to(ROOT))
                                   for source in (SEAMS / "apple").glob("*.cpp")})
        for name in sources:
            self.assertIn("-Wno-deprecated-declarations", self.commands()[name])
        linking = run("ninja -C build/mysystem -t commands qvsslinit", self.sources)
        self.assertRegex(linking, "-framework Carbon +-framework CoreFoundation")


class TestsOfAPort(unittest.TestCase):
    def test_to_run_first_are_there(self):
        programs = targets("test")
        run(f"ninja -C '{BUILD}' -t query {' '.join(programs)}", ROOT)
        selected = []
        for command in lines("test", "ctest "):
            command = command.replace("build/mysystem", f"'{BUILD}'")
            count = re.search(r"Total Tests: (\d+)", run(f"{command} -N", ROOT)).group(1)
            self.assertGreater(int(count), 0, command)
            selected.append(re.search(r"\^(\w+)", command).group(1))
        self.assertEqual(selected, programs)


if __name__ == "__main__":
    unittest.main()
