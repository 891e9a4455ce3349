#!/usr/bin/env python3
"""Checks how a desktop finds the application: its entry in the menu, the icon, the page of the manual.

Usage: check_desktop_entry.py FOLDER PROGRAM, a folder with files that are named after the program
"""

import configparser
import os
import pathlib
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree

SHOWN = ("Name", "GenericName", "Comment")


def entry_breaches(path, program):
    parser = configparser.RawConfigParser(interpolation=None)
    parser.optionxform = str
    parser.read(path, encoding="utf-8")
    entry = dict(parser["Desktop Entry"])
    for key, wanted in (("Type", "Application"), ("Exec", program), ("Icon", program), ("StartupWMClass", program)):
        if entry.get(key) != wanted:
            yield f"{key} is {entry.get(key)!r} and not {wanted!r}"
    for key in SHOWN:
        for name in (key, f"{key}[zh_CN]"):
            if not entry.get(name):
                yield f"there is no {name}"
    validator = shutil.which("desktop-file-validate")
    if validator is None:
        yield "there is no desktop-file-validate: the package desktop-file-utils is missing"
        return
    told = subprocess.run([validator, path], capture_output=True, text=True)
    yield from (told.stdout + told.stderr).splitlines()


def icon_breaches(path):
    root = xml.etree.ElementTree.parse(path).getroot()
    if root.tag != "{http://www.w3.org/2000/svg}svg":
        yield "is no SVG"
    if root.get("viewBox") != f"0 0 {root.get('width')} {root.get('height')}" or root.get("width") != root.get("height"):
        yield "is not a square that can be scaled"
    if re.search(r"<image|<text|href=", path.read_text(encoding="utf-8")):
        yield "takes something from elsewhere: pictures, fonts or links"


def page_breaches(path, program):
    """The page and the program tell of the same options."""
    page = path.read_text(encoding="utf-8").replace("\\-", "-")
    told = subprocess.run([program, "--help"], capture_output=True, text=True, check=True,
                          env={**os.environ, "QT_QPA_PLATFORM": "offscreen"}).stdout
    options = set(re.findall(r"^ +(?:-\w, )*(--[\w-]+)", told, re.MULTILINE))
    if not options:
        yield f"{program} --help tells of no options"
    for option in sorted(options ^ set(re.findall(r"--[a-z][\w-]*", page))):
        yield f"{option} is told of by one of the two only"


def main():
    folder, program = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]).name
    found = []
    for suffix, breaches in (("desktop", lambda path: entry_breaches(path, program)), ("svg", icon_breaches),
                             ("1", lambda path: page_breaches(path, sys.argv[2]))):
        path = folder / f"{program}.{suffix}"
        found += [f"{path.name}: {breach}" for breach in breaches(path)]
    print("\n".join(found + [f"{len(found)} breaches"]))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
