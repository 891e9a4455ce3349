#!/usr/bin/env python3
"""What script/nightly would do: its parts share the time that it is given, and each walk goes far enough without any."""

import collections
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).parents[2]
STEPS = 1_000_000

# In the place of a program of tests: writes down what it was asked for.
PROGRAM = """#!/bin/sh
echo "$1 $ORV_WALK_STEPS $ORV_WALK_SEED" >>"$0.asked"
"""


def listed(minutes):
    """The parts by name: the seconds that each has, or None."""
    out = subprocess.run(["script/nightly", "--list", str(minutes)], cwd=ROOT, check=True, capture_output=True,
                         text=True).stdout
    rows = re.findall(r"^(.{30}) (?: *(\d+) s| {8}) {2}\S", out, re.MULTILINE)
    assert len(rows) == len(out.splitlines()), out
    return {name.strip(): int(share) if share else None for name, share in rows}


class Nightly(unittest.TestCase):
    def test_the_shares_come_to_the_time_that_it_is_given(self):
        for minutes in (10, 60, 131):
            shares = [share for share in listed(minutes).values() if share is not None]
            self.assertLessEqual(sum(shares), minutes * 60)
            self.assertGreater(sum(shares) + len(shares), minutes * 60)

    def test_every_fuzz_target_has_a_part(self):
        targets = {"fuzz " + source.stem for source in (ROOT / "tests" / "fuzz").glob("*Fuzz.cpp")}
        self.assertEqual(targets, {name for name in listed(60) if name.startswith("fuzz ")})

    def test_each_walk_makes_a_million_steps_though_its_time_is_over(self):
        with tempfile.TemporaryDirectory() as folder:
            program = pathlib.Path(folder, "test_simulation")
            program.write_text(PROGRAM)
            program.chmod(0o755)
            subprocess.run(["bash", "-euc", """
                . script/common.sh
                . script/parts.sh
                timed() { case $2 in walk) "${@:2}" ;; esac }
                untimed() { :; }
                nightly_parts"""], cwd=ROOT, check=True, stdout=subprocess.DEVNULL,
                           env={**os.environ, "share": "0", "tests": folder, "findings": folder})
            asked = [line.split() for line in pathlib.Path(folder, "test_simulation.asked").read_text().splitlines()]
        steps = collections.Counter()
        for test, count, _ in asked:
            steps[test] += int(count)
        walks = [name for name in listed(60) if name.startswith("walk ")]
        self.assertEqual(len(steps), len(walks))
        for test, walked in steps.items():
            self.assertGreaterEqual(walked, STEPS, test)
        self.assertGreater(len({seed for _, _, seed in asked}), len(asked) // 2, "walks from the same seeds")


if __name__ == "__main__":
    unittest.main()
