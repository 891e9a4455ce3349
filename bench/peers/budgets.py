"""The budgets, and where the figures that they are held against come from."""

import re

import measure

BOUND_MIB = 256  # of what waits for the main thread, docs/threading.md


class Budget:
    """A figure with its limit. `find` takes the figure from the results; None tells that it is not there."""

    def __init__(self, what, unit, limit, find, at_least=False):
        self.what, self.unit, self.limit, self.find, self.at_least = what, unit, limit, find, at_least

    def held_against(self, results):
        value = self.find(results)
        met = None if value is None else value >= self.limit if self.at_least else value <= self.limit
        return {"what": self.what, "unit": self.unit, "value": value, "at_least" if self.at_least else "at_most": self.limit,
                "met": met}


def peer(place, outstanding, name, figure, ratio=False):
    def find(results):
        for measured in results.get("peers", []):
            for load in measured["loads"]:
                if measured["place"] == place and load["outstanding"] == outstanding and name in load["peers"]:
                    found = load["peers"][name]
                    return found["ratio"][figure] if ratio else found[figure]
        return None
    return find


def beside(place, outstanding, name, figure):
    """The library's figure as a multiple of another peer's: the median of the ratios of the same round, as beside "bare"."""
    ours, theirs = (peer(place, outstanding, one, "runs") for one in ("library", name))
    return lambda results: measure.ratio(ours(results), theirs(results), figure) if theirs(results) else None


def numbers(results, program, pattern):
    """The numbers in what a program printed, scheduler free: the pattern's first group."""
    text = results.get("programs", {}).get(program, {}).get("scheduler free", "")
    return [float(number) for number in re.findall(pattern, text, re.MULTILINE)]


def printed(program, pattern):
    return lambda results: next(iter(numbers(results, program, pattern)), None)


def most(program, pattern):
    return lambda results: max(numbers(results, program, pattern), default=None)


def total(*finds):
    def find(results):
        values = [one(results) for one in finds]
        return None if None in values else sum(values)
    return find


def idle(results):
    """MiB."""
    return results["idle"]["left_mib"] if "idle" in results else None


def flood(figure):
    """What a flood takes above an idle process, in parts of the bound."""
    return lambda results: (results["flood"][figure] - idle(results)) / BOUND_MIB if "flood" in results else None


FREE, ONE = "scheduler free", "one processor"
SCALE = r"^{} +{} listed: .*?processor time, +([\d.]+) x"

BUDGETS = [
    Budget("round trip p50, one processor", "× bare", 1.0, peer(ONE, 1, "library", "p50_us", ratio=True)),
    Budget("round trip p50, scheduler free", "× bare", 0.95, peer(FREE, 1, "library", "p50_us", ratio=True)),
    Budget("256 outstanding, requests a second, scheduler free", "× bare", 2.2,
           peer(FREE, 256, "library", "per_second", ratio=True), at_least=True),
    Budget("256 outstanding, requests a second, scheduler free", "× Beast, one thread", 1.0,
           beside(FREE, 256, "Beast, one thread", "per_second"), at_least=True),
    Budget("256 outstanding, requests a second, scheduler free", "× libwebsockets", 1.0,
           beside(FREE, 256, "libwebsockets", "per_second"), at_least=True),
    Budget("256 outstanding, processor time a request", "µs", 5.0, peer(FREE, 256, "library", "cpu_us")),
    Budget("page reply of 39 KB, parsed and mapped", "µs", 60,
           total(printed("bench_RecordBench", r"^mapped to new records from its text +([\d.]+) us"),
                 printed("bench_RecordBench", r"^the page read without values +([\d.]+) us"))),
    Budget("100,000 outstanding, memory each", "bytes", 1024,
           printed("bench_OutstandingBench", r"in the table, ([\d.]+) bytes each")),
    Budget("arming a time-out", "ns", 100, printed("bench_OutstandingBench", r"^arming a time-out: ([\d.]+) ns")),
    Budget("page of 30 new courses, 100 listed", "× by hand", 1.2,
           printed("bench_CoursePageBench", r"^100 courses, all files.* us: ([\d.]+) x \(")),
    Budget("page that changes nothing, 10,000 listed", "× 100 listed", 1.5,
           printed("bench_CourseScaleBench", SCALE.format("a page that changes nothing", "10000"))),
    Budget("page of 30 new courses, 10,000 listed", "× 100 listed", 1.5,
           printed("bench_CourseScaleBench", SCALE.format("a page of 30 new courses", "10000"))),
    Budget("longest look-up while a range is answered, 10,000 listed", "µs", 2000,
           most("bench_CourseScaleBench", r"with 10000 listed: .*? look-ups on main .*? held up for (\d+) us")),
    Budget("longest closure on the main thread, 10,000 courses", "µs of work", 2000,
           most("bench_CoursePageBench", r"^10,000.*main thread held for at most \d+ us, (\d+) us")),
    Budget("a request by ask, round trip p50", "× two callbacks", 1.05,
           printed("bench_AskBench", r"^round trip p50: .*ratio ([\d.]+)")),
    Budget("longest step of the main thread, a view of 10,000 courses", "ms of work", 2.0,
           most("bench_CourseViewBench", r"main thread held for at most +[\d.]+ ms, +([\d.]+) ms of them its own work")),
    Budget("snapshots of 10,000 courses", "MB", 20, printed("bench_CourseViewBench", r"^\d+ rows take ([\d.]+) MB")),
    Budget("a line of the log, back to back, p50", "ns", 100,
           printed("bench_LogBench", r"^OrvNetwork +call, back to back: p50 +(\d+) ns")),
    Budget("a lone line of the log, p50", "ns", 150, printed("bench_LogBench", r"call, every 20 us: +p50 +(\d+) ns")),
    Budget("lines of the log a second", "million", 4.0, printed("bench_LogBench", r"sustained: ([\d.]+) million"),
           at_least=True),
    Budget("process start to first PING, over a raw process", "ms", 2.0,
           printed("bench_StartBench", r"difference (-?[\d.]+) ms")),
    Budget("memory of an idle process", "MB", 10,
           lambda results: idle(results) * 1.048576 if "idle" in results else None),
    Budget("memory under a flood", "× the bound", 1.5, flood("most_mib")),
    Budget("left of it afterwards", "× the bound", 0.1, flood("left_mib")),
]

# The programs that budgets are taken from; a short run has only these.
PROGRAMS = ("bench_RecordBench", "bench_OutstandingBench", "bench_CoursePageBench", "bench_CourseScaleBench",
            "bench_AskBench", "bench_CourseViewBench", "bench_LogBench", "bench_StartBench")


def held_against_budgets(results):
    return [budget.held_against(results) for budget in BUDGETS]
