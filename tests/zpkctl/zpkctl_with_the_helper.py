#!/usr/bin/env python3
"""Runs zpkctl with the real helper on a message bus of its own: what it says and with which status it ends when a backup
is made, refused, stopped by somebody else, interrupted, when the helper is killed in the middle of it, and when the points are checked.
"""
import argparse
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile

SERVICE = ["com.tarnwick.zpkhelper", "/com/tarnwick/zpkhelper", "com.tarnwick.ZPKDaemonProtocol"]

IDENTIFIER = "5d2c1f6e-8a47-4b6e-9c0d-2e7f31a4b0c5"

# A Windows side of which so much is to be read that somebody can step in: its reserved partition is stored whole.
DISK = """
export PATH=/usr/sbin:/usr/bin:/sbin:/bin
truncate -s 500M "$1/slow.img"
sgdisk -U "$2" -n 1:1M:+400M -t 1:0c01 -n 2:401M:+64M -t 2:0700 "$1/slow.img" >/dev/null
head -c 400M /dev/urandom | dd of="$1/slow.img" bs=1M seek=1 iflag=fullblock conv=notrunc status=none
truncate -s 64M "$1/volume"
mkntfs -F -Q -q -p 821248 "$1/volume" >/dev/null 2>&1
dd if="$1/volume" of="$1/slow.img" bs=1M seek=401 conv=notrunc status=none
rm "$1/volume"
"""


def eventually(what, condition):
    for _ in range(1500):
        result = condition()
        if result:
            return result
        subprocess.run(["sleep", "0.01"], check=True)
    sys.exit(f"waited in vain for {what}")


def expect(condition, what):
    if not condition:
        sys.exit(f"not so: {what}")


