#!/usr/bin/env python3
"""Checks that shared libraries show names of the namespace orv only, and need no test double.

Usage: check_symbols.py LIBRARY...
"""

import re
import subprocess
import sys

# Mangled names of the namespace: functions, then what the compiler makes for its classes and variables. GObjects have
# names of C.
OURS = re.compile(r"orv_|_Z(N[KRO]*3orv|T[ISVT]NK?3orv|GVN3orv|T[WH]N3orv|T[hvc][nvh0-9_]*_NK?3orv)")
TEST_DOUBLE = re.compile(r"orv::testing::|Simulated|Scripted")


def dynamic_symbols(library, which):
    output = subprocess.run(["nm", "--dynamic", which, library], check=True, capture_output=True, text=True).stdout
    return [line.split()[-1].split("@")[0] for line in output.splitlines()]


def demangled(name):
    return subprocess.run(["c++filt", name], check=True, capture_output=True, text=True).stdout.strip()


def breaches(library):
    defined = dynamic_symbols(library, "--defined-only")
    if not any(OURS.match(name) for name in defined):
        yield f"{library}: shows nothing of its own"
    for name in defined:
        if not OURS.match(name):
            yield f"{library}: shows {demangled(name)}"
    if "testing" not in library.rsplit("/", 1)[-1]:
        for name in dynamic_symbols(library, "--undefined-only"):
            if TEST_DOUBLE.search(demangled(name)):
                yield f"{library}: needs the test double {demangled(name)}"


def main():
    found = [breach for library in sys.argv[1:] for breach in breaches(library)]
    print("\n".join(found + [f"{len(sys.argv) - 1} libraries, {len(found)} breaches"]))
    return 1 if found or len(sys.argv) < 2 else 0


if __name__ == "__main__":
    sys.exit(main())
