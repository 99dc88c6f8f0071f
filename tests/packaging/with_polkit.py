#!/usr/bin/env python3
"""The helper on a system bus with its installed policies and the real polkit: who may own its name, who may do what.

Needs root: a mount namespace of its own has the bus's and polkit's folders with our files in them, and the files by which
polkit knows that somebody sits at the machine.
"""
import argparse
import os
import pathlib
import pwd
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree

BUSCTL = ["busctl", "--system", "call", "com.tarnwick.zpkhelper", "/com/tarnwick/zpkhelper"]
PROTOCOL, MAINTENANCE = "com.tarnwick.ZPKDaemonProtocol", "com.tarnwick.ZPKMaintenance"
# An administrator lets the one do all; for the others the policy's own defaults hold: one sits at the machine, one is not there.
FRIEND, SITTER, STRANGER = "games", "lp", "news"
RULES = f"""polkit.addRule(function(action, subject) {{
  if (action.id.indexOf("com.tarnwick.zpk.") == 0 && subject.user == "{FRIEND}") return polkit.Result.YES;
}});
"""
ARGUMENTS = {
    "setBackupSource": ["x"], "setTargetPath": ["/none/x.rldbackup"], "mergeArchiveWithParent": ["1"],
    "setMaxIncrementsCount": ["5"], "setCheckFS": ["false"], "pin_arcItem_withLabel": ["true", "0", "x"],
}
# Takes no leave as long as there is nothing to restore, and takes it always when there is.
RESTORE = "restore_toDisk_withNumber_withTargetSize"
LOOKING = {"status", "checkInWithPort_lastStateTime", "collectLogsToPath", "reload", "lastVerification", "pointHealth", RESTORE}
# What whoever sits at the machine may do without a password.
SITTING = {"backup", "breakProgress", "verify"}


def guarded(description):
    """Every method that takes leave: its interface, its name and its arguments."""
    for interface in xml.etree.ElementTree.parse(description).getroot().iter("interface"):
        if interface.get("name") not in (PROTOCOL, MAINTENANCE):
            continue
        for method in interface.iter("method"):
            types = "".join(arg.get("type") for arg in method.iter("arg") if arg.get("direction") == "in")
            name = method.get("name")
            if name not in LOOKING:
                yield interface.get("name"), name, [types, *ARGUMENTS[name]] if types else []


def expect(condition, what):
    if not condition:
        sys.exit(f"not so: {what}")


def eventually(what, condition):
    for _ in range(600):
        result = condition()
        if result:
            return result
        subprocess.run(["sleep", "0.05"], check=True)
    sys.exit(f"waited in vain for {what}")


def put_in(work, folder, file):
    """Shows `folder` with a further file in it, to this namespace alone."""
    copy = work / folder.strip("/").replace("/", "-")
    shutil.copytree(folder, copy)
    shutil.copy(file, copy)
    subprocess.run(["mount", "--bind", copy, folder], check=True)


def as_user(user, command):
    return ["setpriv", f"--reuid={user}", f"--regid={user}", "--clear-groups", *command] if user else command


def session_of(user):
    """The control group that the processes of the user's session are in."""
    return pathlib.Path(f"/sys/fs/cgroup/user.slice/user-{pwd.getpwnam(user).pw_uid}.slice/session-zpk.scope")


def call(user, member, *arguments, interface=PROTOCOL, interactive=False):
    command = [BUSCTL[0], f"--allow-interactive-authorization={'yes' if interactive else 'no'}", *BUSCTL[1:]]
    command = as_user(user, [*command, interface, member, *arguments])
    if user == SITTER:
        command = ["sh", "-c", 'echo $$ > "$0"/cgroup.procs && exec "$@"', session_of(user), *command]
    said = subprocess.run(command, capture_output=True, text=True, timeout=60)
    return said.stdout.strip() or said.stderr.strip()


def setup(work, options):
    os.chmod(work, 0o755)
    subprocess.run(["mount", "-t", "tmpfs", "tmpfs", "/run"], check=True)
    os.makedirs("/run/dbus")
    put_in(work, "/usr/share/dbus-1/system.d", options.bus_policy)
    put_in(work, "/usr/share/polkit-1/actions", options.polkit_policy)
    subprocess.run(["mount", "-t", "tmpfs", "tmpfs", "/etc/polkit-1/rules.d"], check=True)
    pathlib.Path("/etc/polkit-1/rules.d/10-test.rules").write_text(RULES)
    os.chmod("/etc/polkit-1/rules.d", 0o755)
    sit(SITTER)


def nobody_else_can_be_the_helper(work, options):
    state = work / "stranger"
    state.mkdir()
    shutil.chown(state, STRANGER)
    said = subprocess.run(as_user(STRANGER, [work / "zpkhelper", "--state", state]), capture_output=True, text=True,
                          timeout=30)
    expect(said.returncode == 1 and "cannot be had" in said.stderr, f"a stranger as the helper: {said}")


