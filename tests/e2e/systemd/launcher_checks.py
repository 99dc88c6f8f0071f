"""What the launcher makes of jobs that are not the schedule, with the real service manager."""
import os
import pathlib
import plistlib
import subprocess
import sys

from user_manager import eventually, systemctl

LAUNCHCTL = "/usr/libexec/zpk/launchctl"
ODD_ARGUMENTS = ["", " ", "a b", ";", "%h %%", "$HOME ${HOME} $$", "\"quoted\"", "'single'", "back\\slash\\", "\\x41",
                 "-@:+!", "#comment", "tab\tline\nend", "\u00e9\u4e2d\U0001f4be", "~", "*", "=", "trailing "]


def launchctl(*arguments):
    return subprocess.run([LAUNCHCTL, *map(str, arguments)], capture_output=True, text=True)


def expect(what, found, wanted):
    if found != wanted:
        sys.exit(f"{what}: found {found!r}, wanted {wanted!r}")


def expect_done(*arguments):
    outcome = launchctl(*arguments)
    if outcome.returncode != 0 or outcome.stderr:
        sys.exit(f"launchctl {arguments} ended with {outcome.returncode}: {outcome.stderr}")
    return outcome.stdout


def expect_refused(words, *arguments):
    outcome = launchctl(*arguments)
    if outcome.returncode != 1 or words not in outcome.stderr:
        sys.exit(f"launchctl {arguments} ended with {outcome.returncode}, not refused for {words!r}: {outcome.stderr}")


def job_file(folder, label, **keys):
    path = folder / f"{label}.plist"
    path.write_bytes(plistlib.dumps({"Label": label, **keys}, sort_keys=False))
    return path


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


def agents_are_kept_alive(work):
    """The first two runs fail, the third stays."""
    runs = work / "runs"
    script = f"echo run >>'{runs}'; [ $(wc -l <'{runs}') -lt 3 ] && exit 1; exec sleep 1000"
    job = job_file(work, "test.agent", ProgramArguments=["/bin/sh", "-c", script], RunAtLoad=True,
                   KeepAlive={"SuccessfulExit": False})
    expect_done("load", "-w", job)
    override = pathlib.Path(os.environ["HOME"], ".config/systemd/user/test.agent.service.d")
    override.mkdir(parents=True)
    (override / "quick.conf").write_text("[Service]\nRestartSec=50ms\n")
    systemctl("daemon-reload")
    systemctl("restart", "test.agent.service")
    eventually("the agent's third start", lambda: runs.exists() and runs.read_text().count("run") == 3)
    return job, runs


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
    expect("files left", sorted(folder.iterdir()) if folder.exists() else [], before)


def without_a_manager_nothing_is_done(work):
    job = job_file(work, "test.alone", ProgramArguments=["/bin/true"], RunAtLoad=True)
    for arguments in (["list", "test.alone"], ["load", "-w", job], ["unload", "-w", job]):
        expect_refused("there is no service manager of the user to ask", *arguments)
    expect("a unit", pathlib.Path(os.environ["HOME"], ".local/share/systemd/user/test.alone.service").exists(), False)
