#!/usr/bin/env python3
"""The helper as the service that the installed unit makes of it: started by a real systemd through a real bus, with every
line of the unit in force, and the real polkit to decide. Needs root.

The commands come from a user who sees the machine as users do, from outside of the unit's namespaces. Loop devices stand
for disks that are plugged in.
"""
import contextlib
import hashlib
import json
import os
import pathlib
import pwd
import re
import shutil
import signal
import struct
import subprocess
import sys
import uuid

sys.path[:0] = [str(pathlib.Path(__file__).resolve().parent.parent / folder) for folder in ("e2e/systemd", "e2e")]
import system_manager
import volume_state as state
from user_manager import eventually

FILES = {"helper": "usr/libexec/zpk/zpkhelper", "probe": "usr/libexec/zpk/zpkprobe",
         "table": "usr/libexec/zpk/zpktable", "qrx_helper": "usr/libexec/zpk/qrx-helper", "zpkctl": "usr/bin/zpkctl",
         "bus_policy": "usr/share/dbus-1/system.d/com.tarnwick.zpkhelper.conf",
         "bus_service": "usr/share/dbus-1/system-services/com.tarnwick.zpkhelper.service",
         "polkit_policy": "usr/share/polkit-1/actions/com.tarnwick.zpk.policy", "unit": "units/zpkhelper.service"}
USER = pwd.getpwnam("games")
# At the machine, and an administrator.
RULES = f"""polkit.addRule(function(action, subject) {{
  if (action.id.indexOf("com.tarnwick.zpk.") == 0 && subject.user == "{USER.pw_name}") return polkit.Result.YES;
}});
"""
RUNTIME = pathlib.Path("/run/user", str(USER.pw_uid))
HOME = pathlib.Path("/home", USER.pw_name)
ARCHIVE = HOME / "Backups/Windows.rldbackup"
ENVIRONMENT = {"PATH": "/usr/bin:/usr/sbin", "LC_ALL": "C.UTF-8", "HOME": str(HOME), "XDG_RUNTIME_DIR": str(RUNTIME)}
LOG = pathlib.Path("/var/lib/zpk/zpkhelper.log")
SERVICE = ["com.tarnwick.zpkhelper", "/com/tarnwick/zpkhelper", "com.tarnwick.ZPKDaemonProtocol"]
BUSY = "u 6"
BASIC_DATA = "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7"
# CAP_CHOWN to FOWNER, SETGID, SETUID, SYS_ADMIN and LEASE, as the kernel numbers them.
RIGHTS = 1 << 0 | 1 << 1 | 1 << 2 | 1 << 3 | 1 << 6 | 1 << 7 | 1 << 21 | 1 << 28


def expect(condition, what):
    if not condition:
        sys.exit(f"not so: {what}")


def prepare(work, options):
    for name, place in FILES.items():
        (work / place).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(getattr(options, name), work / place)
    rules = work / "etc/polkit-1/rules.d"
    rules.mkdir(parents=True)
    (rules / "10-test.rules").write_text(RULES)
    subprocess.run([options.make_disks, "--small", work / "disks"], check=True, stdout=subprocess.DEVNULL)
    # Other tests may have disks made from the same samples attached meanwhile.
    state.run("sgdisk", "--disk-guid", disk_id(work), work / "disks/mac-with-windows.img")
    with open(work / "disks/blank.img", "wb") as blank:
        blank.truncate(512 << 20)


def disk_id(work):
    return str(uuid.uuid5(uuid.NAMESPACE_URL, work.name))


def as_user_command(*command):
    return ["setpriv", f"--reuid={USER.pw_uid}", f"--regid={USER.pw_gid}", "--clear-groups", *map(str, command)]


def as_user(*command, check=True):
    return subprocess.run(as_user_command(*command), capture_output=True, text=True, timeout=120, check=check, cwd="/",
                          env=ENVIRONMENT)


def ask(*arguments):
    said = as_user("busctl", "--system", "--timeout=60", "call", *SERVICE, *arguments, check=False)
    return said.stdout.strip() or said.stderr.strip()


def command(*arguments):
    """Once the helper has looked at whatever came to the machine, as its clients wait for."""
    said = eventually(f"leave for {arguments[0]}", lambda: (answer := ask(*arguments)) != BUSY and answer, 60)
    expect(said == "u 0", f"{arguments[0]} is done: {said}")


def systemctl(*arguments):
    return subprocess.run(["systemctl", "--no-pager", *arguments], capture_output=True, text=True).stdout.strip()


def log_after(text, start):
    return eventually(f"“{text}” in the log", lambda: text in LOG.read_text()[start:] and LOG.read_text()[start:], 60)


def operate(*arguments, end):
    """Until its end, which tells whether it did what it should."""
    start = len(LOG.read_text())
    command(*arguments)
    said = log_after(end, start)
    print(f"{arguments[0]}: {said.splitlines()[-1]}", flush=True)
    return said


def helper_pid():
    return int(systemctl("show", "--property=MainPID", "--value", "zpkhelper.service"))


