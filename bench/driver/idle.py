"""What a daemon costs while it has nothing to do."""

import glob
import os
import subprocess
import time
from collections.abc import Callable
from dataclasses import dataclass

from comparisons import Comparison
from figures import Figure
from steps import INSTALL, START, STOP_RUNNING
from stopwatch import Stopwatch
from subjects import BARE_C, BARE_WX, OURS, make_subjects
from targets import IDLE_MEMORY, IDLE_WAKE_UPS, Target

SECTION = "An idle daemon"
SETTLING_SECONDS = 1


class Daemon:
    """A process that is watched from outside, through /proc, from the construction of this object on."""

    def __init__(self, name, process):
        self.name = name
        self.process = process
        self.watched_since = time.monotonic()
        self.wake_ups_before = self.count_wake_ups()

    def count_wake_ups(self):
        """Counts how often threads went to sleep, because something must have woken them in between."""
        return sum(read_fields(file)["voluntary_ctxt_switches"]
                   for file in glob.glob(f"/proc/{self.process}/task/*/status"))

    def wake_ups_per_minute(self):
        return (self.count_wake_ups() - self.wake_ups_before) * 60 / (time.monotonic() - self.watched_since)

    def private_memory(self):
        memory = read_fields(f"/proc/{self.process}/smaps_rollup")
        return memory["Private_Clean"] + memory["Private_Dirty"]

    def written_memory(self):
        return read_fields(f"/proc/{self.process}/smaps_rollup")["Private_Dirty"]

    def threads(self):
        return len(os.listdir(f"/proc/{self.process}/task"))

    def descriptors(self):
        return len(os.listdir(f"/proc/{self.process}/fd"))


def read_fields(file):
    """The first number of each line "NAME: NUMBER..." of a file of the system."""
    fields = {}
    with open(file, encoding="utf-8") as lines:
        for line in lines:
            name, _, value = line.partition(":")
            words = value.split()
            if words and words[0].isdigit():
                fields[name] = int(words[0])
    return fields


@dataclass(frozen=True)
class Quantity:
    """What is looked at. The target, if there is one, is set by the floor."""

    name: str
    unit: str
    read: Callable[[Daemon], float]
    target: Target | None = None


QUANTITIES = (
    Quantity("private memory", "KiB", Daemon.private_memory, IDLE_MEMORY),
    Quantity("private memory that is written to", "KiB", Daemon.written_memory),
    Quantity("threads", "", Daemon.threads),
    Quantity("descriptors", "", Daemon.descriptors),
    Quantity("wake-ups per minute", "", Daemon.wake_ups_per_minute, IDLE_WAKE_UPS))


def start_daemons(stopwatch, subjects):
    """Returns the process of each by the subject's name."""
    processes = {}
    for subject in subjects:
        if INSTALL in subject.commands:
            stopwatch.measure(subject.commands[INSTALL])
        start = subject.commands[START]
        stopwatch.measure(start)
        with open(start.pid_file, encoding="ascii") as file:
            processes[subject.name] = int(file.readline())
    return processes


def stop_daemons(stopwatch, subjects):
    for subject in subjects:
        stopwatch.measure(subject.commands[STOP_RUNNING])


def look(daemons):
    """The figure of each quantity, by the daemon's name."""
    return {daemon.name: {quantity: Figure([quantity.read(daemon)], quantity.unit) for quantity in QUANTITIES}
            for daemon in daemons}


def compare(looks):
    comparisons = []
    for quantity, ours in looks[OURS].items():
        for name, figures in looks.items():
            if name != OURS:
                target = quantity.target if name == BARE_C else None
                comparisons.append(Comparison(SECTION, quantity.name, ours, name, figures[quantity], target))
    return comparisons


def measure(place, effort):
    subjects = [subject for subject in make_subjects(place) if subject.is_watched_idle]
    stopwatch = Stopwatch(place)
    with subprocess.Popen([place.program("bench/start_wx"), "wait"]) as bare_wx:
        processes = {**start_daemons(stopwatch, subjects), BARE_WX: bare_wx.pid}
        time.sleep(SETTLING_SECONDS)
        daemons = [Daemon(name, process) for name, process in processes.items()]
        time.sleep(effort.idle_seconds)
        looks = look(daemons)
        stop_daemons(stopwatch, subjects)
        bare_wx.terminate()
    return compare(looks)
