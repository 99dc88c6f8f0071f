"""A world with a systemd of its own as its first process, which starts services as a system's does: their mounts,
network, devices and rights are set up by it, and the bus and polkit are its services too.

`in_a_world` starts the test anew in namespaces of its own, where systemd takes its place and runs it a last time, as a
service that sees what users see. Nothing that is mounted or started there stays. Only units of `units` are known to it, so
that nothing of this machine's is started, cleaned up or mounted a second time.
"""
import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

from user_manager import mount, remove_control_group

MANAGER = "/lib/systemd/systemd"
TARGETS = ("sysinit", "basic", "sockets", "shutdown")
TEST_UNIT = """[Unit]
Requires=basic.target dbus.socket
After=basic.target dbus.socket
SuccessAction=exit-force
FailureAction=exit-force

[Service]
Type=oneshot
WorkingDirectory={folder}
ExecStart={command}
"""


def in_a_world(names, prepare, inner):
    """Calls `prepare(work, options)` outside, then `inner(work, options)` within; `names`: the files to be given.

    Of what `prepare` leaves in `work`: `usr` and `etc` are laid over the machine's folders, `units` are systemd's.
    """
    parser = argparse.ArgumentParser()
    for name in names:
        parser.add_argument("--" + name.replace("_", "-"), required=True, type=pathlib.Path)
    options = parser.parse_args()
    work = pathlib.Path(os.environ.get("ZPK_WORLD", ""))
    if "ZPK_WORLD_STEP" not in os.environ:
        outside(prepare, options)
    elif os.environ["ZPK_WORLD_STEP"] == "enter":
        enter(work)
    else:
        inner(work, options)


def outside(prepare, options):
    if os.geteuid() != 0 or not os.path.exists(MANAGER):
        print("skipped: only root can make the namespaces that a service manager of its own needs")
        sys.exit(77)
    with tempfile.TemporaryDirectory(prefix="zpk-world-") as name:
        work = pathlib.Path(name)
        work.chmod(0o755)
        for folder in ("usr", "etc", "units/service.d", "nothing"):
            (work / folder).mkdir(parents=True)
        prepare(work, options)
        try:
            outcome = subprocess.run(["unshare", "--mount", "--pid", "--ipc", "--uts", "--fork", "--kill-child",
                                      "--mount-proc", sys.executable, *sys.argv],
                                     env=dict(os.environ, ZPK_WORLD=name, ZPK_WORLD_STEP="enter"))
        finally:
            remove_control_group(work.name)
            detach_loops(work)
        if outcome.returncode != 0 and (work / "log").exists():
            print((work / "log").read_text(errors="replace"))
    sys.exit(outcome.returncode)


def enter(work):
    # As the first systemd of a machine has it: what is mounted later reaches every namespace made from this one.
    mount("--make-rshared", "/")
    mount("-t", "tmpfs", "tmpfs", "/sys/fs/cgroup")
    mount("-t", "cgroup2", "cgroup2", "/sys/fs/cgroup")
    own = pathlib.Path("/sys/fs/cgroup", work.name)
    own.mkdir()
    (own / "cgroup.procs").write_text("0")
    for folder in ("usr", "etc"):
        mount("-t", "overlay", "overlay", "-o", f"lowerdir={work / folder}:/{folder}", f"/{folder}")
    for folder in ("/run", "/home", "/media", "/var/lib"):
        mount("-t", "tmpfs", "-o", "mode=755", "tmpfs", folder)
    open_fuse(work)
    for folder in ("/run/systemd/system", "/run/dbus", "/run/lock"):
        os.makedirs(folder)
    # The settings of the one kernel are not this systemd's.
    mount("--bind", "/proc/sys", "/proc/sys")
    mount("-o", "remount,bind,ro", "/proc/sys")
    write_units(work)
    nothing = str(work / "nothing")
    # `container` also keeps it from what only a machine's first process may do, as taking down loop devices at its end.
    os.execve(MANAGER, [MANAGER, "--system", "--unit=zpk-test.service", "--log-target=null", "--show-status=no"],
              {"container": "zpk-test", "PATH": os.environ["PATH"], "SYSTEMD_UNIT_PATH": str(work / "units"),
               "SYSTEMD_GENERATOR_PATH": nothing, "SYSTEMD_ENVIRONMENT_GENERATOR_PATH": nothing})


def open_fuse(work):
    """To everybody, as it is on every desktop."""
    folder = work / "device"
    folder.mkdir()
    mount("-t", "tmpfs", "tmpfs", folder)
    subprocess.run(["mknod", "-m", "666", folder / "fuse", "c", "10", "229"], check=True)
    mount("--bind", folder / "fuse", "/dev/fuse")


def write_units(work):
    units = work / "units"
    for name in TARGETS:
        (units / f"{name}.target").write_text(f"[Unit]\nDescription={name}\nDefaultDependencies=no\n")
    for name in ("dbus.socket", "dbus.service", "polkit.service"):
        shutil.copy(f"/lib/systemd/system/{name}", units)
    # There is no journal.
    (units / "service.d/log.conf").write_text(
        f"[Service]\nStandardOutput=append:{work}/log\nStandardError=append:{work}/log\n")
    words = [sys.executable, *sys.argv]
    (units / "zpk-test.service").write_text(TEST_UNIT.format(folder=os.getcwd(), command=" ".join(f'"{word}"' for word in words)) +
                                            "".join(f'Environment="{name}={value}"\n' for name, value in {
                                                "ZPK_WORLD": work, "ZPK_WORLD_STEP": "test", "LC_ALL": "C.UTF-8",
                                                "PATH": os.environ["PATH"]}.items()))


def detach_loops(work):
    for backing in pathlib.Path("/sys/block").glob("loop*/loop/backing_file"):
        try:
            if backing.read_text().startswith(f"{work}/"):
                subprocess.run(["losetup", "--detach", f"/dev/{backing.parents[1].name}"], check=False)
        except OSError:
            continue
