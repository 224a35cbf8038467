"""The pages lead to one another, and each block of theirs is run by a test or held against what is real.

usage: pages_test.py BUILD_DIRECTORY [Class[.test]]
"""

import ast
import json
import pathlib
import re
import shlex
import subprocess
import sys
import unittest

sys.dont_write_bytecode = True
import long_commands
from pages import BLOCKS, LONG, PAGES, SOURCES, name_of, split

BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
sys.path.insert(0, str(SOURCES / "scripts"))
import check_floors

# Lines that need a system of their own, and the script that has one.
RUN_ELSEWHERE = {"dpkg-statoverride --add --update www-data www-data 0755 /var/lib/kestrix": "packaging/test",
                 "chown -R www-data:www-data /var/lib/kestrix": "packaging/test"}

# A place of an installation, which has a test of its own.
INSTALLED = "include/qvsslinit-engine"


def anchors(page):
    """What the headings of a page are called in links."""
    found = []
    for line in split(page)[0]:
        if re.match("#+ ", line):
            title = re.sub(r"[^\w\- ]", "", line.lstrip("#").strip().lower()).replace(" ", "-")
            found.append(title if title not in found else f"{title}-{found.count(title)}")
    return found


def links(page):
    """Where the links and pictures of a page lead."""
    prose = re.sub(r"`[^`]*`", "`", "\n".join(split(page)[0]))
    return re.findall(r"\]\(([^()\s]+)\)", prose)


class Links(unittest.TestCase):
    def test_and_blocks_have_the_one_form_that_is_looked_at(self):
        for page in PAGES:
            text = page.read_text()
            with self.subTest(page=name_of(page)):
                self.assertNotRegex(text, r"(?m)^~~~|^ +```|^ {0,3}\[[^\]]+\]: ")
                self.assertNotRegex(re.sub(r"`[^`]*`", "`", "\n".join(split(page)[0])),
                                    r"\]\([^()]*[\s<>][^()]*\)|\]\[|<a |<img ")

    def test_lead_somewhere(self):
        count = 0
        for page in PAGES:
            for link in links(page):
                with self.subTest(page=name_of(page), link=link):
                    path, _, anchor = link.partition("#")
                    target = (page.parent / path).resolve() if path else page
                    self.assertTrue(target.is_relative_to(SOURCES))
                    self.assertTrue(target.exists())
                    if anchor:
                        self.assertIn(anchor, anchors(target))
                    count += 1
        self.assertGreater(count, 20)

    def test_lead_from_the_readme_to_every_page(self):
        reached = {(SOURCES / link.partition("#")[0]).resolve() for link in links(SOURCES / "README.md")}
        self.assertEqual({name_of(page) for page in PAGES if page not in reached}, {"README.md"})

    def test_are_how_a_page_names_another(self):
        for page in PAGES:
            self.assertNotRegex("\n".join(split(page)[0]), r"`docs/[\w-]+\.md`", name_of(page))

    def test_to_places_of_the_tree_that_are_named_in_the_text_hold(self):
        folders = "|".join(path.name for path in SOURCES.iterdir()
                           if path.is_dir() and re.fullmatch("[a-z]+", path.name) and path.name != "build")
        count = 0
        for page in PAGES:
            text = "\n".join(split(page)[0])
            for place in re.findall(rf"`(?:\./)?((?:{folders})/[\w./-]*)`", text):
                if "/NAME" not in place and place != INSTALLED:
                    with self.subTest(page=name_of(page), place=place):
                        path = SOURCES / place
                        self.assertTrue(path.exists() or list(path.parent.glob(f"{path.name}.*")))
                        count += 1
        self.assertGreater(count, 20)


class Readme(unittest.TestCase):
    def test_is_a_page(self):
        self.assertLessEqual(len((SOURCES / "README.md").read_text().splitlines()), 80)

    def test_shows_lines_of_the_hosting_guide(self):
        guide = split(SOURCES / "docs" / "hosting.md")[1]
        for block in split(SOURCES / "README.md")[1]:
            if block[0] in ("sh build", "sh install", "sh pkg-config"):
                self.assertIn(block, guide)


