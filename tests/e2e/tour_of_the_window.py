#!/usr/bin/env python3
"""Takes the whole tour of the window with one input device, then looks at what it has left behind.

Window, bus, helper and disks are the real ones. That the archive holds what the disk holds, after all that was done to
it, is asked of qemu-img and ntfscat.
"""
import shutil
import sys

import stored_disk
import whole_program


def verify(options):
    archive = options.work / "archives/Windows.rldbackup"
    images = sorted(archive.glob("p*/disk0.pvhd"))
    if not images:
        sys.exit(f"{archive} has no image")
    for image in images:
        whole_program.run("qemu-img", "check", "-f", "qcow2", image)
    raw = stored_disk.content_of(images[-1], options.work / "stored.raw")
    disk = stored_disk.source_disk(options.disks, raw)
    compared = sum(stored_disk.compare(disk, raw, start, size, stored_disk.used_ranges(disk, start, size, options.work))
                   for start, size, kind in stored_disk.partitions(disk) if kind in stored_disk.WINDOWS_TYPES)
    if compared < 20 << 20:
        sys.exit(f"too little was compared: {compared} bytes")
    print(f"{compared} bytes of {disk.name} are in the newest of {len(images)} backup points as they are on the disk")


def main():
    options = whole_program.options_of("helper", "drive", "make-disks", "disks", "work", input=("mouse", "keyboard"))
    if whole_program.is_inside():
        with whole_program.helper(options.helper, options.work, options.disks):
            whole_program.drive_well(options.drive, options.work, "--tour", "--input", options.input)
        return
    whole_program.make_work_folder(options.work)
    # Disks are only read, and left alone when they are there.
    whole_program.run(options.make_disks, "--small", "--targets", options.disks)
    whole_program.on_a_bus_of_its_own(options.work)
    verify(options)
    shutil.rmtree(options.work)


if __name__ == "__main__":
    main()
