#!/usr/bin/env python3
"""What the launcher makes of jobs other than the schedule, with the real service manager. Needs root."""
import os
import pathlib
import plistlib
import signal
import subprocess
import time

import user_manager
from checks import expect, expect_done, expect_refused, job_file
from user_manager import LAUNCHCTL, eventually, systemctl

ODD_ARGUMENTS = ["", " ", "a b", ";", "%h %%", "$HOME ${HOME} $$", "\"quoted\"", "'single'", "back\\slash\\", "\\x41",
                 "-@:+!", "#comment", "tab\tline\nend", "\u00e9\u4e2d\U0001f4be", "~", "*", "=", "trailing "]


def arguments_arrive_as_they_are(work):
    out = work / "arguments"
    # printf would stop at an option; env -- does not.
    script = work / "print arguments; $HOME 100%.sh"
    script.write_text(f"#!/bin/sh\nfor a; do printf '%s\\0' \"$a\"; done >'{out}.new'\nmv '{out}.new' '{out}'\n")
    script.chmod(0o755)
    job = job_file(work, "test.arguments", ProgramArguments=[str(script), *ODD_ARGUMENTS], RunAtLoad=True)
    expect_done("load", "-w", job)
    eventually("the program's arguments", out.exists)
    expect("arguments", out.read_bytes().decode().split("\0")[:-1], ODD_ARGUMENTS)
    known = plistlib.loads(expect_done("list", "-x", "test.arguments").encode())
    expect("arguments in the list", known["ProgramArguments"], [str(script), *ODD_ARGUMENTS])
    # It has ended, and is loaded still.
    expect("the row", expect_done("list", "test.arguments").splitlines()[1], "-\t0\ttest.arguments")
    expect_done("unload", "-w", job)
    expect_refused("is not loaded", "list", "test.arguments")


def agent(work, label, script, **keys):
    """An agent's job file. It is started again, where it is, without a pause."""
    override = pathlib.Path(os.environ["HOME"], f".config/systemd/user/{label}.service.d")
    override.mkdir(parents=True)
    (override / "quick.conf").write_text("[Service]\nRestartSec=50ms\n")
    return job_file(work, label, ProgramArguments=["/bin/sh", "-c", script], RunAtLoad=True, **keys)


def runs_of(file):
    return file.read_text().count("run") if file.exists() else 0


def an_agent_that_fails_is_started_again(work):
    """The first two runs fail, the third stays; it is started at log-in, too."""
    runs = work / "failing"
    job = agent(work, "test.failing", f"echo run >>'{runs}'; [ $(wc -l <'{runs}') -lt 3 ] && exit 1; exec sleep 1000",
                KeepAlive={"SuccessfulExit": False})
    expect_done("load", "-w", job)
    eventually("the agent's third start", lambda: runs_of(runs) == 3)
    return job, runs


def an_agent_that_is_always_to_run_is_started_again_after_success(work):
    runs = work / "always"
    job = agent(work, "test.always", f"echo run >>'{runs}'; [ $(wc -l <'{runs}') -lt 3 ] && exit 0; exec sleep 1000",
                KeepAlive=True)
    expect_done("load", "-w", job)
    eventually("the agent's third start", lambda: runs_of(runs) == 3)
    pid = plistlib.loads(expect_done("list", "-x", "test.always").encode())["PID"]
    os.kill(pid, signal.SIGKILL)
    eventually("a start after it was killed", lambda: runs_of(runs) == 4)
    expect_done("unload", "-w", job)
    expect("a start after it was unloaded", runs_of(runs), 4)
    expect_refused("is not loaded", "list", "test.always")


def an_agent_that_succeeded_is_left_alone(work):
    """And stays loaded: a status icon that its user quit."""
    runs = work / "content"
    job = agent(work, "test.content", f"echo run >>'{runs}'", KeepAlive={"SuccessfulExit": False})
    expect_done("load", "-w", job)
    eventually("its end", lambda: "\n-\t0\t" in expect_done("list", "test.content") and runs_of(runs) == 1)
    expect_done("load", "-w", job)
    expect("runs", runs_of(runs), 1)
    expect_done("unload", "-w", job)


def what_an_agent_started_outlives_it(work):
    """The status icon opens the program's window; to switch the icon off must not close that."""
    started = work / "started"
    job = agent(work, "test.parent", f"sleep 1000 & echo $! >'{started}.new'; mv '{started}.new' '{started}'; wait")
    for _ in range(2):  # the second time beside what the first has left
        expect_done("load", "-w", job)
        eventually("the agent's child", started.exists)
        child = int(started.read_text())
        expect_done("unload", "-w", job)
        expect_refused("is not loaded", "list", "test.parent")
        expect("the child", pathlib.Path(f"/proc/{child}/comm").read_text(), "sleep\n")
        started.unlink()


