#!/usr/bin/env python3
"""Compiles the tests of coroutines with another compiler, under the address sanitizer, and runs them.

Usage: check_coroutines.py COMPILER ROOT LIBRARY TESTING_LIBRARY TEST_MAIN_LIBRARY

What a compiler makes of `co_await` differs between makers more than the rest of the language does, and a host may use any.
"""

import pathlib
import subprocess
import sys
import tempfile

SOURCES = ("unit/client/PendingCoroutineTest", "unit/client/PendingCoroutineEndTest", "unit/client/EndsTest",
           "support/LinkFixture")
OPTIONS = ("-std=c++20", "-g1", "-fsanitize=address", "-fno-omit-frame-pointer", "-Wall", "-Wextra", "-Werror",
           "-Wno-unused-lambda-capture")


def main():
    compiler, root, library, testing, test_main = sys.argv[1:]
    sources = [str(pathlib.Path(root, "tests", name + ".cpp")) for name in SOURCES]
    folders = {str(pathlib.Path(name).parent) for name in (library, testing)}
    for level in ("-O0", "-O2"):
        with tempfile.TemporaryDirectory() as folder:
            program = str(pathlib.Path(folder, "coroutines"))
            subprocess.run([compiler, *OPTIONS, level, f"-I{root}", *sources, testing, library, test_main, "-lboost_json",
                            "-lgtest", "-lpthread", *(f"-Wl,-rpath,{path}" for path in folders), "-o", program], check=True)
            print(level, flush=True)
            subprocess.run([program], check=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
