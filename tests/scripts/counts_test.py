#!/usr/bin/env python3
"""What script/test counts of what ctest prints, over a project of its own with one test of each end."""

import pathlib
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).parents[2]
PROJECT = """cmake_minimum_required(VERSION 3.25)
project(Ends NONE)
enable_testing()
foreach(name IN ITEMS first second)
  add_test(NAME passes.${name} COMMAND true)
endforeach()
add_test(NAME fails COMMAND false)
foreach(name IN ITEMS here there)
  add_test(NAME "skips.${name}/Of (one)" COMMAND echo "[  SKIPPED ] it")
  set_tests_properties("skips.${name}/Of (one)" PROPERTIES SKIP_REGULAR_EXPRESSION "\\\\[  SKIPPED \\\\]")
endforeach()
"""


class Counts(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory(prefix="orv-counts-")
        self.addCleanup(place.cleanup)
        self.folder = pathlib.Path(place.name)

    def run_ctest(self, name, project):
        folder = self.folder / name
        folder.mkdir()
        (folder / "CMakeLists.txt").write_text(project, encoding="utf-8")
        subprocess.run(["cmake", "-S", folder, "-B", folder], check=True, capture_output=True)
        told = subprocess.run(["ctest", "--test-dir", folder, "--output-on-failure"], capture_output=True, text=True)
        (folder / "ctest.txt").write_text(told.stdout, encoding="utf-8")
        return folder / "ctest.txt"

    def count(self, *files):
        script = ". script/counts.sh\n" + "".join(f"count part{n} '{file}'\n" for n, file in enumerate(files))
        told = subprocess.run(["bash", "-euc", script + 'printf "%s" "$closing_lines"; print_counts'], cwd=ROOT, check=True,
                              capture_output=True, text=True)
        return told.stdout.splitlines()

    def test_what_is_skipped_has_not_passed(self):
        lines = self.count(self.run_ctest("ends", PROJECT))
        self.assertEqual(lines[-2:], ["2 skipped", "2 passed, 1 failed"])
        self.assertEqual(lines[1:4], ["part0: 2 skipped, build/part0/Testing/Temporary/LastTest.log says why:",
                                      "  skips.here/Of (one)", "  skips.there/Of (one)"])

    def test_parts_are_added_up(self):
        ends = self.run_ctest("ends", PROJECT)
        self.assertEqual(self.count(ends, ends)[-2:], ["4 skipped", "4 passed, 2 failed"])

    def test_nothing_is_said_of_skipped_ones_where_there_are_none(self):
        passes = self.run_ctest("passes", "\n".join(PROJECT.splitlines()[:6]) + "\n")
        self.assertEqual(self.count(passes)[-1], "2 passed, 0 failed")
        self.assertNotIn("skipped", "".join(self.count(passes)))

    def test_a_run_that_broke_off_counts_nothing(self):
        broken = self.folder / "broken.txt"
        broken.write_text("Test project\n", encoding="utf-8")
        self.assertEqual(self.count(broken), ["0 passed, 0 failed"])


if __name__ == "__main__":
    unittest.main()
