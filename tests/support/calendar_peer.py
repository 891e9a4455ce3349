#!/usr/bin/env python3
"""Prints what Python's own calendar and time zones say of random dates, for tests to compare with.

Usage: calendar_peer.py SEED COUNT

Each line holds one case: names and values, separated by blanks. Moments are seconds since 1970. Local times that
are there twice stand for the first moment; those that a change of the clocks leaves out move forward.
"""

import calendar
import random
import sys
from datetime import datetime, timedelta, timezone
from zoneinfo import ZoneInfo

ZONES = ["UTC", "America/New_York", "Europe/Berlin", "America/Sao_Paulo", "Australia/Lord_Howe", "Asia/Shanghai",
         "Asia/Kolkata", "Asia/Kathmandu", "America/St_Johns", "Pacific/Auckland", "Europe/London", "Asia/Tokyo",
         "America/Los_Angeles", "Australia/Sydney"]
# Later rules may still change, and the further past is told differently by different collections.
FIRST = int(datetime(1946, 1, 1, tzinfo=timezone.utc).timestamp())
LAST = int(datetime(2022, 1, 1, tzinfo=timezone.utc).timestamp())
# Where there are no rules, far more.
FIRST_UTC = int(datetime(1600, 1, 1, tzinfo=timezone.utc).timestamp())
LAST_UTC = int(datetime(2900, 1, 1, tzinfo=timezone.utc).timestamp())
EPOCH = datetime(1970, 1, 1, tzinfo=timezone.utc)
DAY = timedelta(days=1)
FULL = "%Y-%m-%dT%H:%M:%S"


def local_of(second, zone):
    return (EPOCH + timedelta(seconds=second)).astimezone(zone)


def moment_of(wall, zone):
    """The moment of a local time without a zone."""
    return int((wall.replace(tzinfo=zone, fold=0).astimezone(timezone.utc) - EPOCH) / timedelta(seconds=1))


def random_second(rng, zone):
    if zone.key == "UTC":
        return rng.randint(FIRST_UTC, LAST_UTC)
    second = rng.randint(FIRST, LAST)
    return second if rng.random() < 0.5 else near_change(rng, zone, second)


def near_change(rng, zone, second):
    """A moment around the first change of the clocks in the year after `second`, if there is one."""
    offset = local_of(second, zone).utcoffset()
    low = high = second
    while local_of(high, zone).utcoffset() == offset:
        low, high = high, high + 20 * 86400
        if high > second + 366 * 86400:
            return second
    while high - low > 1:
        middle = (low + high) // 2
        if local_of(middle, zone).utcoffset() == offset:
            low = middle
        else:
            high = middle
    return high + rng.randint(-2 * 3600, 2 * 3600)


def with_months(wall, months):
    """A local time so many months later, on the last day where the month is too short."""
    count = wall.year * 12 + wall.month - 1 + months
    year, month = count // 12, count % 12 + 1
    return wall.replace(year=year, month=month, day=min(wall.day, calendar.monthrange(year, month)[1]))


def week_of_month(wall, first_weekday, minimal_days):
    rows = calendar.Calendar(first_weekday).monthdayscalendar(wall.year, wall.month)
    first_counts = sum(1 for day in rows[0] if day) >= minimal_days
    return next(i for i, row in enumerate(rows) if wall.day in row) + (1 if first_counts else 0)


def year_of_week(wall, last_weekday):
    """The year in which the week ends, where one day of a year makes its first week."""
    return (wall + (last_weekday - wall.weekday()) % 7 * DAY).year


def days_between(start, goal, zone):
    """Whole days by the clock on the wall from one moment to another."""
    first, last = (local_of(second, zone).replace(tzinfo=None) for second in (start, goal))
    days = (last.date() - first.date()).days
    reached = moment_of(first + days * DAY, zone) if days else start
    if days > 0 and reached > goal:
        return days - 1
    if days < 0 and reached < goal:
        return days + 1
    return days


def case(rng):
    zone = ZoneInfo(rng.choice(ZONES))
    second, other = random_second(rng, zone), random_second(rng, zone)
    wall = local_of(second, zone).replace(tzinfo=None)
    other_wall = local_of(other, zone).replace(tzinfo=None)
    days = (other_wall.date() - wall.date()).days
    months = (other_wall.year - wall.year) * 12 + other_wall.month - wall.month
    years = other_wall.year - wall.year
    some_wall = wall + timedelta(minutes=rng.randint(-180, 180))
    midnight = wall.replace(hour=0, minute=0, second=0)
    values = {
        "zone": zone.key, "second": second, "other": other,
        "year": wall.year, "month": wall.month, "day": wall.day, "hour": wall.hour, "minute": wall.minute,
        "seconds": wall.second, "weekday": wall.isoweekday() % 7 + 1, "nthWeekday": (wall.day - 1) // 7 + 1,
        "weekUS": week_of_month(wall, calendar.SUNDAY, 1), "weekCN": week_of_month(wall, calendar.MONDAY, 1),
        "weekGB": week_of_month(wall, calendar.MONDAY, 4),
        "yearOfWeekUS": year_of_week(wall, calendar.SATURDAY), "yearOfWeekCN": year_of_week(wall, calendar.SUNDAY),
        "yearOfWeekGB": wall.isocalendar()[0],
        "text": wall.strftime(FULL), "startOfDay": moment_of(midnight, zone),
        "endOfDay": moment_of(midnight.replace(hour=23, minute=59, second=59), zone),
        "someText": some_wall.strftime(FULL), "someMoment": moment_of(some_wall, zone),
        "days": days, "plusDays": moment_of(wall + days * DAY, zone) if days else second,
        "months": months, "plusMonths": moment_of(with_months(wall, months), zone) if months else second,
        "years": years, "plusYears": moment_of(with_months(wall, 12 * years), zone) if years else second,
        "daysBetween": days_between(second, other, zone),
        "fixedDays": int(timedelta(seconds=other - second) / DAY),
        "sameDay": int(wall.date() == other_wall.date()),
        "sameMonth": int((wall.year, wall.month) == (other_wall.year, other_wall.month)),
    }
    return " ".join(f"{name} {value}" for name, value in values.items())


def main():
    rng = random.Random(int(sys.argv[1]))
    for _ in range(int(sys.argv[2])):
        print(case(rng))


if __name__ == "__main__":
    main()
