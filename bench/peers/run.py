#!/usr/bin/env python3
"""Measures the library beside its peers and its budgets, prints tables and writes everything as JSON.

usage: run.py BUILD_FOLDER [--quick] [--rounds N] [--seconds S] [--peers | --programs] [ARGUMENT...]

With --quick one short round, and of the other benchmarks only those that a budget is taken from, scheduler free. With
--peers only the peers, with --programs only the other benchmarks. Arguments go to each of those. What was measured stands in
BUILD_FOLDER/results.json afterwards.
"""

import argparse
import json
import os
import pathlib
import platform
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True
import budgets  # noqa: E402
import measure  # noqa: E402
import tables  # noqa: E402

FLOOD_PUSHES = 83_000  # 249 MB of 3 KB


def tell(text):
    print(text, file=sys.stderr, flush=True)


def machine():
    model = [line.split(":", 1)[1].strip() for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines()
             if line.startswith("model name")]
    commit = subprocess.run(["git", "rev-parse", "--short", "HEAD"], stdout=subprocess.PIPE, text=True, check=False)
    return {"processor": model[0] if model else platform.machine(), "processors": len(os.sched_getaffinity(0)),
            "kernel": platform.release(), "commit": commit.stdout.strip(),
            "time": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime()),
            "load_before": os.getloadavg()[0]}


def run_programs(folder, quick, arguments):
    """What each benchmark prints, by its name and the place it ran in; shown as it comes. Each run has a home of its own:
    the courses that one has listed are files in the way of the next."""
    outputs = {}
    places = list(measure.PLACES)[:1] if quick else measure.PLACES
    for program in sorted(path for path in folder.glob("bench_*Bench") if path.is_file()):
        if quick and program.name not in budgets.PROGRAMS:
            continue
        for place in places:
            print(f"\n=== {program.name}, {place}", flush=True)
            with tempfile.TemporaryDirectory() as home:
                run = subprocess.run([*measure.PLACES[place], str(program), *arguments], env=measure.environment(home),
                                     stdout=subprocess.PIPE, text=True, check=False)
            print(run.stdout, end="", flush=True)
            if run.returncode != 0:
                raise SystemExit(f"{program.name} failed")
            outputs.setdefault(program.name, {})[place] = run.stdout
    return outputs


def read_arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--rounds", type=int)
    parser.add_argument("--seconds", type=float)
    which = parser.add_mutually_exclusive_group()
    which.add_argument("--peers", action="store_true")
    which.add_argument("--programs", action="store_true")
    options, arguments = parser.parse_known_args()
    options.rounds = options.rounds or (1 if options.quick else 3)
    options.seconds = options.seconds or (0.3 if options.quick else 1)
    return options, arguments


def write(results, path):
    results["budgets"] = budgets.held_against_budgets(results)
    results["machine"]["load_after"] = os.getloadavg()[0]
    path.write_text(json.dumps(results, indent=1, ensure_ascii=False) + "\n", encoding="utf-8")


def main():
    options, arguments = read_arguments()
    results = {"machine": machine(), "rounds": options.rounds, "seconds": options.seconds}
    programs = options.folder / "bench"
    peers = programs / "peers"
    written = options.folder / "results.json"
    with tempfile.TemporaryDirectory() as home:
        if not options.programs:
            results["peers"] = measure.measure_peers(peers, options.rounds, options.seconds, home, tell)
            write(results, written)  # a benchmark that fails shall not take it along
        if not options.peers:
            results["programs"] = run_programs(programs, options.quick, arguments)
            tell("an idle process, and a flood of pushes")
            results["idle"] = measure.measure_flood(peers, 0, home)
            results["flood"] = measure.measure_flood(peers, FLOOD_PUSHES, home)
    write(results, written)
    if "peers" in results:
        tables.print_peers(results)
    tables.print_budgets(results["budgets"], whole=not (options.peers or options.programs))
    print(f"\nwritten to {written}")


if __name__ == "__main__":
    main()
