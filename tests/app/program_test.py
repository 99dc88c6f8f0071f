#!/usr/bin/env python3
"""Starts the real program, offscreen or without any display, and looks at how it ends."""
import argparse
import os
import pathlib
import signal
import subprocess
import tempfile
import time
import unittest

PROGRAM = None
DEADLINE = 30  # seconds that only a broken program takes


def surroundings(home, **changes):
    environment = {name: value for name, value in os.environ.items()
                   if name not in ("DISPLAY", "WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS")}
    runtime = pathlib.Path(home, "runtime")
    runtime.mkdir(mode=0o700, exist_ok=True)
    return environment | {"HOME": home, "XDG_RUNTIME_DIR": str(runtime), "QT_QPA_PLATFORM": "offscreen",
                          "DBUS_SESSION_BUS_ADDRESS": f"unix:path={home}/no-bus"} | changes


class Program(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = folder.name

    def ask(self, *arguments, **changes):
        return subprocess.run([PROGRAM, *arguments], env=surroundings(self.home, **changes), capture_output=True,
                              text=True, timeout=DEADLINE)

    def launcher(self):
        """A launcher that knows no job and writes down what it is asked."""
        path = pathlib.Path(self.home, "launcher")
        path.write_text('#!/bin/sh\necho "$@" >> "$0.asked"\nexit 1\n')
        path.chmod(0o755)
        return path

    def start(self, launcher):
        """The program, launched: its last question to the launcher has been asked."""
        program = subprocess.Popen([PROGRAM, "--session", "--launcher", launcher], env=surroundings(self.home),
                                   stderr=subprocess.PIPE)
        self.addCleanup(program.stderr.close)
        self.addCleanup(program.wait)
        self.addCleanup(program.kill)
        asked = pathlib.Path(f"{launcher}.asked")
        end = time.monotonic() + DEADLINE
        while not (asked.exists() and "list com.tarnwick.zpkstatusbar" in asked.read_text()):
            self.assertIsNone(program.poll(), "the program ended by itself")
            self.assertLess(time.monotonic(), end, "the program did not launch")
            time.sleep(0.01)
        return program

    def test_help_and_version_need_no_display(self):
        for platform in ("xcb", "there-is-no-such-platform"):
            for option, expected in (("--help", "--launcher=PATH"), ("--version", "zpk ")):
                answer = self.ask(option, QT_QPA_PLATFORM=platform)
                self.assertEqual((answer.returncode, answer.stderr), (0, ""))
                self.assertIn(expected, answer.stdout)

    def test_mistake_needs_no_display(self):
        answer = self.ask("--launcher", "not/absolute", QT_QPA_PLATFORM="there-is-no-such-platform")
        self.assertEqual((answer.returncode, answer.stdout), (2, ""))
        self.assertIn("absolute", answer.stderr)

    def test_without_a_display_it_says_so(self):
        answer = self.ask(QT_QPA_PLATFORM="")
        self.assertEqual((answer.returncode, answer.stdout, answer.stderr),
                         (1, "", "zpk: there is no display to show a window on\n"))

    def test_ends_well_when_it_is_told_to(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            launcher = self.launcher()
            program = self.start(launcher)
            program.send_signal(number)
            self.assertEqual(program.wait(DEADLINE), 0, number)
            pathlib.Path(f"{launcher}.asked").unlink()

    def test_asks_the_given_launcher_in_the_order_of_the_start(self):
        launcher = self.launcher()
        self.start(launcher)
        job = f"{self.home}/Library/LaunchAgents/com.tarnwick.zpkauto.plist"
        self.assertEqual(pathlib.Path(f"{launcher}.asked").read_text().splitlines(),
                         ["list com.tarnwick.zpkauto", f"unload -w {job}", "list com.tarnwick.zpkstatusbar"])


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True)
    options, rest = parser.parse_known_args()
    PROGRAM = options.program
    unittest.main(argv=["program_test", *rest])
