#!/usr/bin/env python3
"""Presses Backup in the real window and compares what the archive holds with the disk, byte for byte.

Window, bus, helper and disk are the real ones; only the display is offscreen. What the archive holds is read by
qemu-img and what is in use on the volume by ntfscat, so that nothing of ours is asked whether we are right.
"""
import argparse
import json
import os
import pathlib
import shutil
import subprocess
import sys

SECTOR = 512
WINDOWS_TYPES = {
    "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7",  # Microsoft basic data
    "E3C9E316-0B5C-4DB8-817D-F92DF00215AE",  # Microsoft reserved
    "DE94BBA4-06D1-4D40-A16A-BFD50179D6AC",  # Windows recovery
}


def run(*command, **options):
    return subprocess.run([str(c) for c in command], check=True, capture_output=True, **options).stdout


def partitions(disk):
    """The disk's entries as sfdisk, not libfdisk through us, tells them: (start, size, type), bytes."""
    table = json.loads(run("sfdisk", "--json", disk))["partitiontable"]
    return [(p["start"] * SECTOR, p["size"] * SECTOR, p["type"].upper()) for p in table["partitions"]]


def used_ranges(disk, start, size, work):
    """Byte ranges in use within the partition, from the volume's own bitmap; the whole of it if it is not NTFS."""
    with open(disk, "rb") as file:
        file.seek(start)
        boot = file.read(512)
    if boot[3:7] != b"NTFS":
        return [(0, size)]
    volume = work / "volume.img"
    run("dd", f"if={disk}", f"of={volume}", "bs=1M", f"skip={start}", f"count={size}", "conv=sparse",
        "iflag=skip_bytes,count_bytes")
    bitmap = run("ntfscat", "-f", "-i", "6", volume)
    volume.unlink()
    cluster = int.from_bytes(boot[11:13], "little") * boot[13]
    clusters = int.from_bytes(boot[40:48], "little") * int.from_bytes(boot[11:13], "little") // cluster
    ranges = []
    for index in range(clusters):
        if bitmap[index >> 3] >> (index & 7) & 1:
            if ranges and ranges[-1][1] == index * cluster:
                ranges[-1] = (ranges[-1][0], (index + 1) * cluster)
            else:
                ranges.append((index * cluster, (index + 1) * cluster))
    ranges.append((size - SECTOR, size))  # the backup boot sector
    return ranges


def compare(disk, raw, start, size, ranges):
    """Used ranges equal the disk, everything between them reads as zeros."""
    compared = 0
    with open(disk, "rb") as source, open(raw, "rb") as stored:
        position = 0
        for low, high in ranges + [(size, size)]:
            while position < low:
                step = min(1 << 22, low - position)
                stored.seek(start + position)
                if stored.read(step).strip(b"\0"):
                    sys.exit(f"free space at {start + position} of the stored disk is not zero")
                position += step
            position = max(position, low)
            while position < high:
                step = min(1 << 22, high - position)
                source.seek(start + position)
                stored.seek(start + position)
                if source.read(step) != stored.read(step):
                    sys.exit(f"stored content differs from the disk within {step} bytes from {start + position}")
                compared += step
                position += step
    return compared


def main():
    parser = argparse.ArgumentParser()
    for option in ("--helper", "--drive", "--make-disks", "--work"):
        parser.add_argument(option, required=True, type=pathlib.Path)
    options = parser.parse_args()
    work = options.work
    if os.environ.get("ZPK_E2E_INNER") != "1":
        shutil.rmtree(work, ignore_errors=True)
        for folder in ("disks", "archives", "state", "pictures"):
            (work / folder).mkdir(parents=True)
        run(options.make_disks, "--small", work / "disks")
        environment = dict(os.environ, ZPK_E2E_INNER="1", QT_QPA_PLATFORM="offscreen")
        outcome = subprocess.run(["dbus-run-session", "--", sys.executable, *sys.argv], env=environment)
        if outcome.returncode != 0:
            sys.exit(outcome.returncode)
        verify(work)
        shutil.rmtree(work)
        return
    with open(work / "helper.log", "wb") as log:
        helper = subprocess.Popen([options.helper, "--session", "--disks", work / "disks", "--state", work / "state"],
                                  stderr=log)
        try:
            wait_for_name()
            driven = subprocess.run([options.drive, "--archive", work / "archives/Windows.rldbackup", "--pictures",
                                     work / "pictures"])
        finally:
            helper.terminate()
            helper.wait(10)
    if driven.returncode != 0:
        print((work / "helper.log").read_text(errors="replace"))
    sys.exit(driven.returncode)


def wait_for_name():
    for _ in range(200):
        if subprocess.run(["busctl", "--user", "status", "com.tarnwick.zpkhelper"], capture_output=True).returncode == 0:
            return
        subprocess.run(["sleep", "0.05"], check=True)
    sys.exit("the helper did not register its name")


def verify(work):
    archive = work / "archives/Windows.rldbackup"
    index = json.loads((archive / "archive.json").read_text())
    images = sorted(archive.glob("p0001-*/disk0.pvhd"))
    if len(images) != 1:
        sys.exit(f"one image was expected in {archive}, found {images}; index: {index}")
    run("qemu-img", "check", "-f", "qcow2", images[0])
    raw = work / "stored.raw"
    run("qemu-img", "convert", "-f", "qcow2", "-O", "raw", images[0], raw)
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


def source_disk(folder, raw):
    """The disk whose GPT identifier the stored disk bears."""
    stored = json.loads(run("sfdisk", "--json", raw))["partitiontable"]["id"]
    for disk in sorted(p for p in folder.iterdir() if p.suffix in (".img", ".raw")):
        if json.loads(run("sfdisk", "--json", disk))["partitiontable"]["id"] == stored:
            return disk
    sys.exit(f"no disk has the stored identifier {stored}")


if __name__ == "__main__":
    main()
