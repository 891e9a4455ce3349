#!/usr/bin/env python3
"""Starts an application for the desktop as a person does, on an X server without a screen: it shows its window, goes to the
server that it is given, keeps everything in the folder that it is given, and says so and ends where it cannot start.

Usage: check_start.py PROGRAM
"""

import os
import pathlib
import re
import select
import socket
import subprocess
import sys
import tempfile
import time

PATIENCE = 120  # seconds, for a machine that is busy


def wait_for(what, is_so):
    end = time.monotonic() + PATIENCE
    while not is_so():
        if time.monotonic() > end:
            sys.exit(f"{what}: did not come")
        time.sleep(0.05)


def start_display():
    reading, writing = os.pipe()
    server = subprocess.Popen(["Xvfb", "-displayfd", str(writing), "-screen", "0", "1280x900x24", "-nolisten", "tcp"],
                              pass_fds=[writing], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    os.close(writing)
    if not select.select([reading], [], [], PATIENCE)[0]:
        sys.exit("Xvfb does not start")
    return server, ":" + os.read(reading, 16).decode().strip()


def handshake_at(listener):
    """What the first client says."""
    listener.settimeout(PATIENCE)
    client, _ = listener.accept()
    client.settimeout(PATIENCE)
    said = b""
    while b"\r\n\r\n" not in said:
        part = client.recv(4096)
        if not part:
            break
        said += part
    return said.decode()


def windows(environment):
    return subprocess.run(["xwininfo", "-root", "-tree"], env=environment, capture_output=True, text=True, check=True).stdout


def check_life(program, environment, folder):
    listener = socket.create_server(("127.0.0.1", 0))
    home = folder / "kept here"
    started = subprocess.Popen([program, "--server", f"ws://127.0.0.1:{listener.getsockname()[1]}/link", "--home", home],
                               env=environment)
    try:
        said = handshake_at(listener)
        if not said.startswith("GET /link") or not re.search("upgrade: websocket", said, re.IGNORECASE):
            sys.exit(f"it does not ask for a link: {said}")
        wait_for("the window", lambda: re.search(r'"(Classroom|课堂)"', windows(environment)))
        wait_for("the folder", lambda: (home / "Documents").is_dir())
        if (pathlib.Path(environment["HOME"]) / "Documents").exists():
            sys.exit("something is kept elsewhere")
        if started.poll() is not None:
            sys.exit(f"it has ended by itself: exit code {started.returncode}")
    finally:
        started.terminate()
        started.wait(PATIENCE)


def check_refusal(program, environment, arguments):
    ended = subprocess.run([program, *arguments], env=environment, capture_output=True, text=True, timeout=PATIENCE)
    if ended.returncode != 1 or not ended.stderr.strip():
        sys.exit(f"{arguments}: exit code {ended.returncode}, and it says: {ended.stderr!r}")


def main():
    program = sys.argv[1]
    display, name = start_display()
    try:
        with tempfile.TemporaryDirectory() as folder:
            folder = pathlib.Path(folder)
            home = folder / "home"
            home.mkdir()
            environment = {**os.environ, "HOME": str(home), "DISPLAY": name, "QT_QPA_PLATFORM": "xcb", "GDK_BACKEND": "x11",
                           "GSK_RENDERER": "cairo", "GTK_A11Y": "none", "GSETTINGS_BACKEND": "memory"}
            for variable in ("XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "WAYLAND_DISPLAY"):
                environment.pop(variable, None)
            check_life(program, environment, folder)
            check_refusal(program, environment, ["--server", "nowhere", "--home", str(folder / "none")])
            check_refusal(program, environment, ["--no-such-option"])
    finally:
        display.terminate()
        display.wait()


if __name__ == "__main__":
    main()
