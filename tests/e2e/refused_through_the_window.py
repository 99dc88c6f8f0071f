#!/usr/bin/env python3
"""A user who may do nothing asks for it all the same, in the real window, of the real helper.

The helper serves as root on a bus of the test's own in the place of the system's, where nobody gives leave to anybody
else. The window runs as "nobody": each refusal has to be one sheet that goes when it is dismissed, and afterwards the
window shows the settings that the helper has. Needs root, to become that user.
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

import whole_program
from whole_program import MAC_WITH_WINDOWS, ask, command, eventually

USER = 65534
CONFIGURATION = """<busconfig><type>session</type><listen>unix:path={}</listen><auth>EXTERNAL</auth>
<policy context="default"><allow user="*"/><allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/>
</policy></busconfig>"""


def become_user():
    os.setgroups([])
    os.setresgid(USER, USER, USER)
    os.setresuid(USER, USER, USER)


def refuse(options, work, start):
    (work / "bus.conf").write_text(CONFIGURATION.format(work / "bus"))
    start("dbus-daemon", f"--config-file={work / 'bus.conf'}", "--nofork", "--nopidfile")
    os.environ["DBUS_SYSTEM_BUS_ADDRESS"] = f"unix:path={work / 'bus'}"
    eventually("the bus", (work / "bus").exists)
    start(options.helper, "--disks", work / "disks", "--state", work / "state")
    eventually("the disk", lambda: b"mac-with-windows.img" in ask("--system", "status"))
    archive = str(work / "archives/Windows.rldbackup")
    command("--system", "setBackupSource", "s", MAC_WITH_WINDOWS)
    command("--system", "setTargetPath", "s", archive)
    # Where the user can reach it.
    shutil.copy2(options.drive, work / "drive")
    driven = subprocess.run([work / "drive", "--system", "--refused", "--archive", archive, "--pictures",
                             work / "user/pictures"], preexec_fn=become_user, cwd=work / "user",
                            env=dict(os.environ, HOME=str(work / "user"), XDG_RUNTIME_DIR=str(work / "user"),
                                     QT_QPA_PLATFORM="offscreen"))
    if driven.returncode != 0:
        sys.exit("the drive failed:\n" + (work / "state/zpkhelper.log").read_text(errors="replace"))
    if os.path.exists(archive):
        sys.exit("there is an archive")
    refusals = (work / "state/zpkhelper.log").read_text(errors="replace").count("Refused: ")
    if refusals != 3:
        sys.exit(f"{refusals} commands were refused, three were given")


def main():
    options = whole_program.options_of("helper", "drive", "make-disks", "pictures")
    running = []

    def start(*command):
        running.append(subprocess.Popen([str(word) for word in command], stderr=subprocess.DEVNULL))

    with tempfile.TemporaryDirectory(prefix="zpk-refused-") as folder:
        work = pathlib.Path(folder)
        for name in ("disks", "archives", "state", "user"):
            (work / name).mkdir()
        work.chmod(0o755)
        os.chown(work / "user", USER, USER)
        whole_program.run(options.make_disks, "--small", work / "disks")
        try:
            refuse(options, work, start)
        finally:
            for process in reversed(running):
                process.terminate()
                process.wait(10)
        shutil.rmtree(options.pictures, ignore_errors=True)
        shutil.copytree(work / "user/pictures", options.pictures)


if __name__ == "__main__":
    main()
