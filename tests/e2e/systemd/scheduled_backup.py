#!/usr/bin/env python3
"""A schedule from the editor to the backup point: edited, switched on, come due, made up for, switched off.

The schedule editor, the launcher, systemd, zpkctl, the bus and the helper are the real ones. Needs root.
"""
import argparse
import json
import os
import pathlib
import plistlib
import subprocess
import sys
import tempfile
import time

import launcher_checks
import user_manager
from launcher_checks import LAUNCHCTL, expect, expect_done, expect_refused
from user_manager import eventually, systemctl

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
        return launcher_checks.launchctl("list", LABEL).returncode == 0


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


def save_for_the_next_minute(schedule):
    """Gives when it is due."""
    due = (int(time.time()) // 60 + 1) * 60
    if due - time.time() < 3:  # too near to be sure that it is saved by then
        due += 60
    expect("saved", schedule.edit(time.strftime("daily-%H:%M", time.gmtime(due))), "on")
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


def what_was_missed_is_made_up_for(work, schedule, manager, runs):
    manager.stop()
    launcher_checks.without_a_manager_nothing_is_done(work)
    two_days_ago = time.time() - 2 * 86_400
    os.utime(schedule.stamp, (two_days_ago, two_days_ago))
    agent_runs = runs.read_text()
    manager.start()
    expect("on, at log-in", schedule.edit(), "on")
    eventually("the backup that was missed", lambda: points(work) >= 2)
    eventually("the agent, at log-in", lambda: len(runs.read_text()) > len(agent_runs))
    eventually("the next day", lambda: schedule.next_elapse() > time.time() + 3600)


def switching_off_leaves_nothing(schedule, manager, agent):
    expect_done("unload", "-w", agent)
    expect("switched off", schedule.edit("off"), "off")
    expect("timer", schedule.next_elapse(), None)
    expect("unit files", list(schedule.units.iterdir()), [])
    expect("job file", schedule.plist.exists(), True)
    expect("after saving", schedule.edit("daily-03:00"), "off")
    expect("timer", schedule.next_elapse(), None)
    manager.stop()
    manager.start()
    expect("off, at log-in", schedule.edit(), "off")
    expect("failed units", systemctl("list-units", "--state=failed", "--plain", "--no-legend", "test.*", "com.*"), "")


def inner(work, group, options):
    user_manager.enter(work, group, {
        HELPER: options.helper, "/usr/libexec/zpk/zpkprobe": options.helper.parent / "zpkprobe",
        "/usr/bin/zpkctl": options.zpkctl, LAUNCHCTL: options.launchctl,
        "/usr/libexec/zpk/schedule_editor": options.editor,
        "/usr/share/dbus-1/system.d/com.tarnwick.zpkhelper.conf": options.bus_policy})
    with open(work / "log", "ab") as log:
        user_manager.start_system_bus(log)
        start_helper(work, log)
        manager = user_manager.UserManager(log)
        manager.start()
        schedule = Schedule(work)
        saving_what_is_off_starts_nothing(schedule)
        switching_on_makes_a_timer(schedule)
        changing_the_time_does_not_make_up_for_it(work, schedule)
        due = save_for_the_next_minute(schedule)
        launcher_checks.arguments_arrive_as_they_are(work)
        agent, runs = launcher_checks.agents_are_kept_alive(work)
        launcher_checks.refusals_leave_nothing(work)
        a_backup_is_made_when_it_is_due(work, schedule, due)
        what_was_missed_is_made_up_for(work, schedule, manager, runs)
        switching_off_leaves_nothing(schedule, manager, agent)
        manager.stop()


def main():
    parser = argparse.ArgumentParser()
    for option in PROGRAMS:
        parser.add_argument("--" + option.replace("_", "-"), required=True, type=pathlib.Path)
    options = parser.parse_args()
    if "ZPK_E2E_INNER" in os.environ:
        work = pathlib.Path(os.environ.pop("ZPK_E2E_INNER"))
        return inner(work, work.name, options)
    if os.geteuid() != 0:
        print("skipped: only root can make the namespaces that a service manager of its own needs")
        sys.exit(77)
    with tempfile.TemporaryDirectory(prefix="zpk-e2e-") as name:
        work = pathlib.Path(name)
        for folder in ("disks", "archives", "state", "home"):
            (work / folder).mkdir()
        subprocess.run([options.make_disks, "--small", work / "disks"], check=True, stdout=subprocess.DEVNULL)
        outcome = subprocess.run(["unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc",
                                  sys.executable, *sys.argv], env=dict(os.environ, ZPK_E2E_INNER=name))
        user_manager.remove_control_group(work.name)
        if outcome.returncode != 0 and (work / "log").exists():
            print((work / "log").read_text(errors="replace"))
        sys.exit(outcome.returncode)


if __name__ == "__main__":
    main()
