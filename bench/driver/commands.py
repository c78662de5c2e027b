"""Commands as a user feels them: whole processes, from the call to the last thing that the user waits for."""

import collections
import os
import subprocess
import time

from figures import Figure, Row

SECTION = "Commands"
MEMORY_SECTION = "Peak memory of commands"
LIMIT_SECTION = "Commands beside their limit"

STEPS = ("install", "print a setting", "start", "stop a running daemon", "stop a stopped daemon", "uninstall",
         "unknown command", "start the libraries alone")
READING_STEPS = ("start", "stop a running daemon", "stop a stopped daemon")
SETTLING_SECONDS = 0.2

OURS = "dmn"
SCRIPT = "/etc/init.d/heartbeat"
SETTINGS_READ = ", settings read"
FLOORS = ("bare C", "sh -c echo", "bare wxWidgets")

# What a command cannot do without: how often it starts wxWidgets, and how many settings it reads.
NEEDS = {"install": (1, 0), "start": (2, 6), "stop a running daemon": (1, 1), "stop a stopped daemon": (1, 1),
         "uninstall": (1, 1), "unknown command": (1, 0)}

# For the shell: what ours reads before it starts or stops a daemon, from where ours does, and what is done then.
READ_FOR_START = """
folder=$($0 printControlFolder) params=$($0 printParams) user=$($0 printRunAs)
app_id=$($0 printTransientFolderAppID) group=$($0 printTransientFolderGroup) exe=$($0 printExePath)
"""
READ_FOR_STOP = "folder=$($0 printControlFolder); "
GO_ON = """exec "$@" """
KILL_AND_WAIT = """kill "$(cat "$1")"; while [ -e "$1" ]; do sleep 0.05; done"""

Command = collections.namedtuple("Command", "line status pid_file", defaults=(0, None))


class Subject:
    """A program that is measured: its command for each step, and how many seconds it sleeps between two looks whether
    the daemon has stopped."""

    def __init__(self, name, commands, poll=None):
        self.name = name
        self.commands = commands
        self.poll = poll


def start_stop_daemon(file, *arguments):
    return ["start-stop-daemon", "--quiet", "--pidfile", file, *arguments]


def run_shell(text, *arguments):
    return ["/bin/sh", "-c", text, SCRIPT, *arguments]


def make_subjects(programs, folder):
    def program(name):
        return os.path.join(programs, name)

    def pid_file(name):
        return os.path.join(folder, name + ".pid")

    def heartbeat(*arguments):
        return [program("examples/heartbeat"), *arguments]

    def start_by_debian(name, *arguments):
        return start_stop_daemon(pid_file(name), "--start", "--background", *arguments)

    def stop_by_debian(name):
        return start_stop_daemon(pid_file(name), "--stop", "--oknodo", "--retry", "5", "--remove-pidfile")

    def start_poco(name):
        return [program("bench/poco_server"), "--daemon", "--pidfile=" + pid_file(name)]

    go = program("bench/go_service")
    floor = program("bench/floor")
    same_daemon = heartbeat("--", "--id=settings", "--controlFolder=" + folder, "daemon", "--interval=86400")
    start_same_daemon = start_by_debian("settings", "--exec", *same_daemon)
    stop_same_daemon = Command(run_shell(READ_FOR_STOP + GO_ON, *stop_by_debian("settings")))
    return [
        Subject(OURS, {
            "install": Command(heartbeat("install", "--controlFolder=" + folder, "--interval=86400")),
            "print a setting": Command([SCRIPT, "printExePath"]),
            "start": Command(heartbeat("start"), pid_file=pid_file("heartbeat")),
            "stop a running daemon": Command(heartbeat("stop")),
            "stop a stopped daemon": Command(heartbeat("stop")),
            "uninstall": Command(heartbeat("uninstall")),
            "unknown command": Command(heartbeat("bogus"), status=2),
            "start the libraries alone": Command([program("bench/start_dmn")])}, poll=0.05),
        Subject("Go service", {
            "install": Command([go, "install"]),
            "start": Command([go, "start"], pid_file="/var/run/go_service.pid"),
            "stop a running daemon": Command([go, "stop"]),
            "stop a stopped daemon": Command([go, "stop"]),
            "uninstall": Command([go, "remove"]),
            "unknown command": Command([go, "bogus"], status=1)}, poll=1),
        Subject("Poco server", {
            "start": Command(start_poco("poco"), pid_file=pid_file("poco")),
            "stop a running daemon": Command(run_shell(KILL_AND_WAIT, pid_file("poco"))),
            "unknown command": Command([program("bench/poco_server"), "--bogus"], status=78)}, poll=0.05),
        Subject("Poco server" + SETTINGS_READ, {
            "start": Command(run_shell(READ_FOR_START + GO_ON, *start_poco("poco_2")), pid_file=pid_file("poco_2")),
            "stop a running daemon": Command(run_shell(READ_FOR_STOP + KILL_AND_WAIT, pid_file("poco_2")))},
                poll=0.05),
        Subject("start-stop-daemon", {
            "start": Command(start_by_debian("debian", "--make-pidfile", "--exec", floor, "--", "wait"),
                             pid_file=pid_file("debian")),
            "stop a running daemon": Command(stop_by_debian("debian")),
            "stop a stopped daemon": Command(stop_by_debian("debian")),
            "unknown command": Command(["start-stop-daemon", "--bogus"], status=3)}, poll=0.02),
        Subject("start-stop-daemon" + SETTINGS_READ, {
            "start": Command(run_shell(READ_FOR_START + GO_ON, *start_same_daemon), pid_file=pid_file("settings")),
            "stop a running daemon": stop_same_daemon,
            "stop a stopped daemon": stop_same_daemon}, poll=0.02),
        Subject("bare C", {
            "start": Command([floor, "start", pid_file("floor")], pid_file=pid_file("floor")),
            "stop a running daemon": Command([floor, "stop", pid_file("floor")]),
            "stop a stopped daemon": Command([floor, "stop", pid_file("floor")]),
            "unknown command": Command([floor, "bogus"], status=2)}),
        Subject("sh -c echo", {"print a setting": Command(["/bin/sh", "-c", "echo /usr/sbin/heartbeat"])}),
        Subject("bare wxWidgets", {step: Command([program("bench/start_wx")])
                                   for step in ("unknown command", "start the libraries alone")}),
    ]


