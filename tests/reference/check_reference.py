#!/usr/bin/env python3
"""Makes the reference of the public headers and fails on any warning.

Usage: check_reference.py ROOT
"""

import pathlib
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
        if not said and not any(pathlib.Path(folder).rglob("index.html")):
            said.append("there are no pages")
        return said


def main():
    found = warnings(sys.argv[1])
    print("\n".join(found + [f"{len(found)} warnings"]))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
