#!/usr/bin/env python3
"""The helper under a real systemd with the installed unit's limits on rights, devices, system calls and memory: it must
still make a backup. Needs root.

What the unit does by mounts and by a network of its own is left out: a service manager inside of a namespace may not.
"""
import os
import pathlib
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "e2e/systemd"))
import user_manager
from user_manager import eventually, systemctl

DISK = "a3c51d0e-7f2b-4e57-9d0a-3b1e64c0d001"
LEFT_OUT = ("Type=", "BusName=", "StateDirectory", "Restart=", "Protect", "PrivateNetwork")
FILES = ["helper", "probe", "table", "bus_policy", "unit", "make_disks"]
# CAP_CHOWN to FOWNER, SETGID, SETUID, SYS_ADMIN and LEASE, as the kernel numbers them.
RIGHTS = 1 << 0 | 1 << 1 | 1 << 2 | 1 << 3 | 1 << 6 | 1 << 7 | 1 << 21 | 1 << 28


def expect(condition, what):
    if not condition:
        sys.exit(f"not so: {what}")


def prepare(work, options):
    os.chmod(work, 0o755)
    for name in ("disks", "archives", "state"):
        (work / name).mkdir()
    subprocess.run([options.make_disks, work / "disks"], check=True, stdout=subprocess.DEVNULL)


def ask(*arguments):
    said = subprocess.run(["busctl", "--system", "call", "com.tarnwick.zpkhelper", "/com/tarnwick/zpkhelper",
                           "com.tarnwick.ZPKDaemonProtocol", *map(str, arguments)], capture_output=True, text=True)
    return said.stdout.strip()


def unit_for(work, unit):
    lines = [line for line in unit.read_text().splitlines() if not line.startswith(LEFT_OUT)]
    start = f"ExecStart=/usr/libexec/zpk/zpkhelper --disks {work}/disks --state {work}/state"
    return "\n".join(start if line.startswith("ExecStart=") else line for line in lines) + "\n"


def inner(work, options):
    user_manager.enter(work, {"/usr/libexec/zpk/zpkhelper": options.helper, "/usr/libexec/zpk/zpkprobe": options.probe,
                              "/usr/libexec/zpk/zpktable": options.table,
                              "/usr/share/dbus-1/system.d/com.tarnwick.zpkhelper.conf": options.bus_policy})
    units = pathlib.Path("/run/systemd/user")
    units.mkdir(parents=True)
    (units / "zpkhelper.service").write_text(unit_for(work, options.unit))
    with open(work / "log", "wb") as log:
        bus = user_manager.start_system_bus(log)
        manager = user_manager.UserManager(log)
        manager.start()
        systemctl("start", "zpkhelper.service")
        eventually("the disks", lambda: "mac-with-windows.img" in ask("status"))
        expect(ask("setBackupSource", "s", DISK) == "u 0", "the source is chosen")
        expect(ask("setTargetPath", "s", work / "archives/W.rldbackup") == "u 0", "the place is chosen")
        expect(ask("backup") == "u 0", "the backup begins")
        helper_log = work / "state/zpkhelper.log"
        eventually("the end of the backup", lambda: "Backup ended" in helper_log.read_text())
        expect("Backup point 1 is complete" in helper_log.read_text(), f"a backup: {helper_log.read_text()}")
        pid = systemctl("show", "--property=MainPID", "--value", "zpkhelper.service").strip()
        status = dict(line.split(":\t", 1) for line in pathlib.Path(f"/proc/{pid}/status").read_text().splitlines()
                      if ":\t" in line)
        expect(int(status["CapBnd"], 16) == RIGHTS, f"its rights are {status['CapBnd']}")
        expect(status["Seccomp"].strip() == "2" and status["NoNewPrivs"].strip() == "1", "its system calls are filtered")
        systemctl("stop", "zpkhelper.service")
        expect("failed" not in systemctl("is-failed", "zpkhelper.service", check=False).split(), "it ends in order")
        manager.stop()
        bus.kill()


if __name__ == "__main__":
    user_manager.in_a_world(FILES, prepare, inner)
