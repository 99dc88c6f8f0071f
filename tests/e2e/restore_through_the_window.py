#!/usr/bin/env python3
"""The life of an archive through the real window, and restores out of it onto every kind of disk.

A full backup and increments, between which files are changed, added and removed through ntfs-3g; a pinned point, a
merge, the limit of increments. After each restore the volume has to be sound by ntfsresize and ntfsfix, and every file
and folder as it was when that point was made; not a byte beside it may have changed. Needs root for loop devices.
"""
import json
import os
import pathlib
import random
import shutil
import subprocess
import sys

import volume_state as state
import whole_program

import disk_image
import hfsplus
import volumes
import windows_content
from disk_image import MIB, Partition
from stored_disk import BASIC_DATA

SECTOR = 512


def fat(volume):
    volumes.fat(volume, "EFI", 32, "67E3-17ED")


def mac_partitions():
    return [Partition(disk_image.EFI_SYSTEM, 40, "EFI System Partition", fat),
            Partition(disk_image.APPLE_HFS, 24, "Macintosh HD", lambda v: hfsplus.make(v.path, "Macintosh HD"))]


def windows_partition(mebibytes, total, seed):
    sizes = windows_content.Sizes(files=40, total=total)
    return Partition(disk_image.BASIC_DATA, mebibytes, "BOOTCAMP",
                     lambda v: volumes.windows(v, "BOOTCAMP", sizes, seed))


def make_disks(folder):
    """The disk that is backed up, the first in the chooser, and those to restore to."""
    def make(name, mebibytes, number, parts):
        disk_image.make(folder / name, disk_image.Disk(mebibytes * MIB, f"b4d62e1f-8a3c-4f68-ae1b-4c2f75d1e{number:03}",
                                                       parts))
    make("a-source.img", 256, 1, mac_partitions() + [windows_partition(160, 40 * MIB, 1)])
    make("windows.img", 224, 2, mac_partitions() + [windows_partition(128, 4 * MIB, 2)])
    make("mac.img", 320, 3, mac_partitions())
    make("hybrid.img", 320, 4, mac_partitions())
    # As a Mac has it on which Windows starts through the BIOS.
    state.run("sgdisk", "--hybrid=2", folder / "hybrid.img")
    for name in ("a-source.img", "windows.img"):
        state.run("sgdisk", "--hybrid=2:3", folder / name)
    disk_image.make_sparse(folder / "empty.img", 384 * MIB)


def windows_side(disk):
    """The one partition of Windows data: its start and size."""
    found = [(start, size) for start, size, kind in state.partitions(disk).values() if kind == BASIC_DATA]
    if len(found) != 1:
        sys.exit(f"{disk} has {len(found)} Windows partitions")
    return found[0]


def is_hybrid(disk):
    return any(disk[place] not in (0, 0xEE) for place in range(450, 512 - 2, 16))


def change(folder, step):
    """Files changed, added, removed, renamed and linked; another stream, a hole, a deep folder."""
    chance = random.Random(step)
    files = sorted(path for path in folder.rglob("*") if path.is_file() and path.stat().st_size > 4096)
    changed, removed, renamed = chance.sample(files, 3)
    with open(changed, "r+b") as file:
        file.seek(chance.randrange(changed.stat().st_size))
        file.write(chance.randbytes(5000))
    removed.unlink()
    renamed.rename(folder / f"renamed {step}{renamed.suffix}")
    added = folder / "Users/Anna/Documents" / f"Änderung {step} – 新しい.txt"
    added.write_bytes(chance.randbytes(1 << 20))
    os.setxattr(added, "user.Zone.Identifier", b"[ZoneTransfer]\r\nZoneId=3\r\n")
    os.link(added, folder / f"linked {step}.txt")
    deep = folder / "/".join(f"folder {level}" for level in range(12)) / f"leaf {step}"
    deep.mkdir(parents=True)
    with open(deep / "holes.bin", "wb") as file:
        file.truncate(3 * MIB)
        file.seek(2 * MIB)
        file.write(b"end of the hole")


class Drive:
    """The window, and the person in front of it."""

    def __init__(self, options):
        self.process = subprocess.Popen(whole_program.drive_words(options.drive, options.work, "--errands"),
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, encoding="utf-8")
        for _ in range(3):  # The window, the disk, the location.
            self.answer()

    def answer(self):
        line = self.process.stdout.readline().rstrip("\n")
        if not line.startswith("✓ "):
            self.process.terminate()
            sys.exit(f"the drive answered “{line}”, status {self.process.wait(20)}")
        print(line, flush=True)
        return line[2:]

    def do(self, *errand):
        print(*errand, sep=" ", file=self.process.stdin, flush=True)
        return self.answer()

    def end(self):
        self.process.stdin.close()
        if self.process.wait(20) != 0:
            sys.exit("the drive failed")


