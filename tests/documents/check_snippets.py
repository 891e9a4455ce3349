#!/usr/bin/env python3
"""Compiles the pieces of C++ that docs/hosting.md and the comments of the front door's headers show, each by itself,
after the library's one include and a few names of an imagined application. A piece that declares something stands by
itself, any other is what a member function of the application does.

Usage: check_snippets.py ROOT COMPILER
"""

import pathlib
import re
import subprocess
import sys
import tempfile

from snippets import examples, fragments

ROOT, COMPILER = pathlib.Path(sys.argv[1]), sys.argv[2]
FLAGS = ["-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-Wno-unused-function", f"-I{ROOT}"]
IMAGINED = ROOT / "tests" / "documents" / "imagined.h"
DECLARATION = re.compile(r"(?:class|struct|enum|constexpr|orv::Pending<.*> \w+\(.*\) \{)")


def declarations(number, place, text):
    return f"namespace snippet{number} {{\n#line {place}\n{text}}}\n"


def statements(number, place, text):
    result = "orv::Pending<>" if re.search(r"\bco_(?:await|return)\b", text) else "void"
    return (f"namespace snippet{number} {{\nstruct Piece : snippet::Application {{ {result} run(); }};\n"
            f"{result} Piece::run() {{\n#line {place}\n{text}}}\n}}\n")


def pieces():
    """All of them, as sources: (file, source)."""
    number = 0
    for document in [ROOT / "docs" / "hosting.md", *sorted((ROOT / "orvnetwork" / "client").glob("*.h"))]:
        text = document.read_text(encoding="utf-8")
        name = str(document.relative_to(ROOT))
        found = fragments(text) if document.suffix == ".md" else examples(text)
        for line, piece in found:
            number += 1
            wrap = declarations if document.suffix == ".md" or DECLARATION.match(piece) else statements
            yield name, wrap(number, f'{line} "{name}"', piece)


def main():
    found = list(pieces())
    source = f'#include <orvnetwork/orvnetwork.h>\n#include "{IMAGINED}"\n' + "".join(text for _, text in found)
    with tempfile.TemporaryDirectory(prefix="orv-snippets-") as folder:
        path = pathlib.Path(folder) / "snippets.cpp"
        path.write_text(source, encoding="utf-8")
        result = subprocess.run([COMPILER, *FLAGS, path], stderr=subprocess.PIPE, text=True)
    of_headers = sum(name.endswith(".h") for name, _ in found)
    print(f"{result.stderr}{len(found) - of_headers} pieces of docs/hosting.md, {of_headers} of headers")
    return 0 if 0 < of_headers < len(found) and result.returncode == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
