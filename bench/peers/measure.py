"""Runs the peers in turn on their server and gathers what they print.

A result is a list of places (`scheduler free`, `one processor`), each with a list of loads, each with its peers:

    {"place": ..., "loads": [{"outstanding": 1, "peers": {"bare": {"runs": [...], "p50_us": ..., "ratio": {...}}}}]}

where the figures beside `runs` are medians over the rounds, and the ratios are medians of the ratios to "bare" of the same
round.
"""

import json
import os
import pathlib
import statistics
import subprocess

HERE = pathlib.Path(__file__).resolve().parent
FIGURES = ("p50_us", "p99_us", "per_second", "cpu_us", "waits", "peak_kib")
REFERENCE = "bare"
PLACES = {"scheduler free": [], "one processor": ["taskset", "--cpu-list", "0"]}
LOADS = (1, 16, 256, 4096)
TIME_LIMIT = 120  # of one run, in seconds


def peers_of(folder):
    """Name -> command, in the order of the table."""
    program = lambda name: [str(folder / f"bench_peer_{name}")]
    return {
        "plain TCP": program("tcp"),
        "Beast, one thread": program("beast"),
        "libwebsockets": program("lws"),
        "Qt WebSockets": program("qt"),
        "Node ws": ["node", str(HERE / "ws-peer.js")],
        "bare": program("bare"),
        "bare + JSON": program("bare_json"),
        "library": program("library"),
    }


def environment(home):
    """Logs go to a home of their own. A Node that is not the distribution's does not look where its packages are."""
    return {**os.environ, "HOME": str(home), "NODE_PATH": os.environ.get("NODE_PATH", "/usr/share/nodejs"),
            "QT_QPA_PLATFORM": "minimal"}


class Server:
    """The cheap server in a process of its own, until the end of the `with`."""

    def __init__(self, folder, where=(), pushes=0):
        self.process = subprocess.Popen([*where, str(folder / "bench_peer_server"), str(pushes)],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.address = self.process.stdout.readline().removeprefix("listening ").strip()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.stdout.close()
        self.process.wait()


def run_once(command, address, outstanding, seconds, where, home):
    """What it prints. One that fails, hangs, ends without a word or has answered nothing ends the whole run."""
    why = "failed"
    try:
        run = subprocess.run([*where, *command, address, str(outstanding), f"{seconds}s"], env=environment(home),
                             stdout=subprocess.PIPE, text=True, timeout=TIME_LIMIT, check=False)
        if run.returncode == 0:
            why = "told no figures"
            figures = json.loads(run.stdout)
            if figures["requests"] > 0:
                return figures
    except subprocess.TimeoutExpired:
        why = f"took more than {TIME_LIMIT} s"
    except (ValueError, KeyError, TypeError):
        pass
    raise SystemExit(f"{' '.join(command)} {why} with {outstanding} outstanding")


def ratio(runs, reference, figure):
    """The median of the ratios of the same round."""
    return statistics.median(mine[figure] / its[figure] for mine, its in zip(runs, reference) if its[figure])


def summary(runs, reference):
    """Medians, and medians of the ratios to what the reference did in the same round."""
    ratios = {figure: ratio(runs, reference, figure) for figure in ("p50_us", "per_second", "cpu_us")}
    return {"runs": runs, **{figure: statistics.median(run[figure] for run in runs) for figure in FIGURES},
            "ratio": ratios}


def rotated(items, by):
    by %= len(items)
    return items[by:] + items[:by]


def measure_place(folder, place, rounds, seconds, home, tell):
    peers = peers_of(folder)
    runs = {load: {name: [] for name in peers} for load in LOADS}
    with Server(folder, PLACES[place]) as server:
        for number in range(rounds):
            for load in LOADS:
                tell(f"{place}, {load} outstanding, round {number + 1} of {rounds}")
                # Another one begins each time, so that none always follows the same one.
                for name in rotated(list(peers), number * 3):
                    runs[load][name].append(
                        run_once(peers[name], server.address, load, seconds, PLACES[place], home))
    return {"place": place, "loads": [
        {"outstanding": load, "peers": {name: summary(runs[load][name], runs[load][REFERENCE]) for name in peers}}
        for load in LOADS]}


def measure_peers(folder, rounds, seconds, home, tell):
    return [measure_place(folder, place, rounds, seconds, home, tell) for place in PLACES]


def measure_flood(folder, pushes, home):
    """The memory of a process before, during and after a flood of pushes; without any, that of one that is idle."""
    with Server(folder, pushes=pushes) as server:
        run = subprocess.run([str(folder / "bench_peer_flood"), server.address, str(pushes)], env=environment(home),
                             stdout=subprocess.PIPE, text=True, timeout=600, check=True)
    return json.loads(run.stdout)
