#!/usr/bin/env python3
"""Configures projects that take this one in by add_subdirectory, and looks at what that did to them.

Usage: check_subproject.py COMPILER
"""

import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

COMPILER = sys.argv[1]
SOURCE = pathlib.Path(__file__).resolve().parents[2]
PARENT = """
cmake_minimum_required(VERSION 3.25)
project(Parent LANGUAGES CXX)
%s
add_subdirectory("%s" orv)
file(WRITE ${CMAKE_BINARY_DIR}/main.cpp "int main() {}")
add_executable(parent main.cpp)
target_link_libraries(parent PRIVATE OrvNetwork::orvnetwork OrvNetwork::testing)
"""


class Parent:
    """A project around this one, configured."""

    def __init__(self, settings="", *options):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="orv-subproject-"))
        (self.folder / "CMakeLists.txt").write_text(PARENT % (settings, SOURCE), encoding="utf-8")
        self.build = self.folder / "build"
        subprocess.run(["cmake", "-G", "Ninja", "-S", self.folder, "-B", self.build, f"-DCMAKE_CXX_COMPILER={COMPILER}",
                        "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", *options], check=True, capture_output=True, text=True)

    def commands(self, part):
        """How the sources whose path contains `part` are compiled."""
        entries = json.loads((self.build / "compile_commands.json").read_text(encoding="utf-8"))
        return [entry["command"] for entry in entries if part in entry["file"]]

    def cache(self):
        text = (self.build / "CMakeCache.txt").read_text(encoding="utf-8")
        return {name: value for name, kind, value in re.findall(r"^([A-Za-z_0-9]+):([A-Z]+)=(.*)$", text, re.MULTILINE)
                if kind not in ("INTERNAL", "STATIC")}

    def remove(self):
        shutil.rmtree(self.folder)


class SubprojectTest(unittest.TestCase):
    def parent(self, *arguments):
        made = Parent(*arguments)
        self.addCleanup(made.remove)
        return made

    def test_parent_keeps_its_cache(self):
        alone = self.parent("return()").cache()
        together = self.parent().cache()
        places = {"CMAKE_HOME_DIRECTORY", "CMAKE_CACHEFILE_DIR"}
        self.assertEqual({name for name in alone if alone[name] != together.get(name)} - places, set())
        new = {name for name in together if name not in alone}
        self.assertIn("ORV_BUILD_SHARED", new)
        self.assertEqual({name for name in new if name.startswith(("CMAKE_", "BUILD_"))}, set())

    def test_parent_decides_how_libraries_are_made(self):
        for wanted, ending in (("OFF", "a"), ("ON", "so")):
            rules = (self.parent("", f"-DBUILD_SHARED_LIBS={wanted}").build / "build.ninja").read_text(encoding="utf-8")
            self.assertRegex(rules, rf"(?m)^build orv/orvnetwork/liborvnetwork\.{ending}[ :.]")

    def test_warnings_are_no_errors_and_nothing_is_installed(self):
        parent = self.parent()
        commands = parent.commands("/orvnetwork/")
        self.assertGreater(len(commands), 100)
        self.assertFalse([command for command in commands if "-Werror" in command])
        rules = (parent.build / "orv" / "cmake_install.cmake").read_text(encoding="utf-8")
        self.assertNotIn("file(INSTALL", rules)

    def test_standard_of_the_parent_counts(self):
        self.assertTrue(all("c++23" in command or "c++2b" in command
                            for command in self.parent("set(CMAKE_CXX_STANDARD 23)").commands("/orvnetwork/")))
        self.assertTrue(all("c++20" in command or "c++2a" in command
                            for command in self.parent("set(CMAKE_CXX_STANDARD 17)").commands("/orvnetwork/")))

    def test_without_a_build_type_it_is_optimised(self):
        self.assertTrue(all(" -O3 " in command for command in self.parent().commands("/orvnetwork/")))
        self.assertFalse([command for command in self.parent("", "-DCMAKE_BUILD_TYPE=Debug").commands("/orvnetwork/")
                          if " -O" in command])

    def test_only_the_libraries_are_built(self):
        parent = self.parent()
        for part in ("/cli/", "/devserver/", "/tests/", "/examples/"):
            self.assertEqual(parent.commands(f"{SOURCE}{part}"), [])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
