"""Looks for versions of the project that documents, pages of the manual and scripts name, and compares each with the one that
orvnetwork/version.h says. What an older heading of CHANGELOG.md stands above is left alone."""

import re

NUMBER = re.compile(r"^#define ORV_VERSION_(?:MAJOR|MINOR|PATCH) (\d+)$", re.MULTILINE)
# Names that carry the numbers of the versions that go together.
COMPATIBLE = (re.compile(r"\bliborvnetwork(?:-[a-z]+)?(\d[\d.]*\d|\d)\b"),
              re.compile(r"\bliborvnetwork(?:-[a-z]+)?\.so\.(\d[\d.]*\d|\d)\b"),
              re.compile(r"\bfind_package\(OrvNetwork (\d[\d.]*)"))
# Places where the whole version stands.
WHOLE = (re.compile(r"\b(?:OrvNetwork|orvnetwork|orv|orv-devserver)[ -]v?(\d+\.\d+\.\d+)\b"),
         re.compile(r"\.TH .* (\d+\.\d+\.\d+)\""))
# In the header itself: what the text says, and two of the versions that go together.
HEADER_WHOLE = re.compile(r'/// .*"(\d+\.\d+\.\d+)"')
HEADER_TOGETHER = re.compile(r"built with (\d+\.\d+)\.\d+ runs with (\d+\.\d+)\.\d+")


def common(version):
    """The part of a version that those have in common which go together."""
    numbers = version.split(".")
    return ".".join(numbers[:2] if numbers[0] == "0" else numbers[:1])


def places(root):
    """The files that name versions: (path, text)."""
    for pattern in ("*.md", "docs/*.md", "script/*", "tests/packages/*", "tests/install/**/*", "examples/**/*", "tools/**/*",
                    "cmake/**/*", "orvnetwork*/**/*.h"):
        for path in sorted(root.glob(pattern)):
            if path.is_file():
                yield path, path.read_text(encoding="utf-8", errors="replace")


def version_breaches(root):
    header = (root / "orvnetwork" / "version.h").read_text(encoding="utf-8")
    whole = ".".join(NUMBER.findall(header))
    together = common(whole)
    for path, text in places(root):
        name = str(path.relative_to(root))
        if name == "CHANGELOG.md":
            newest, *_ = re.findall(r"^## (\S+)", text, re.MULTILINE)
            if newest != whole:
                yield f"{name}: the newest version is {newest}, and that of orvnetwork/version.h {whole}"
            text = text.split("\n## ")[1]
        for patterns, wanted in ((COMPATIBLE, together), (WHOLE, whole)):
            for pattern in patterns:
                yield from (f"{name}: {found.group(0)} is not of version {wanted}" for found in pattern.finditer(text)
                            if found.group(1) != wanted)
    for found in HEADER_WHOLE.finditer(header):
        if found.group(1) != whole:
            yield f'orvnetwork/version.h: its comments say "{found.group(1)}" and not "{whole}"'
    for found in HEADER_TOGETHER.finditer(header):
        if {common(text) for text in found.groups()} != {together}:
            yield f"orvnetwork/version.h: {found.group(0)}: one of them is not of version {together}"
