#!/usr/bin/env python3
"""Builds small libraries that leak and sees that the symbol check finds it, and that the map file stops it.

Usage: check_symbols_test.py COMPILER MAP_FILE
"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parent))
import check_symbols  # noqa: E402

COMPILER, MAP_FILE = sys.argv[1:3]

OURS = """
#include <any>
#include <string>
namespace orv {
struct Base { virtual ~Base() {} virtual int f() const { return 1; } };
struct Second { virtual ~Second() {} virtual int g() { return 2; } };
struct Both : virtual Base, Second { int f() const override; int g() override; };
int Both::f() const { return 3; }
int Both::g() { return 4; }
inline int& counter() { static int count = 0; return count; }
int count() { return ++counter(); }
std::any boxed(std::string text) { return text + "!"; }
}
"""


class CheckSymbolsTest(unittest.TestCase):
    def breaches(self, source, *flags):
        with tempfile.TemporaryDirectory() as folder:
            library = f"{folder}/libplanted.so"
            subprocess.run([COMPILER, "-std=c++20", "-shared", "-fPIC", "-x", "c++", "-", "-o", library, *flags],
                           input=source, text=True, check=True)
            return list(check_symbols.breaches(library))

    def test_leak_of_standard_library_templates_is_found(self):
        self.assertTrue(any("std::" in breach for breach in self.breaches(OURS)))

    def test_map_file_stops_the_leak(self):
        self.assertEqual(self.breaches(OURS, f"-Wl,--version-script={MAP_FILE}"), [])

    def test_foreign_names_are_found(self):
        found = self.breaches(OURS + "int helper() { return 0; }\nextern \"C\" int orv_c() { return 0; }\n",
                              "-fvisibility=hidden", "-fvisibility-inlines-hidden")
        self.assertFalse([breach for breach in found if "orv::" in breach and "std::" not in breach], found)
        found = self.breaches("namespace orv { int f() { return 0; } }\nint helper() { return 0; }\n")
        self.assertEqual([breach.split(": ")[1] for breach in found], ["shows helper()"])

    def test_library_that_shows_nothing_is_found(self):
        self.assertTrue(self.breaches("static int f() { return 0; }\nint g() { return f(); }", "-fvisibility=hidden"))

    def test_need_for_a_test_double_is_found(self):
        found = self.breaches("namespace orv { void makeSimulatedPlatform(); void f() { makeSimulatedPlatform(); } }")
        self.assertEqual([breach.split(": ")[1] for breach in found],
                         ["needs the test double orv::makeSimulatedPlatform()"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
