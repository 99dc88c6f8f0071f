"""Raw disk images: a partition table by sgdisk, and volumes put in their places."""

import dataclasses
import os
import pathlib
import subprocess
import tempfile
from typing import Callable, List, Optional

MIB = 1 << 20

# Partition types by the codes that sgdisk knows them under.
EFI_SYSTEM = "ef00"
APPLE_HFS = "af00"
APPLE_BOOT = "ab00"
APPLE_CORE_STORAGE = "af05"
APPLE_APFS = "af0a"
MICROSOFT_RESERVED = "0c01"
BASIC_DATA = "0700"
WINDOWS_RECOVERY = "2700"
LINUX_DATA = "8300"


class ToolFailed(Exception):
    """A tool of the system did not do its work; the text says which and what it printed."""


@dataclasses.dataclass
class Volume:
    """A volume on its way to its place: a sparse file, and the sector of the disk where it will begin."""

    path: pathlib.Path
    size: int
    start_sector: int
    sector_size: int = 512


@dataclasses.dataclass
class Partition:
    type_code: str
    mebibytes: int
    name: str
    format: Optional[Callable[[Volume], None]]  # Fills the volume; none leaves zeros.


@dataclasses.dataclass
class Disk:
    size: int
    guid: str
    partitions: List[Partition]


def run(*arguments, accept=(0,)):
    """Runs a tool; administration tools are looked for where an ordinary user's path has them not."""
    environment = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C"}
    words = [str(word) for word in arguments]
    try:
        done = subprocess.run(words, env=environment, capture_output=True, text=True, errors="replace")
    except FileNotFoundError as error:
        raise ToolFailed(f"{words[0]} is not installed") from error
    if done.returncode not in accept:
        raise ToolFailed(f"{' '.join(words)} ended with {done.returncode}: {done.stdout}{done.stderr}".strip())
    return done.stdout


def make_sparse(path, size):
    with open(path, "wb") as file:
        file.truncate(size)


def copy_data(source, target, offset):
    """Copies what is not a hole in `source` to `offset` in `target`."""
    with open(source, "rb") as reader, open(target, "r+b") as writer:
        end = os.fstat(reader.fileno()).st_size
        position = 0
        while position < end:
            try:
                begin = os.lseek(reader.fileno(), position, os.SEEK_DATA)
            except OSError:
                return  # Nothing but a hole is left.
            position = os.lseek(reader.fileno(), begin, os.SEEK_HOLE)
            reader.seek(begin)
            writer.seek(offset + begin)
            left = position - begin
            while left:
                piece = reader.read(min(left, 4 * MIB))
                writer.write(piece)
                left -= len(piece)


def partition_table(path, disk):
    arguments = ["-o", "-a", "2048", f"--disk-guid={disk.guid}"]
    for number, partition in enumerate(disk.partitions, 1):
        # Fixed identifiers make two runs give the same image.
        guid = f"{disk.guid[:24]}{number:012x}"
        arguments += [f"--new={number}:0:+{partition.mebibytes}M", f"--typecode={number}:{partition.type_code}",
                      f"--change-name={number}:{partition.name}", f"--partition-guid={number}:{guid}"]
    run("sgdisk", *arguments, path)


def start_of(path, number):
    for line in run("sgdisk", f"--info={number}", path).splitlines():
        if line.startswith("First sector:"):
            return int(line.split()[2])
    raise ToolFailed(f"sgdisk does not tell the start of partition {number} of {path}")


def make(path, disk):
    """Makes the whole image under a hidden name and puts it in place when it is complete."""
    path = pathlib.Path(path)
    with tempfile.TemporaryDirectory(dir=path.parent, prefix=".making-") as folder:
        image = pathlib.Path(folder) / "disk"
        make_sparse(image, disk.size)
        partition_table(image, disk)
        for number, partition in enumerate(disk.partitions, 1):
            if not partition.format:
                continue
            start = start_of(image, number)
            volume = Volume(pathlib.Path(folder) / f"volume{number}", partition.mebibytes * MIB, start)
            make_sparse(volume.path, volume.size)
            partition.format(volume)
            copy_data(volume.path, image, start * 512)
            volume.path.unlink()
        os.rename(image, path)
