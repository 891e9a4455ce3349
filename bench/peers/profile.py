#!/usr/bin/env python3
"""Shows where the processor's time goes in the library, with 256 requests outstanding where nothing else is said.

usage: profile.py BUILD_FOLDER [OUTSTANDING] [PEER...]

Samples by the clock of the processor, since many virtual machines have no counters, of the library's peer or of others
(bare_json, tcp ...). Each function counts for the group that its name belongs to. The samples stay in BUILD_FOLDER/PEER.perf
for `perf report`.
"""

import collections
import pathlib
import re
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
import measure  # noqa: E402

SECONDS, RATE = 5, 4_000
SHOWN = 30

# The first that fits counts; of the kernel's functions only those that wait and wake are told apart.
GROUPS = (
    ("waiting and waking", r"futex|schedule|wake|epoll|eventfd|poll|ctx|switch|pthread_cond"),
    ("the kernel otherwise, its network above all", None),
    ("malloc and free", r"malloc|_int_free|cfree|operator (new|delete)|unlink_chunk|tcache|realloc|^free"),
    ("reading JSON, checking UTF-8",
     r"pars|json::value_stack|json::detail::(?:string_impl|value_access|object_impl)|isUtf8|utf8|basic_parser"),
    ("letting JSON go", r"json::(?:value|object|array|string)::~|~value|~object|~array|json::.*(?:destroy|dealloc)"),
    ("making and writing JSON", r"json::|[wW]rite|serial|escape|Json"),
    ("Asio and Beast", r"asio::|beast::"),
    ("frames", r"[fF]rame|[mM]ask|WebSocket|[cC]odec"),
    ("log", r"[lL]og|format|Console"),
    ("clocks", r"clock|gettime|vdso|Clock"),
    ("locks", r"mutex|lll_|lock"),
    ("copying bytes", r"memcpy|memmove|memset|memcmp|memchr"),
    ("the library's own", r"orv::"),
    ("the benchmark's own", r"peers::|main"),
)


def record(folder, name, outstanding, home):
    samples = folder / f"{name}.perf"
    command = measure.peers_of(folder / "bench" / "peers").get(name) or [str(folder / f"bench/peers/bench_peer_{name}")]
    with measure.Server(folder / "bench" / "peers") as server:
        subprocess.run(["perf", "record", "--quiet", "--event", "cpu-clock", "--freq", str(RATE), "--output", str(samples),
                        *command, server.address, outstanding, f"{SECONDS}s"],
                       env=measure.environment(home), stdout=subprocess.DEVNULL, check=True)
    return samples


def functions_of(samples):
    """(share, thread, library, function), the largest first. What perf calls pid is the thread's number."""
    report = subprocess.run(["perf", "report", "--stdio", "--input", str(samples), "--no-children", "--field-separator", "|",
                             "--sort", "pid,dso,symbol", "--percent-limit", "0"], stdout=subprocess.PIPE, text=True, check=True)
    for line in report.stdout.splitlines():
        found = re.match(r"\s*([\d.]+)%\s*\|\s*(\d+:[^|]*)\|([^|]*)\|\[(.)\] ([^|]*)", line)
        if found:
            share, thread, library, space, function = found.groups()
            yield float(share), thread.strip(), "kernel" if space == "k" else library.strip(), function.strip()


def group_of(library, function):
    for name, pattern in GROUPS:
        if pattern is None:
            if library == "kernel":
                return name
        elif re.search(pattern, function):
            return name
    return "else"


def print_profile(name, outstanding, functions):
    groups, threads, single = collections.Counter(), collections.Counter(), collections.Counter()
    for share, thread, library, function in functions:
        groups[group_of(library, function)] += share
        threads[thread] += share
        single[library, function] += share
    print(f"\n{name}, {outstanding} outstanding: share of the processor's time\n")
    for title, shares in (("threads", threads), ("groups", groups)):
        print(title)
        for what, share in shares.most_common():
            print(f"  {share:5.1f} %  {what}")
    print("functions")
    for (library, function), share in single.most_common(SHOWN):
        print(f"  {share:5.1f} %  {function[:110]}  [{library}]")


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[1])
    words = sys.argv[2:]
    outstanding = words.pop(0) if words and words[0].isdigit() else "256"
    with tempfile.TemporaryDirectory() as home:
        for name in words or ["library"]:
            print_profile(name, outstanding, list(functions_of(record(folder, name, outstanding, home))))


if __name__ == "__main__":
    main()
