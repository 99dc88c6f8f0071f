#!/usr/bin/env python3
"""Opens a backup point in the real window and compares its files with those of the volume, byte for byte.

The volume is shown by ntfs-3g, the backup point by our own helper tool. In between an image is damaged, a helper and a
volume's process killed, and the window itself with all that serves a point; at the end nothing may be left: no process,
mount, loop device or folder.
"""
import os
import pathlib
import shutil
import signal
import sys

import whole_program
from stored_disk import BASIC_DATA, partitions
from whole_program import run


def inner(options):
    with whole_program.helper(options.helper, options.work):
        whole_program.drive_well(options.drive, options.work, "--open-with", options.work / "volume")
        crash_and_start_again(options)


def crash_and_start_again(options):
    if whole_program.drive(options.drive, options.work, "--crash") != -signal.SIGKILL:
        sys.exit("the program did not crash")
    if not mounts(options.work):
        sys.exit("the crash left no mount")
    whole_program.drive_well(options.drive, options.work, "--after-crash")


def mounts(work):
    """Of ours, also those that nobody serves any more."""
    drives = str(work / "runtime/zpk/drives")
    return [line for line in pathlib.Path("/proc/self/mounts").read_text().splitlines() if drives in line]


def mount_volume(disk, work):
    """The largest volume of Windows, read-only below work/volume."""
    start, size, _ = max((p for p in partitions(disk) if p[2] == BASIC_DATA), key=lambda p: p[1])
    image = work / "volume.img"
    run("dd", f"if={disk}", f"of={image}", "bs=1M", f"skip={start}", f"count={size}", "conv=sparse",
               "iflag=skip_bytes,count_bytes")
    (work / "volume").mkdir()
    # In a session of its own, as its server stays.
    run("setsid", "-w", "ntfs-3g", "-o", "ro", image, work / "volume")


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
    options = whole_program.options_of("helper", "drive", "make-disks", "work")
    if whole_program.is_inside():
        inner(options)
        return
    work = options.work
    whole_program.make_work_folder(work)
    run(options.make_disks, "--small", work / "made")
    shutil.move(work / "made/windows-pc.img", work / "disks/windows-pc.img")
    shutil.rmtree(work / "made")
    mount_volume(work / "disks/windows-pc.img", work)
    try:
        whole_program.on_a_bus_of_its_own(work)
    finally:
        run("umount", work / "volume")
    verify_nothing_is_left(work)
    shutil.rmtree(work)


if __name__ == "__main__":
    main()
