#!/usr/bin/env python3
"""What script/bench makes of figures: medians, ratios of the same round, budgets, tables and the picture."""

import contextlib
import io
import pathlib
import sys
import unittest
import unittest.mock
import xml.etree.ElementTree

sys.dont_write_bytecode = True
ROOT = pathlib.Path(__file__).parents[2]
sys.path.insert(0, str(ROOT / "bench" / "peers"))
import budgets  # noqa: E402
import measure  # noqa: E402
import picture  # noqa: E402
import tables  # noqa: E402

PRINTED = {
    "bench_RecordBench": "mapped to new records                34.5 us   x 0.96 of by hand\n"
                         "for scale: the page parsed          122.1 us   x 3.40 of by hand\n"
                         "the page read without values         27.5 us   x 0.82 of by hand\n"
                         "mapped to new records from its text  52.8 us   x 1.60 of by hand\n",
    "bench_OutstandingBench": "100,000 outstanding: 100000 in the table, 321 bytes each beside the frame text (budget 1024)\n"
                              "arming a time-out: 31 ns (budget 100)\n",
    "bench_CoursePageBench":
        "100 courses, all files to be written: 108 listed, answered 2171 us, by hand 957 us: 2.27 x (budget 1.2)\n"
        "10,000 courses, nothing new: main thread held for at most 3693 us, 146 us of them its own work (budget 2000)\n"
        "10,000 courses, all files: main thread held for at most 99 us, 99 us of them its own work (budget 2000)\n",
    "bench_CourseScaleBench":
        "a page that changes nothing     10000 listed:   493 us, 1.04 x of 100 listed;   493 us of processor time, 1.05 x\n"
        "a page of 30 new courses        10000 listed:  3930 us, 1.83 x of 100 listed;  1942 us of processor time, 1.28 x\n"
        "a range of 3000 with 10000 listed: answered in 250 ms; of 62637 look-ups on main the longest took 12405 us by the "
        "clock, and was held up for 4439 us (8 above 2 ms)\n"
        "pages for a range of 3000 with 10000 listed: answered in 737 ms; of 378804 look-ups on main the longest took 950 us "
        "by the clock, and was held up for 547 us (0 above 2 ms)\n"
        "pages for a range of 3000 with 100000 listed: answered in 737 ms; of 378804 look-ups on main the longest took "
        "9950 us by the clock, and was held up for 6547 us (1 above 2 ms)\n",
    "bench_AskBench": "round trip p50: two callbacks 101.20 us, ask 104.24 us, ratio 1.030 (budget 1.05)\n"
                      "main thread's work: two callbacks 11.00 us, ask 13.20 us, ratio 1.200\n",
    "bench_CourseViewBench":
        "loaded page by page: 10000 courses in 4100 ms\n"
        "  loading                                        main thread held for at most  9.315 ms,  0.812 ms of them its own "
        "work (within 2 ms)\n"
        "in memory with all that goes with it: 31.4 MB\n"
        "10000 rows take 21.5 MB (budget 20)\n"
        "refreshed, seven in front: 812 ms\n"
        "  refreshed, seven in front                      main thread held for at most  2.915 ms,  2.512 ms of them its own "
        "work (MORE THAN 2 ms)\n"
        "  a step of 50 rows                              main thread held for at most  0.042 ms,  0.040 ms of them its own "
        "work (within 2 ms)\n",
    "bench_LogBench": "OrvNetwork             call, back to back: p50    99 ns  p99    622 ns\n"
                      "                       call, every 20 us:  p50   102 ns  p99    640 ns\n"
                      "                       sustained: 2.36 million lines/s, 229 ns of processor time a line\n"
                      "spdlog async rotating  call, back to back: p50   147 ns  p99    749 ns\n",
    "bench_StartBench": "process start to first PING, p50: library 3.4 ms, raw process 1.7 ms, difference 1.7 ms (budget 2)\n",
}


def run(p50, rate=1000.0, used=4.0):
    return {"p50_us": p50, "p99_us": p50, "per_second": rate, "cpu_us": used, "waits": 1.0, "peak_kib": 1}


def measured_peers(ours, bare):
    peers = {"bare": measure.summary(bare, bare), "library": measure.summary(ours, bare)}
    others = {name: measure.summary(bare, bare) for name in measure.peers_of(ROOT) if name not in peers}
    return [{"place": place, "loads": [{"outstanding": load, "peers": {**others, **peers}} for load in measure.LOADS]}
            for place in measure.PLACES]


RESULTS = {
    "peers": measured_peers([run(12.0, 2500.0)], [run(10.0)]),
    "programs": {name: {"scheduler free": text} for name, text in PRINTED.items()},
    "idle": {"left_mib": 10.0}, "flood": {"most_mib": 522.0, "left_mib": 23.0},
}


