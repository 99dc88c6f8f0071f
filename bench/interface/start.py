#!/usr/bin/env python3
"""Time and memory to the first painted window, and what an idle minute costs: ZPK against a bare Qt window, empty and
with one line of text.

Qt itself says when a window's first painting is flushed (its category qt.widgets.painting); the programs carry nothing
for this. Runs of the three alternate, so that all meet the same noise;
figures are medians.
"""
import argparse
import os
import pathlib
import signal
import statistics
import subprocess
import sys
import time

ENVIRONMENT = dict(os.environ, QT_LOGGING_RULES="qt.widgets.painting=true", QT_QPA_PLATFORM="offscreen",
                   QT_LOGGING_TO_CONSOLE="1")


def proportional_kib(pid):
    for line in pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text().splitlines():
        if line.startswith("Pss:"):
            return int(line.split()[1])
    raise RuntimeError("no Pss")


def resident_kib(pid):
    for line in pathlib.Path(f"/proc/{pid}/status").read_text().splitlines():
        if line.startswith("VmRSS:"):
            return int(line.split()[1])
    raise RuntimeError("no VmRSS")


def cpu_ms(pid):
    """Of all threads, also those that have ended. The figures of /proc/PID/stat come in steps of 10 ms."""
    clock = (~pid << 3) | 2  # the processor-time clock of another process, as the kernel numbers them
    return time.clock_gettime(clock) * 1000


def started(command):
    """The running program after its first painting, and milliseconds until then."""
    begin = time.monotonic()
    process = subprocess.Popen(command, env=ENVIRONMENT, stderr=subprocess.PIPE, text=True)
    for line in process.stderr:
        if "Flushing" in line:
            return process, (time.monotonic() - begin) * 1000
    raise RuntimeError(f"{command[0]} painted nothing, exit {process.wait()}")


def end(process):
    process.send_signal(signal.SIGKILL)
    process.stderr.close()
    process.wait()


def measure(command):
    process, milliseconds = started(command)
    figures = milliseconds, cpu_ms(process.pid), resident_kib(process.pid), proportional_kib(process.pid)
    end(process)
    return figures


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--bare", required=True, help="the bare window's program")
    parser.add_argument("--runs", type=int, default=21)
    parser.add_argument("--idle-seconds", type=int, default=60, help="0 for no idling")
    parser.add_argument("program", nargs=argparse.REMAINDER, help="zpk and its options, behind a --")
    options = parser.parse_args()
    options.program = options.program[options.program[:1] == ["--"]:]
    if not options.program:
        parser.error("no program")

    ours, bare, text = [], [], []
    for _ in range(options.runs):
        bare.append(measure([options.bare]))
        text.append(measure([options.bare, "--text"]))
        ours.append(measure(options.program))
    for name, index, unit in (("first painted window", 0, "ms"), ("processor until then", 1, "ms"),
                              ("resident then", 2, "KiB"), ("proportional then", 3, "KiB")):
        a = statistics.median(r[index] for r in ours)
        for yardstick, runs in (("bare", bare), ("text", text)):
            b = statistics.median(r[index] for r in runs)
            print(f"{name:22} {a:9.1f} {unit:4} {yardstick} {b:9.1f}  ratio {a / b:.2f}  difference {a - b:+.1f}")

    if options.idle_seconds > 0:
        process, _ = started(options.program)
        # What start-up still has to do is not idling.
        time.sleep(3)
        before = cpu_ms(process.pid)
        deadline = time.monotonic() + options.idle_seconds
        while time.monotonic() < deadline:
            time.sleep(1)
        used = cpu_ms(process.pid) - before
        end(process)
        print(f"idle for {options.idle_seconds} s: {used:.1f} ms of CPU, {used * 60 / options.idle_seconds:.1f} ms a minute")


sys.exit(main())
