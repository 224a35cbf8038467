"""The manual pages: usage: manual_test.py DIRECTORY [Class.test]"""

import pathlib
import re
import subprocess
import sys
import unittest

PAGES = sorted(pathlib.Path(sys.argv.pop(1)).iterdir())


def complaints(page):
    """What the formatter has to say about a page, but for references to pages that are not installed."""
    done = subprocess.run(["mandoc", "-T", "lint", page], capture_output=True, text=True, timeout=60,
                          check=False)
    return [line for line in done.stdout.splitlines() if "referenced manual not found" not in line]


class Manual(unittest.TestCase):
    def test_has_the_pages_that_people_look_for(self):
        self.assertLessEqual({"QVSSLINIT_Init.3", "QVSSLINIT_Uninit.3", "qvsslinit-cert.8",
                              "qvsslinit-doctor.8", "qvsslinit.cfg.5"}, {page.name for page in PAGES})

    def test_is_well_formed(self):
        for page in PAGES:
            with self.subTest(page=page.name):
                self.assertEqual(complaints(page), [])

    def test_refers_to_pages_that_are_there(self):
        for page in PAGES:
            for name, section in re.findall(r"^\.Xr (\S*qvsslinit\S*) (\d)", page.read_text(), re.M | re.I):
                self.assertIn(f"{name}.{section}", {other.name for other in PAGES}, page.name)


if __name__ == "__main__":
    unittest.main()