def make_user():
    for folder in (RUNTIME, HOME, ARCHIVE.parent):
        folder.mkdir(parents=True)
        os.chown(folder, USER.pw_uid, USER.pw_gid)
    RUNTIME.chmod(0o700)
    HOME.chmod(0o700)


def is_started_by_the_bus():
    expect(systemctl("is-active", "zpkhelper.service") == "inactive", "nobody has looked for it")
    said = ask("status")
    expect(said.startswith("a{sv}"), f"the helper is started and answers: {said} {systemctl('status', 'zpkhelper')}")


def is_fenced_in():
    pid = helper_pid()
    status = dict(re.findall(r"^(\w+):\t(.*)$", pathlib.Path(f"/proc/{pid}/status").read_text(), re.MULTILINE))
    expect(int(status["CapBnd"], 16) == RIGHTS, f"its rights are {status['CapBnd']}")
    expect(status["Seccomp"] == "2" and status["NoNewPrivs"] == "1", "its system calls are filtered")
    for kind in ("mnt", "net", "uts"):
        expect(os.readlink(f"/proc/{pid}/ns/{kind}") != os.readlink(f"/proc/1/ns/{kind}"), f"its {kind} is its own")
    mounts = {line.split()[4]: line for line in pathlib.Path(f"/proc/{pid}/mountinfo").read_text().splitlines()}
    for folder in ("/usr", "/etc", "/proc/sys", "/sys", "/sys/fs/cgroup"):
        expect(mounts[folder].split()[5].startswith("ro"), f"{folder} is not for it to change: {mounts[folder]}")
    expect("hidepid=invisible" in mounts["/proc"], "it sees no processes of others")


def plug_in(work, image):
    """A new disk; what the kernel calls it."""
    return pathlib.Path(state.run("losetup", "--find", "--show", "--partscan", work / "disks" / image).strip())


def notices_a_new_disk(work, image):
    disk = plug_in(work, image)
    eventually(f"{disk} among the disks", lambda: f'"{disk}"' in ask("status"))
    return disk


def notices_that_it_is_gone(disk):
    state.run("losetup", "--detach", disk)
    eventually("the disk to be gone", lambda: f'"{disk}"' not in ask("status"))


def backs_up(work):
    command("setBackupSource", "s", disk_id(work))
    command("setTargetPath", "s", ARCHIVE)
    said = operate("backup", end="Backup ended")
    expect("Backup point 1 is complete" in said, f"a backup: {said}")
    owners = {path.stat().st_uid for path in (ARCHIVE, *ARCHIVE.rglob("*"))}
    expect(owners == {USER.pw_uid}, f"the archive belongs to its user, at whose home it is: {owners}")


def verifies():
    said = as_user("zpkctl", "verify", check=False)
    expect(said.returncode == 0, f"the points are sound: {said}")
    print(f"verify: {said.stdout.splitlines()[-1]}", flush=True)


def windows_side(disk):
    """The one volume of Windows: the device file that the kernel has for it or would have, its start and its size."""
    table = json.loads(state.run("sfdisk", "--json", disk))["partitiontable"]["partitions"]
    entry = next(entry for entry in table if entry["type"] == BASIC_DATA)
    return pathlib.Path(entry["node"]), entry["start"] * state.SECTOR, entry["size"] * state.SECTOR


@contextlib.contextmanager
def shown(disk):
    """Kernels that do not read tables by themselves show a volume all the same."""
    with state.device(disk, *windows_side(disk)[1:]) as device, state.readable(device) as folder:
        yield folder


def files_of(disk):
    with shown(disk) as folder:
        return state.below(folder)


def number_of(disk):
    """The helper's own, which a blank disk is named by."""
    told = next(part for part in ask("status").split('"ZPKDisk"') if f'"filePath" s "{disk}"' in part)
    return int.from_bytes(map(int, re.search(r'"diskNumber" ay 4 (\d+) (\d+) (\d+) (\d+)', told).groups()), "little")


def restores(disk, blank):
    said = operate("restore_toDisk_withNumber_withTargetSize", "tstt", 0, uuid.UUID(int=0), number_of(blank), 200 << 20,
                   end="Restore ended")
    expect("The restore is complete" in said, f"a restore: {said}")
    expect(files_of(blank) == files_of(disk), "what was restored is what was backed up")


