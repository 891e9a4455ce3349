"""Finds the pieces of code in a document, and in the comments of a header.

In a document a block that begins with "```cpp main.cpp" is the file of that name, one with "```cpp" alone a piece of a
program. In the comments of a header it is what stands four columns further in, below an empty line of the comment.
"""

import re

BLOCK = re.compile(r"^```(\w+)(?: ([\w./-]+))?\n(.*?)^```$", re.DOTALL | re.MULTILINE)
# An empty line of a comment, the first line of the code, and its further lines, empty ones among them.
EXAMPLE = re.compile(r"^ *///\n((?: *///     .*\n)(?:(?: *///\n)*(?: *///     .*\n))*)", re.MULTILINE)
COMMENT = re.compile(r"^ *///(?:     )?", re.MULTILINE)


def files(text):
    """The named files: name -> text."""
    return {name: body for _, name, body in BLOCK.findall(text) if name}


def fragments(text):
    """The pieces of C++ without a name: (line, text)."""
    for block in BLOCK.finditer(text):
        language, name, body = block.groups()
        if language == "cpp" and not name:
            yield text.count("\n", 0, block.start()) + 2, body


def examples(header):
    """The pieces of C++ in the comments of a header: (line, text)."""
    for block in EXAMPLE.finditer(header):
        yield header.count("\n", 0, block.start()) + 2, COMMENT.sub("", block.group(1))
