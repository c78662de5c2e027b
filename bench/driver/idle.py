"""What a daemon costs while it has nothing to do."""

import glob
import os
import subprocess
import time

import commands
from figures import Figure, Row

SECTION = "An idle daemon"
LIMIT_OF_MEMORY = 1.5 * 1024  # KiB above the floor
DAEMONS = (commands.OURS, "Go service", "Poco server", "bare C")


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


def count_wake_ups(process):
    return sum(read_fields(file)["voluntary_ctxt_switches"] for file in glob.glob(f"/proc/{process}/task/*/status"))


class Daemon:
    def __init__(self, name, process):
        self.name = name
        self.process = process
        self.wake_ups_before = count_wake_ups(process)

    def look(self, seconds):
        memory = read_fields(f"/proc/{self.process}/smaps_rollup")
        wake_ups = count_wake_ups(self.process) - self.wake_ups_before
        return {
            "private memory": Figure([memory["Private_Clean"] + memory["Private_Dirty"]], "KiB"),
            "private memory that is written to": Figure([memory["Private_Dirty"]], "KiB"),
            "threads": Figure([len(os.listdir(f"/proc/{self.process}/task"))], ""),
            "descriptors": Figure([len(os.listdir(f"/proc/{self.process}/fd"))], ""),
            "wake-ups per minute": Figure([wake_ups * 60 / seconds], "")}


def start_daemons(programs, subjects):
    stopwatch = commands.Stopwatch(programs)
    processes = {}
    for subject in subjects:
        if "install" in subject.commands:
            stopwatch.measure(subject.commands["install"])
        if subject.name in DAEMONS:
            start = subject.commands["start"]
            stopwatch.measure(start)
            with open(start.pid_file, encoding="ascii") as file:
                processes[subject.name] = int(file.readline())
    return processes


def stop_daemons(programs, subjects):
    stopwatch = commands.Stopwatch(programs)
    for subject in subjects:
        if subject.name in DAEMONS:
            stopwatch.measure(subject.commands["stop a running daemon"])


def compare(looks):
    limits = {("private memory", "bare C"): (LIMIT_OF_MEMORY, "difference"),
              ("wake-ups per minute", "bare C"): (0, "value")}
    rows = []
    for what, ours in looks[commands.OURS].items():
        for name, look in looks.items():
            if name != commands.OURS:
                limit, measure_of_limit = limits.get((what, name), (None, "ratio"))
                rows.append(Row(SECTION, what, ours, name, look[what], limit, measure_of_limit))
    return rows


def measure(programs, folder, seconds):
    subjects = commands.make_subjects(programs, folder)
    with subprocess.Popen([os.path.join(programs, "bench/start_wx"), "wait"]) as bare_wx:
        processes = start_daemons(programs, subjects)
        processes["bare wxWidgets"] = bare_wx.pid
        time.sleep(1)  # until they have nothing to do
        daemons = [Daemon(name, process) for name, process in processes.items()]
        time.sleep(seconds)
        looks = {daemon.name: daemon.look(seconds) for daemon in daemons}
        stop_daemons(programs, subjects)
        bare_wx.terminate()
    return compare(looks)
