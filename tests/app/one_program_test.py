#!/usr/bin/env python3
"""Starts the real program twice in one session, on a message bus of the test's own."""
import argparse
import os
import pathlib
import select
import signal
import subprocess
import tempfile
import time
import unittest

PROGRAM = None
DEADLINE = 30  # seconds that only a broken program takes


class OneProgram(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = folder.name
        self.address = f"unix:path={self.home}/bus"
        pathlib.Path(self.home, "runtime").mkdir(mode=0o700)
        launcher = pathlib.Path(self.home, "launcher")
        launcher.write_text("#!/bin/sh\n: > \"$0.asked\"\nexit 1\n")
        launcher.chmod(0o755)
        services = pathlib.Path(self.home, ".local/share/dbus-1/services")
        services.mkdir(parents=True)
        services.joinpath("com.tarnwick.zpk.service").write_text(
            f"[D-BUS Service]\nName=com.tarnwick.zpk\nExec={PROGRAM} --session --launcher={self.home}/launcher\n")
        bus = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address",
                                f"--address={self.address}"], stdout=subprocess.PIPE,
                               stderr=subprocess.DEVNULL, text=True,
                               env=self.surroundings(XDG_DATA_HOME=f"{self.home}/.local/share"))
        self.addCleanup(bus.stdout.close)
        self.addCleanup(bus.wait)
        self.addCleanup(bus.kill)
        self.assertTrue(bus.stdout.readline(), "no message bus")

    def surroundings(self, **more):
        environment = {name: value for name, value in os.environ.items() if name not in ("DISPLAY", "WAYLAND_DISPLAY")}
        return environment | {"HOME": self.home, "XDG_RUNTIME_DIR": f"{self.home}/runtime",
                              "QT_QPA_PLATFORM": "offscreen", "DBUS_SESSION_BUS_ADDRESS": self.address} | more

    def start(self):
        program = subprocess.Popen([PROGRAM, "--session", "--language=en", f"--launcher={self.home}/launcher"],
                                   env=self.surroundings(), stderr=subprocess.PIPE)
        self.addCleanup(program.stderr.close)
        self.addCleanup(program.wait)
        self.addCleanup(program.kill)
        return program

    def bus(self, *arguments):
        return subprocess.run(["busctl", f"--address={self.address}", "--timeout=20", *arguments],
                              capture_output=True, text=True, timeout=DEADLINE)

    def owner(self):
        """The process that has the place, or None."""
        answer = self.bus("call", "org.freedesktop.DBus", "/", "org.freedesktop.DBus", "GetConnectionUnixProcessID",
                          "s", "com.tarnwick.zpk")
        return int(answer.stdout.split()[1]) if answer.returncode == 0 else None

    def wait_for_owner(self, program):
        end = time.monotonic() + DEADLINE
        while self.owner() != program.pid:
            self.assertIsNone(program.poll(), "the program ended by itself")
            self.assertLess(time.monotonic(), end, "the program never took the place")
            time.sleep(0.01)

    def first(self):
        """One that has launched, with the place."""
        program = self.start()
        self.wait_for_owner(program)
        end = time.monotonic() + DEADLINE
        while not pathlib.Path(self.home, "launcher.asked").exists():
            self.assertLess(time.monotonic(), end, "the program did not launch")
            time.sleep(0.01)
        return program

    def test_the_second_hands_over_and_ends_well(self):
        first = self.first()
        for _ in range(2):
            second = self.start()
            self.assertEqual(second.wait(DEADLINE), 0)
            self.assertEqual(second.stderr.read(), b"")
        self.assertIsNone(first.poll())
        self.assertEqual(self.owner(), first.pid)

    def test_the_second_needs_no_display(self):
        self.first()
        second = subprocess.run([PROGRAM], env=self.surroundings(QT_QPA_PLATFORM=""), capture_output=True, timeout=DEADLINE)
        self.assertEqual((second.returncode, second.stderr), (0, b""))

    def test_many_at_once_leave_one(self):
        programs = [self.start() for _ in range(5)]
        end = time.monotonic() + DEADLINE
        while sum(program.poll() is None for program in programs) > 1:
            self.assertLess(time.monotonic(), end)
            time.sleep(0.01)
        left = [program for program in programs if program.poll() is None]
        self.assertEqual([program.pid for program in left], [self.owner()])
        self.assertEqual({program.returncode for program in programs if program not in left}, {0})

    def test_the_second_says_so_when_the_first_hangs(self):
        first = self.first()
        first.send_signal(signal.SIGSTOP)
        second = self.start()
        readable, _, _ = select.select([second.stderr], [], [], DEADLINE)
        self.assertTrue(readable, "the second one hangs as well")
        self.assertIn(b"ZPK is running already, but it does not answer.", second.stderr.readline())
        # It shows that in a window now.
        self.assertIsNone(second.poll())
        second.send_signal(signal.SIGTERM)
        second.wait(DEADLINE)
        first.send_signal(signal.SIGCONT)
        self.assertEqual(self.start().wait(DEADLINE), 0, "it answers again")

    def test_the_second_takes_the_place_of_one_that_crashed(self):
        first = self.first()
        first.kill()
        first.wait()
        self.wait_for_owner(self.start())

    def test_the_second_takes_the_place_of_one_that_crashes_while_it_waits(self):
        first = self.first()
        first.send_signal(signal.SIGSTOP)
        known = len(self.bus("list", "--unique").stdout.splitlines())
        second = self.start()
        end = time.monotonic() + DEADLINE
        while len(self.bus("list", "--unique").stdout.splitlines()) <= known:
            self.assertLess(time.monotonic(), end, "the second one never asked")
        first.kill()
        first.wait()
        self.wait_for_owner(second)

    def test_one_that_was_told_to_end_leaves_the_place(self):
        first = self.first()
        first.send_signal(signal.SIGTERM)
        self.assertEqual(first.wait(DEADLINE), 0)
        self.assertIsNone(self.owner())
        self.wait_for_owner(self.start())

    def test_desktops_can_bring_it_forward(self):
        first = self.first()
        self.activate()
        self.assertEqual(self.owner(), first.pid)

    def test_the_bus_can_start_it(self):
        self.activate()
        started = self.owner()
        os.kill(started, signal.SIGKILL)
        end = time.monotonic() + DEADLINE
        while pathlib.Path(f"/proc/{started}").exists():
            self.assertLess(time.monotonic(), end, "it is still there")
            time.sleep(0.01)

    def activate(self):
        answer = self.bus("call", "com.tarnwick.zpk", "/com/tarnwick/zpk", "org.freedesktop.Application", "Activate",
                          "a{sv}", "0")
        self.assertEqual((answer.returncode, answer.stderr), (0, ""))


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--program", required=True)
    options, rest = parser.parse_known_args()
    PROGRAM = options.program
    unittest.main(argv=["one_program_test", *rest])