class FiguresTest(unittest.TestCase):
    def value(self, what, unit, results=None):
        found = [budget for budget in budgets.held_against_budgets(results or RESULTS)
                 if budget["what"] == what and budget["unit"] == unit]
        self.assertEqual(len(found), 1, what)
        return found[0]["value"], found[0]["met"]

    def test_a_ratio_is_the_median_of_those_to_the_same_round(self):
        found = measure.summary([run(20.0), run(30.0), run(60.0)], [run(10.0), run(10.0), run(60.0)])
        self.assertEqual(found["p50_us"], 30.0)
        self.assertEqual(found["ratio"]["p50_us"], 2.0)

    def test_a_ratio_to_another_client_is_taken_round_by_round_too(self):
        rates = {"library": (10.0, 20.0, 60.0), "Beast, one thread": (20.0, 10.0, 30.0)}
        loads = [{"outstanding": 256, "peers": {
            name: measure.summary([run(1.0, rate) for rate in told], [run(1.0)] * 3) for name, told in rates.items()}}]
        results = {"peers": [{"place": "scheduler free", "loads": loads}]}
        what = "256 outstanding, requests a second, scheduler free"
        self.assertEqual(self.value(what, "× Beast, one thread", results), (2.0, True))
        self.assertEqual(self.value(what, "× libwebsockets", results), (None, None))

    def test_a_client_that_has_measured_nothing_ends_the_run(self):
        def told(script):
            return measure.run_once(["sh", "-c", script], "127.0.0.1:1", 16, 1, [], "/")
        good = 'echo \'{"requests": 3}\''
        self.assertEqual(told(good), {"requests": 3})
        for script in (good + "; exit 1", "true", "echo nan", "echo '{}'", """echo '{"requests": 0}'"""):
            with self.assertRaisesRegex(SystemExit, "with 16 outstanding", msg=script):
                told(script)

    def test_a_client_that_hangs_ends_the_run(self):
        with unittest.mock.patch.object(measure, "TIME_LIMIT", 0):
            with self.assertRaisesRegex(SystemExit, "took more than 0 s"):
                measure.run_once(["sleep"], "60", 1, 1, [], "/")

    def test_each_round_begins_with_another_client(self):
        self.assertEqual(measure.rotated(["a", "b", "c"], 4), ["b", "c", "a"])

    def test_every_budget_finds_its_figure(self):
        for budget in budgets.held_against_budgets(RESULTS):
            self.assertIsNotNone(budget["value"], budget["what"])

    def test_a_budget_whose_figure_is_not_there_is_neither_met_nor_missed(self):
        for budget in budgets.held_against_budgets({}):
            self.assertEqual((budget["value"], budget["met"]), (None, None), budget["what"])

    def test_budgets_are_held_against_the_right_figures(self):
        for what, unit, value, met in (
                ("round trip p50, one processor", "× bare", 1.2, False),
                ("256 outstanding, requests a second, scheduler free", "× bare", 2.5, True),
                ("page reply of 39 KB, parsed and mapped", "µs", 52.8 + 27.5, False),
                ("page of 30 new courses, 100 listed", "× by hand", 2.27, False),
                ("page that changes nothing, 10,000 listed", "× 100 listed", 1.05, True),
                ("longest look-up while a range is answered, 10,000 listed", "µs", 4439, False),
                ("longest closure on the main thread, 10,000 courses", "µs of work", 146, True),
                ("a request by ask, round trip p50", "× two callbacks", 1.03, True),
                ("longest step of the main thread, a view of 10,000 courses", "ms of work", 2.512, False),
                ("snapshots of 10,000 courses", "MB", 21.5, False),
                ("a line of the log, back to back, p50", "ns", 99, True),
                ("lines of the log a second", "million", 2.36, False),
                ("process start to first PING, over a raw process", "ms", 1.7, True),
                ("memory under a flood", "× the bound", 2.0, False)):
            self.assertEqual(self.value(what, unit), (value, met), what)

    def test_the_programs_that_budgets_are_taken_from_are_there(self):
        self.assertEqual(set(budgets.PROGRAMS), set(PRINTED))
        for program in budgets.PROGRAMS:
            self.assertTrue((ROOT / "bench" / f"{program.removeprefix('bench_')}.cpp").is_file(), program)

    def test_the_picture_has_a_line_for_each_client_and_place(self):
        drawn = xml.etree.ElementTree.fromstring(picture.draw(RESULTS))
        lines = drawn.findall("{http://www.w3.org/2000/svg}polyline")
        self.assertEqual(len(lines), 2 * len(measure.peers_of(ROOT)))
        self.assertEqual(set(picture.COLOURS), set(measure.peers_of(ROOT)))

    def test_labels_do_not_lie_on_each_other(self):
        heights = [y for y, _ in picture.spread([(10.0, "a"), (11.0, "b"), (100.0, "c")])]
        self.assertEqual(heights, [10.0, 10.0 + picture.LABEL_STEP, 100.0])

    def test_tables_name_what_is_missed(self):
        shown = io.StringIO()
        with contextlib.redirect_stdout(shown):
            tables.print_peers(RESULTS)
            tables.print_budgets(budgets.held_against_budgets(RESULTS), whole=True)
            tables.peers_as_markdown(RESULTS)
        self.assertRegex(shown.getvalue(), r"library +12\.0 \(1\.20\)")
        self.assertRegex(shown.getvalue(), r"round trip p50, one processor +1\.20 +at most 1 +× bare +MISSED")
        self.assertIn("| library | 12.0 µs, 1.20 × |", shown.getvalue())


if __name__ == "__main__":
    unittest.main()
