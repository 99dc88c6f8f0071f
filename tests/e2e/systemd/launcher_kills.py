#!/usr/bin/env python3
"""The launcher killed at each of its steps: the next command brings about what it is to, whatever was left.

strace kills it at every system call by which it changes something, and while and after each systemctl that it runs, which
goes on without it. Needs root. ZPK_KILLS asks for more kills than the few that there is always time for.
"""
import collections
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys

import user_manager
from checks import expect, expect_done, expect_refused, job_file, launchctl
from user_manager import LAUNCHCTL, eventually, systemctl

LABEL = "test.killed"
TIMER = f"{LABEL}.timer"
# What changes files. A look at the pending signals comes when a systemctl was started, and one when it has closed its
# streams.
STEPS = ("mkdir", "openat", "write", "fsync", "renameat", "renameat2", "unlink", "rt_sigpending")
Kill = collections.namedtuple("Kill", "scenario call number recovery")


class Job:
    def __init__(self, work):
        self.work = work
        self.units = pathlib.Path(os.environ["HOME"], ".local/share/systemd/user")
        self.plist = None
        self.define(3)

    def define(self, hour):
        self.plist = job_file(self.work, LABEL, ProgramArguments=["/bin/true"],
                              StartCalendarInterval={"Hour": hour, "Minute": 0})

    def expect_on(self, hour):
        expect_done("list", LABEL)
        state = systemctl("show", TIMER, "--property=TimersCalendar,UnitFileState,ActiveState,NeedDaemonReload")
        for words in (f"OnCalendar=*-*-* {hour:02}:00:00 ", "UnitFileState=enabled", "ActiveState=active",
                      "NeedDaemonReload=no"):
            expect(f"{words} in {state}", words in state, True)

    def expect_off(self):
        expect_refused(f"{LABEL} is not loaded", "list", LABEL)
        expect("units", systemctl("list-units", "--all", "--plain", "--no-legend", f"{LABEL}.*"), "")
        expect("unit files", systemctl("list-unit-files", "--no-legend", f"{LABEL}.*", check=False), "")
        expect("files", [path for path in pathlib.Path(os.environ["HOME"]).rglob(f"*{LABEL}*")
                         if not path.name.startswith("stamp-")], [])


# Each: what comes before, and the command that is killed.
def switch_on(job):
    return "load", "-w", job.plist


def switch_off(job):
    expect_done("load", "-w", job.plist)
    return "unload", "-w", job.plist


def take_back_for_a_change(job):
    expect_done("load", "-w", job.plist)
    job.define(4)
    return "unload", job.plist


def load_changed(job):
    expect_done("load", "-w", job.plist)
    job.define(4)
    expect_done("unload", job.plist)
    return "load", job.plist


def load_over_the_old(job):
    expect_done("load", "-w", job.plist)
    job.define(4)
    return "load", "-w", job.plist


# Each: what is done afterwards, and how it is to be then.
def switched_on(job):
    job.define(5)
    expect_done("load", "-w", job.plist)
    job.expect_on(5)


def switched_off(job):
    expect_done("unload", "-w", job.plist)
    job.expect_off()


def switched_off_without_its_file(job):
    job.plist.unlink()
    outcome = launchctl("unload", "-w", job.plist)
    # Where nothing was begun yet, or nothing is left, there is nothing to go by.
    if outcome.returncode != 0 and "No such file or directory" not in outcome.stderr:
        sys.exit(f"not switched off: {outcome.stderr}")
    job.expect_off()


SCENARIOS = (switch_on, switch_off, take_back_for_a_change, load_changed, load_over_the_old)
RECOVERIES = (switched_on, switched_off, switched_off_without_its_file)


def traced(work, arguments, *options):
    return subprocess.run(["strace", "-o", work / "trace", *options, LAUNCHCTL, *map(str, arguments)],
                          capture_output=True).returncode


def reset(job):
    job.define(3)
    launchctl("unload", "-w", job.plist)
    job.expect_off()
    shutil.rmtree(pathlib.Path(os.environ["HOME"], ".local"), ignore_errors=True)


def steps_of(work, job, scenario):
    """(call, its number among those of its name) of an undisturbed run."""
    reset(job)
    expect("undisturbed", traced(work, scenario(job)), 0)
    numbers = collections.Counter()
    has_begun = False
    for line in (work / "trace").read_text(errors="replace").splitlines():
        match = re.match(r"(\w+)\(", line)
        if not match:
            continue
        call = match[1]
        numbers[call] += 1
        has_begun |= call == "openat" and str(job.plist) in line
        if has_begun and call in STEPS and (call != "openat" or "O_CREAT" in line):
            yield call, numbers[call]


def is_running(name):
    for status in pathlib.Path("/proc").glob("[0-9]*/stat"):
        try:
            if f"({name}) " in (line := status.read_text()) and f"({name}) Z" not in line:
                return True
        except OSError:  # ended meanwhile
            pass
    return False


def kill(work, job, wanted):
    reset(job)
    arguments = wanted.scenario(job)
    status = traced(work, arguments, "-e", f"inject={wanted.call}:signal=KILL:when={wanted.number}")
    expect("killed", status, -signal.SIGKILL)
    # Whoever comes next is a person, or the next start of the program.
    eventually("the end of the systemctl that was left", lambda: not is_running("systemctl"))
    wanted.recovery(job)


def inner(work, options):
    user_manager.enter(work, {LAUNCHCTL: options.launchctl})
    with open(work / "log", "ab") as log:
        manager = user_manager.UserManager(log)
        manager.start()
        job = Job(work)
        kills = [Kill(scenario, *step, recovery) for scenario in SCENARIOS
                 for step in steps_of(work, job, scenario) for recovery in RECOVERIES]
        # At the least: each scenario's systemctl and files.
        expect("enough steps", len(kills) >= 100, True)
        count = min(int(os.environ.get("ZPK_KILLS", "12")), len(kills))
        chosen = [kills[i * len(kills) // count] for i in range(count)]
        for wanted in chosen:
            try:
                kill(work, job, wanted)
            except SystemExit as failure:
                sys.exit(f"{wanted.scenario.__name__}, killed at {wanted.call} {wanted.number}, then "
                         f"{wanted.recovery.__name__}: {failure}")
        print(f"{count} of {len(kills)} kills, nothing half done left")
        manager.stop()


if __name__ == "__main__":
    user_manager.in_a_world(["launchctl"], lambda work, options: None, inner)
