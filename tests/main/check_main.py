#!/usr/bin/env python3
"""Runs a program of planted tests and looks at what the tests' main makes of them.

Usage: check_main.py PROGRAM
"""

import os
import subprocess
import sys
import tempfile
import unittest

PROGRAM = sys.argv[1]


class TestMainTest(unittest.TestCase):
    def run_program(self, *arguments):
        """Exit code and output; the temporary folder must be empty again afterwards."""
        with tempfile.TemporaryDirectory() as folder:
            environment = {**os.environ, "TMPDIR": folder, "XDG_DATA_HOME": "/nowhere"}
            environment.pop("ORV_TEST_ROOT", None)
            result = subprocess.run([PROGRAM, *arguments], env=environment, capture_output=True, text=True)
            self.assertEqual(os.listdir(folder), [])
            return result.returncode, result.stdout

    def test_each_test_has_its_own_process_and_home(self):
        code, output = self.run_program("--gtest_filter=Fresh.*:Two/*")
        self.assertEqual(code, 0, output)
        self.assertIn("4 tests ran", output)
        self.assertIn("[  PASSED  ] 4 tests.", output)

    def test_single_test_runs_too(self):
        code, output = self.run_program("--gtest_filter=Fresh.First")
        self.assertEqual(code, 0, output)
        self.assertIn("[  PASSED  ] 1 test.", output)

    def test_failures_are_named_and_the_rest_runs(self):
        code, output = self.run_program()
        self.assertEqual(code, 1, output)
        for line in ("[  FAILED  ] Planted.Fails: exit code 1", "[  FAILED  ] Planted.Crashes: killed by Killed",
                     "[  FAILED  ] Planted.Exits: exit code 3", "[  PASSED  ] 5 tests.", "8 tests ran",
                     "on purpose"):
            self.assertIn(line, output)

    def test_filter_takes_away(self):
        code, output = self.run_program("--gtest_filter=*-Planted.*:*.Second")
        self.assertEqual(code, 0, output)
        self.assertIn("3 tests ran", output)

    def test_disabled_test_runs_when_asked_for(self):
        code, output = self.run_program("--gtest_filter=*Fa?ls", "--gtest_also_run_disabled_tests")
        self.assertEqual(code, 1, output)
        self.assertIn("2 tests ran", output)

    def test_list_names_every_test(self):
        code, output = self.run_program("--gtest_list_tests")
        self.assertEqual(code, 0, output)
        self.assertEqual(output.count("\n  "), 9, output)

    def test_repetition_runs_again(self):
        code, output = self.run_program("--gtest_filter=Fresh.*", "--gtest_repeat=3")
        self.assertEqual(code, 0, output)
        self.assertEqual(output.count("2 tests ran"), 3)
        code, output = self.run_program("--gtest_filter=Fresh.First", "--gtest_repeat=3")
        self.assertEqual(code, 0, output)
        self.assertEqual(output.count("1 tests ran"), 3)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
