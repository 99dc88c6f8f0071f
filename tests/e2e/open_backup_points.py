#!/usr/bin/env python3
"""Opens a backup point in the real window and compares its files with those of the volume, byte for byte.

The volume is shown by ntfs-3g, the backup point by our own helper tool. In between an image is damaged, a helper and a
volume's process killed, and the window itself with all that serves a point; at the end nothing may be left: no process,
mount, loop device or folder.
"""
import argparse
import os
import pathlib
import shutil
import signal
import subprocess
import sys

import backup_through_the_window as window

BASIC_DATA = "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7"


def inner(options):
    work = options.work
    with open(work / "helper.log", "wb") as log:
        helper = subprocess.Popen([options.helper, "--session", "--disks", work / "disks", "--state", work / "state"],
                                  stderr=log)
        try:
            window.wait_for_name()
            returncode = drive(options, "--open-with", work / "volume") or crash_and_start_again(options)
        finally:
            helper.terminate()
            helper.wait(10)
    if returncode != 0:
        print((work / "helper.log").read_text(errors="replace"))
    return returncode


def drive(options, *journey):
    work = options.work
    return subprocess.run([options.drive, *journey, "--archive", work / "archives/Windows.rldbackup",
                           "--pictures", work / "pictures"]).returncode


def crash_and_start_again(options):
    if drive(options, "--crash") != -signal.SIGKILL:
        sys.exit("the program did not crash")
    if not mounts(options.work):
        sys.exit("the crash left no mount")
    return drive(options, "--after-crash")


def mounts(work):
    """Of ours, also those that nobody serves any more."""
    drives = str(work / "runtime/zpk/drives")
    return [line for line in pathlib.Path("/proc/self/mounts").read_text().splitlines() if drives in line]


def mount_volume(disk, work):
    """The largest volume of Windows, read-only below work/volume."""
    start, size, _ = max((p for p in window.partitions(disk) if p[2] == BASIC_DATA), key=lambda p: p[1])
    image = work / "volume.img"
    window.run("dd", f"if={disk}", f"of={image}", "bs=1M", f"skip={start}", f"count={size}", "conv=sparse",
               "iflag=skip_bytes,count_bytes")
    (work / "volume").mkdir()
    # In a session of its own, as its server stays.
    window.run("setsid", "-w", "ntfs-3g", "-o", "ro", image, work / "volume")


def verify_nothing_is_left(work):
    drives = work / "runtime/zpk/drives"
    if not drives.is_dir() or list(drives.iterdir()):
        sys.exit(f"{drives} is not there or not empty")
    if mounts(work):
        sys.exit("a volume is still mounted")
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            environment, command = (process / "environ").read_bytes(), (process / "cmdline").read_bytes()
        except OSError:
            continue
        is_helper = b"qrx-helper" in command and os.fsencode(work / "runtime") + b"\0" in environment
        is_unmounter = b"fusermount3" in command and os.fsencode(drives) in command
        if is_helper or is_unmounter:
            sys.exit(f"{command} still runs")
    if loop_devices(work):
        sys.exit(f"loop devices are left: {loop_devices(work)}")


def loop_devices(work):
    """Those of our files; other programs have some of their own."""
    backing = (path.read_text() for path in pathlib.Path("/sys/block").glob("loop*/loop/backing_file"))
    return [file for file in backing if str(work) in file]


def main():
    parser = argparse.ArgumentParser()
    for option in ("--helper", "--drive", "--make-disks", "--work"):
        parser.add_argument(option, required=True, type=pathlib.Path)
    options = parser.parse_args()
    if os.environ.get("ZPK_E2E_INNER") == "1":
        sys.exit(inner(options))
    work = options.work
    shutil.rmtree(work, ignore_errors=True)
    for folder in ("disks", "archives", "state", "pictures", "runtime"):
        (work / folder).mkdir(parents=True, mode=0o700)
    window.run(options.make_disks, "--small", work / "made")
    shutil.move(work / "made/windows-pc.img", work / "disks/windows-pc.img")
    shutil.rmtree(work / "made")
    mount_volume(work / "disks/windows-pc.img", work)
    try:
        environment = dict(os.environ, ZPK_E2E_INNER="1", QT_QPA_PLATFORM="offscreen",
                           XDG_RUNTIME_DIR=str(work / "runtime"))
        outcome = subprocess.run(["dbus-run-session", "--", sys.executable, *sys.argv], env=environment)
    finally:
        window.run("umount", work / "volume")
    if outcome.returncode != 0:
        sys.exit(outcome.returncode)
    verify_nothing_is_left(work)
    shutil.rmtree(work)


if __name__ == "__main__":
    main()
