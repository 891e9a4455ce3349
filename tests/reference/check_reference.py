#!/usr/bin/env python3
"""Makes the reference of the public headers; fails on any warning, a picture that is missing, what is private, and a
class that the start page leads to and that is not there.

Usage: check_reference.py ROOT
"""

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile


def warnings(root):
    """What the generator says about the tree with the Doxyfile in `root`; the pages themselves are thrown away."""
    if shutil.which("doxygen") is None:
        return ["doxygen is not installed: script/bootstrap"]
    with tempfile.TemporaryDirectory() as folder:
        settings = (pathlib.Path(root) / "Doxyfile").read_text(encoding="utf-8")
        settings += f"\nOUTPUT_DIRECTORY = {folder}\n"
        run = subprocess.run(["doxygen", "-"], cwd=root, input=settings, capture_output=True, encoding="utf-8")
        said = [line for line in run.stderr.splitlines() if line.strip()]
        if run.returncode != 0 and not said:
            said.append(f"doxygen: exit code {run.returncode}")
        return said or flaws(pathlib.Path(folder) / "reference")


def flaws(pages):
    """What is wrong with pages that were made without a warning."""
    if not (pages / "index.html").is_file():
        return ["there are no pages"]
    said = [f"{page.name}: the picture {picture} is missing" for page in pages.glob("*.html")
            for picture in re.findall(r'<(?:img|object)[^>]* (?:src|data)="([^":]+)"', page.read_text(encoding="utf-8"))
            if not (pages / picture).is_file()]
    start = re.sub(r"<a .*?</a>|<code>.*?</code>", "", (pages / "index.html").read_text(encoding="utf-8"), flags=re.DOTALL)
    said += [f"the start page names {name}, which is not there" for name in re.findall(r"\borv::[\w:]+", start)]
    return said + [f"{page.name} shows what is private" for page in pages.glob("*_1_1detail*.html")]


def main():
    found = warnings(sys.argv[1])
    print("\n".join(found + [f"{len(found)} warnings"]))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
