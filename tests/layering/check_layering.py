#!/usr/bin/env python3
"""Checks the sources against the rules of the house; prints each breach and fails when there is one.

Usage: check_layering.py ROOT

- Folders of the library depend downwards only; the embedded server knows nothing of it but the values in data/.
- A header in a subfolder of its layer is private to the layer. Public headers show the standard library, Boost.JSON
  and each other.
- Modules, a header with its sources each, do not include each other in a circle, neither inside a folder nor between a
  folder and those below it; nor do the folders of a layer or a program. Only a layer's public folder and the private
  ones below it may take turns: they are two sides of the same classes.
- What is for hosts on Qt or GLib stands on the library's public headers and on those of Qt's or GLib's; the library
  knows nothing of it.
- A source includes its own header first, in quotes; in the library all others stand in angle brackets.
- Outside the platform folder nothing has threads, clocks, sockets, files or randomness of its own.
- Tests never sleep.
- No file is longer than the bound.
"""

import pathlib
import re
import sys

from circles import INCLUDE, check_circles, is_own_header

MAX_LINES = 400

# What each folder may include, besides itself.
LAYERS = ["data", "platform", "dates", "support", "transport", "api", "session", "course", "client"]
MAY_INCLUDE = {f"orvnetwork/{layer}": LAYERS[:floor] for floor, layer in enumerate(LAYERS)}
MAY_INCLUDE["orvnetwork/testing"] = ["data", "platform", "dates", "support"]
MAY_INCLUDE["orvnetwork_qt"] = MAY_INCLUDE["orvnetwork_glib"] = LAYERS

STANDARD_HEADERS = set("""
algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono cinttypes climits
clocale cmath codecvt compare complex concepts condition_variable coroutine csetjmp csignal cstdarg cstddef cstdint
cstdio cstdlib cstring ctime cuchar cwchar cwctype deque exception execution filesystem forward_list fstream
functional future initializer_list iomanip ios iosfwd iostream istream iterator latch limits list locale map memory
memory_resource mutex new numbers numeric optional ostream queue random ranges ratio regex scoped_allocator semaphore
set shared_mutex source_location span sstream stack stdexcept stop_token streambuf string string_view
syncstream system_error thread tuple type_traits typeindex typeinfo unordered_map unordered_set utility valarray
variant vector version
""".split())

# Standard headers that reach the operating system around the platform.
PLATFORM_ONLY_STANDARD = {"thread", "future", "filesystem", "fstream", "iostream", "random", "csignal", "ctime",
                          "condition_variable", "semaphore", "barrier", "latch"}

PLATFORM_ONLY_CODE = re.compile(r"""
      std::(?:thread|jthread|async|this_thread|random_device|filesystem|getenv|system|rename|tmpfile|time)\b
    | _clock::now | \b(?:fopen|freopen|fdopen|gettimeofday|clock_gettime|usleep|nanosleep|arc4random\w*)\s*\(
    | std::[io]?fstream\b | \bsocket\s*\(\s*(?:AF_|PF_) | \btime\s*\(\s*(?:nullptr|NULL|0|&)
    | (?<![\w>)])::(?:open|openat|creat|socket|connect|read|write|unlink|rename|mkdir|stat|fsync|close|poll|getenv)\s*\(
""", re.VERBOSE)
SLEEP = re.compile(r"\b(?:sleep_for|sleep_until|usleep|nanosleep)\s*\(|(?<![\w.>])sleep\s*\(\s*\d")

# Libraries of other makers that one folder may use besides the platform: folder -> first part of the include.
LIBRARIES = {"orvnetwork/data": ("expat.h", "immintrin.h"), "orvnetwork/dates": ("unicode/",)}

# Breaches with a reason: (path, text of the breach) -> why.
WAKE_UP = "a host's loop watches a real descriptor, in virtual time too"
ALLOWED = {
    ("orvnetwork/testing/SimulatedMainQueue.cpp", "only the platform may include <sys/eventfd.h>"): WAKE_UP,
    ("orvnetwork/testing/SimulatedMainQueue.cpp", "only the platform may include <unistd.h>"): WAKE_UP,
}

# Where circles are looked for.
CIRCLE_FREE = ("orvnetwork", "orvnetwork_qt", "orvnetwork_glib", "devserver", "cli")

# Headers of Qt's core and of GLib, for the libraries that are for their hosts.
TOOLKIT_HEADER = {"orvnetwork_qt": re.compile(r"Q[A-Z]\w+$"),
                  "orvnetwork_glib": re.compile(r"(?:glib|glib-object|gio/gio)\.h$")}

COMMENT_OR_LITERAL = re.compile(
    r'//[^\n]*|/\*.*?\*/|R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|(?<!\w)\'(?:\\.|[^\'\\\n])*\'', re.DOTALL)


def code_only(text):
    """The text with comments and literals blanked and line numbers kept."""
    return COMMENT_OR_LITERAL.sub(lambda m: "\n" * m.group().count("\n"), text)


def folder_of(path):
    """The part of the house that a file lies in, such as "orvnetwork/api" or "devserver"."""
    parts = path.parts
    return "/".join(parts[:2]) if parts[0] == "orvnetwork" and len(parts) > 2 else parts[0]


def is_private(include):
    """Whether a header lies in a subfolder of its layer, as orvnetwork/platform/native/ is."""
    return include.startswith("orvnetwork/") and include.count("/") > 2


