#!/usr/bin/env python3
"""Plants comments that the reference cannot be made of and sees that each one is found."""

import pathlib
import re
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parent))
import check_reference  # noqa: E402

SETTINGS = (pathlib.Path(__file__).parents[2] / "Doxyfile").read_text(encoding="utf-8")
# Headers that are named one by one.
NAMED = re.findall(r"[\w/]+\.h\b", SETTINGS)


def found(header, start_page="# Title\n"):
    """The warnings about a tree that holds one header."""
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        for layer in ("orvnetwork", "orvnetwork_qt", "orvnetwork_glib"):
            (root / layer).mkdir()
        (root / "docs" / "images").mkdir(parents=True)
        for page in ("README.md", "docs/start.md"):
            (root / page).write_text(start_page, encoding="utf-8")
        (root / "Doxyfile").write_text(SETTINGS, encoding="utf-8")
        (root / "orvnetwork" / "A.h").write_text("#pragma once\n/// A file.\n/// @file\n\n" + header,
                                                 encoding="utf-8")
        for name in NAMED:
            (root / name).parent.mkdir(parents=True, exist_ok=True)
            (root / name).write_text("#pragma once\n", encoding="utf-8")
        return check_reference.warnings(root)


class CheckReferenceTest(unittest.TestCase):
    def test_good_comment(self):
        self.assertEqual(found("/// Adds.\n/// @param one a number\nint add(int one);\n"), [])

    def test_parameter_that_is_not_there(self):
        self.assertIn("two", " ".join(found("/// Adds.\n/// @param two a number\nint add(int one);\n")))

    def test_unknown_command(self):
        self.assertIn("nonsense", " ".join(found("/// Adds by \\nonsense.\nint add(int one);\n")))

    def test_link_to_nowhere(self):
        self.assertIn("Nowhere", " ".join(found("/// Adds as @ref Nowhere does.\nint add(int one);\n")))

    def test_mark_without_end(self):
        self.assertTrue(found("/// Adds.\n/// @{\nint add(int one);\n"))

    def test_picture_that_is_missing(self):
        self.assertIn("a.png", " ".join(found("", "# Title\n\n![A picture](docs/a.png)\n")))

    def test_class_that_the_start_page_leads_to(self):
        header = "/// Ours.\nnamespace orv {\n/// Adds.\nstruct Adder {};\n}\n"
        self.assertEqual(found(header, "# Title\n\nUse orv::Adder.\n"), [])
        self.assertIn("orv::Missing", " ".join(found(header, "# Title\n\nUse orv::Missing.\n")))

    def test_namespace_that_is_private_is_left_out(self):
        self.assertEqual(found("/// Ours.\nnamespace orv::detail {\n/// Adds.\nstruct Adder {};\n}\n"), [])


if __name__ == "__main__":
    unittest.main()
