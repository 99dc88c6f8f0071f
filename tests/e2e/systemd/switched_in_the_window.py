#!/usr/bin/env python3
"""The status icon's agent and the schedule, switched in the program's own window, with everything where it is installed.

Window, helper, launcher, agent and service manager are the real ones; only the display is offscreen. Needs root.
"""
import os
import pathlib
import subprocess
import sys

import scheduled_backup
import user_manager
from checks import expect, expect_done, expect_refused
from user_manager import LAUNCHCTL, eventually, systemctl

AGENT = "com.tarnwick.zpkstatusbar"
AGENT_FILE = f"/usr/share/zpk/LaunchAgents/{AGENT}.plist"
SCHEDULE = "com.tarnwick.zpkauto"
PROGRAMS = ("helper", "launchctl", "zpkctl", "statusbar", "switch_in_window", "agent_file", "bus_policy", "make_disks")


def window(work, *words):
    """What the window shows when it is open, and after each press."""
    outcome = subprocess.run(["/usr/libexec/zpk/switch_in_window", work / "pictures", *words], capture_output=True,
                             text=True)
    if outcome.returncode != 0:
        sys.exit(f"the window, asked for {words}: {outcome.stderr}")
    return outcome.stdout.splitlines()


def the_agent_is_switched_on(work):
    expect("the window", window(work, "agent"), ["agent off, schedule off", "agent on, schedule off"])
    expect("the agent's row", expect_done("list", AGENT).endswith(f"\t0\t{AGENT}\n"), True)
    state = systemctl("show", f"{AGENT}.service", "--property=UnitFileState,ExecStart,ExecMainStartTimestampMonotonic")
    for words in ("UnitFileState=enabled", "path=/usr/libexec/zpk/zpkstatusbar "):
        expect(f"{words} in {state}", words in state, True)
    expect("a start of the agent", "ExecMainStartTimestampMonotonic=0" in state, False)
    wants = pathlib.Path(os.environ["HOME"], ".config/systemd/user/graphical-session.target.wants")
    expect("started at log-in", [unit.name for unit in wants.iterdir()], [f"{AGENT}.service"])


def the_schedule_is_switched_beside_it(work):
    expect("the window", window(work, "schedule"), ["agent on, schedule off", "agent on, schedule on"])
    expect("the timer", "12:00:00" in systemctl("list-timers", f"{SCHEDULE}.timer"), True)
    expect("the window", window(work, "schedule", "schedule", "schedule"),
           ["agent on, schedule on", "agent on, schedule off", "agent on, schedule on", "agent on, schedule off"])
    expect_refused("is not loaded", "list", SCHEDULE)


def the_agent_is_switched_off(work):
    expect("the window", window(work, "agent"), ["agent on, schedule off", "agent off, schedule off"])
    expect_refused("is not loaded", "list", AGENT)
    eventually("its end", lambda: not subprocess.run(["pidof", "zpkstatusbar"], capture_output=True).stdout)
    units = pathlib.Path(os.environ["HOME"], ".local/share/systemd/user")
    expect("unit files", list(units.iterdir()), [])
    expect("the agent's file", os.path.exists(AGENT_FILE), True)
    expect("the window", window(work), ["agent off, schedule off"])


def inner(work, options):
    user_manager.enter(work, {
        scheduled_backup.HELPER: options.helper, "/usr/libexec/zpk/zpkprobe": options.helper.parent / "zpkprobe",
        "/usr/bin/zpkctl": options.zpkctl, LAUNCHCTL: options.launchctl,
        "/usr/libexec/zpk/zpkstatusbar": options.statusbar, AGENT_FILE: options.agent_file,
        "/usr/libexec/zpk/switch_in_window": options.switch_in_window,
        "/usr/share/dbus-1/system.d/com.tarnwick.zpkhelper.conf": options.bus_policy})
    os.environ["QT_QPA_PLATFORM"] = "offscreen"
    with open(work / "log", "ab") as log:
        user_manager.start_system_bus(log)
        scheduled_backup.start_helper(work, log)
        manager = user_manager.UserManager(log)
        manager.start()
        the_agent_is_switched_on(work)
        the_schedule_is_switched_beside_it(work)
        the_agent_is_switched_off(work)
        expect("failed units", systemctl("list-units", "--state=failed", "--plain", "--no-legend", "com.*"), "")
        manager.stop()


if __name__ == "__main__":
    user_manager.in_a_world(PROGRAMS, scheduled_backup.prepare, inner)
