#!/usr/bin/env python3
"""Installs into an empty folder and holds what is there to the list below, and every file that names a path of the
installed program to what is there.
"""
import argparse
import configparser
import os
import pathlib
import plistlib
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ET

PROGRAMS = {
    "usr/bin/zpk",
    "usr/bin/zpkctl",
    "usr/libexec/zpk/launchctl",
    "usr/libexec/zpk/qrx-helper",
    "usr/libexec/zpk/zpkhelper",
    "usr/libexec/zpk/zpkprobe",
    "usr/libexec/zpk/zpktable",
    "usr/libexec/zpk/zpkstatusbar",
}
FILES = {
    "usr/lib/systemd/system/zpkhelper.service",
    "usr/share/applications/com.tarnwick.zpk.desktop",
    "usr/share/dbus-1/services/com.tarnwick.zpk.service",
    "usr/share/dbus-1/interfaces/com.tarnwick.zpkhelper.xml",
    "usr/share/dbus-1/system-services/com.tarnwick.zpkhelper.service",
    "usr/share/dbus-1/system.d/com.tarnwick.zpkhelper.conf",
    "usr/share/icons/hicolor/scalable/apps/com.tarnwick.zpk.svg",
    "usr/share/polkit-1/actions/com.tarnwick.zpk.policy",
    "usr/share/zpk/LaunchAgents/com.tarnwick.zpkstatusbar.plist",
    "usr/share/zpk/icons/disk-external.png",
    "usr/share/zpk/icons/disk-image.png",
    "usr/share/zpk/icons/disk-internal.png",
}
# What `systemd-analyze security` may say at most: disks, mounts and root are what the helper is for.
MOST_EXPOSED = 30  # tenths
LANGUAGES = {None, "de", "he"}
# Their work is the package manager's; the program is ready for them not being there.
NEVER_INSTALLED = {"/usr/libexec/zpk/zpk-updater", "/usr/libexec/zpk/zpk-uninstall"}
PATH = re.compile(r"/usr/(?:bin|libexec|share)/zpk[\w./-]*")

problems = []


def expect(condition, what):
    if not condition:
        problems.append(what)


def ini(file, **more):
    parser = configparser.ConfigParser(interpolation=None, delimiters=("=",), **{"strict": True, **more})
    parser.optionxform = str
    parser.read_string(file.read_text())
    return parser


def unit_file(file):
    """In a unit a name may come several times: each adds to the list."""
    return ini(file, strict=False)


def check_list(root):
    found = {str(path.relative_to(root)) for path in root.rglob("*") if not path.is_dir()}
    for path in sorted(found ^ (PROGRAMS | FILES)):
        problems.append(f"{path} is {'not wanted' if path in found else 'missing'}")
    for path in sorted(PROGRAMS & found):
        expect(os.access(root / path, os.X_OK), f"{path} cannot be run")
    for path in sorted(FILES & found):
        expect((root / path).stat().st_mode & 0o777 == 0o644, f"{path} has an odd mode")


def check_programs(root):
    without_version = {"usr/libexec/zpk/launchctl", "usr/libexec/zpk/qrx-helper", "usr/libexec/zpk/zpkprobe",
                       "usr/libexec/zpk/zpktable"}
    for path in sorted(PROGRAMS - without_version):
        said = subprocess.run([root / path, "--version"], capture_output=True, text=True, timeout=60)
        name = path.rsplit("/", 1)[1]
        expect(said.returncode == 0 and said.stdout.startswith(name + " "), f"{path} --version says {said.stdout!r}")


def check_named_paths(root, source):
    """Every path that an installed text names, and every one that the sources do."""
    texts = [root / path for path in FILES if not path.endswith(".png")]
    texts += [file for folder in ("src", "tools") for file in sorted((source / folder).rglob("*"))
              if file.suffix in (".h", ".cpp")]
    named = set()
    for text in texts:
        for path in (found.rstrip('./') for found in PATH.findall(text.read_text())):
            named.add(path)
            expect(path in NEVER_INSTALLED or (root / path[1:]).exists(), f"{text} names {path}, which is not installed")
    expect(len(named) >= 5, f"hardly any path was found: {sorted(named)}")


def check_helper_start(root):
    unit = unit_file(root / "usr/lib/systemd/system/zpkhelper.service")
    service = ini(root / "usr/share/dbus-1/system-services/com.tarnwick.zpkhelper.service")
    expect(unit["Service"]["ExecStart"] == service["D-BUS Service"]["Exec"],
           "the bus and the service manager start the helper in different ways")
    expect(service["D-BUS Service"]["SystemdService"] == "zpkhelper.service", "the bus names another unit")
    expect(unit["Service"]["BusName"] == service["D-BUS Service"]["Name"], "the two wait for different names")
    program = unit["Service"]["ExecStart"].split()[0]
    expect(program[1:] in PROGRAMS, f"the unit starts {program}")
    policy = ET.parse(root / "usr/share/dbus-1/system.d/com.tarnwick.zpkhelper.conf")
    owned = {allow.get("own") for allow in policy.iter("allow")} - {None}
    expect(owned == {service["D-BUS Service"]["Name"]}, f"the policy lets own {owned}")
    ET.parse(root / "usr/share/dbus-1/interfaces/com.tarnwick.zpkhelper.xml")


