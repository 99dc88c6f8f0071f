#!/usr/bin/env python3
"""Presses Backup in the real window and compares what the archive holds with the disk, byte for byte."""
import json
import shutil
import sys

import stored_disk
import whole_program
from stored_disk import WINDOWS_TYPES, compare, partitions, source_disk, used_ranges


def main():
    options = whole_program.options_of("helper", "drive", "make-disks", "work")
    work = options.work
    if whole_program.is_inside():
        with whole_program.helper(options.helper, work):
            whole_program.drive_well(options.drive, work)
        return
    whole_program.make_work_folder(work)
    whole_program.run(options.make_disks, "--small", work / "disks")
    whole_program.on_a_bus_of_its_own(work)
    verify(work)
    shutil.rmtree(work)


def verify(work):
    archive = work / "archives/Windows.rldbackup"
    index = json.loads((archive / "archive.json").read_text())
    images = sorted(archive.glob("p0001-*/disk0.pvhd"))
    if len(images) != 1:
        sys.exit(f"one image was expected in {archive}, found {images}; index: {index}")
    raw = stored_disk.content_of(images[0], work / "stored.raw")
    point = json.loads((images[0].parent / "index.json").read_text())
    disk = source_disk(work / "disks", raw)
    compared = ntfs_volumes = 0
    for start, size, kind in partitions(disk):
        if kind in WINDOWS_TYPES:
            ranges = used_ranges(disk, start, size, work)
            ntfs_volumes += len(ranges) > 1
            compared += compare(disk, raw, start, size, ranges)
    if ntfs_volumes == 0 or compared < 20 << 20:
        sys.exit(f"too little was compared: {compared} bytes, {ntfs_volumes} NTFS volumes; point: {point}")
    pictures = list((work / "pictures").glob("*.png"))
    if not pictures:
        sys.exit("the drive took no pictures")
    print(f"{compared} bytes of {disk.name} are in the archive as they are on the disk; {len(pictures)} pictures")


if __name__ == "__main__":
    main()