class Stopwatch:
    def __init__(self, programs):
        self.program = os.path.join(programs, "bench/stopwatch")

    def measure(self, command):
        """Returns nanoseconds and KiB."""
        until = ["--until", command.pid_file] if command.pid_file else []
        output = subprocess.run([self.program] + until + command.line, stdout=subprocess.PIPE, check=True, text=True,
                                timeout=60).stdout
        nanoseconds, memory, status = map(int, output.split())
        if status != command.status:
            raise RuntimeError(f"{command.line} ended with status {status}, not {command.status}")
        return nanoseconds, memory


def measure_rounds(stopwatch, subjects, rounds):
    """Takes all subjects through all steps, side by side, each round in another order."""
    samples = collections.defaultdict(list)
    for number in range(rounds):
        first = number % len(subjects)
        for step in STEPS:
            for subject in subjects[first:] + subjects[:first]:
                if step in subject.commands:
                    samples[step, subject.name].append(stopwatch.measure(subject.commands[step]))
            if step == "start":
                time.sleep(SETTLING_SECONDS)  # so that what is stopped is up
    return samples


def without_sleeps(samples, poll):
    """A command sleeps a whole number of times before its daemon is gone, and works for less than one such sleep."""
    return [nanoseconds % int(poll * 1e9) if poll else nanoseconds for nanoseconds in samples]


def does_as_much(other, step):
    """Whether a peer does what ours does. One that is told what it needs does less than ours, which reads it."""
    return step not in READING_STEPS or other == "Go service" or other.endswith(SETTINGS_READ)


def limit_beside(other, step):
    if step == "start the libraries alone" or (step == "unknown command" and other == "bare wxWidgets"):
        return 1.5
    return 1 if other not in FLOORS and does_as_much(other, step) else None


def compare_with_limits(samples, our_subject):
    """Beside what those parts alone take that a command cannot do without, in the same round."""
    rows = []
    for step, (starts, settings) in NEEDS.items():
        ours = [duration for duration, _ in samples[step, OURS]]
        if step == "stop a running daemon":
            ours = without_sleeps(ours, our_subject.poll)
        limit = [starts * start + settings * setting
                 for (start, _), (setting, _) in zip(samples["start the libraries alone", "bare wxWidgets"],
                                                     samples["print a setting", OURS])]
        name = f"{starts} x bare wxWidgets, {settings} x print a setting"
        rows.append(Row(LIMIT_SECTION, step, Figure(ours, "ns"), name, Figure(limit, "ns")))
    return rows


def compare(samples, subjects):
    rows = []
    for step in STEPS:
        for subject in subjects:
            if subject.name == OURS or step not in subject.commands:
                continue
            rows += compare_times(samples, subjects[0], subject, step)
    rows += compare_with_limits(samples, subjects[0])
    for step in STEPS:
        for subject in subjects:
            if subject.name != OURS and step in subject.commands:
                ours, theirs = (Figure([memory for _, memory in samples[step, name]], "KiB")
                                for name in (OURS, subject.name))
                rows.append(Row(MEMORY_SECTION, step, ours, subject.name, theirs))
    return rows


def compare_times(samples, our_subject, subject, step):
    ours, theirs = ([duration for duration, _ in samples[step, name]] for name in (OURS, subject.name))
    limit = limit_beside(subject.name, step)
    if step != "stop a running daemon":
        return [Row(SECTION, step, Figure(ours, "ns"), subject.name, Figure(theirs, "ns"), limit)]
    return [Row(SECTION, step, Figure(ours, "ns"), subject.name, Figure(theirs, "ns")),
            Row(SECTION, step + ", less its sleeps", Figure(without_sleeps(ours, our_subject.poll), "ns"), subject.name,
                Figure(without_sleeps(theirs, subject.poll), "ns"), limit)]


def measure(programs, folder, rounds):
    subjects = make_subjects(programs, folder)
    return compare(measure_rounds(Stopwatch(programs), subjects, rounds), subjects)
