#!/usr/bin/env python3
"""Backs up an image file as the user "nobody", through the window, and compares it with the disk, byte for byte.

Before that, a helper and the daemon behind its FUSE mount are killed in the middle of a backup: the next helper has to
take away what they left. Needs root, to become that user in a mount namespace where FUSE is open to everybody, as it is
on a desktop.
"""
import argparse
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile

import backup_through_the_window as window

USER = 65534
SERVICE = ["com.tarnwick.zpkhelper", "/com/tarnwick/zpkhelper", "com.tarnwick.ZPKDaemonProtocol"]
DISK = "a3c51d0e-7f2b-4e57-9d0a-3b1e64c0d001"

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


def eventually(what, condition):
    for _ in range(400):
        result = condition()
        if result:
            return result
        subprocess.run(["sleep", "0.05"], check=True)
    sys.exit(f"waited in vain for {what}")


def mounts_in(folder):
    return [line for line in pathlib.Path("/proc/self/mountinfo").read_text().splitlines() if f" {folder}/" in line]


def children_of(helper):
    """The processes that the helper started: name → process id."""
    files = pathlib.Path(f"/proc/{helper.pid}/task").glob("*/children")
    return {pathlib.Path(f"/proc/{pid}/comm").read_text().strip(): int(pid)
            for file in files for pid in file.read_text().split()}


def command(*arguments):
    answer = window.run("busctl", "--user", "call", *SERVICE, *arguments).decode()
    if answer.split() != ["u", "0"]:
        sys.exit(f"{arguments[0]} answered {answer}")


def status():
    return window.run("busctl", "--user", "call", *SERVICE, "status")


def start_helper(work):
    with open(work / "helper.log", "ab") as log:
        helper = subprocess.Popen([work / "bin/zpkhelper", "--session", "--disks", work / "disks", "--state",
                                   work / "state"], stderr=log)
    window.wait_for_name()
    return helper


def die_with_a_mount(work, helper):
    eventually("the disk", lambda: b"mac-with-windows.img" in status())
    command("setBackupSource", "s", DISK)
    command("setTargetPath", "s", str(work / "archives/Killed.rldbackup"))
    command("backup")
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
    helper = start_helper(work)
    try:
        die_with_a_mount(work, helper)
    finally:
        helper.kill()
        helper.wait()


def inner(work):
    kill_in_the_middle(work)
    helper = start_helper(work)
    try:
        if mounts_in(work / "state/partitions") or list((work / "state/partitions").iterdir()):
            sys.exit("the next helper did not take away what the killed one left")
        driven = subprocess.run([work / "bin/zpk-drive", "--archive", work / "archives/Windows.rldbackup", "--pictures",
                                 work / "pictures"])
    finally:
        helper.terminate()
        helper.wait(10)
    if driven.returncode != 0:
        print((work / "helper.log").read_text(errors="replace"))
        sys.exit(driven.returncode)
    if mounts_in(work / "state/partitions") or list((work / "state/partitions").iterdir()):
        sys.exit("the backup left something behind")


def main():
    parser = argparse.ArgumentParser()
    for option in ("--helper", "--drive", "--make-disks"):
        parser.add_argument(option, required=True, type=pathlib.Path)
    options = parser.parse_args()
    # Where any user can get to.
    with tempfile.TemporaryDirectory(prefix="zpk-e2e-") as name:
        work = pathlib.Path(name)
        work.chmod(0o755)
        for folder in ("bin", "disks", "archives", "state", "pictures", "devices", "runtime"):
            (work / folder).mkdir(0o700 if folder == "runtime" else 0o755)
        here = pathlib.Path(__file__).resolve().parent
        for file in (options.helper, options.helper.parent / "zpkprobe", options.drive, here / "backup_without_root.py",
                     here / "backup_through_the_window.py"):
            shutil.copy(file, work / "bin")
        window.run(options.make_disks, "--small", work / "disks")
        for path in (work, *work.rglob("*")):
            os.chown(path, USER, USER)
        environment = dict(os.environ, ZPK_E2E_INNER=name, QT_QPA_PLATFORM="offscreen", HOME=name,
                           XDG_RUNTIME_DIR=str(work / "runtime"))
        outcome = subprocess.run(["unshare", "--mount", "sh", "-c", WORLD, "sh", work, "dbus-run-session", "--",
                                  "/usr/bin/python3", work / "bin/backup_without_root.py"], env=environment)
        if outcome.returncode != 0:
            sys.exit(outcome.returncode)
        window.verify(work)


if __name__ == "__main__":
    if "ZPK_E2E_INNER" in os.environ:
        inner(pathlib.Path(os.environ["ZPK_E2E_INNER"]))
    else:
        main()
