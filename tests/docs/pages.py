"""The pages, what stands in them, and which test runs each of their blocks."""

import pathlib

SOURCES = pathlib.Path(__file__).resolve().parent.parent.parent
PAGES = [SOURCES / name for name in ("README.md", "SECURITY.md", "CHANGELOG.md")]
PAGES += sorted((SOURCES / "docs").glob("*.md"))

INSTALL = "tests/install/install_test.py"
DOCTOR = "tests/tools/doctor_test.py"
LONG = "tests/docs/long_commands.py LongCommands.test_do_what_they_say"
STORE = ("tests/tools/cert/cert_test.py "
         "CertPages.test_commands_of_the_page_on_the_store_do_what_they_say")

# By page the test that knows all of its blocks, or block by block what stands behind the fence and the
# test that runs it.
BLOCKS = {
    "README.md": [
        ("sh commands", LONG),
        ("sh build", "tests/docs/pages_test.py Readme.test_shows_lines_of_the_hosting_guide"),
        ("sh install", "tests/docs/pages_test.py Readme.test_shows_lines_of_the_hosting_guide"),
        ("c", f"{INSTALL} Installation.test_gives_a_host_by_pkg_config"),
        ("sh pkg-config", "tests/docs/pages_test.py Readme.test_shows_lines_of_the_hosting_guide"),
    ],
    "SECURITY.md": [
        ("sh run", "tests/integration/default_certificate_test.py "
                   "SecurityPage.test_commands_put_a_pair_in_place_that_init_keeps"),
    ],
    "CHANGELOG.md": [],
    "docs/architecture.md": [
        ("text folders", "tests/docs/pages_test.py Architecture.test_names_the_folders_that_there_are"),
        ("sh", LONG),
    ],
    "docs/certificate-store.md": [("sh run", STORE), ("sh run", STORE), ("sh run", STORE)],
    "docs/doctor.md": [
        ("sh run", f"{DOCTOR} Documentation.test_lines_that_start_it_do"),
        ("page", f"{DOCTOR} Documentation.test_shows_the_page_as_it_is"),
        ("json", f"{DOCTOR} Documentation.test_shows_the_json_as_it_is"),
    ],
    "docs/glossary.md": [],
    "docs/hosting.md":
        f"{INSTALL} Document.test_holds_the_blocks_that_are_tried_and_no_others",
    "docs/ini-format.md":
        "tests/qvini/examples/examples_test.py Examples.test_programs_print_and_write_what_the_document_shows",
    "docs/openssl.md": "tests/adapters/openssl/openssl_doc_test.py "
                       "Document.test_every_block_is_run_or_held_against_something",
    "docs/performance.md": [("sh", LONG)],
    "docs/porting.md":
        "tests/porting/porting_doc_test.py PortingDocument.test_has_no_other_blocks",
    "docs/reliability.md": [("sh", LONG)] * 8,
    "docs/text.md": [],
    "docs/tracing.md": "tests/tracing/tracing_doc_test.py "
                       "Document.test_holds_the_blocks_and_tables_that_are_tried_here_and_no_others",
}


def name_of(page):
    return str(page.relative_to(SOURCES))


def split(page):
    """The lines outside of fenced blocks, each block as an empty one; and the blocks: what stands behind
    the fence, and the body."""
    prose, blocks, body, fence = [], [], [], None
    for line in page.read_text().splitlines():
        if not line.startswith("```"):
            (prose if fence is None else body).append(line)
        elif fence is None:
            fence, body = line[3:], []
            prose.append("")
        else:
            blocks.append((fence, "\n".join(body) + "\n"))
            fence = None
    if fence is not None:
        raise AssertionError(f"{name_of(page)}: a block without an end")
    return prose, blocks