def check_library_include(folder, path, include, public):
    """What is wrong with an include in the library, or None."""
    if include.startswith(("devserver/", "cli/", "tests/", "bench/", "examples/")):
        return f"the library includes {include}"
    if include.startswith(tuple(f"{toolkit}/" for toolkit in TOOLKIT_HEADER)):
        return None if include.startswith(f"{folder}/") else f"the library includes {include}"
    if folder in TOOLKIT_HEADER and TOOLKIT_HEADER[folder].match(include):
        return None
    if include.startswith("orvnetwork/"):
        layer = include.split("/")[1]
        own = folder.split("/")[-1]
        if folder == "orvnetwork":
            return "the umbrella header includes a test double" if layer == "testing" else None
        if layer != own and layer not in MAY_INCLUDE.get(folder, []):
            return f"{own} includes {include}, which is not below it"
        if is_private(include) and (public or layer != own):
            return f"{include} is private to its folder"
        return None
    if public:
        if include in STANDARD_HEADERS or include.startswith("boost/json"):
            return None if folder == "orvnetwork/platform" or include not in PLATFORM_ONLY_STANDARD else (
                f"a header above the platform includes <{include}>")
        return f"a public header shows <{include}>"
    if folder == "orvnetwork/platform" or include.startswith("boost/json"):
        return None
    if include in STANDARD_HEADERS and include not in PLATFORM_ONLY_STANDARD:
        return None
    if include.startswith(LIBRARIES.get(folder, ())):
        return None
    return f"only the platform may include <{include}>"


def check_quotes(path, match):
    """What is wrong with the form of an include in the library, or None."""
    first = INCLUDE.search(match.string)
    own = is_own_header(path, match.group(2))
    if match.group(1) == '"':
        return None if own and match.start() == first.start() else "includes are written <orvnetwork/...>"
    same_name = own and pathlib.PurePosixPath(match.group(2)).stem == path.stem
    return "a source's own header comes first, in quotes" if same_name else None


def check_includes(path, text):
    folder = folder_of(path)
    for match in INCLUDE.finditer(text):
        include = match.group(2)
        line = text.count("\n", 0, match.start(2)) + 1
        breach = None
        if path.parts[0] in ("orvnetwork", *TOOLKIT_HEADER):
            public = path.suffix == ".h" and not is_private(path.as_posix())
            breach = check_quotes(path, match) or check_library_include(folder, path, include, public)
        elif folder == "devserver" and include.startswith(("orvnetwork/", "cli/", "tests/")) and (
                not include.startswith("orvnetwork/data/") or is_private(include)):
            breach = f"the embedded server includes {include}"
        elif folder in ("cli", "examples") and is_private(include):
            breach = f"a host includes the private {include}"
        if breach:
            yield line, breach


def check_code(path, text):
    folder = folder_of(path)
    if folder.startswith("orvnetwork") and folder != "orvnetwork/platform":
        pattern, what = PLATFORM_ONLY_CODE, "only the platform may use"
    elif folder == "tests":
        pattern, what = SLEEP, "a test sleeps:"
    else:
        return
    code = code_only(text)
    for match in pattern.finditer(code):
        yield code.count("\n", 0, match.start()) + 1, f"{what} {match.group().strip()}"


def check_file(path, text):
    lines = text.count("\n")
    if lines > MAX_LINES:
        yield lines, f"{lines} lines, and {MAX_LINES} is the bound"
    if path.suffix == ".h" and "#pragma once" not in text:
        yield 1, "no #pragma once"
    yield from check_includes(path, text)
    yield from check_code(path, text)


def sources(root):
    for folder in ("orvnetwork", "orvnetwork_qt", "orvnetwork_glib", "devserver", "cli", "tests", "bench", "examples"):
        for path in sorted((root / folder).rglob("*")):
            if path.suffix in (".h", ".cpp"):
                yield path


def missing_in_umbrella(root):
    """Headers of the library's own classes that the umbrella header leaves out."""
    umbrella = root / "orvnetwork" / "orvnetwork.h"
    text = umbrella.read_text(encoding="utf-8") if umbrella.exists() else ""
    for path in sorted((root / "orvnetwork").glob("*/*.h")):
        name = path.relative_to(root).as_posix()
        if path.name.startswith(("QX", "Orv")) and f"#include <{name}>" not in text:
            yield f"orvnetwork/orvnetwork.h:1: does not include {name}"


def may_take_turns(folder, other):
    """Whether two folders of an area may include each other: a layer's public folder and a private one below it."""
    return any(folder_of(pathlib.Path(below, "_")) == above and above.startswith(("orvnetwork/", *TOOLKIT_HEADER))
               for above, below in ((folder, other), (other, folder)))


def breaches(root):
    yield from missing_in_umbrella(root)
    texts = {path.relative_to(root): path.read_text(encoding="utf-8") for path in sources(root)}
    found = [(name.as_posix(), *breach) for name, text in texts.items() for breach in check_file(name, text)]
    checked = {name.as_posix(): text for name, text in texts.items() if name.parts[0] in CIRCLE_FREE}
    found += check_circles(checked, lambda name: folder_of(pathlib.Path(name)), may_take_turns)
    for name, line, breach in found:
        if (name, breach) not in ALLOWED:
            yield f"{name}:{line}: {breach}"


def main():
    root = pathlib.Path(sys.argv[1])
    found = list(breaches(root))
    print("\n".join(found + [f"{sum(1 for _ in sources(root))} files, {len(found)} breaches"]))
    return 1 if found or not (root / "orvnetwork").is_dir() else 0


if __name__ == "__main__":
    sys.exit(main())