class Life:
    """One archive, and what the volume held at each of its points."""

    def __init__(self, options):
        self.disks = options.work / "disks"
        self.archive = options.work / "archives/Windows.rldbackup"
        self.source = self.disks / "a-source.img"
        self.drive = Drive(options)
        self.held = {}  # By the point's folder.

    def points(self):
        return json.loads((self.archive / "archive.json").read_text())["points"]

    def back_up(self):
        self.drive.do("back-up")
        self.held[self.points()[-1]] = state.recorded(self.source, *windows_side(self.source))

    def change_and_back_up(self, step):
        with state.writable(self.source, *windows_side(self.source)) as folder:
            change(folder, step)
        self.back_up()

    def restore(self, row, disk, size="most"):
        """Restores the point and gives the place of its Windows volume."""
        target = self.disks / disk
        before = target.read_bytes()
        new = not before.strip(b"\0")
        kept = {} if new else state.partitions(target)
        said = self.drive.do("restore", row, size, target.stem)
        start, extent = windows_side(target)
        files = state.verify(target, start, extent, self.held[self.points()[row]])
        state.run("sgdisk", "--verify", target)
        with open(target, "rb") as file:
            # Its boot code, and what a hybrid one names.
            mbr = file.read(SECTOR)
            if not new and (mbr[:440] != before[:440] or (is_hybrid(before) and mbr != before[:SECTOR])):
                sys.exit(f"the MBR of {disk} was written to")
            for number, (begin, length, kind) in kept.items():
                if kind == BASIC_DATA:
                    continue
                file.seek(begin)
                if file.read(length) != before[begin:begin + length]:
                    sys.exit(f"partition {number} of {disk} was written to")
        print(f"  {files} files and folders of point {row} are on {disk}, in {extent // MIB} MiB")
        return said, start, extent


    def verify_archive(self):
        """In the eyes of the field's own tool, and by what was asked for."""
        pinned = []
        for point in self.points():
            index = json.loads((self.archive / point / "index.json").read_text())
            pinned += [index["label"]] if index["pinned"] else []
            for image in (self.archive / point).glob("*.pvhd"):
                state.run("qemu-img", "check", "-q", "-f", "qcow2", image)
        if pinned != ["Before the update"]:
            sys.exit(f"what is pinned is {pinned}")


def live(life):
    life.back_up()
    for step in range(1, 4):
        life.change_and_back_up(step)
    life.restore(3, "windows.img")
    life.restore(0, "empty.img")
    life.drive.do("pin", 1, "Before the update")
    life.drive.do("merge", 3)
    life.verify_archive()
    sizes = [life.restore(1, "mac.img", "middle")[2], life.restore(2, "hybrid.img", "least")[2]]
    if not sizes[1] < windows_side(life.source)[1] or not sizes[1] < sizes[0]:
        sys.exit(f"the sizes that were chosen are not what came of it: {sizes}")
    life.drive.do("limit", 2)
    life.change_and_back_up(4)
    if len(life.points()) != 3:
        sys.exit(f"the limit of two increments left {life.points()}")
    life.verify_archive()
    # What is there is taken back to a point before, and the next increment builds on what it finds then.
    life.restore(0, "a-source.img")
    life.change_and_back_up(5)
    stop(life)
    life.restore(2, "windows.img")


def stop(life):
    target = life.disks / "windows.img"
    before = target.read_bytes()
    start, size = windows_side(target)
    said = life.drive.do("stop-restore", 1, "most", target.stem)
    if "incomplete" not in said:
        sys.exit("a stopped restore has to say what is left of the disk")
    after = target.read_bytes()
    if before[:start] != after[:start] or before[start + size:] != after[start + size:]:
        sys.exit("a stopped restore wrote beside its partition")
    if after[start:start + 4096].strip(b"\0") or after[start + size - 512:start + size].strip(b"\0"):
        sys.exit("a stopped restore left something that looks like a file system")


def inner(options):
    with whole_program.helper(options.helper, options.work):
        life = Life(options)
        live(life)
        life.drive.end()


def main():
    options = whole_program.options_of("helper", "drive", "work")
    if whole_program.is_inside():
        inner(options)
        return
    work = options.work
    whole_program.make_work_folder(work)
    make_disks(work / "disks")
    whole_program.on_a_bus_of_its_own(work, PATH="/usr/sbin:/usr/bin:/sbin:/bin")
    shutil.rmtree(work)


if __name__ == "__main__":
    main()