def check_unit(root):
    unit = "usr/lib/systemd/system/zpkhelper.service"
    # What every unit leans on, and the package does not bring.
    for name in ("sysinit.target", "basic.target", "shutdown.target", "dbus.socket"):
        (root / unit).with_name(name).write_text("[Unit]\n" + ("[Socket]\nListenStream=/x\n" if "socket" in name else ""))
    for options in (["verify", f"--root={root}", "/" + unit],
                    ["security", "--offline=true", f"--threshold={MOST_EXPOSED}", "--no-pager", str(root / unit)]):
        said = subprocess.run(["systemd-analyze", *options], capture_output=True, text=True, timeout=60,
                              env=dict(os.environ, SYSTEMD_LOG_LEVEL="warning"))
        expect(said.returncode == 0, f"systemd-analyze {options[0]}: {said.stdout.splitlines()[-1:]} {said.stderr}")
        complaints = [line for line in said.stderr.splitlines() if "zpkhelper" in line]
        expect(not complaints, f"systemd-analyze {options[0]}: {complaints}")


def check_policy(root):
    """Nobody overwrites a disk without a password, and whoever is asked for one is told in his language what for."""
    lang = "{http://www.w3.org/XML/1998/namespace}lang"
    actions = ET.parse(root / "usr/share/polkit-1/actions/com.tarnwick.zpk.policy").getroot().findall("action")
    expect(len(actions) == 6, f"there are {len(actions)} actions")
    for action in actions:
        name = action.get("id")
        for kind in ("description", "message"):
            texts = {text.get(lang): text.text for text in action.findall(kind)}
            expect(set(texts) == LANGUAGES and all(texts.values()), f"{name}: {kind} in {set(texts)}")
        if name.endswith(".restore"):
            expect(all("$(disk)" in text.text for text in action.findall("message")), f"{name} does not name the disk")
            expect({default.text for default in action.find("defaults")} == {"auth_admin"}, f"{name} needs no password")
        expect(action.findtext("defaults/allow_any") == "auth_admin", f"{name} is free for whoever is logged in from afar")


def check_agent(root):
    file = root / "usr/share/zpk/LaunchAgents/com.tarnwick.zpkstatusbar.plist"
    agent = plistlib.loads(file.read_bytes())
    expect(agent == {"Label": file.stem, "ProgramArguments": ["/usr/libexec/zpk/zpkstatusbar"], "RunAtLoad": True,
                     "LimitLoadToSessionType": "Aqua", "KeepAlive": {"SuccessfulExit": False}}, f"the agent is {agent}")


def check_menu_entry(root):
    entry = ini(root / "usr/share/applications/com.tarnwick.zpk.desktop")["Desktop Entry"]
    expect("usr/bin/" + entry["Exec"].split()[0] in PROGRAMS, f"the menu starts {entry['Exec']}")
    # Desktops then start it over the bus, by the entry's name.
    service = ini(root / "usr/share/dbus-1/services/com.tarnwick.zpk.service")["D-BUS Service"]
    expect(entry["DBusActivatable"] == "true" and service["Name"] == "com.tarnwick.zpk", f"the bus knows {service['Name']}")
    expect(service["Exec"] == "/usr/bin/" + entry["Exec"], f"the menu starts {entry['Exec']}, the bus {service['Exec']}")
    icon = f"usr/share/icons/hicolor/scalable/apps/{entry['Icon']}.svg"
    if not (root / icon).exists():
        problems.append(f"the menu's icon {entry['Icon']} is missing")
        return
    expect(ET.parse(root / icon).getroot().get("viewBox") is not None, "the icon cannot be scaled")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", required=True, type=pathlib.Path)
    parser.add_argument("--source", required=True, type=pathlib.Path)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        # The prefix as packages have it, however this build was configured.
        subprocess.run(["cmake", "--install", options.build, "--prefix", "/usr"], check=True, capture_output=True,
                       env=dict(os.environ, DESTDIR=folder))
        check_list(root)
        if not problems:
            check_programs(root)
            check_named_paths(root, options.source)
            check_helper_start(root)
            check_unit(root)
            check_policy(root)
            check_agent(root)
            check_menu_entry(root)
    for problem in problems:
        print(problem)
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
