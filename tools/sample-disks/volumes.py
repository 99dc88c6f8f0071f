"""File systems made by the tools of the system, in a file of their own."""

import contextlib
import os
import pathlib
import shutil
import subprocess
import tempfile
import time

import windows_content
from disk_image import ToolFailed, run


def fat(volume, label, bits, serial):
    run("mkfs.fat", "-F", bits, "-n", label, "-i", serial.replace("-", ""), "-S", volume.sector_size, "-h",
        volume.start_sector, volume.path)


def ntfs(volume, label):
    # Geometry is what a computer's firmware would tell; Windows' loader reads the start sector from the volume.
    run("mkntfs", "-F", "-Q", "-s", volume.sector_size, "-p", volume.start_sector, "-H", 255, "-S", 63, "-L", label,
        volume.path)


def windows(volume, label, sizes, seed):
    """An NTFS volume with the folders, programs and documents of a used Windows."""
    ntfs(volume, label)
    with contextlib.ExitStack() as stack:
        try:
            folder = stack.enter_context(mounted(volume.path))
        except ToolFailed:
            copy_without_mount(volume.path, sizes, seed)
            return
        windows_content.write(folder, sizes, seed)


@contextlib.contextmanager
def mounted(path):
    """The NTFS volume in `path`, writable through FUSE. On leaving it, the volume is complete in its file."""
    folder = pathlib.Path(tempfile.mkdtemp(prefix="zpk-sample-"))
    driver = subprocess.Popen(["/usr/bin/ntfs-3g", "-o", "rw,no_detach,big_writes,noatime", str(path), str(folder)],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        while not os.path.ismount(folder):
            if driver.poll() is not None:
                raise ToolFailed("ntfs-3g did not mount the volume")
            time.sleep(0.005)
        try:
            yield folder
        finally:
            unmount(folder)
            driver.wait(timeout=60)  # The driver writes its last metadata after the unmount has returned.
    finally:
        folder.rmdir()


def unmount(folder):
    tools = [["umount", str(folder)], ["fusermount3", "-u", str(folder)], ["fusermount", "-u", str(folder)]]
    if not any(shutil.which(tool[0]) and subprocess.run(tool, check=False).returncode == 0 for tool in tools):
        raise ToolFailed(f"{folder} cannot be unmounted")


def copy_without_mount(volume, sizes, seed):
    """Without FUSE only files can be put in, into the root folder."""
    with tempfile.TemporaryDirectory(prefix="zpk-sample-") as name:
        folder = pathlib.Path(name)
        windows_content.write(folder, sizes, seed)
        for file in sorted(path for path in folder.rglob("*") if path.is_file()):
            flat = "_".join(file.relative_to(folder).parts)
            run("ntfscp", "-f", "-q", volume, file, flat)
