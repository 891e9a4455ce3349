#!/usr/bin/env python3
"""Checks what the formatter cannot; prints each breach and fails when there is one.

Usage: check_style.py ROOT

- A file includes what it uses: the standard headers of the names of std that stand in it, and the header of each class
  of ours. What its own header includes counts as its own; data/Types.h brings the words that everything is said in.
- A body on a line of its own stands in braces.
- No private names of a library of other makers.
- A quarter of a public header's lines is comments that hosts can read.
- A source of tests has a namespace that is named after it, since it may be compiled together with others.
"""

import functools
import pathlib
import re
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).parents[1] / "layering"))
from check_layering import code_only, sources  # noqa: E402
from circles import INCLUDE  # noqa: E402

# Standard headers and the names that ask for them. A name that several headers declare asks for none.
NAMES = {
    "algorithm": "all_of any_of none_of find_if find_if_not count_if copy_if transform remove_if unique rotate sort "
                 "stable_sort partial_sort lower_bound upper_bound equal_range binary_search clamp min_element "
                 "max_element minmax min max mismatch for_each shuffle lexicographical_compare stable_partition",
    "any": "any any_cast", "array": "array", "atomic": "atomic atomic_flag memory_order_relaxed",
    "bit": "bit_cast endian countl_zero countr_zero popcount", "charconv": "from_chars to_chars chars_format",
    "chrono": "chrono", "cmath": "isnan isinf isfinite floor ceil round trunc signbit fabs nearbyint llround fmod",
    "concepts": "same_as convertible_to derived_from integral invocable", "condition_variable": "condition_variable",
    "cstring": "memcpy memcmp memchr memset strlen strcmp strerror strsignal memmove strchr", "deque": "deque",
    "filesystem": "filesystem", "fstream": "ifstream ofstream fstream", "functional": "function reference_wrapper",
    "future": "future promise async packaged_task", "initializer_list": "initializer_list",
    "iomanip": "setw setfill setprecision", "iostream": "cout cerr cin", "iterator": "back_inserter make_move_iterator",
    "limits": "numeric_limits", "list": "list", "map": "map multimap",
    "memory": "unique_ptr shared_ptr weak_ptr make_unique make_shared enable_shared_from_this",
    "mutex": "mutex lock_guard unique_lock scoped_lock recursive_mutex once_flag call_once", "numeric": "accumulate iota",
    "optional": "optional nullopt", "queue": "priority_queue", "random": "mt19937 mt19937_64 uniform_int_distribution",
    "regex": "regex smatch", "set": "set multiset", "shared_mutex": "shared_mutex shared_lock",
    "source_location": "source_location", "span": "span", "sstream": "ostringstream istringstream stringstream",
    "stdexcept": "runtime_error logic_error invalid_argument out_of_range", "string": "string to_string u16string",
    "string_view": "string_view", "system_error": "error_code errc system_error", "thread": "thread jthread this_thread",
    "tuple": "tuple make_tuple tie", "typeindex": "type_index", "unordered_map": "unordered_map",
    "unordered_set": "unordered_set", "variant": "variant visit monostate get_if holds_alternative", "vector": "vector",
}
HEADER_OF = {name: header for header, names in NAMES.items() for name in names.split()}
STD_NAME = re.compile(r"\bstd::(?:ranges::)?(\w+)")
# Headers that promise more than their name says.
BRINGS = {"orvnetwork/data/Types.h": {"chrono", "concepts", "optional", "string", "string_view"},
          "filesystem": {"system_error"}, "gtest/gtest.h": {"string", "vector", "memory", "tuple"}}

PRIVATE_NAME = re.compile(r"\b(?:asio|beast|json|net)::detail::|\btesting::internal::")
PUBLIC_HEADER = re.compile(r"orvnetwork(?:_qt|_glib)?/(?:(?!detail/)[a-z]+/)?[A-Z]\w*\.h")
LEAST_COMMENT = 0.25
CONTROL = re.compile(r"\s*(?:\} )?(?:else\b|(?:else )?(?:if|for|while)\b)")


@functools.cache
def includes_of(path):
    return frozenset(match.group(2) for match in INCLUDE.finditer(path.read_text(encoding="utf-8")))


def own_headers(root, path):
    """The headers that a file may rely on: those that bear its name, or the beginning of it."""
    for include in includes_of(path):
        header = root / include if "/" in include else path.parent / include
        if header != path and header.is_file() and path.stem.startswith(header.stem):
            yield header


def available(root, path):
    found = set(includes_of(path))
    for header in own_headers(root, path):
        found |= includes_of(header)
    for header in list(found):
        found |= BRINGS.get(header, set())
    return found


