"""A world with a systemd --user of its own, and a system bus.

`in_a_world` starts the test once more, as the first process of new mount and process namespaces, where `enter` is
called. Whatever is mounted or started then goes with that process. What does not is a control group, which is taken
away afterwards.
"""
import argparse
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile

RUNTIME = "/run/user/0"
LAUNCHCTL = "/usr/libexec/zpk/launchctl"


def in_a_world(names, prepare, inner):
    """Calls `prepare(work, options)` outside, then `inner(work, options)` within; `names`: the files to be given."""
    parser = argparse.ArgumentParser()
    for name in names:
        parser.add_argument("--" + name.replace("_", "-"), required=True, type=pathlib.Path)
    options = parser.parse_args()
    if "ZPK_E2E_INNER" in os.environ:
        inner(pathlib.Path(os.environ.pop("ZPK_E2E_INNER")), options)
        return
    if os.geteuid() != 0:
        print("skipped: only root can make the namespaces that a service manager of its own needs")
        sys.exit(77)
    with tempfile.TemporaryDirectory(prefix="zpk-e2e-") as name:
        work = pathlib.Path(name)
        (work / "home").mkdir()
        prepare(work, options)
        outcome = subprocess.run(["unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc",
                                  sys.executable, *sys.argv], env=dict(os.environ, ZPK_E2E_INNER=name))
        remove_control_group(work.name)
        if outcome.returncode != 0 and (work / "log").exists():
            print((work / "log").read_text(errors="replace"))
    sys.exit(outcome.returncode)


def eventually(what, condition, seconds=20):
    for _ in range(seconds * 20):
        result = condition()
        if result:
            return result
        subprocess.run(["sleep", "0.05"], check=True)
    sys.exit(f"waited in vain for {what}")


def mount(*arguments):
    subprocess.run(["mount", *map(str, arguments)], check=True)


def enter(work, programs):
    """`programs`: path where a file is to be seen → the file."""
    mount("-t", "tmpfs", "tmpfs", "/sys/fs/cgroup")
    mount("-t", "cgroup2", "cgroup2", "/sys/fs/cgroup")
    own = pathlib.Path("/sys/fs/cgroup", work.name)
    own.mkdir()
    (own / "cgroup.procs").write_text("0")
    show(work / "installed", programs)
    mount("-t", "tmpfs", "tmpfs", "/run")
    for folder in ("/run/systemd/system", "/run/dbus", RUNTIME):
        os.makedirs(folder)
    os.chmod(RUNTIME, 0o700)
    os.environ.update(HOME=str(work / "home"), XDG_RUNTIME_DIR=RUNTIME, TZ="UTC")
    for name in ("DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS", "XDG_DATA_HOME", "XDG_CONFIG_HOME"):
        os.environ.pop(name, None)


def show(staging, programs):
    """Lays the programs over the folders that they are installed to."""
    for path, file in programs.items():
        target = staging / path.strip("/")
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(file, target)
    for folder in sorted({os.path.dirname(path) for path in programs}):
        # One that is not there yet cannot be made without leaving it behind; the one above it is there.
        while not os.path.isdir(folder):
            folder = os.path.dirname(folder)
        mount("-t", "overlay", "overlay", "-o", f"lowerdir={staging}{folder}:{folder}", folder)


def start_system_bus(log):
    bus = subprocess.Popen(["dbus-daemon", "--system", "--nofork", "--nopidfile"], stdout=log, stderr=log)
    eventually("the system bus", lambda: os.path.exists("/run/dbus/system_bus_socket"))
    return bus


def systemctl(*arguments, check=True):
    return subprocess.run(["systemctl", "--user", "--no-pager", *arguments], check=check, capture_output=True,
                          text=True).stdout


class UserManager:
    def __init__(self, log):
        self.log = log
        self.process = None

    def start(self, zone=None):
        """`zone` is that of whatever is started from now on; without one, it is the same as before."""
        if zone:
            os.environ["TZ"] = zone
        self.process = subprocess.Popen(["/lib/systemd/systemd", "--user"], stdout=self.log, stderr=self.log)
        eventually("the user manager",
                   lambda: systemctl("is-system-running", check=False).strip() in ("running", "degraded"))

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait(20)


def remove_control_group(group):
    script = f"""
        mount -t tmpfs tmpfs /sys/fs/cgroup && mount -t cgroup2 cgroup2 /sys/fs/cgroup || exit 1
        [ ! -d /sys/fs/cgroup/{group} ] || find /sys/fs/cgroup/{group} -depth -type d -exec rmdir '{{}}' ';'
    """
    for _ in range(100):
        if subprocess.run(["unshare", "-m", "sh", "-c", script], capture_output=True).returncode == 0:
            return
        subprocess.run(["sleep", "0.05"], check=True)
    print(f"the control group {group} is left behind", file=sys.stderr)
