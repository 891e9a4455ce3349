#!/usr/bin/env python3
"""Checks that the documents speak of what there is.

Usage: check_documents.py ROOT

- The program quoted in README.md is an example, which is built like any other source.
- Files and folders that the documents name are there.
"""

import pathlib
import re
import sys

QUOTED = re.compile(r"^```cpp\n(.*?)^```$", re.DOTALL | re.MULTILINE)
PATH = re.compile(r"`((?:orvnetwork|devserver|cli|tests|bench|examples|docs|script|cmake|platform)/[\w./-]*"
                  r"|[A-Z]+\.md)`")


def breaches(root):
    example = (root / "examples" / "minimal.cpp").read_text(encoding="utf-8")
    if QUOTED.findall((root / "README.md").read_text(encoding="utf-8")) != [example]:
        yield "README.md: the quoted program is not examples/minimal.cpp"
    for document in sorted([*root.glob("*.md"), *(root / "docs").glob("*.md")]):
        for name in PATH.findall(document.read_text(encoding="utf-8")):
            if not ((root / name).exists() or (root / "orvnetwork" / name).exists()):
                yield f"{document.relative_to(root)}: there is no {name}"


def main():
    found = list(breaches(pathlib.Path(sys.argv[1])))
    print("\n".join(found + [f"{len(found)} breaches"]))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