def a_job_with_times_that_runs_at_load_runs_once(work):
    runs = work / "timed"
    job = job_file(work, "test.timed", ProgramArguments=["/bin/sh", "-c", f"echo run >>'{runs}'"], RunAtLoad=True,
                   StartCalendarInterval={"Month": 1 + time.gmtime().tm_mon % 12, "Day": 1, "Hour": 0, "Minute": 0})
    expect_done("load", "-w", job)
    eventually("its run", lambda: runs_of(runs) == 1)
    eventually("its end", lambda: "ActiveState=inactive" in systemctl("show", "test.timed.service"))
    expect_done("load", "-w", job)
    expect_done("load", job)
    eventually("its end", lambda: "ActiveState=inactive" in systemctl("show", "test.timed.service"))
    expect("runs", runs_of(runs), 1)
    expect_done("unload", "-w", job)


def a_job_whose_file_is_gone_is_switched_off(work):
    job = job_file(work, "test.gone", ProgramArguments=["/bin/true"], StartCalendarInterval={"Hour": 3, "Minute": 0})
    expect_done("load", "-w", job)
    job.unlink()
    expect_done("list", "test.gone")
    expect_done("unload", "-w", job)
    expect_refused("is not loaded", "list", "test.gone")
    expect("the timer", systemctl("list-timers", "--all", "--no-legend", "test.gone.timer"), "")
    expect_refused("No such file or directory", "unload", "-w", job)


def refusals_leave_nothing(work):
    folder = pathlib.Path(os.environ["HOME"], ".local/share/systemd/user")
    before = sorted(folder.iterdir()) if folder.exists() else []
    true = ["/bin/true"]
    for label, words, keys in (
            ("test.minute", "not between 0 and 59", dict(ProgramArguments=true, StartCalendarInterval={"Minute": 75})),
            ("test.relative", "absolute path", dict(ProgramArguments=["true"], RunAtLoad=True)),
            ("test.interval", "StartInterval", dict(ProgramArguments=true, StartInterval=60)),
            ("test.character", "no program can be given", dict(ProgramArguments=[*true, "\ufdd0"], RunAtLoad=True)),
            ("test.missing", "there is no program", dict(ProgramArguments=["/no/such/program"], RunAtLoad=True)),
            ("test.never", "nothing says", dict(ProgramArguments=true)),
            # The manager's own bus, which no job may take the place of.
            ("dbus", "is not a unit of a job", dict(ProgramArguments=true, RunAtLoad=True))):
        job = job_file(work, label, **keys)
        expect_refused(words, "load", "-w", job)
    expect_refused("is not a unit of a job", "unload", "-w", work / "dbus.plist")
    expect_refused("", "unload", "-w", work / "missing.plist")
    expect_refused("", "load", "-w", work)
    nowhere = subprocess.run(["sh", "-c", f"mkdir gone && cd gone && rmdir ../gone && {LAUNCHCTL} load -w job.plist"],
                             cwd=work, capture_output=True, text=True)
    expect("from a folder that is gone", (nowhere.returncode, nowhere.stderr),
           (1, "launchctl: job.plist: No such file or directory\n"))
    expect("files left", sorted(folder.iterdir()) if folder.exists() else [], before)


def without_a_manager_nothing_is_done(work):
    job = job_file(work, "test.alone", ProgramArguments=["/bin/true"], RunAtLoad=True)
    for arguments in (["list", "test.alone"], ["load", "-w", job], ["unload", "-w", job]):
        expect_refused("there is no service manager of the user to ask", *arguments)
    expect("a unit", pathlib.Path(os.environ["HOME"], ".local/share/systemd/user/test.alone.service").exists(), False)


def inner(work, options):
    user_manager.enter(work, {LAUNCHCTL: options.launchctl})
    with open(work / "log", "ab") as log:
        manager = user_manager.UserManager(log)
        manager.start()
        arguments_arrive_as_they_are(work)
        failing, runs = an_agent_that_fails_is_started_again(work)
        an_agent_that_is_always_to_run_is_started_again_after_success(work)
        an_agent_that_succeeded_is_left_alone(work)
        what_an_agent_started_outlives_it(work)
        a_job_with_times_that_runs_at_load_runs_once(work)
        a_job_whose_file_is_gone_is_switched_off(work)
        refusals_leave_nothing(work)
        manager.stop()
        without_a_manager_nothing_is_done(work)
        before = runs_of(runs)
        manager.start()
        eventually("the agent, at log-in", lambda: runs_of(runs) > before)
        expect_done("unload", "-w", failing)
        expect("failed units", systemctl("list-units", "--state=failed", "--plain", "--no-legend", "test.*"), "")
        manager.stop()


if __name__ == "__main__":
    user_manager.in_a_world(["launchctl"], lambda work, options: None, inner)
