#!/usr/bin/env python3
"""Prints what has been measured.

usage: tables.py RESULTS.json     as tables for a document
"""

import json
import pathlib
import sys


def figure(value, digits=1):
    return f"{value:,.{digits}f}"


def short(value):
    return f"{value:,.0f}" if value >= 100 else f"{value:,.2f}"


def print_peers(results):
    for measured in results["peers"]:
        for load in measured["loads"]:
            count = load["outstanding"]
            what = "round trips" if count == 1 else f"{count:,} requests outstanding"
            print(f"\n{what}, {measured['place']}; in brackets the ratio to \"bare\"\n")
            print(f"{'':20}{'p50 us':>20}{'p99 us':>12}{'requests/s':>22}{'processor us':>20}")
            for name, found in load["peers"].items():
                ratio = found["ratio"]
                p50 = f"{figure(found['p50_us'])} ({ratio['p50_us']:.2f})"
                rate = f"{figure(found['per_second'], 0)} ({ratio['per_second']:.2f})"
                used = f"{figure(found['cpu_us'], 2)} ({ratio['cpu_us']:.2f})"
                print(f"{name:20}{p50:>20}{figure(found['p99_us']):>12}{rate:>22}{used:>20}")


def print_budgets(budgets, whole):
    """Of a run of one part only what was measured is shown."""
    print(f"\n{'budgets':54}{'measured':>10}  {'budget':>16}  unit")
    for budget in budgets:
        if budget["value"] is None and not whole:
            continue
        limit = f"at least {budget['at_least']:g}" if "at_least" in budget else f"at most {budget['at_most']:g}"
        value = "-" if budget["value"] is None else short(budget["value"])
        verdict = {True: "met", False: "MISSED", None: "not measured"}[budget["met"]]
        print(f"{budget['what']:54}{value:>10}  {limit:>16}  {budget['unit']:22}{verdict}")


# Place, load, figure, its digits and unit: the columns of the document's table.
COLUMNS = (
    ("round trip p50, one processor", "one processor", 1, "p50_us", 1, " µs"),
    ("round trip p50, scheduler free", "scheduler free", 1, "p50_us", 1, " µs"),
    ("256 outstanding: requests a second", "scheduler free", 256, "per_second", 0, ""),
    ("256 outstanding: processor time a request", "scheduler free", 256, "cpu_us", 2, " µs"),
    ("the same, one processor", "one processor", 256, "cpu_us", 2, " µs"),
)


def peers_as_markdown(results):
    """The figures that there are budgets for, each with its ratio to "bare"."""
    loads = {(measured["place"], load["outstanding"]): load["peers"]
             for measured in results["peers"] for load in measured["loads"]}
    print("\n| | " + " | ".join(column[0] for column in COLUMNS) + " |")
    print("|---" * (1 + len(COLUMNS)) + "|")
    for name in loads["one processor", 1]:
        found = [(loads[place, load][name], what, digits, unit) for _, place, load, what, digits, unit in COLUMNS]
        print(f"| {name} | " + " | ".join(f"{figure(peer[what], digits)}{unit}, {peer['ratio'][what]:.2f} ×"
                                         for peer, what, digits, unit in found) + " |")


def library_as_markdown(results):
    """What the library costs by how many are outstanding."""
    print("\n| outstanding | " + " | ".join(f"{measured['place']}: p50 | processor time" for measured in results["peers"]) + " |")
    print("|---" * (1 + 2 * len(results["peers"])) + "|")
    for row in zip(*(measured["loads"] for measured in results["peers"])):
        ours = [load["peers"]["library"] for load in row]
        cells = " | ".join(f"{figure(found['p50_us'])} µs | {figure(found['cpu_us'], 2)} µs, {found['ratio']['cpu_us']:.2f} × bare"
                           for found in ours)
        print(f"| {row[0]['outstanding']:,} | {cells} |")


def budgets_as_markdown(budgets):
    print("\n| what | measured | budget |\n|---|---|---|")
    for budget in budgets:
        if budget["value"] is None:
            continue
        limit = f"at least {budget['at_least']:,g}" if "at_least" in budget else f"at most {budget['at_most']:,g}"
        print(f"| {budget['what']} | {short(budget['value'])} {budget['unit']} | {limit}{'' if budget['met'] else ', missed'} |")


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    results = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))
    if "peers" in results:
        peers_as_markdown(results)
        library_as_markdown(results)
    budgets_as_markdown(results["budgets"])


if __name__ == "__main__":
    main()
