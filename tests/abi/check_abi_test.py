#!/usr/bin/env python3
"""Tries script/abi on a small library of its own: what it compares with, what it says, and how it ends."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROJECT = """cmake_minimum_required(VERSION 3.25)
project(Small LANGUAGES CXX)
foreach(folder IN ITEMS orvnetwork orvnetwork_glib)
  if(EXISTS ${CMAKE_SOURCE_DIR}/${folder})
    string(REPLACE _ - name ${folder})
    add_library(${folder} SHARED ${folder}/small.cpp)
    target_include_directories(${folder} PRIVATE ${CMAKE_SOURCE_DIR})
    set_target_properties(${folder} PROPERTIES OUTPUT_NAME ${name} LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${folder})
  endif()
endforeach()
add_library(orvnetwork_testing SHARED orvnetwork/testing.cpp)
set_target_properties(orvnetwork_testing PROPERTIES OUTPUT_NAME orvnetwork-testing
  LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/orvnetwork)
"""
PRESETS = """{"version": 6, "configurePresets": [{"name": "package", "generator": "Ninja",
  "binaryDir": "${sourceDir}/build/package", "cacheVariables": {"CMAKE_BUILD_TYPE": "RelWithDebInfo"}}]}
"""
FIRST = "enum Way { left, right };\nstruct Point { int x; Way way; };\nint across(const Point& point);\n"
WIDER = FIRST.replace("int x;", "int x; int y;")
OTHER_WAYS = FIRST.replace("left, right", "right, left")
MORE_WAYS = FIRST.replace("left, right", "left, right, up")
MORE = FIRST + "int down(const Point& point);\n"

# Whatever git is told outside is about another tree.
SETTINGS = {name: value for name, value in os.environ.items() if not name.startswith("GIT_")} | {
    "GIT_CONFIG_GLOBAL": "/dev/null", "GIT_CONFIG_SYSTEM": "/dev/null"}


class AbiTest(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory(prefix="orv-abi-")
        self.addCleanup(place.cleanup)
        self.root = pathlib.Path(place.name)
        (self.root / "script").mkdir()
        for name in ("abi", "common.sh"):
            shutil.copy(ROOT / "script" / name, self.root / "script")
        self.write("script/bootstrap", "#!/bin/sh\n")
        (self.root / "script" / "bootstrap").chmod(0o755)
        self.write("CMakeLists.txt", PROJECT)
        self.write("CMakePresets.json", PRESETS)
        self.write("orvnetwork/testing.cpp", "int test() { return 1; }\n")
        self.write(".gitignore", "build\n")
        self.git("init", "--quiet")
        self.version("0.1.0")
        self.library(FIRST)
        self.commit("first")

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def version(self, version):
        names = zip(("MAJOR", "MINOR", "PATCH"), version.split("."))
        self.write("orvnetwork/version.h", "".join(f"#define ORV_VERSION_{name} {number}\n" for name, number in names))

    def library(self, declarations, folder="orvnetwork"):
        """Its header, and functions that do what is declared."""
        self.write(f"{folder}/small.h", declarations)
        functions = [line for line in declarations.splitlines() if line.startswith("int ")]
        # Functions that do the same would become one.
        bodies = "".join(line.replace(";", f" {{ return point.x + {n}; }}\n") for n, line in enumerate(functions))
        self.write(f"{folder}/small.cpp", f'#include "small.h"\n{bodies}')

    def git(self, *arguments):
        return subprocess.run(["git", "-c", "user.name=A", "-c", "user.email=a@b.invalid", *arguments], cwd=self.root,
                              env=SETTINGS, check=True, capture_output=True, text=True).stdout.strip()

    def commit(self, message):
        self.git("add", "--all")
        self.git("commit", "--quiet", "--message", message)
        return self.git("rev-parse", "--short", "HEAD")

    def abi(self, *arguments):
        """How it ends, and what it says; the closing line is the last one."""
        ended = subprocess.run(["script/abi", *arguments], cwd=self.root, env=SETTINGS, stdout=subprocess.PIPE,
                               stderr=subprocess.STDOUT, text=True)
        return ended.returncode, ended.stdout

    def expect(self, code, closing, *arguments):
        ended, said = self.abi(*arguments)
        self.assertEqual(ended, code, said)
        self.assertEqual(said.splitlines()[-1], closing, said)
        return said

    def test_WithoutTagItComparesWithTheCommitOfTheVersion(self):
        first = self.git("rev-parse", "--short", "HEAD")
        self.library(MORE)
        self.commit("a function more")
        said = self.expect(0, f"interface: nothing broke since {first}")
        self.assertIn("liborvnetwork: changed, and programs go on running", said)
        # What is committed meanwhile does not become what is compared with.
        self.library(WIDER)
        self.commit("a wider type")
        said = self.expect(3, f"interface: BROKE since {first}")
        self.assertIn("liborvnetwork: BROKEN for programs that were built with 0.1.0", said)
        for breaking in (OTHER_WAYS, FIRST.replace("across", "along")):
            self.library(breaking)
            self.expect(3, f"interface: BROKE since {first}")
        self.library(MORE_WAYS)
        self.expect(0, f"interface: nothing broke since {first}")
        self.library(WIDER)
        # Who has asked for it is told plainly.
        self.expect(1, f"interface: BROKE since {first}", "--base", first)

    def test_ATagGoesBeforeTheCommitOfTheVersion(self):
        self.library(WIDER)
        self.commit("a wider type")
        self.git("tag", "v0.1.0")
        self.git("tag", "another")
        said = self.expect(0, "interface: nothing broke since v0.1.0")
        self.assertIn("liborvnetwork: nothing has changed", said)
        self.library(FIRST)
        self.expect(1, "interface: BROKE since v0.1.0")
        # The third number does not allow it, the second does.
        self.version("0.1.1")
        self.expect(1, "interface: BROKE since v0.1.0")
        self.version("0.2.0")
        self.expect(0, "interface: broke since v0.1.0, as 0.2.0 may")

    def test_FromTheFirstVersionOnTheFirstNumberSaysWhatGoesTogether(self):
        self.version("1.0.0")
        self.commit("1.0.0")
        self.git("tag", "v1.0.0")
        self.library(WIDER)
        self.version("1.1.0")
        self.expect(1, "interface: BROKE since v1.0.0")
        self.version("2.0.0")
        self.expect(0, "interface: broke since v1.0.0, as 2.0.0 may")

    def test_ALibraryMayComeAndMayNotGo(self):
        self.library(FIRST, "orvnetwork_glib")
        self.assertIn("liborvnetwork-glib: is new", self.abi()[1])
        self.commit("another library")
        self.git("tag", "v0.1.0")
        shutil.rmtree(self.root / "orvnetwork_glib")
        shutil.rmtree(self.root / "build")
        said = self.expect(1, "interface: BROKE since v0.1.0")
        self.assertIn("liborvnetwork-glib: BROKEN for all programs: it is gone", said)

    def test_WhatCannotBeComparedIsNoBreak(self):
        self.expect(2, "script/abi: there is no commit nonsense", "--base", "nonsense")
        self.expect(2, "script/abi: usage: script/abi [--base COMMIT]", "nonsense")
        self.write("orvnetwork/small.cpp", "what is no program\n")
        self.assertEqual(self.abi()[0], 2)
        shutil.rmtree(self.root / ".git")
        self.assertEqual(self.abi()[0], 2)


if __name__ == "__main__":
    unittest.main()