class Architecture(unittest.TestCase):
    def test_names_the_folders_that_there_are(self):
        (tree,) = (body for kind, body in split(SOURCES / "docs" / "architecture.md")[1]
                   if kind == "text folders")
        named, parent = set(), ""
        for line in tree.splitlines():
            for name in re.split(" {3,}", line.strip())[0].split():
                path = parent + name if line.startswith(" ") else name
                with self.subTest(path=path):
                    self.assertTrue((SOURCES / path).exists())
                named.add(path.split("/")[0])
                if not line.startswith(" "):
                    parent = name
        self.assertEqual(named, {path.name for path in SOURCES.iterdir() if path.is_dir()
                                 and path.name != "build" and not path.name.startswith(".")})


    def test_has_the_floors_as_they_are_checked(self):
        page = (SOURCES / "docs" / "architecture.md").read_text()
        rows = re.findall(r"^\| (\d) \| (.*?) \| (.*?) \|$", page, re.M)
        self.assertEqual({int(floor): title for floor, title, _ in rows}, check_floors.TITLES)
        for floor, _, names in rows:
            for name in re.findall(r"`(\w+)`", names):
                found = {check_floors.floor_of(str(path.relative_to(SOURCES)))
                         for folder in ("kit", "source") for path in (SOURCES / folder).rglob(f"{name}.*")}
                with self.subTest(name=name):
                    self.assertEqual(found or {0}, {int(floor)})


class Pictures(unittest.TestCase):
    """Each is what Graphviz makes of the text beside it: whatever release draws it, the same boxes,
    arrows and words, though perhaps in other places."""

    def words(self, picture):
        return sorted(re.findall(r"<(title|text)\b[^>]*>(.*?)</|(stroke-dasharray)", picture))

    def test_are_each_shown_by_a_page(self):
        shown = {(page.parent / link).resolve() for page in PAGES for link in links(page)}
        pictures = set((SOURCES / "docs").rglob("*.svg"))
        self.assertGreaterEqual(len(pictures), 4)
        self.assertEqual(pictures - shown, set())

    def test_show_what_the_texts_say(self):
        texts = sorted((SOURCES / "docs" / "pictures").glob("*.dot"))
        self.assertGreaterEqual(len(texts), 3)
        self.assertEqual([text.with_suffix(".svg") for text in texts],
                         sorted((SOURCES / "docs" / "pictures").glob("*.svg")))
        for text in texts:
            with self.subTest(picture=text.name):
                drawn = subprocess.run(["dot", "-Tsvg", text], check=True, capture_output=True, text=True)
                self.assertEqual(self.words(text.with_suffix(".svg").read_text()), self.words(drawn.stdout),
                                 "scripts/pictures draws it anew")

    def test_of_the_floors_allow_each_include(self):
        done = subprocess.run([sys.executable, SOURCES / "scripts" / "check_floors.py"], check=False,
                              capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stderr), (0, ""))

    def test_of_the_floors_shows_the_includes_there_are(self):
        self.assertEqual((SOURCES / "docs" / "pictures" / "floors.dot").read_text(),
                         check_floors.drawing(check_floors.includes()), "scripts/pictures draws it anew")


class Blocks(unittest.TestCase):
    def test_are_each_run_by_a_test(self):
        self.assertEqual(sorted(BLOCKS), sorted(name_of(page) for page in PAGES))
        for page in PAGES:
            claims = BLOCKS[name_of(page)]
            if isinstance(claims, list):
                with self.subTest(page=name_of(page)):
                    self.assertEqual([kind for kind, _ in split(page)[1]], [kind for kind, _ in claims])

    def test_are_claimed_by_tests_that_there_are_and_that_read_the_page(self):
        files = [*(SOURCES / "tests").rglob("CMakeLists.txt"), SOURCES / "scripts" / "test"]
        scripts = "".join(file.read_text() for file in files)
        for page, claims in BLOCKS.items():
            for claim in {claims} if isinstance(claims, str) else {test for _, test in claims}:
                with self.subTest(page=page, test=claim):
                    name, test = claim.split()
                    text = (SOURCES / name).read_text()
                    methods = {f"{owner.name}.{method.name}" for owner in ast.parse(text).body
                               if isinstance(owner, ast.ClassDef) for method in owner.body
                               if isinstance(method, ast.FunctionDef)}
                    self.assertIn(test, methods)
                    # Some are given the page by the build, or the blocks of all pages.
                    if "import BLOCKS" not in text:
                        self.assertIn(pathlib.Path(page).name,
                                      text + (SOURCES / name).with_name("CMakeLists.txt").read_text())
                    self.assertRegex(scripts, r"(?m)(qv_add_python_tests\(\w+ |\bpython3 tests/docs/)"
                                              rf"{pathlib.Path(name).name}\b")

    def test_stand_between_fences(self):
        for page in PAGES:
            lines = split(page)[0]
            for before, line in zip([""] + lines, lines):
                if line.startswith("    ") and not before.strip():
                    with self.subTest(page=name_of(page), line=line):
                        self.assertIn(line.strip(), RUN_ELSEWHERE)
                        script = SOURCES / RUN_ELSEWHERE[line.strip()]
                        self.assertIn(line.strip(), script.read_text().splitlines())


