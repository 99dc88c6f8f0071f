#!/usr/bin/env python3
"""Backs up an image file as the user "nobody", through the window, and compares it with the disk, byte for byte.

Before that, a helper and the daemon behind its FUSE mount are killed in the middle of a backup: the next helper has to
take away what they left. Needs root, to become that user in a mount namespace where FUSE is open to everybody, as it is
on a desktop.
"""
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile

import backup_through_the_window as window
import whole_program
from whole_program import MAC_WITH_WINDOWS, ask, command, eventually

USER = 65534

# FUSE for everybody, and an ntfsresize that hangs while there is a file "hold". Then the user.
WORLD = """
set -e
mount -t tmpfs tmpfs "$1/devices"
mknod -m 666 "$1/devices/fuse" c 10 229
mount --bind "$1/devices/fuse" /dev/fuse
cp /usr/sbin/ntfsresize "$1/bin/real-ntfsresize"
printf '#!/bin/sh\\n[ ! -e "%s/hold" ] || exec sleep 1000\\nexec "%s/bin/real-ntfsresize" "$@"\\n' \\
  "$1" "$1" >"$1/bin/ntfsresize"
chmod 755 "$1/bin/ntfsresize"
mount --bind "$1/bin/ntfsresize" /usr/sbin/ntfsresize
shift
exec setpriv --reuid=65534 --regid=65534 --clear-groups -- "$@"
"""


def mounts_in(folder):
    return [line for line in pathlib.Path("/proc/self/mountinfo").read_text().splitlines() if f" {folder}/" in line]


def children_of(helper):
    """The processes that the helper started: name → process id."""
    files = pathlib.Path(f"/proc/{helper.pid}/task").glob("*/children")
    return {pathlib.Path(f"/proc/{pid}/comm").read_text().strip(): int(pid)
            for file in files for pid in file.read_text().split()}


def die_with_a_mount(work, helper):
    eventually("the disk", lambda: b"mac-with-windows.img" in ask("--user", "status"))
    command("--user", "setBackupSource", "s", MAC_WITH_WINDOWS)
    command("--user", "setTargetPath", "s", str(work / "archives/Killed.rldbackup"))
    command("--user", "backup")
    eventually("the tool that hangs", lambda: "sleep" in children_of(helper))
    # The daemon first: one that outlives its helper takes the mount down.
    os.kill(children_of(helper)["qemu-storage-da"], signal.SIGKILL)
    helper.kill()
    helper.wait()
    if not mounts_in(work / "state/partitions"):
        sys.exit("nothing was left behind")
    (work / "hold").unlink()


def kill_in_the_middle(work):
    """Leaves what the worst end leaves: a mount without its daemon."""
    (work / "hold").touch()
    with whole_program.helper(work / "bin/zpkhelper", work) as helper:
        die_with_a_mount(work, helper)


def left_behind(work):
    return mounts_in(work / "state/partitions") or list((work / "state/partitions").iterdir())


def inner(work):
    kill_in_the_middle(work)
    with whole_program.helper(work / "bin/zpkhelper", work):
        if left_behind(work):
            sys.exit("the next helper did not take away what the killed one left")
        whole_program.drive_well(work / "bin/zpk-drive", work)
    if left_behind(work):
        sys.exit("the backup left something behind")


def main():
    options = whole_program.options_of("helper", "drive", "make-disks")
    # Where any user can get to.
    with tempfile.TemporaryDirectory(prefix="zpk-e2e-") as name:
        work = pathlib.Path(name)
        work.chmod(0o755)
        for folder in ("bin", "disks", "archives", "state", "pictures", "devices", "runtime"):
            (work / folder).mkdir(0o700 if folder == "runtime" else 0o755)
        here = pathlib.Path(__file__).resolve().parent
        for file in (options.helper, options.helper.parent / "zpkprobe", options.drive, *here.glob("*.py")):
            shutil.copy(file, work / "bin")
        whole_program.run(options.make_disks, "--small", work / "disks")
        for path in (work, *work.rglob("*")):
            os.chown(path, USER, USER)
        environment = whole_program.environment_inside(work, HOME=name)
        outcome = subprocess.run(["unshare", "--mount", "sh", "-c", WORLD, "sh", work, "dbus-run-session", "--",
                                  "/usr/bin/python3", work / "bin/backup_without_root.py"], env=environment)
        if outcome.returncode != 0:
            sys.exit(outcome.returncode)
        window.verify(work)


if __name__ == "__main__":
    if whole_program.is_inside():
        inner(pathlib.Path(os.environ[whole_program.INNER]))
    else:
        main()
