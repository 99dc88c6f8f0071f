"""What an archive holds of a disk, compared with the disk byte for byte.

Tables are read by sfdisk, images by qemu-img and what is in use on a volume by ntfscat, so that nothing of ours is asked
whether we are right. Whatever is not as it should be ends the script.
"""
import json
import sys

from whole_program import run

SECTOR = 512
BASIC_DATA = "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7"
WINDOWS_TYPES = {
    BASIC_DATA,  # Microsoft basic data
    "E3C9E316-0B5C-4DB8-817D-F92DF00215AE",  # Microsoft reserved
    "DE94BBA4-06D1-4D40-A16A-BFD50179D6AC",  # Windows recovery
}


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


def source_disk(folder, raw):
    """The disk whose GPT identifier the stored disk bears."""
    stored = json.loads(run("sfdisk", "--json", raw))["partitiontable"]["id"]
    for disk in sorted(p for p in folder.iterdir() if p.suffix in (".img", ".raw")):
        if json.loads(run("sfdisk", "--json", disk))["partitiontable"]["id"] == stored:
            return disk
    sys.exit(f"no disk has the stored identifier {stored}")


def content_of(image, raw):
    """Writes the disk that the image and those that it builds on make."""
    run("qemu-img", "check", "-f", "qcow2", image)
    run("qemu-img", "convert", "-f", "qcow2", "-O", "raw", image, raw)
    return raw
