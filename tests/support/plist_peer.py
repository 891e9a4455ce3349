#!/usr/bin/env python3
"""Python's own reader and writer of property lists, for tests to compare with.

Usage: plist_peer.py write FOLDER SEED COUNT
       plist_peer.py check FOLDER

"write" fills the folder with property lists in both forms, N.xml and N.binary, beside the values that they
hold as JSON, N.json. "check" reads each N.plist of the folder and compares it with N.json; of sample.plist it
knows the values itself. It prints how many were right, and ends with 1 when one was not.
"""

import json
import plistlib
import random
import struct
import sys
from pathlib import Path

SAMPLE = {
    "text": "<b> & \"quotes\" 'n' ]]> 文", "emoji": "👩‍🏫🎓", "lines": "one\ntwo\tthree", "empty": "",
    "": "no key", "key <&> 文": "k",
    "zero": 0, "minusOne": -1, "smallest": -2**63, "largest": 2**63 - 1, "unsigned": 2**63,
    "largestUnsigned": 2**64 - 1,
    "tenth": 0.1, "price": 9.9, "huge": 1e300, "tiny": 5e-324, "whole": 10.0, "zeroReal": 0.0, "negative": -2.5,
    "infinite": float("inf"),
    "yes": True, "no": False,
    "list": [1, "1", [True, []]], "noList": [], "nothing": {}, "nested": {"b": {"a": {}}, "a": [{"x": 1.5}]},
}
PIECES = ["a", "Z", "0", " ", "<", ">", "&", '"', "'", "\n", "\t", "é", "文", "👩‍🏫", "Ａ", "]]>", "&amp;",
          "<date>"]


def same(left, right):
    """Equality that tells booleans and text from numbers, and takes 10 and 10.0 as the same."""
    if isinstance(left, dict) and isinstance(right, dict):
        return left.keys() == right.keys() and all(same(left[key], right[key]) for key in left)
    if isinstance(left, list) and isinstance(right, list):
        return len(left) == len(right) and all(map(same, left, right))
    return isinstance(left, bool) == isinstance(right, bool) and left == right


def kinds(value):
    if isinstance(value, dict):
        return {key: kinds(member) for key, member in value.items()}
    return [kinds(item) for item in value] if isinstance(value, list) else type(value)


def text(rng):
    return "".join(rng.choice(PIECES) for _ in range(rng.randrange(9)))


def real(rng):
    number = struct.unpack("d", rng.randbytes(8))[0]
    return number if abs(number) < float("inf") else 9.9


def value(rng, depth):
    kind = rng.randrange(8 if depth else 5)
    if kind == 0:
        return rng.random() < 0.5
    if kind == 1:
        return rng.randrange(-2**63, 2**64) >> rng.randrange(64)
    if kind == 2:
        return real(rng)
    if kind < 5:
        return text(rng)
    if kind == 5:
        return [value(rng, depth - 1) for _ in range(rng.randrange(6))]
    return {text(rng): value(rng, depth - 1) for _ in range(rng.randrange(6))}


def write(folder, rng, count):
    shared = [text(rng), 1.5]
    samples = [["the same"] * 300, [shared, shared], [str(i) for i in range(70000)], {"k" * 300: "v" * 70000}]
    for number in range(count):
        content = samples[number] if number < len(samples) else value(rng, 4)
        (folder / f"{number}.json").write_text(json.dumps([content]))
        (folder / f"{number}.xml").write_bytes(plistlib.dumps(content, fmt=plistlib.FMT_XML))
        (folder / f"{number}.binary").write_bytes(plistlib.dumps(content, fmt=plistlib.FMT_BINARY))


def check(folder):
    right = 0
    files = sorted(folder.glob("*.plist"))
    for file in files:
        content = plistlib.loads(file.read_bytes())
        if file.stem == "sample":
            good = same(content, SAMPLE) and kinds(content) == kinds(SAMPLE)
        else:
            good = same(content, json.loads(file.with_suffix(".json").read_text())[0])
        right += good
        if not good:
            print(f"{file.name} holds {content!r}", file=sys.stderr)
    print(right)
    return 0 if right == len(files) else 1


if __name__ == "__main__":
    where = Path(sys.argv[2])
    if sys.argv[1] == "check":
        sys.exit(check(where))
    write(where, random.Random(int(sys.argv[3])), int(sys.argv[4]))