def leaves_a_mounted_disk_alone(disk):
    """Mounted by others, after the helper was started: it sees the mounts of the system as they come and go."""
    volume, start, size = windows_side(disk)
    if not volume.exists():
        state.run("addpart", disk, volume.name.rsplit("p", 1)[1], start // state.SECTOR, size // state.SECTOR)
    place = pathlib.Path("/media/Windows")
    place.mkdir()
    state.run("setsid", "-w", "ntfs-3g", "-o", "ro", volume, place)
    eventually("the mount", lambda: f'"mountPoint" s "{place}"' in ask("status"))
    identifier = state.run("sfdisk", "--disk-id", disk).strip().lower()
    command("restore_toDisk_withNumber_withTargetSize", "tstt", 0, identifier, number_of(disk), 200 << 20)
    expect(f"is in use at {place}" in ask("status"), f"a mounted disk is left alone: {ask('status')}")
    state.run("umount", place)
    eventually("the end of the mount", lambda: f'"mountPoint" s "{place}"' not in ask("status"))


def reaches_a_drive_that_comes_later(work):
    """And lets go of it: whoever mounted it can take it away."""
    place = pathlib.Path("/media/Drive")
    place.mkdir()
    state.run("mount", "-t", "tmpfs", "-o", f"size=300M,uid={USER.pw_uid}", "tmpfs", place)
    command("setTargetPath", "s", place / "W.rldbackup")
    said = operate("backup", end="Backup ended")
    expect("Backup point 1 is complete" in said, f"a backup onto a new drive: {said}")
    # It may look there once more after the backup.
    eventually("the drive to be let go", lambda: subprocess.run(["umount", place], capture_output=True).returncode == 0)
    eventually("the archive to be out of reach", lambda: "W.rldbackup/" not in ask("status"))
    command("setTargetPath", "s", ARCHIVE)


def points():
    return json.loads((ARCHIVE / "archive.json").read_text())["points"]


def open_point(point):
    """As the window does it: a drive's folder with a request in it, and a program beside it. Its volume's folder."""
    drive = RUNTIME / "zpk/drives" / uuid.uuid4().hex.upper()
    for folder in (drive.parent.parent, drive.parent, drive):
        if not folder.exists():
            as_user("mkdir", "-m", "700", folder)
    image = os.fsencode(ARCHIVE / point / "disk0.pvhd")
    request = drive / "request"
    request.write_bytes(struct.pack("=5I12x1024s", 0, 0, 1, 0, USER.pw_uid, image))
    os.chown(request, USER.pw_uid, USER.pw_gid)
    subprocess.Popen(as_user_command("/usr/libexec/zpk/qrx-helper", drive.name), env=ENVIRONMENT, cwd="/")
    completion = eventually("the volume", lambda: (drive / "completion").exists() and (drive / "completion").read_bytes())
    expect(completion[:4] == bytes(4), f"the point is opened: {completion[4:200]}")
    return next((drive / "volumes").iterdir())


def contents_as_seen_by_the_user(folder):
    said = as_user("find", folder, "-type", "f", "-exec", "sha256sum", "{}", "+").stdout
    return {name.removeprefix(f"{folder}/"): digest for digest, name in
            (line.split("  ", 1) for line in said.splitlines())}


def opens_a_point(disk):
    """The user opens it, not the helper: what is mounted is there for whoever is in his session. The helper keeps its
    hands off an image that is open."""
    said = operate("backup", end="Backup ended")
    expect("Backup point 2 is complete" in said, f"a further backup: {said}")
    volume = open_point(points()[0])
    with shown(disk) as folder:
        there = {str(path.relative_to(folder)): hashlib.sha256(path.read_bytes()).hexdigest()
                 for path in folder.rglob("*") if path.is_file() and not path.is_symlink()}
    expect(contents_as_seen_by_the_user(volume) == there and there, "the files are those of the disk")
    said = operate("mergeArchiveWithParent", "t", 1, end="Merge ended")
    expect("is in use" in ask("status") and len(points()) == 2, f"what is open is not merged: {said}")
    as_user("fusermount3", "-u", volume)
    eventually("the drive to be gone", lambda: not volume.parents[1].exists())
    operate("mergeArchiveWithParent", "t", 1, end="Merge ended")
    expect(len(points()) == 1, "what is closed is merged")


def hands_over_its_log(work):
    folder = work / "logs"
    folder.mkdir(mode=0o700)
    os.chown(folder, USER.pw_uid, USER.pw_gid)
    command("collectLogsToPath", "s", folder)
    collected = {file.name: file.stat().st_uid for file in folder.iterdir()}
    expect(collected == {LOG.name: USER.pw_uid}, f"the log is the user's: {collected}")


def comes_back_when_killed():
    pid = helper_pid()
    os.kill(pid, signal.SIGKILL)
    eventually("another helper", lambda: helper_pid() not in (0, pid))
    expect(ask("status").startswith("a{sv}"), "it answers")


def ends_in_order():
    expect(systemctl("stop", "zpkhelper.service") == "", "it is stopped")
    expect(systemctl("show", "--property=Result", "--value", "zpkhelper.service") == "success", "it ends in order")


def inner(work, options):
    make_user()
    is_started_by_the_bus()
    is_fenced_in()
    disk = notices_a_new_disk(work, "mac-with-windows.img")
    backs_up(work)
    verifies()
    reaches_a_drive_that_comes_later(work)
    opens_a_point(disk)
    blank = notices_a_new_disk(work, "blank.img")
    restores(disk, blank)
    leaves_a_mounted_disk_alone(blank)
    notices_that_it_is_gone(blank)
    hands_over_its_log(work)
    comes_back_when_killed()
    ends_in_order()


if __name__ == "__main__":
    system_manager.in_a_world([*FILES, "make_disks"], prepare, inner)
