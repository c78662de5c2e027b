#!/usr/bin/python3
"""Runs a daemon that gets ten signals and makes a hundred log entries a second, for half an hour: its memory,
its descriptors and its threads do not grow, every signal is handled and every entry is in the log."""

import glob
import os
import re
import signal
import time

from torture import Process, Scene, await_that, read_file, require, run_torture

PAUSE = 0.1  # seconds between two signals
WARM_UP = 50  # signals before the first look at the process
TOLERATED_GROWTH = 16  # KiB: four pages, because one more may be touched now and then


def examine(process):
    """The private memory in KiB, the descriptors and the threads."""
    status = read_file(f"/proc/{process.pid}/status").decode()
    return (int(re.search(r"^RssAnon:\s+(\d+) kB$", status, re.M)[1]),
            len(os.listdir(f"/proc/{process.pid}/fd")),
            int(re.search(r"^Threads:\s+(\d+)$", status, re.M)[1]))


def send_signal(scene, process, number):
    """Waits until the signal is handled: the system does not queue a second one of the same kind."""
    os.kill(process.pid, signal.SIGHUP)
    await_that(lambda: scene.marks.count("hangups") == number, f"signal {number} to be handled")


def live(scene, process, seconds):
    """Returns what was seen after the warm-up and at the end, and the number of signals."""
    first = None
    started = time.monotonic()
    number = 0
    while time.monotonic() < started + seconds:
        number += 1
        send_signal(scene, process, number)
        if number == WARM_UP:
            first = examine(process)
        time.sleep(max(0, started + number * PAUSE - time.monotonic()))
    return first, examine(process), number


def entries_of(logs):
    return [int(number) for log in logs for number in re.findall(rb">entry (\d+)</entry>", read_file(log))]


def torture(options):
    scene = Scene(options.program)
    try:
        process = Process([scene.program, f"--controlFolder={scene.control}", "daemon"],
                          scene.environment(VICTIM_RUN="busy"), f"{scene.folder}/output")
        await_that(lambda: scene.marks.is_set("running"), "the daemon to run")
        first, last, signals = live(scene, process, 1800 if options.long else 10)
        os.kill(process.pid, signal.SIGTERM)
        require(process.wait() == 0, f"the daemon ended with status {process.status}")
        logs = glob.glob(f"{scene.log}*")
        entries = entries_of(logs)
    finally:
        scene.remove()
    made = scene.marks.count("entries")
    print(f"private memory {first[0]} KiB, {last[0]} KiB; descriptors {first[1]}, {last[1]}; "
          f"threads {first[2]}, {last[2]}")
    require(last[0] <= first[0] + TOLERATED_GROWTH and first[1:] == last[1:], "the daemon has grown")
    require(sorted(entries) == list(range(made)), f"{made} entries were made, and the log has {len(entries)}")
    return f"{signals} signals handled, {made} entries in {len(logs)} log files"


if __name__ == "__main__":
    run_torture(torture, __doc__)
