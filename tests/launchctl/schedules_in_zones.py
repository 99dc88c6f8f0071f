#!/usr/bin/env python3
"""When systemd runs the schedules that the editor saves, in zones of the world and around the changes of their clocks.

Every kind of schedule, every weekday and day of the month, at several times of day. What systemd-analyze says of the
timers' calendars is compared with times that are counted here, day by day, with Python's own reading of the zones.
"""
import argparse
import concurrent.futures
import datetime
import re
import subprocess
import sys
import zoneinfo

UTC = datetime.timezone.utc
DAY = datetime.timedelta(days=1)
# Around the hours that clocks skip and repeat, by half an hour on Lord Howe Island and across midnight elsewhere.
TIMES = ("00:00", "00:05", "01:15", "01:45", "02:00", "02:15", "02:30", "03:00", "12:00", "23:59")
ZONES = ("UTC", "Europe/Berlin", "America/New_York", "Asia/Kolkata", "Australia/Lord_Howe", "Pacific/Kiritimati",
         "Pacific/Pago_Pago", "Asia/Kathmandu", "Africa/Monrovia")
# Without a clock change: a leap year's February, the end of a year, a month after one that has no 31st.
BASES = tuple(datetime.datetime(*day, tzinfo=UTC) for day in ((2028, 2, 27, 13), (2026, 12, 30, 1), (2026, 4, 29, 23)))
YEARS = (2026, 2027)
# An island group that went over the date line, and so had a December without a 31st.
HISTORIC = {"Pacific/Kiritimati": [datetime.datetime(1994, 12, 29, 20, tzinfo=UTC)]}
ITERATIONS = 3
IN_UTC = re.compile(r"\(in UTC\): (.*) UTC")
AT_GREENWICH = re.compile(r"(?:Next elapse|Iter\. #\d+): (.*) (?:UTC|GMT)")


def schedules(program):
    """Gives (kind, day, hour, minute) → expression."""
    output = subprocess.run([program, *TIMES], check=True, capture_output=True, text=True).stdout
    found = {}
    for line in output.splitlines():
        what, *expressions = line.split("\t")
        if len(expressions) != 1:
            sys.exit(f"not one expression: {line}")
        kind, *numbers = what.split()
        found[(kind, *map(int, numbers))] = expressions[0]
    if len(found) != 39 * len(TIMES):
        sys.exit(f"{len(found)} schedules instead of {39 * len(TIMES)}")
    return found


def offset(zone, moment):
    return moment.astimezone(zone).utcoffset()


def changes(zone):
    """Moments, to the hour, before which the zone's clock shows one offset and an hour later another."""
    hour = datetime.timedelta(hours=1)
    for year in YEARS:
        day = datetime.datetime(year, 1, 1, tzinfo=UTC)
        while day.year == year:
            if offset(zone, day) != offset(zone, day + DAY):
                yield next(day + n * hour for n in range(24)
                           if offset(zone, day + n * hour) != offset(zone, day + (n + 1) * hour))
            day += DAY


def bases(name, zone):
    yield from BASES
    yield from HISTORIC.get(name, ())
    for change in changes(zone):
        # Two days before; so shortly before that the hour to be repeated has begun; amid the repeated one; after it.
        for minutes in (-2880, -20, 20, 65, 100):
            yield change + datetime.timedelta(minutes=minutes)


def is_due(schedule, date):
    kind, day = schedule[:2]
    return kind == "daily" or (date.weekday() == day if kind == "weekly" else date.day == day)


def instants(zone, base, days):
    """For each time of day: (date, moment) of the days on which the clock shows it.

    What it shows twice counts the first time; the second, when it is from amid the repeated hour that is counted.
    """
    start = base.astimezone(zone)
    found = {}
    for text in TIMES:
        hour, minute = map(int, text.split(":"))
        found[hour, minute] = []
        for n in range(-2, days):
            date = start.date() + n * DAY
            fold = start.fold if date == start.date() else 0
            wall = datetime.datetime.combine(date, datetime.time(hour, minute, fold=fold), tzinfo=zone)
            moment = wall.astimezone(UTC)
            if moment > base and moment.astimezone(zone).replace(tzinfo=None) == wall.replace(tzinfo=None):
                found[hour, minute].append((date, moment))
    return found


def counted(schedule, moments):
    due = [moment for date, moment in moments[schedule[2:]] if is_due(schedule, date)]
    return due[:ITERATIONS]


def told(name, base, expressions):
    output = subprocess.run(
        ["systemd-analyze", "calendar", base.strftime("--base-time=%Y-%m-%d %H:%M:%S UTC"),
         f"--iterations={ITERATIONS}", *expressions],
        env={"TZ": name, "LC_ALL": "C", "PATH": "/usr/bin:/bin"}, check=True, capture_output=True, text=True).stdout
    blocks = output.strip().split("\n\n")
    if len(blocks) != len(expressions):
        sys.exit(f"{len(blocks)} answers to {len(expressions)} expressions")
    # Where the clock is that of Greenwich there is no second line.
    pattern = IN_UTC if "(in UTC)" in output else AT_GREENWICH
    return [[datetime.datetime.strptime(t, "%a %Y-%m-%d %H:%M:%S").replace(tzinfo=UTC) for t in pattern.findall(block)]
            for block in blocks]


def check(name, base, found):
    """Gives how many times were compared, and what differs."""
    zone = zoneinfo.ZoneInfo(name)
    # Within which there are three of every day of the month, be it the 31st.
    moments = instants(zone, base, 160)
    wrong = []
    compared = 0
    for (schedule, expression), answer in zip(found.items(), told(name, base, list(found.values()))):
        wanted = counted(schedule, moments)
        compared += len(answer)
        if answer != wanted or len(answer) != ITERATIONS:
            wrong.append(f"{name}, from {base}: {schedule} as {expression}\n  counted {list(map(str, wanted))}\n"
                         f"  systemd {list(map(str, answer))}")
    return compared, wrong


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--print-schedules", required=True)
    found = schedules(parser.parse_args().print_schedules)
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        checks = [pool.submit(check, name, base, found) for name in ZONES
                  for base in bases(name, zoneinfo.ZoneInfo(name))]
    results = [done.result() for done in checks]
    wrong = [line for _, lines in results for line in lines]
    print(*wrong[:20], sep="\n")
    total = sum(compared for compared, _ in results)
    print(f"{total} times in {len(ZONES)} zones, from {len(results)} moments: {len(wrong)} schedules wrong")
    # Three zones whose clocks change twice a year.
    if len(results) < len(ZONES) * len(BASES) + 3 * 2 * len(YEARS) * 5:
        sys.exit("some of the clock changes were not found")
    sys.exit(1 if wrong else 0)


if __name__ == "__main__":
    main()