class Changelog(unittest.TestCase):
    def test_begins_with_the_version_that_is_built(self):
        built = re.search(r"^project\(qvsslinit VERSION (\S+)", (SOURCES / "CMakeLists.txt").read_text(), re.M)
        told = re.search(r"^## (\S+)$", (SOURCES / "CHANGELOG.md").read_text(), re.M)
        self.assertEqual(told.group(1), built.group(1))


class LongCommands(unittest.TestCase):
    """Commands that take minutes are run by `scripts/test --long`. So that a slip shows earlier: what
    they name is there to be run."""

    def expect_script(self, program, *arguments):
        file = SOURCES / program
        self.assertTrue(file.stat().st_mode & 0o111)
        # What a script says of itself, or tells its reader of options.
        text = file.read_text()
        head = "\n".join(line for line in text.splitlines() if re.match("#|\"\"\"|[A-Z]", line)
                         or "add_argument" in line)
        for option in [argument for argument in arguments if argument.startswith("-")]:
            self.assertRegex(head, rf"(?<![\w-]){option}(?![\w-])")
        plain = [argument for argument in arguments if not argument.startswith("-")]
        if program == "scripts/fuzz" and arguments:
            self.assertTrue((SOURCES / "fuzz" / f"{plain.pop(0)}_fuzzer.cpp").exists())
        self.assertTrue(all(re.fullmatch(r"\d+", number) for number in plain), plain)
        self.assertLessEqual(len(plain), 1)

    def expect_preset(self, kind, name):
        presets = json.loads((SOURCES / "CMakePresets.json").read_text())
        self.assertIn(name, [preset["name"] for preset in presets[kind]])

    def expect_tests(self, arguments):
        self.assertEqual(arguments[0], "--preset")
        self.expect_preset("testPresets", arguments[1])
        listed = subprocess.run(["ctest", "--test-dir", BUILD, "-N", *arguments[2:]], check=True,
                                capture_output=True, text=True).stdout
        self.assertGreater(int(re.search(r"Total Tests: (\d+)", listed).group(1)), 0, arguments)

    def expect_target(self, arguments):
        self.assertEqual((arguments[0], arguments[2], arguments[4:]), ("--preset", "--target", []))
        self.expect_preset("buildPresets", arguments[1])
        subprocess.run(["ninja", "-C", BUILD, "-t", "query", arguments[3]], check=True, capture_output=True)

    def test_name_what_there_is_to_run(self):
        sources = "".join(path.read_text() for folder in ("tests", "fuzz")
                          for path in (SOURCES / folder).rglob("*.[ch]*"))
        count = 0
        for page, claims in BLOCKS.items():
            if isinstance(claims, str):
                continue
            for kind, body in split(SOURCES / page)[1]:
                if (kind, LONG) not in claims:
                    continue
                for line in body.splitlines():
                    words = shlex.split(line, comments=True)
                    with self.subTest(page=page, line=line):
                        while "=" in words[0]:
                            self.assertIn(f'"{words.pop(0).split("=")[0]}"', sources)
                        if words[0] == "ctest":
                            self.expect_tests(words[1:])
                        elif words[:2] == ["cmake", "--preset"]:
                            self.expect_preset("configurePresets", *words[2:])
                        elif words[:2] == ["cmake", "--build"]:
                            self.expect_target(words[2:])
                        else:
                            self.expect_script(*words)
                        count += 1
        self.assertGreaterEqual(count, 12)

    def test_in_the_text_name_what_there_is_to_run(self):
        for line in long_commands.in_the_text():
            with self.subTest(line=line):
                self.expect_script(*line.split())

    def test_that_are_run_shorter_or_have_been_run_before_are_on_the_pages(self):
        lines = long_commands.in_blocks() + long_commands.in_the_text()
        self.assertGreaterEqual(len(lines), 20)
        self.assertEqual({long_commands.CALLER, *long_commands.SHORTER, *long_commands.RUN_BEFORE,
                          *long_commands.JUDGES} - set(lines), set())

    def test_of_the_sweeps_have_filters_that_select_tests(self):
        page = (SOURCES / "docs" / "reliability.md").read_text()
        filters = re.findall(r"\| \d+ \| `(.*?)` \|$", page, re.M)
        self.assertGreater(len(filters), 15)
        for name in filters:
            with self.subTest(filter=name):
                listed = subprocess.run([BUILD / "bin" / "sweep_tests", "--gtest_list_tests",
                                         f"--gtest_filter={name}"], check=True, capture_output=True, text=True)
                self.assertIn("\n  ", listed.stdout)


if __name__ == "__main__":
    unittest.main()