def class_headers(root):
    """The headers that declare a class of their name: name -> paths as written in an include."""
    found = {}
    for path in sources(root):
        if path.suffix != ".h":
            continue
        text = path.read_text(encoding="utf-8")
        if re.search(rf"^\s*(?:class|struct|enum class)\s+(?:ORV_EXPORT\s+)?{path.stem}\b(?!;)", text, re.MULTILINE):
            found.setdefault(path.stem, []).append(path.relative_to(root).as_posix())
    return {name: paths[0] for name, paths in found.items() if len(paths) == 1}


def check_standard_headers(path, code, have):
    asked = {}
    for match in STD_NAME.finditer(code):
        header = HEADER_OF.get(match.group(1))
        if header and header not in have:
            asked.setdefault(header, match)
    for header, match in asked.items():
        yield match.start(), f"uses std::{match.group(1)} and does not include <{header}>"


def check_class_headers(root, path, code, have, classes):
    own = "".join(code_only(header.read_text(encoding="utf-8")) for header in own_headers(root, path))
    name_of_file = path.relative_to(root).as_posix()
    house = path.relative_to(root).parts[0]
    for word in set(re.findall(r"\w+", code)) & classes.keys():
        header = classes[word]
        # Elsewhere the name may be of something else.
        if house in ("orvnetwork", "devserver") and not header.startswith(house):
            continue
        if header.startswith("tests/") and str(pathlib.PurePosixPath(header).parent) not in (
                "tests/support", str(pathlib.PurePosixPath(name_of_file).parent)):
            continue
        if header == name_of_file or header in have or pathlib.PurePosixPath(header).name in have:
            continue
        match = re.search(rf"(?<![\w:.>]){word}\b(?=\s*(?:::|\(|\{{|<))(?!\s*\()", code)
        if match and not re.search(rf"\b(?:class|struct) {word}(?:;| \{{)|\busing {word} =", own + code):
            yield match.start(), f"uses {word} and does not include <{header}>"


def check_braces(code):
    lines = code.split("\n")
    offset = 0
    for number, line in enumerate(lines):
        if CONTROL.match(line):
            text = line.rstrip()
            last = number
            while text.count("(") > text.count(")") and last + 1 < len(lines):
                last += 1
                text += lines[last].rstrip()
            if text.endswith(")") or re.search(r"\belse$", text) or (last > number and text.endswith(";")):
                yield offset + len(line) - len(line.lstrip()), "a body on a line of its own stands in braces"
        offset += len(line) + 1


def check_own_namespace(path, code):
    test = re.search(r"^TEST(?:_F|_P)?\(", code, re.MULTILINE)
    name = re.sub(r"(?<=[a-z0-9])(?=[A-Z])|(?<=[A-Z])(?=[A-Z][a-z])", "_", path.stem).lower()
    alone = re.search(r"^using namespace orv;", code, re.MULTILINE)
    if test and path.stem.endswith("Test") and not alone and not re.search(rf"^namespace [\w:]+::{name} {{", code, re.MULTILINE):
        yield test.start(), f"tests that are not in a namespace of their own, {name}"


def check_comments(path, text):
    lines = [line for line in map(str.strip, text.split("\n")) if line]
    comments = sum(line.startswith("//") or "///<" in line for line in lines)
    # A few declarations need no explanation.
    if PUBLIC_HEADER.fullmatch(path) and len(lines) >= 20 and comments < LEAST_COMMENT * len(lines):
        yield 0, f"only {comments} of {len(lines)} lines of a public header are comments"


def breaches(root):
    classes = class_headers(root)
    for path in sources(root):
        text = path.read_text(encoding="utf-8")
        code = code_only(text)
        have = available(root, path)
        found = [*check_standard_headers(path, code, have), *check_class_headers(root, path, code, have, classes),
                 *check_braces(code), *check_own_namespace(path, code),
                 *check_comments(path.relative_to(root).as_posix(), text)]
        found += [(match.start(), f"uses {match.group()}, a private name") for match in PRIVATE_NAME.finditer(code)]
        for offset, breach in sorted(found):
            yield f"{path.relative_to(root)}:{code.count(chr(10), 0, offset) + 1}: {breach}"


def main():
    root = pathlib.Path(sys.argv[1])
    found = list(breaches(root))
    print("\n".join([*found, f"{len(found)} breaches"]))
    return 1 if found or not (root / "orvnetwork").is_dir() else 0


if __name__ == "__main__":
    sys.exit(main())
