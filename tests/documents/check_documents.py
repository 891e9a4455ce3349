#!/usr/bin/env python3
"""Checks that the documents speak of what there is.

Usage: check_documents.py ROOT

- The program quoted in README.md is an example, which is built like any other source, and examples are as short as it says.
- Files and folders that the documents name are there.
- Versions of the project that they name are the one that it has.
- docs/architecture.md tells of each folder of tests, and CONTRIBUTING.md of each script.
- docs/names.md has every notification, code, outcome, trouble of the link and domain of errors that the headers have.
"""

import os
import pathlib
import re
import sys

from versions import version_breaches

QUOTED = re.compile(r"^```cpp\n(.*?)^```$", re.DOTALL | re.MULTILINE)
PATH = re.compile(r"`((?:orvnetwork|devserver|cli|tests|bench|examples|docs|script|cmake|platform)/[\w./-]*"
                  r"|[A-Z]+\.md)`")
# Examples that are to be read at a glance, and how many lines they may have.
SHORT = {"minimal.cpp": 30, "classroom.cpp": 99}
CONSTANT = re.compile(r"std::string_view (\w*Notification\w+) =")
DOMAIN = re.compile(r'Domain = "(\w+)"')
ENUMERATION = re.compile(r"enum class (\w+)[^{]*{(.*?)^};", re.DOTALL | re.MULTILINE)
ENUMERATOR = re.compile(r"^ +(\w+)(?: = [^,]+)?,", re.MULTILINE)
NAMED = ("ClientError", "CourseListErrorKind", "CourseListPhase", "LinkState", "LinkTrouble", "LocalCourseTrouble", "PendingEnd",
         "ReplyCode", "ReplyOutcome", "SessionState", "SignInOutcome", "SignOutOutcome", "TraceKind")


def names_of_headers(root):
    """What docs/names.md must have, as it stands there."""
    for header in sorted((root / "orvnetwork").rglob("*.h")):
        text = header.read_text(encoding="utf-8")
        yield from (f"`{name}`" for name in CONSTANT.findall(text))
        yield from (f'"{name}"' for name in DOMAIN.findall(text))
        for enumeration, body in ENUMERATION.findall(text):
            if enumeration in NAMED:
                yield from (f"`{name}`" for name in ENUMERATOR.findall(body))


def missing_folders(root):
    rows = re.findall(r"^\| (`.*?/`) \|", (root / "docs" / "architecture.md").read_text(encoding="utf-8"), re.MULTILINE)
    told = {name.strip("`/") for row in rows for name in row.split(", ")}
    return sorted({path.parent.relative_to(root / "tests").parts[0] for path in (root / "tests").rglob("*.*")
                   if path.parent != root / "tests" and path.is_file() and "__pycache__" not in path.parts} - told)


def missing_scripts(root):
    told = re.findall(r"\bscript/([\w-]+)", (root / "CONTRIBUTING.md").read_text(encoding="utf-8"))
    return sorted({path.name for path in (root / "script").iterdir() if os.access(path, os.X_OK)} - {*told})


def breaches(root):
    yield from version_breaches(root)
    names = (root / "docs" / "names.md").read_text(encoding="utf-8")
    for name in sorted(set(names_of_headers(root))):
        if name not in names:
            yield f"docs/names.md: {name} is missing"
    example = (root / "examples" / "minimal.cpp").read_text(encoding="utf-8")
    if QUOTED.findall((root / "README.md").read_text(encoding="utf-8")) != [example]:
        yield "README.md: the quoted program is not examples/minimal.cpp"
    yield from (f"docs/architecture.md: nothing is said of tests/{name}" for name in missing_folders(root))
    yield from (f"CONTRIBUTING.md: nothing is said of script/{name}" for name in missing_scripts(root))
    for name, most in SHORT.items():
        lines = (root / "examples" / name).read_text(encoding="utf-8").count("\n")
        if lines > most:
            yield f"examples/{name}: {lines} lines are more than {most}"
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
