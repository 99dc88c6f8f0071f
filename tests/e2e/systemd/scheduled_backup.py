#!/usr/bin/env python3
"""A schedule from the editor to the backup point: edited, switched on, come due, made up for, switched off.

The schedule editor, the launcher, systemd, zpkctl, the bus and the helper are the real ones. Needs root.
"""
import json
import os
import plistlib
import signal
import subprocess
import sys
import time

import user_manager
from checks import expect, expect_done, expect_refused, launchctl
from user_manager import LAUNCHCTL, eventually, systemctl

HELPER = "/usr/libexec/zpk/zpkhelper"
LABEL = "com.tarnwick.zpkauto"
DISK = "a3c51d0e-7f2b-4e57-9d0a-3b1e64c0d001"
PROGRAMS = ("helper", "launchctl", "zpkctl", "editor", "bus_policy", "make_disks")


class Schedule:
    """The job of the automatic backup, as the user's files and systemd have it."""

    def __init__(self, work):
        self.home = work / "home"
        self.plist = self.home / f"Library/LaunchAgents/{LABEL}.plist"
        self.stamp = self.home / f".local/share/systemd/timers/stamp-{LABEL}.timer"
        self.units = self.home / ".local/share/systemd/user"

    def edit(self, *words):
        """Starts the editor, does what the words say, and tells whether the schedule is on."""
        return subprocess.run(["/usr/libexec/zpk/schedule_editor", LAUNCHCTL, *words], check=True,
                              capture_output=True, text=True).stdout.strip()

    def next_elapse(self):
        """Seconds since 1970, as systemd has it; nothing without a timer, and 0 while its service runs."""
        timers = json.loads(systemctl("list-timers", "--output=json"))
        return next(((t["next"] or 0) // 1_000_000 for t in timers if t["unit"] == f"{LABEL}.timer"), None)

    def is_loaded(self):
        return launchctl("list", LABEL).returncode == 0


def points(work):
    try:
        return len(json.loads((work / "archives/Windows.rldbackup/archive.json").read_text())["points"])
    except FileNotFoundError:
        return 0


def ask_helper(*arguments):
    return subprocess.run(["busctl", "call", "com.tarnwick.zpkhelper", "/com/tarnwick/zpkhelper",
                           "com.tarnwick.ZPKDaemonProtocol", *map(str, arguments)], capture_output=True, text=True).stdout


def start_helper(work, log):
    helper = subprocess.Popen([HELPER, "--disks", work / "disks", "--state", work / "state"], stderr=log)
    eventually("the disk", lambda: "mac-with-windows.img" in ask_helper("status"))
    expect("answer", ask_helper("setBackupSource", "s", DISK).strip(), "u 0")
    expect("answer", ask_helper("setTargetPath", "s", work / "archives/Windows.rldbackup").strip(), "u 0")
    return helper


def saving_what_is_off_starts_nothing(schedule):
    expect("a schedule that never was", schedule.edit(), "off")
    expect("after saving", schedule.edit("daily-12:00"), "off")
    expect("the job", plistlib.loads(schedule.plist.read_bytes())["StartCalendarInterval"], {"Hour": 12, "Minute": 0})
    expect("loaded", schedule.is_loaded(), False)
    expect("timer", schedule.next_elapse(), None)
    expect_refused(f"{LABEL} is disabled; load -w enables it", "load", schedule.plist)


def switching_on_makes_a_timer(schedule):
    expect("switched on", schedule.edit("on"), "on")
    expect("time of day", time.strftime("%H:%M:%S", time.gmtime(schedule.next_elapse())), "12:00:00")
    expect("switched on, at the next start", schedule.edit(), "on")
    known = plistlib.loads(expect_done("list", "-x", LABEL).encode())
    expect("program", known["ProgramArguments"], ["/usr/bin/zpkctl", "backup"])
    expect("next run", known["NextRun"].strftime("%H:%M:%S"), "12:00:00")
    expect("status", known["LastExitStatus"], 0)


def save_for_the_next_minute(schedule, manager):
    """Gives when it is due. The clock of the manager's zone is so many seconds ahead that a minute begins soon."""
    manager.stop()
    now = time.time()
    manager.start(f"ZPK-0:00:{-(int(now) + 8) % 60:02}")
    expect("on, at log-in", schedule.edit(), "on")
    took = time.time() - now  # longer than to save and to load
    ahead = int(os.environ["TZ"][-2:])
    due = (int(now) + ahead) // 60 * 60 + 60 - ahead
    while due - time.time() < took + 1:  # too near to be sure that it is saved by then
        due += 60
    expect("saved", schedule.edit(time.strftime("daily-%H:%M", time.gmtime(due + ahead))), "on")
    expect("next elapse", schedule.next_elapse(), due)
    return due


def changing_the_time_does_not_make_up_for_it(work, schedule):
    """An hour that is over by now would have been missed, had it been the time before."""
    schedule.edit(time.strftime("daily-%H:%M", time.gmtime(time.time() - 3600)))
    schedule.edit("off")
    os.makedirs(schedule.stamp.parent, exist_ok=True)
    schedule.stamp.touch()
    os.utime(schedule.stamp, (1, 1))
    expect("on again", schedule.edit("on"), "on")
    expect("in the future", schedule.next_elapse() > time.time(), True)
    expect("points", points(work), 0)


def a_backup_is_made_when_it_is_due(work, schedule, due):
    left = int(due - time.time())
    print(f"waiting {max(left, 0)} s for the schedule to come due")
    try:
        eventually("a backup point", lambda: points(work) >= 1, max(left, 0) + 30)
    except SystemExit:
        print(systemctl("list-timers", "--all"))
        print(systemctl("status", f"{LABEL}.timer", f"{LABEL}.service", check=False))
        raise
    if (work / "archives/Windows.rldbackup/archive.json").stat().st_mtime < due:
        sys.exit("the backup came before its time")
    expect("points", points(work), 1)
    eventually("the end of zpkctl", lambda: "ExecMainCode=1" in systemctl("show", f"{LABEL}.service"))
    expect("exit status of zpkctl", plistlib.loads(expect_done("list", "-x", LABEL).encode())["LastExitStatus"], 0)


def what_was_missed_is_made_up_for(work, schedule, manager):
    manager.stop()
    two_days_ago = time.time() - 2 * 86_400
    os.utime(schedule.stamp, (two_days_ago, two_days_ago))
    manager.start()
    expect("on, at log-in", schedule.edit(), "on")
    eventually("the backup that was missed", lambda: points(work) >= 2)
    eventually("the next day", lambda: schedule.next_elapse() > time.time() + 3600)


def stop_amid_a_backup(work, helper):
    """Has the schedule's job run, and stops the helper before it is done, so that zpkctl waits."""
    for _ in range(20):
        begun = (work / "log").read_text(errors="replace").count("Backup begins")
        systemctl("start", f"{LABEL}.service")
        eventually("a backup", lambda: (work / "log").read_text(errors="replace").count("Backup begins") > begun)
        helper.send_signal(signal.SIGSTOP)
        if "ActiveState=active" in systemctl("show", f"{LABEL}.service"):
            return
        # It was quicker.
        helper.send_signal(signal.SIGCONT)
    sys.exit("no backup could be stopped amid its work")


def switching_off_leaves_nothing(work, schedule, manager, helper):
    """Not even while the backup that the schedule has asked for is made."""
    stop_amid_a_backup(work, helper)
    expect("switched off", schedule.edit("off"), "off")
    helper.send_signal(signal.SIGCONT)
    expect("timer", schedule.next_elapse(), None)
    expect("unit files", list(schedule.units.iterdir()), [])
    expect("job file", schedule.plist.exists(), True)
    expect("units", systemctl("list-units", "--all", "--plain", "--no-legend", f"{LABEL}.*"), "")
    expect("after saving", schedule.edit("daily-03:00"), "off")
    expect("timer", schedule.next_elapse(), None)
    manager.stop()
    manager.start("UTC")
    expect("off, at log-in", schedule.edit(), "off")


def every_kind_of_schedule_comes_due_as_it_was_saved(schedule):
    """By a clock that is Greenwich's."""
    expect("switched on", schedule.edit("on"), "on")
    for word, is_the_day in (
            [(f"weekly-{day}-23:59", lambda t, day=day: t.tm_wday == day) for day in range(7)]
            + [(f"monthly-{day}-00:01", lambda t, day=day: t.tm_mday == day) for day in (1, 28, 29, 30, 31)]):
        expect(word, schedule.edit(word), "on")
        due = time.gmtime(schedule.next_elapse())
        expect(f"the day of {word}", is_the_day(due), True)
        expect(f"the time of {word}", time.strftime("%H:%M:%S", due), word[-5:] + ":00")
    expect("switched off", schedule.edit("off"), "off")


def prepare(work, options):
    for folder in ("disks", "archives", "state"):
        (work / folder).mkdir()
    subprocess.run([options.make_disks, "--small", work / "disks"], check=True, stdout=subprocess.DEVNULL)


def inner(work, options):
    user_manager.enter(work, {
        HELPER: options.helper, "/usr/libexec/zpk/zpkprobe": options.helper.parent / "zpkprobe",
        "/usr/bin/zpkctl": options.zpkctl, LAUNCHCTL: options.launchctl,
        "/usr/libexec/zpk/schedule_editor": options.editor,
        "/usr/share/dbus-1/system.d/com.tarnwick.zpkhelper.conf": options.bus_policy})
    with open(work / "log", "ab") as log:
        user_manager.start_system_bus(log)
        helper = start_helper(work, log)
        manager = user_manager.UserManager(log)
        manager.start()
        schedule = Schedule(work)
        saving_what_is_off_starts_nothing(schedule)
        switching_on_makes_a_timer(schedule)
        changing_the_time_does_not_make_up_for_it(work, schedule)
        due = save_for_the_next_minute(schedule, manager)
        a_backup_is_made_when_it_is_due(work, schedule, due)
        what_was_missed_is_made_up_for(work, schedule, manager)
        switching_off_leaves_nothing(work, schedule, manager, helper)
        every_kind_of_schedule_comes_due_as_it_was_saved(schedule)
        expect("failed units", systemctl("list-units", "--state=failed", "--plain", "--no-legend", "com.*"), "")
        manager.stop()


if __name__ == "__main__":
    user_manager.in_a_world(PROGRAMS, prepare, inner)
