#!/usr/bin/env python3
"""Takes the whole tour of the window with one input device, then looks at what it has left behind.

Window, bus, helper and disks are the real ones. That the archive holds what the disk holds, after all that was done to
it, is asked of qemu-img and ntfscat.
"""
import argparse
import os
import pathlib
import shutil
import subprocess
import sys

import backup_through_the_window as window


def inner(options):
    work = options.work
    with open(work / "helper.log", "wb") as log:
        helper = subprocess.Popen([options.helper, "--session", "--disks", options.disks, "--state", work / "state"],
                                  stderr=log)
        try:
            window.wait_for_name()
            driven = subprocess.run([options.drive, "--tour", "--input", options.input, "--archive",
                                     work / "archives/Windows.rldbackup", "--pictures", work / "pictures"])
        finally:
            helper.terminate()
            helper.wait(10)
    if driven.returncode != 0:
        print((work / "helper.log").read_text(errors="replace"))
    return driven.returncode


def verify(options):
    archive = options.work / "archives/Windows.rldbackup"
    images = sorted(archive.glob("p*/disk0.pvhd"))
    if not images:
        sys.exit(f"{archive} has no image")
    for image in images:
        window.run("qemu-img", "check", "-f", "qcow2", image)
    raw = options.work / "stored.raw"
    window.run("qemu-img", "convert", "-f", "qcow2", "-O", "raw", images[-1], raw)
    disk = window.source_disk(options.disks, raw)
    compared = sum(window.compare(disk, raw, start, size, window.used_ranges(disk, start, size, options.work))
                   for start, size, kind in window.partitions(disk) if kind in window.WINDOWS_TYPES)
    if compared < 20 << 20:
        sys.exit(f"too little was compared: {compared} bytes")
    print(f"{compared} bytes of {disk.name} are in the newest of {len(images)} backup points as they are on the disk")


def main():
    parser = argparse.ArgumentParser()
    for option in ("--helper", "--drive", "--make-disks", "--disks", "--work"):
        parser.add_argument(option, required=True, type=pathlib.Path)
    parser.add_argument("--input", required=True, choices=("mouse", "keyboard"))
    options = parser.parse_args()
    if os.environ.get("ZPK_E2E_INNER") == "1":
        sys.exit(inner(options))
    shutil.rmtree(options.work, ignore_errors=True)
    for folder in ("archives", "state", "pictures", "runtime"):
        (options.work / folder).mkdir(parents=True, mode=0o700)
    # Disks are only read, and left alone when they are there.
    window.run(options.make_disks, "--small", "--targets", options.disks)
    environment = dict(os.environ, ZPK_E2E_INNER="1", QT_QPA_PLATFORM="offscreen",
                       XDG_RUNTIME_DIR=str(options.work / "runtime"))
    outcome = subprocess.run(["dbus-run-session", "--", sys.executable, *sys.argv], env=environment)
    if outcome.returncode != 0:
        sys.exit(outcome.returncode)
    verify(options)
    shutil.rmtree(options.work)


if __name__ == "__main__":
    main()