def sit(user):
    """Has polkit find `user` in a session at the machine, by the files of the login service."""
    uid = str(pwd.getpwnam(user).pw_uid)
    subprocess.run(["mount", "-t", "cgroup2", "cgroup2", "/sys/fs/cgroup"], check=True)
    session_of(user).mkdir(parents=True, exist_ok=True)
    for kind, name, fields in (
            ("sessions", "zpk", {"UID": uid, "USER": user, "ACTIVE": "1", "IS_DISPLAY": "1", "STATE": "active", "REMOTE": "0",
                                 "TYPE": "x11", "CLASS": "user", "SCOPE": "session-zpk.scope", "SEAT": "seat0"}),
            ("users", uid, {"NAME": user, "STATE": "active", "DISPLAY": "zpk", "SESSIONS": "zpk", "ACTIVE_SESSIONS": "zpk",
                            "SEATS": "seat0", "ACTIVE_SEATS": "seat0"}),
            ("seats", "seat0", {"IS_SEAT0": "1", "ACTIVE": "zpk", "ACTIVE_UID": uid, "SESSIONS": "zpk"})):
        folder = pathlib.Path("/run/systemd", kind)
        folder.mkdir(parents=True, exist_ok=True)
        (folder / name).write_text("".join(f"{key}={value}\n" for key, value in fields.items()))


def stand_up(user):
    for group in (session_of(user), session_of(user).parent):
        group.rmdir()


def who_may_do_what(settings, methods):
    before = settings.read_bytes()
    for interface, member, arguments in methods:
        said = call(STRANGER, member, *arguments, interface=interface)
        expect("You are not allowed to" in said and "password" in said, f"{member} of a stranger: {said}")
        said = call(STRANGER, member, *arguments, interface=interface, interactive=True)
        expect("You are not allowed to" in said, f"{member} of a stranger whom nobody can be asked about: {said}")
    expect(settings.read_bytes() == before, "nothing has changed")
    for interface, member, arguments in methods:
        said = call(SITTER, member, *arguments, interface=interface)
        what = f"{member} of who sits at the machine: {said}"
        if member in SITTING:
            expect(said.startswith("u "), what)
        else:
            expect("You are not allowed to" in said and "password" in said, what)
    expect(settings.read_bytes() == before, "nothing has changed")
    for user in (STRANGER, SITTER):
        expect(call(user, "status").startswith("a{sv}"), "looking is free")
        said = call(user, RESTORE, "tstt", "0", "x", "0", "0")
        expect(said.startswith("u ") and said != "u 0", f"a restore where there is nothing to restore: {said}")
    for user, count in ((FRIEND, "7"), (None, "8")):
        for interface, member, arguments in methods:
            said = call(user, member, *arguments, interface=interface)
            expect(said.startswith("u "), f"{member} of {user or 'root'}: {said}")
        expect(call(user, "setMaxIncrementsCount", "t", count) == "u 0", f"a setting of {user or 'root'}")
        expect(f'"maxIncrements": {count}' in settings.read_text(), "it was changed")


def without_polkit(polkit, log):
    # No bus starts it again.
    subprocess.run(["mount", "-t", "tmpfs", "tmpfs", "/usr/share/dbus-1/system-services"], check=True)
    subprocess.run(["busctl", "--system", "call", "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                    "ReloadConfig"], check=True)
    polkit.terminate()
    polkit.wait(10)
    for user in (STRANGER, FRIEND):
        said = call(user, "setCheckFS", "b", "true")
        expect("Access denied" in said, f"without polkit, {user}: {said}")
    expect("without it only root may" in log.read_text(), "the log tells")
    expect(call(None, "setCheckFS", "b", "true") == "u 0", "without polkit, root")


def inner(options, work):
    setup(work, options)
    shutil.copy(options.helper, work / "zpkhelper")
    for name in ("disks", "state"):
        (work / name).mkdir()
    children = []
    with open(work / "log", "wb") as log:
        def start(*command):
            children.append(subprocess.Popen(command, stdout=log, stderr=log))
            return children[-1]

        try:
            start("dbus-daemon", "--system", "--nofork", "--nopidfile")
            eventually("the bus", lambda: os.path.exists("/run/dbus/system_bus_socket"))
            nobody_else_can_be_the_helper(work, options)
            polkit = start("/usr/lib/polkit-1/polkitd", "--no-debug")
            start(options.helper, "--disks", work / "disks", "--state", work / "state")
            eventually("the helper", lambda: call(None, "status").startswith("a{sv}"))
            eventually("polkit", lambda: subprocess.run(["busctl", "--system", "status", "org.freedesktop.PolicyKit1"],
                                                        capture_output=True).returncode == 0)
            who_may_do_what(work / "state/settings.json", list(guarded(options.description)))
            without_polkit(polkit, work / "state/zpkhelper.log")
        except BaseException:
            print((work / "log").read_text(errors="replace"))
            raise
        finally:
            for child in children:
                child.kill()
                child.wait()
            stand_up(SITTER)


def main():
    parser = argparse.ArgumentParser()
    for name in ("helper", "description", "bus-policy", "polkit-policy"):
        parser.add_argument(f"--{name}", required=True)
    parser.add_argument("--inside", type=pathlib.Path)
    options = parser.parse_args()
    if options.inside:
        return inner(options, options.inside)
    if os.geteuid() != 0 or not os.path.exists("/usr/lib/polkit-1/polkitd"):
        print("needs root and polkit")
        sys.exit(77)
    with tempfile.TemporaryDirectory() as folder:
        sys.exit(subprocess.run(["unshare", "-m", sys.executable, *sys.argv, "--inside", folder]).returncode)


if __name__ == "__main__":
    main()
