#!/usr/bin/env python3
"""Prints what Python's own reader of zone files says of the offsets of every zone, for tests to compare with.

Usage: zone_peer.py SEED [ZONE...]

For each zone (all of the collection unless some are named; one of those whose files are alike) comes a line "zone NAME".
Lines "MOMENT OFFSET BACK" follow: the offset of a moment, and the moment that its local time stands for. Lines
"- LOCAL BACK" tell the same of local times that a change of the clocks leaves out. All are seconds since 1970. Local
times that are there twice stand for the first one, those that are left out move forward. The moments are those of all
changes up to 2037 and of some later years, a second before and after each, and random ones up to the year 2500.
"""

import random
import struct
import sys
import zoneinfo
from datetime import datetime, timedelta, timezone

EPOCH = datetime(1970, 1, 1, tzinfo=timezone.utc)
SECOND = timedelta(seconds=1)
FIRST = int(datetime(2, 1, 1, tzinfo=timezone.utc).timestamp())
LAST = int(datetime(2037, 12, 31, tzinfo=timezone.utc).timestamp())
LAST_RANDOM = int(datetime(2500, 1, 1, tzinfo=timezone.utc).timestamp())
RANDOM_MOMENTS = 60


def offset_at(moment, zone):
    return (EPOCH + moment * SECOND).astimezone(zone).utcoffset() // SECOND


def moment_of(local, zone):
    wall = (EPOCH + local * SECOND).replace(tzinfo=zone, fold=0)
    return (wall.astimezone(timezone.utc) - EPOCH) // SECOND


def file_of(name):
    for folder in zoneinfo.TZPATH:
        try:
            with open(f"{folder}/{name}", "rb") as file:
                return file.read()
        except OSError:
            pass
    raise FileNotFoundError(name)


def changes_in(data):
    """The moments of the changes that a zone file lists in 64 bits."""
    counts = struct.unpack(">6l", data[20:44])
    _, _, leaps, changes, kinds, characters = counts
    begin = 44 + changes * 5 + kinds * 6 + characters + leaps * 8 + counts[0] + counts[1]
    count = struct.unpack(">6l", data[begin + 20:begin + 44])[3]
    return struct.unpack(f">{count}q", data[begin + 44:begin + 44 + 8 * count])


def changes_by_rule(zone):
    """The changes of some years after the last ones that a file may list, found by halving."""
    for year in (2037, 2040, 2099, 2100, 2399, 2400):
        begin = int(datetime(year, 1, 1, tzinfo=timezone.utc).timestamp())
        for low in range(begin, begin + 360 * 86400, 60 * 86400):
            high = low + 60 * 86400
            before = offset_at(low, zone)
            if offset_at(high, zone) == before:
                continue
            while high - low > 1:
                middle = (low + high) // 2
                low, high = (middle, high) if offset_at(middle, zone) == before else (low, middle)
            yield high


def tell(name, data, rng):
    zone = zoneinfo.ZoneInfo(name)
    out = ["zone " + name]
    changes = sorted({change for change in changes_in(data) if FIRST < change < LAST} | set(changes_by_rule(zone)))
    moments = [change + step for change in changes for step in (-1, 0, 1)]
    moments += [rng.randint(FIRST, LAST_RANDOM) for _ in range(RANDOM_MOMENTS)]
    for moment in moments:
        offset = offset_at(moment, zone)
        out.append(f"{moment} {offset} {moment_of(moment + offset, zone)}")
    for change in changes:
        before, after = offset_at(change - 1, zone), offset_at(change, zone)
        if after > before:
            for local in (change + before, change + after - 1, change + rng.randint(before, after - 1)):
                out.append(f"- {local} {moment_of(local, zone)}")
    print("\n".join(out))


def main():
    rng = random.Random(int(sys.argv[1]))
    told = set()
    for name in sys.argv[2:] or sorted(zoneinfo.available_timezones()):
        data = file_of(name)
        if data not in told:
            told.add(data)
            tell(name, data, rng)


if __name__ == "__main__":
    main()
