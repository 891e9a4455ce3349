"""Finds the pieces of code in a document.

A block that begins with "```cpp main.cpp" is the file of that name, one with "```cpp" alone a piece of a program.
"""

import re

BLOCK = re.compile(r"^```(\w+)(?: ([\w./-]+))?\n(.*?)^```$", re.DOTALL | re.MULTILINE)


def files(text):
    """The named files: name -> text."""
    return {name: body for _, name, body in BLOCK.findall(text) if name}


def fragments(text):
    """The pieces of C++ without a name: (line, text)."""
    for block in BLOCK.finditer(text):
        language, name, body = block.groups()
        if language == "cpp" and not name:
            yield text.count("\n", 0, block.start()) + 2, body
