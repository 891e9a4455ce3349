#!/usr/bin/env python3
"""Compiles the pieces of C++ that documents and the comments of headers show, each by itself, after the includes that its
document begins with and a few names of an imagined application. A piece that declares something stands by itself, any
other is what a member function of the application does.

Usage: check_snippets.py ROOT COMPILER SET

library: docs/hosting.md and the front door; testing: the documents with what tests use too; qt: docs/qt.md and orvnetwork_qt/;
glib: docs/gtk.md and orvnetwork_glib/, with what a program on Qt Widgets or GTK has.
"""

import pathlib
import re
import subprocess
import sys
import tempfile

from snippets import examples, fragments

ROOT, COMPILER, SET = pathlib.Path(sys.argv[1]), sys.argv[2], sys.argv[3]
FLAGS = ["-std=c++20", "-fPIC", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-Wno-unused-function", f"-I{ROOT}"]
# What these show ends where one knows how it goes on.
OPEN_ENDED_FLAGS = [] if SET == "library" else ["-Wno-unused-variable", "-Wno-unused-parameter"]
DOCUMENTS, HEADERS, TOOLKIT, IMAGINED, LOCALS = {
    "library": (["hosting.md"], "orvnetwork/client", None, "imagined.h", ""),
    "testing": (["testing.md", "devserver.md", "networks.md"], None, None, "imagined_testing.h",
                "orv::testing::SimulatedPlatform& platform"),
    # What lambdas capture is a name of the function around them.
    "qt": (["qt.md"], "orvnetwork_qt", "Qt6Widgets", "imagined_qt.h",
           "snippet::Window* window, QListView* view, QLabel* banner, snippet::Form* form"),
    "glib": (["gtk.md"], "orvnetwork_glib", "gtk4", "imagined_gtk.h", ""),
}[SET]
DECLARATION = re.compile(r"(?:#include|class|struct|enum|constexpr|orv::Pending<.*> \w+\(.*\) \{)")


def declarations(number, place, text):
    # What is included has been included already.
    return f"namespace snippet{number} {{\n#line {place}\n{text}}}\n"


def statements(number, place, text):
    result = "orv::Pending<>" if re.search(r"\bco_(?:await|return)\b", text) else "void"
    if re.search(r"^return ", text, re.MULTILINE):
        result = "int"
    return (f"namespace snippet{number} {{\nstruct Piece : snippet::Application {{ {result} run({LOCALS}); }};\n"
            f"{result} Piece::run({LOCALS}) {{\n#line {place}\n{text}}}\n}}\n")


def pieces():
    """All of them, as sources: (file, source)."""
    number = 0
    headers = sorted((ROOT / HEADERS).glob("*.h")) if HEADERS else []
    for document in [*(ROOT / "docs" / name for name in DOCUMENTS), *headers]:
        text = document.read_text(encoding="utf-8")
        name = str(document.relative_to(ROOT))
        found = fragments(text) if document.suffix == ".md" else examples(text)
        for line, piece in found:
            number += 1
            # All of docs/hosting.md stands on its own.
            alone = name == "docs/hosting.md" or DECLARATION.match(piece)
            yield name, (declarations if alone else statements)(number, f'{line} "{name}"', piece)


def toolkit_flags():
    if TOOLKIT is None:
        return []
    flags = subprocess.run(["pkg-config", "--cflags", TOOLKIT], check=True, capture_output=True, text=True).stdout.split()
    # The toolkits' own headers are not what is looked at.
    return [re.sub("^-I", "-isystem", flag) for flag in flags]


def main():
    found = list(pieces())
    source = f'#include "{ROOT / "tests" / "documents" / IMAGINED}"\n' + "".join(text for _, text in found)
    with tempfile.TemporaryDirectory(prefix="orv-snippets-") as folder:
        path = pathlib.Path(folder) / "snippets.cpp"
        path.write_text(source, encoding="utf-8")
        flags = [*FLAGS, *OPEN_ENDED_FLAGS, *toolkit_flags()]
        result = subprocess.run([COMPILER, *flags, path], stderr=subprocess.PIPE, text=True)
    of_headers = sum(name.endswith(".h") for name, _ in found)
    of_documents = {name: sum(found_in == f"docs/{name}" for found_in, _ in found) for name in DOCUMENTS}
    told = ", ".join(f"{count} pieces of docs/{name}" for name, count in of_documents.items())
    print(f"{result.stderr}{told}, {of_headers} of headers")
    is_empty = not all(of_documents.values()) or (HEADERS and of_headers == 0)
    return 0 if not is_empty and result.returncode == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
