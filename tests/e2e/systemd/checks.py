"""What the tests of the launcher ask it, and what they expect."""
import plistlib
import subprocess
import sys

from user_manager import LAUNCHCTL


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
