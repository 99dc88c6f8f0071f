#!/usr/bin/env python3
"""Opens a backup point in the real window and compares its files with those of the volume, byte for byte.

The volume is shown by ntfs-3g, the backup point by our own helper tool. In between an image is damaged and a helper
killed; at the end nothing may be left: no process, mount, loop device or folder.
"""
import argparse
import os
import pathlib
import shutil
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
            driven = subprocess.run([options.drive, "--open-with", work / "volume", "--archive",
                                     work / "archives/Windows.rldbackup", "--pictures", work / "pictures"])
        finally:
            helper.terminate()
            helper.wait(10)
    if driven.returncode != 0:
        print((work / "helper.log").read_text(errors="replace"))
    return driven.returncode


def mount_volume(disk, work):
    """The largest volume of Windows, read-only below work/volume."""
    start, size, _ = max((p for p in window.partitions(disk) if p[2] == BASIC_DATA), key=lambda p: p[1])
    image = work / "volume.img"
    window.run("dd", f"if={disk}", f"of={image}", "bs=1M", f"skip={start}", f"count={size}", "conv=sparse",
               "iflag=skip_bytes,count_bytes")
    (work / "volume").mkdir()
    # In a session of its own, as its server stays.
    window.run("setsid", "-w", "ntfs-3g", "-o", "ro", image, work / "volume")


def verify_nothing_is_left(work, loops):
    drives = work / "runtime/zpk/drives"
    if not drives.is_dir() or list(drives.iterdir()):
        sys.exit(f"{drives} is not there or not empty")
    if str(drives) in pathlib.Path("/proc/self/mounts").read_text():
        sys.exit("a volume is still mounted")
    for line in pathlib.Path("/proc").glob("[0-9]*/environ"):
        try:
            if b"XDG_RUNTIME_DIR=" + os.fsencode(work / "runtime") + b"\0" not in line.read_bytes():
                continue
            command = (line.parent / "cmdline").read_bytes()
        except OSError:
            continue
        if b"qrx-helper" in command:
            sys.exit(f"{command} still runs")
    if loop_devices() - loops:
        sys.exit(f"loop devices are left: {loop_devices() - loops}")


def loop_devices():
    return {device for device in pathlib.Path("/sys/block").glob("loop*") if (device / "loop").is_dir()}


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
    loops = loop_devices()
    mount_volume(work / "disks/windows-pc.img", work)
    try:
        environment = dict(os.environ, ZPK_E2E_INNER="1", QT_QPA_PLATFORM="offscreen",
                           XDG_RUNTIME_DIR=str(work / "runtime"))
        outcome = subprocess.run(["dbus-run-session", "--", sys.executable, *sys.argv], env=environment)
    finally:
        window.run("umount", work / "volume")
    if outcome.returncode != 0:
        sys.exit(outcome.returncode)
    verify_nothing_is_left(work, loops)
    shutil.rmtree(work)


if __name__ == "__main__":
    main()
