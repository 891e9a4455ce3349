"""Compares the codes of `orv doctor` with the table of them in docs/networks.md.

    check_codes.py ROOT

Every code that a check can come to stands in the table beside that check, and the table names no other.
"""

import pathlib
import re
import sys

# Of every check.
COMMON = {"good", "notReached"}
CALL = re.compile(r"\b(?:warned|failed|skipped)\(\s*([^,;]+?)\s*,\s*([^,;]+?)\s*,")
WORD = re.compile(r'"(\w+)"')
# What stands around the words of an argument: a choice between them, if anything.
CHOICE = re.compile(r'(?:[\w.]+\s*\?\s*"\w+"\s*:\s*)?"\w+"')


def codes_in(source):
    """Pairs of check and code in a source, and what could not be read."""
    text = re.sub(r"//[^\n]*", "", source)
    codes, unread = set(), []
    for check, code in CALL.findall(text):
        if not re.fullmatch(r'"\w+"', check) or not CHOICE.fullmatch(code):
            unread.append(f"{check}, {code}")
            continue
        codes |= {(check.strip('"'), one) for one in WORD.findall(code)}
    return codes, unread


def codes_in_table(document):
    """Pairs of check and code in the table, and those that stand there twice."""
    section = document.split("\n## orv doctor\n", 1)[1].split("\n## ", 1)[0]
    codes, twice, check = set(), [], ""
    for line in section.splitlines():
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if not line.startswith("|") or len(cells) != 3:
            continue
        words = re.findall(r"`(\w+)`", cells[0])
        check = words[0] if words else check if not cells[0] else ""
        for code in re.findall(r"`(\w+)`", cells[1]) if check else []:
            if (check, code) in codes:
                twice.append((check, code))
            codes.add((check, code))
    return codes, twice


def breaches(sources, document):
    """What is wrong, in words; sources are pairs of a name and a text."""
    found, wrong = set(), []
    for name, source in sources:
        codes, unread = codes_in(source)
        found |= codes
        wrong += [f"{name}: check and code are to be written out: {one}" for one in unread]
    if not found:
        wrong.append("no code was found")
    found = {(check, code) for check, code in found if code not in COMMON}
    table, twice = codes_in_table(document)
    wrong += [f"the table lacks {check} {code}" for check, code in sorted(found - table)]
    wrong += [f"nothing comes to {check} {code}, which the table names" for check, code in sorted(table - found)]
    wrong += [f"the table names {check} {code} twice" for check, code in twice]
    return wrong


def main(root):
    sources = [(path.name, path.read_text()) for path in sorted((root / "cli" / "doctor").glob("*.cpp"))]
    wrong = breaches(sources, (root / "docs" / "networks.md").read_text())
    for line in wrong:
        print(line)
    print(f"{len(wrong)} breaches")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
