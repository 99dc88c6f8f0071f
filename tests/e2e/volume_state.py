"""What a person finds on an NTFS volume, as ntfs-3g shows it: recorded once, compared later."""
import contextlib
import hashlib
import json
import os
import pathlib
import stat
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools/sample-disks"))
import volumes  # noqa: E402  (found through the line above)

SECTOR = 512


def run(*command, accept=(0,)):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, errors="replace")
    if done.returncode not in accept:
        sys.exit(f"{' '.join(map(str, command))} ended with {done.returncode}: {done.stdout}{done.stderr}")
    return done.stdout


def partitions(disk):
    """The entries as sfdisk tells them: number to (start, size, type), in bytes."""
    table = json.loads(run("sfdisk", "--json", disk))["partitiontable"]["partitions"]
    return {int(entry["node"].rsplit(disk.name, 1)[1]): (entry["start"] * SECTOR, entry["size"] * SECTOR,
                                                         entry["type"].upper()) for entry in table}


@contextlib.contextmanager
def device(disk, start, size, writable=False):
    """A loop device over a partition of an image."""
    access = [] if writable else ["--read-only"]
    loop = run("losetup", "--find", "--show", *access, "--offset", start, "--sizelimit", size, disk).strip()
    try:
        yield pathlib.Path(loop)
    finally:
        run("losetup", "--detach", loop)


@contextlib.contextmanager
def writable(disk, start, size):
    """The folder of the volume, to change what is in it. The volume is put down in order afterwards."""
    with device(disk, start, size, writable=True) as path, volumes.mounted(path) as folder:
        yield folder


@contextlib.contextmanager
def readable(path):
    folder = pathlib.Path(tempfile.mkdtemp(prefix="zpk-e2e-"))
    # In a session of its own, as its server stays.
    run("setsid", "-w", "ntfs-3g", "-o", "ro,noatime", path, folder)
    try:
        yield folder
    finally:
        run("umount", folder)
        folder.rmdir()


def content(path, kind):
    if stat.S_ISLNK(kind):
        return os.readlink(path)
    return hashlib.sha256(path.read_bytes()).hexdigest() if stat.S_ISREG(kind) else ""


def entry(path):
    """Kind, size, file record, links, time of change, content and further streams of a file or folder."""
    status = path.lstat()
    streams = {name: os.getxattr(path, name, follow_symlinks=False).hex()
               for name in os.listxattr(path, follow_symlinks=False) if name.startswith("user.")}
    size = 0 if stat.S_ISDIR(status.st_mode) else status.st_size
    return (stat.S_IFMT(status.st_mode), size, status.st_ino, status.st_nlink, status.st_mtime_ns,
            content(path, status.st_mode), streams)


def below(folder):
    return {str(path.relative_to(folder)): entry(path) for path in sorted(folder.rglob("*"))}


def recorded(disk, start, size):
    """The state of a volume that is known to be good."""
    with device(disk, start, size) as path, readable(path) as folder:
        return below(folder)


def verify(disk, start, size, expected):
    """The volume there is sound by three tools, and holds what was recorded, and nothing else."""
    with device(disk, start, size) as path:
        # By force, as a volume of a new size wants to be checked by Windows first.
        told = run("ntfsresize", "--info", "--force", "--no-progress-bar", path)
        if f"Current device size: {size} bytes" not in told:
            sys.exit(f"{disk}: ntfsresize tells of another size than {size}: {told}")
        run("ntfsfix", "--no-action", path)
        verify_boot_sectors(path, start, size)
        with readable(path) as folder:
            found = below(folder)
    for name in sorted(expected.keys() | found.keys()):
        if expected.get(name) != found.get(name):
            sys.exit(f"{disk}: {name} was {expected.get(name)} and is {found.get(name)}")
    return len(found)


def verify_boot_sectors(path, start, size):
    with open(path, "rb") as volume:
        first = volume.read(SECTOR)
        volume.seek(size - SECTOR)
        last = volume.read(SECTOR)
    if first != last:
        sys.exit(f"the boot sector and its copy differ in the partition at {start}")
    if int.from_bytes(first[28:32], "little") != start // SECTOR:
        sys.exit(f"the boot sector of the partition at {start} names another start")
    if (int.from_bytes(first[40:48], "little") + 1) * SECTOR > size:
        sys.exit(f"the volume at {start} is larger than its partition")
