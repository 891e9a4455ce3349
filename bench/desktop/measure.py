#!/usr/bin/env python3
"""Start time and memory of the application for the desktop beside an empty window on Qt, in turn; prints medians.

Usage: measure.py BUILD PLATFORM [ROUNDS]

BUILD is build/bench, where `cmake --build build/bench --target desktop_empty desktop_classroom` has been made.

PLATFORM is a platform of Qt's, such as offscreen or xcb. Memory is what the process has when nothing happens any more.
"""

import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

BUILD, PLATFORM = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2]
ROUNDS = int(sys.argv[3]) if len(sys.argv) > 3 else 9
QUIET_SECONDS = 3


def measure(command):
    """From the start of the program to its window's first drawing, in ms; then RSS and PSS in MB."""
    begun = time.monotonic()
    with subprocess.Popen([str(part) for part in command], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                          env={**os.environ, "QT_QPA_PLATFORM": PLATFORM}) as program:
        try:
            if program.stdout.readline() != "shown\n":
                raise RuntimeError(f"{command[0]} shows nothing")
            shown = (time.monotonic() - begun) * 1000
            time.sleep(QUIET_SECONDS)
            lines = pathlib.Path(f"/proc/{program.pid}/smaps_rollup").read_text(encoding="utf-8").splitlines()
            sizes = {line.split()[0]: int(line.split()[1]) / 1024 for line in lines if line.endswith(" kB")}
            return shown, sizes["Rss:"], sizes["Pss:"]
        finally:
            program.kill()


def main():
    with tempfile.TemporaryDirectory() as folder, subprocess.Popen(
            [BUILD / "devserver" / "orv-devserver"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True) as server:
        try:
            url = server.stdout.readline().split()[1]
            home = pathlib.Path(folder, "signed-in")
            subprocess.run([BUILD / "cli" / "orv", "--server", url, "--home", home, "login", "13800000001"],
                           input="classroom\n", text=True, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            application = BUILD / "bench" / "desktop_classroom"
            programs = {"an empty window": [BUILD / "bench" / "desktop_empty"],
                        "the form to sign in": [application, url, pathlib.Path(folder, "new")],
                        "signed in, recorded courses": [application, url, home]}
            figures = {name: [] for name in programs}
            for _ in range(ROUNDS):
                for name, command in programs.items():
                    figures[name].append(measure(command))
        finally:
            server.kill()
    print(f"{f'platform {PLATFORM}, medians of {ROUNDS}':40} {'shown ms':>10} {'RSS MB':>8} {'PSS MB':>8}")
    for name, rows in figures.items():
        shown, rss, pss = (statistics.median(column) for column in zip(*rows))
        print(f"{name:40} {shown:10.0f} {rss:8.1f} {pss:8.1f}")


if __name__ == "__main__":
    main()
