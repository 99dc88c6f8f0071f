"""The whole program for a script: sample disks, a bus, the helper and the window, all of them the real ones.

A script has two halves. `main` makes folders and disks, calls `on_a_bus_of_its_own`, which runs the script once more on a
session bus made for it, and then judges what is left. That second run (`is_inside`) tells the story: within `helper`, which
ends the helper whatever happens and shows its log when the story fails, it has `drive` do something in the window.

Everything of a script lies below its work folder: disks, archives, state (the helper's), pictures, helper.log. Whatever
fails ends the script with a sentence; waits have an end.
"""
import argparse
import contextlib
import os
import pathlib
import shutil
import subprocess
import sys

SERVICE = ["com.tarnwick.zpkhelper", "/com/tarnwick/zpkhelper", "com.tarnwick.ZPKDaemonProtocol"]
FOLDERS = ("disks", "archives", "state", "pictures", "runtime")
MAC_WITH_WINDOWS = "a3c51d0e-7f2b-4e57-9d0a-3b1e64c0d001"  # The sample disk of that name.
INNER = "ZPK_E2E_INNER"


def run(*command, **options):
    """The output of a command that has to succeed."""
    return subprocess.run([str(c) for c in command], check=True, capture_output=True, **options).stdout


def options_of(*paths, **choices):
    """The script's options: the paths that it takes, and words with those allowed."""
    parser = argparse.ArgumentParser()
    for name in paths:
        parser.add_argument(f"--{name}", required=True, type=pathlib.Path)
    for name, words in choices.items():
        parser.add_argument(f"--{name}", required=True, choices=words)
    return parser.parse_args()


def make_work_folder(work):
    """Anew, with the folders that a story needs; the user's own, as a runtime folder has to be."""
    shutil.rmtree(work, ignore_errors=True)
    for folder in FOLDERS:
        (work / folder).mkdir(parents=True, mode=0o700)


def eventually(what, condition):
    """What the condition gives once it gives something."""
    for _ in range(400):
        result = condition()
        if result:
            return result
        subprocess.run(["sleep", "0.05"], check=True)
    sys.exit(f"waited in vain for {what}")


def is_inside():
    return INNER in os.environ


def environment_inside(work, **more):
    """Of the second run: its window has no display, and its runtime folder is the story's."""
    return dict(os.environ, QT_QPA_PLATFORM="offscreen", XDG_RUNTIME_DIR=str(work / "runtime"), **{INNER: str(work)}, **more)


def on_a_bus_of_its_own(work, **environment):
    """Runs this script once more; ends with it when it fails."""
    outcome = subprocess.run(["dbus-run-session", "--", sys.executable, *sys.argv],
                             env=environment_inside(work, **environment))
    if outcome.returncode != 0:
        sys.exit(outcome.returncode)


@contextlib.contextmanager
def helper(program, work, disks=None):
    with open(work / "helper.log", "ab") as log:
        process = subprocess.Popen([program, "--session", "--disks", disks or work / "disks", "--state", work / "state"],
                                   stderr=log)
    try:
        eventually("the helper's name on the bus", lambda: subprocess.run(
            ["busctl", "--user", "status", SERVICE[0]], capture_output=True).returncode == 0)
        yield process
    except SystemExit as end:
        if end.code:
            print((work / "helper.log").read_text(errors="replace"))
        raise
    finally:
        process.terminate()
        process.wait(20)


def ask(bus, *arguments):
    """What the helper answers to a command, as busctl writes it; nothing when it does not. `bus`: --user or --system."""
    return subprocess.run(["busctl", bus, "call", *SERVICE, *arguments], capture_output=True).stdout


def command(bus, *arguments):
    """Has the helper do something, which it has to take."""
    answer = ask(bus, *arguments)
    if answer.split() != [b"u", b"0"]:
        sys.exit(f"{arguments[0]} answered {answer}")


def drive_words(program, work, *journey):
    """The command that goes through the window of the story's helper."""
    return [program, *journey, "--archive", work / "archives/Windows.rldbackup", "--pictures", work / "pictures"]


def drive(program, work, *journey):
    """Goes through the window; how that ended."""
    return subprocess.run(drive_words(program, work, *journey)).returncode


def drive_well(program, work, *journey):
    """Goes through the window; ends the script when something there was not as expected."""
    status = drive(program, work, *journey)
    if status != 0:
        sys.exit(status)