class World:
    def __init__(self, zpkctl, helper, work):
        self.zpkctl, self.helper_program, self.work = zpkctl, helper, work
        self.helper = None

    def start_helper(self):
        with open(self.work / "helper.log", "ab") as log:
            self.helper = subprocess.Popen([self.helper_program, "--session", "--disks", self.work / "disks", "--state",
                                            self.work / "state"], stderr=log)
        eventually("the helper", lambda: self.run("status").returncode == 0)
        eventually("its first look at the disks", lambda: self.status()["state"] == "idle")

    def end_helper(self):
        self.helper.terminate()
        self.helper.wait(10)

    def start(self, *words):
        return subprocess.Popen([self.zpkctl, "--session", *words], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def run(self, *words):
        return subprocess.run([self.zpkctl, "--session", *words], capture_output=True, text=True, timeout=60)

    def status(self):
        return json.loads(self.run("status", "--json").stdout)

    def tell(self, command, text):
        answer = subprocess.run(["busctl", "--user", "call", *SERVICE, command, "s", text], capture_output=True, text=True,
                                check=True).stdout
        expect(answer.split() == ["u", "0"], f"{command} answered {answer}")

    def expect_end(self, process, status, output, complaint):
        out, err = process.communicate(timeout=60)
        expect(process.returncode == status, f"status {status} instead of {process.returncode}; it said {out!r}, {err!r}")
        expect(output in out and (output or not out), f"{output!r} on standard output: {out!r}")
        expect(complaint in err and (complaint or not err), f"{complaint!r} on standard error: {err!r}")

    def begin_backup(self):
        backup = self.start("backup")
        eventually("the backup to run", lambda: self.status()["operation"])
        return backup

    def points(self):
        return json.loads(self.run("list", "--json").stdout)


def refusals(world):
    world.expect_end(world.start("backup"), 1, "", "Source disk not set")
    world.tell("setBackupSource", IDENTIFIER)
    world.expect_end(world.start("backup"), 1, "", "Archive path not set")
    world.tell("setTargetPath", str(world.work / "archives/Windows.rldbackup"))
    (world.work / "archives").rename(world.work / "away")
    world.expect_end(world.start("backup"), 1, "", "The folder for the backups is not there")
    (world.work / "away").rename(world.work / "archives")


def stopped_by_another(world):
    backup = world.begin_backup()
    world.expect_end(world.start("stop"), 0, "It has stopped.", "")
    world.expect_end(backup, 1, "", "stopped before it was complete")
    eventually("the helper to be done", lambda: world.status()["state"] == "idle")
    expect(world.points() == [], "what was stopped leaves nothing behind")


def interrupted(world):
    backup = world.begin_backup()
    backup.send_signal(signal.SIGINT)
    world.expect_end(backup, 128 + signal.SIGINT, "", "The backup goes on; 'zpkctl stop' stops it.")
    eventually("the backup, which goes on, to be complete", lambda: world.status()["state"] == "idle" and world.points())
    expect(world.status()["lastBackupError"] is None, "it was not stopped")


def killed(world):
    backup = world.begin_backup()
    world.helper.send_signal(signal.SIGKILL)
    world.helper.wait()
    world.expect_end(backup, 1, "", "The backup helper ended before the backup was over.")
    world.expect_end(world.start("status"), 1, "", "The backup helper is not running.")


def is_waiting(process):
    """Whether it waits for what is on its way: its link is up, and it sleeps."""
    tasks = pathlib.Path(f"/proc/{process.pid}")
    unix_sockets = sum("socket:" in os.readlink(entry) for entry in (tasks / "fd").iterdir())
    return unix_sockets and (tasks / "stat").read_text().rsplit(")", 1)[1].split()[0] == "S"


def hung(world):
    """A command that waits for a helper that hangs can be interrupted, and hears of its end."""
    for command in ("list", "status", "backup", "stop"):
        world.helper.send_signal(signal.SIGSTOP)
        waiting = world.start(command)
        eventually("it to wait", lambda: is_waiting(waiting))
        waiting.send_signal(signal.SIGINT)
        world.expect_end(waiting, 128 + signal.SIGINT, "", "Interrupted")
        world.helper.send_signal(signal.SIGCONT)
    world.helper.send_signal(signal.SIGSTOP)
    waiting = world.start("list")
    eventually("it to wait", lambda: is_waiting(waiting))
    world.helper.kill()
    world.helper.wait()
    world.expect_end(waiting, 1, "", "The backup helper")


def made(world):
    before = len(world.points())
    world.expect_end(world.start("backup"), 0, "The backup is complete.", "")
    points = world.points()
    expect(len(points) == before + 1, f"one more point: {points}")
    expect(points[0]["kind"] == "full", "the first one is a full one")
    expect(world.status()["lastBackup"] == points[-1]["date"], "the status tells the date of the newest")
    expect("full" in world.run("list").stdout, "the list in words")


def make_lacking(package):
    """As if sectors had been unreadable when the first point was made; how a check is to tell them."""
    index = next(file for file in package.glob("*/index.json") if not json.loads(file.read_text()).get("parent"))
    content = json.loads(index.read_text())
    del content["digest"]  # One without it is taken as it is.
    content["disks"][0]["unreadable"] = [[1 << 20, (1 << 20) + 512], [2 << 20, (2 << 20) + 1024]]
    index.write_text(json.dumps(content))
    return [{"disk": content["disks"][0]["name"], "start": start, "end": end}
            for start, end in content["disks"][0]["unreadable"]]


def checked(world):
    """What is whole is found whole; of what is not, every point, file and range is told, and noted in the archive."""
    package = world.work / "archives/Windows.rldbackup"
    world.expect_end(world.start("verify"), 0, "Every backup point is sound.", "")
    lacking = make_lacking(package)
    report = json.loads(world.run("verify", "--json").stdout)
    expect(report["points"][0]["unreadable"] == lacking and report["points"][0]["unreadableSectors"] == 3,
           f"what the point was made without: {report['points'][0]}")
    expect("made with 3 unreadable sectors" in world.run("verify").stdout, "the same in words")
    listed = world.points()
    expect(all(point["lastCheck"]["sound"] for point in listed), f"the list tells of the check: {listed}")
    expect(listed[0]["lastCheck"]["date"] >= report["points"][0]["checked"], f"when it was: {listed[0]}")
    expect(listed[0]["unreadableSectors"] == 3, f"and what is lacking: {listed[0]}")
    expect(report["sound"] and report["complete"], f"a sound archive: {report}")
    expect(len(report["points"]) == len(world.points()), "every point was checked")
    expect(report["points"][0]["bytes"] > 400 << 20, "it was read")
    image = max(package.glob("*/disk0.pvhd"), key=lambda file: file.stat().st_size)
    with open(image, "r+b") as file:
        file.seek(200 << 20)
        was = file.read(1)
        file.seek(200 << 20)
        file.write(bytes([was[0] ^ 1]))
    said = world.run("verify")
    expect(said.returncode == 1, f"damage is a failure: {said}")
    expect(f"{image}: bytes " in said.stdout and "There is damage" in said.stdout, f"file and range: {said.stdout!r}")
    points = json.loads(world.run("verify", "--json").stdout)["points"]
    damaged = [point for point in points if point["damage"]]
    expect(len(damaged) == 1 and damaged[0]["damage"][0]["file"] == str(image), f"one point: {points}")
    builders = [point for point in points if point["index"] > damaged[0]["index"]]
    expect(builders and all(point["damagedBase"] == damaged[0]["index"] and not point["sound"] for point in builders),
           f"those that take content from it: {builders}")
    places = [place for place, point in enumerate(world.points()) if not point["lastCheck"]["sound"]]
    expect(places == [damaged[0]["index"]], f"the list tells which is damaged: {places}")
    expect(", damaged" in world.run("list").stdout, "the same in words")
    note = json.loads((image.parent / "index.json").read_text())["lastCheck"]
    expect(note["damaged"] is True, f"noted: {note}")
    expect("is damaged" in (world.work / "state/zpkhelper.log").read_text(), "the log tells")
    running = world.start("verify")
    eventually("the check to run", lambda: world.status()["operation"])
    expect(world.status()["operation"]["kind"] == "verify", "the status knows what runs")
    world.expect_end(world.start("stop"), 0, "It has stopped.", "")
    world.expect_end(running, 1, "The check did not go to its end.", "")


def inner(options, work):
    for folder in ("disks", "state", "archives"):
        (work / folder).mkdir()
    subprocess.run(["sh", "-ec", DISK, "sh", work / "disks", IDENTIFIER], check=True)
    world = World(options.zpkctl, options.helper, work)
    world.expect_end(world.start("backup"), 1, "", "The backup helper is not running.")
    world.start_helper()
    try:
        refusals(world)
        stopped_by_another(world)
        interrupted(world)
        killed(world)
        world.start_helper()
        hung(world)
        world.start_helper()
        made(world)
        checked(world)
        world.end_helper()
    finally:
        if world.helper and world.helper.poll() is None:
            world.helper.kill()
            world.helper.wait()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--helper", required=True, type=pathlib.Path)
    parser.add_argument("--zpkctl", required=True, type=pathlib.Path)
    options = parser.parse_args()
    if "ZPKCTL_TEST_INNER" in os.environ:
        inner(options, pathlib.Path(os.environ["ZPKCTL_TEST_INNER"]))
        return
    work = tempfile.mkdtemp(prefix="zpkctl-")
    try:
        environment = dict(os.environ, ZPKCTL_TEST_INNER=work)
        outcome = subprocess.run(["dbus-run-session", "--", sys.executable, __file__, *sys.argv[1:]], env=environment)
    finally:
        shutil.rmtree(work)
    sys.exit(outcome.returncode)


if __name__ == "__main__":
    main()
