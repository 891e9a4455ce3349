#!/usr/bin/env python3
"""Compiles the pieces of C++ that docs/hosting.md shows, each by itself: what it declares, after the library's one
include and a few names of an imagined application.

Usage: check_snippets.py ROOT COMPILER
"""

import pathlib
import subprocess
import sys
import tempfile

from snippets import fragments

ROOT, COMPILER = pathlib.Path(sys.argv[1]), sys.argv[2]
FLAGS = ["-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-Wno-unused-function", f"-I{ROOT}"]
IMAGINED = ROOT / "tests" / "documents" / "imagined.h"


def main():
    document = ROOT / "docs" / "hosting.md"
    pieces = list(fragments(document.read_text(encoding="utf-8")))
    source = f'#include <orvnetwork/orvnetwork.h>\n#include "{IMAGINED}"\n'
    for number, (line, text) in enumerate(pieces):
        source += f'namespace snippet{number} {{\n#line {line} "docs/hosting.md"\n{text}}}\n'
    with tempfile.TemporaryDirectory(prefix="orv-snippets-") as folder:
        path = pathlib.Path(folder) / "snippets.cpp"
        path.write_text(source, encoding="utf-8")
        result = subprocess.run([COMPILER, *FLAGS, path], stderr=subprocess.PIPE, text=True)
    print(f"{result.stderr}{len(pieces)} pieces of {document.relative_to(ROOT)}")
    return 0 if pieces and result.returncode == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
