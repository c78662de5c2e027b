#!/usr/bin/python3
"""Starts the victim two hundred times at once: exactly one runs, and the others say who holds the PID file.
Then the same while the holder is killed: two never run at the same time, and each that does not get the file
names a process that had it.

With the service, each start says that the daemon is running, or that it runs already. Then starts, stops and
restarts meet: whatever they do, the last stop leaves nothing."""

import collections
import os
import re
import signal
import time

import service_scenarios
from scenarios import Start
from torture import Process, Scene, await_that, read_file, require, run_torture, signal_if_there

STARTS = 200
MEETING = 50  # starts that meet stops and restarts
HELD = re.compile(r"FATAL ERROR: The PID file '(.*)' is held by process (\d+)\.")

# Of a start or restart whose daemon was told to stop before it was ready, and may have said how far it came.
STOPPED_MEANWHILE = re.compile(r"has not come up(?: \(.*\))?\. Its process \d+ has ended with status 0\.")


class Crowd:
    """Victims that all begin their commands at once, when a gate opens."""

    def __init__(self, scene, commands=STARTS * ["run"]):
        self._scene = scene
        self._gate, opener = os.pipe()
        self.processes = [self._begin(number, command) for number, command in enumerate(commands)]
        os.close(self._gate)
        os.close(opener)  # opens the gate: those who read from it see its end

    def _begin(self, number, command):
        scene = self._scene
        os.set_inheritable(self._gate, True)
        wait_and_begin = f'read -r _ <&{self._gate}; exec "$@" {self._gate}<&-'
        arguments = ["/bin/sh", "-c", wait_and_begin, "sh", scene.program, f"--controlFolder={scene.control}",
                     command]
        return Process(arguments, scene.environment(), f"{scene.folder}/output-{number}")

    def running(self):
        return [process for process in self.processes if not process.has_ended()]

    def await_all_but(self, count):
        await_that(lambda: len(self.running()) <= count, f"the end of all but {count}", 120)

    def check_losers(self, holders):
        """Each that has ended must have said which process holds the file. Returns how many have ended."""
        losers = [process for process in self.processes if process.has_ended() and process.pid not in holders]
        for process in losers:
            require(process.status == 2, f"status {process.status}: {process.output()}")
            message = HELD.search(process.output())
            require(message, f"a loser does not say who holds the file: {process.output()}")
            require(message[1] == self._scene.pid_file and int(message[2]) in holders,
                    f"a loser names another file, or none of the processes {holders}: {process.output()}")
        return len(losers)

    def end(self):
        for process in self.running():
            signal_if_there(process.pid, signal.SIGKILL)
            process.wait()


def identify(path):
    """What would differ if this were another file, or had been written to."""
    status = os.stat(path)
    return status.st_ino, status.st_mtime_ns, read_file(path)


def check_winner(scene, process):
    """The winner must hold the file until it is told to stop."""
    await_that(lambda: scene.holder() == process.pid, "the winner to hold the file")
    os.kill(process.pid, signal.SIGTERM)
    require(process.wait() == 0, f"the winner ended with status {process.status}")
    require(not os.path.exists(scene.pid_file), "the winner left its PID file behind")


def start_at_once(scene):
    crowd = Crowd(scene)
    try:
        holder = await_that(scene.holder, "somebody to hold the file")
        first_file = identify(scene.pid_file)
        crowd.await_all_but(1)
        winners = crowd.running()
        require([process.pid for process in winners] == [holder], f"{holder} holds the file, {winners} run")
        require(identify(scene.pid_file) == first_file, "a loser touched the winner's file")
        losers = crowd.check_losers({holder})
        check_winner(scene, winners[0])
    finally:
        crowd.end()
    require(losers == STARTS - 1, f"{losers} of {STARTS} have lost")


def start_while_holder_dies(scene, delay):
    """Returns how many of the crowd, none or one, have succeeded the holder that was killed."""
    first = Process([scene.program, f"--controlFolder={scene.control}", "run"], scene.environment(),
                    f"{scene.folder}/output")
    await_that(lambda: scene.holder() == first.pid, "the first to hold the file")
    crowd = Crowd(scene)
    try:
        time.sleep(delay)
        os.kill(first.pid, signal.SIGKILL)
        first.wait()
        crowd.await_all_but(1)
        await_that(lambda: not crowd.running() or scene.holder() == crowd.running()[0].pid, "the successor")
        # A successor that ended while it was looked at would count as a loser.
        successors = crowd.running()
        losers = crowd.check_losers({first.pid, *(process.pid for process in successors)})
        require(losers + len(successors) == STARTS, f"{losers} have lost, {len(successors)} run")
        for process in successors:
            check_winner(scene, process)
    finally:
        crowd.end()
    for name in os.listdir(scene.control):
        os.remove(f"{scene.control}/{name}")
    return len(successors)


def start_installed_at_once(scene):
    """The same with the command "start", whose losers say in the log who holds the file."""
    scenario = Start(scene)
    scenario.prepare()
    scene.clear_log()
    crowd = Crowd(scene, STARTS * ["start"])
    crowd.await_all_but(0)
    for process in crowd.processes:
        require(process.status == 0, f"status {process.status}: {process.output()}")
    scenario.check_done()
    holders = [int(pid) for pid in re.findall(r"<what>The PID file .* is held by process (\d+)\.</what>",
                                              read_file(scene.log).decode())]
    # Each loser says so twice: when it cannot run, and at the end of its command.
    require(holders == 2 * (STARTS - 1) * [scene.holder()],
            f"of {STARTS} starts, these are said to hold the file: {holders}")
    scenario.clean()


def start_service_at_once(scene):
    """Each start says which process runs, and one of them that it has started it."""
    scenario = service_scenarios.StartAwaited(scene)
    scenario.prepare()
    crowd = Crowd(scene, STARTS * ["start"])
    crowd.await_all_but(0)
    scenario.check_done()
    told = collections.Counter()
    for process in crowd.processes:
        require(process.status == 0, f"status {process.status}: {process.output()}")
        answer = re.search(r"^victim (is running|runs already) \(process (\d+)\)\.$", process.output(), re.M)
        require(answer, f"a start does not say what runs: {process.output()}")
        told[answer[1], int(answer[2])] += 1
    holder = scene.holder()
    require(told == {("is running", holder): 1, ("runs already", holder): STARTS - 1},
            f"{holder} runs, and the starts say: {told}")
    scenario.clean()


def meet(scene, random):
    """Starts, stops and restarts at once."""
    scenario = service_scenarios.StartAwaited(scene)
    scenario.prepare()
    commands = MEETING * ["start"] + MEETING // 5 * ["stop", "restart"]
    random.shuffle(commands)
    crowd = Crowd(scene, commands)
    crowd.await_all_but(0)
    for process in crowd.processes:
        require(process.status == 0 or STOPPED_MEANWHILE.search(process.output()),
                f"status {process.status}: {process.output()}")
    require(len(scene.victims()) <= 1, f"several daemons run: {scene.victims()}")
    scene.perform(["stop"])
    require(not scene.victims(), "a daemon runs after the last stop")
    require(not os.path.exists(scene.pid_file), "a PID file is left")
    scenario.check_nothing_left()
    scenario.clean()
    return sum(process.status == 0 for process in crowd.processes)


def torture_service(options, scene):
    rounds = 20 if options.long else 1
    for _ in range(rounds):
        start_service_at_once(scene)
    succeeded = sum(meet(scene, options.random) for _ in range(rounds))
    return (f"{STARTS} starts at once, {rounds} times: one ran each time, and all said so; "
            f"{rounds} times {MEETING} starts with stops and restarts between: {succeeded} succeeded")


def torture_plain(options, scene):
    rounds = 20 if options.long else 1
    deaths = 40 if options.long else 2
    started = time.monotonic()
    for _ in range(rounds):
        start_at_once(scene)
    duration = (time.monotonic() - started) / rounds
    for _ in range(rounds):
        start_installed_at_once(scene)
    succeeded = sum(start_while_holder_dies(scene, options.random.uniform(0, duration))
                    for _ in range(deaths))
    return (f"{STARTS} at once, {rounds} times by run and {rounds} times by start: one ran each time; "
            f"{deaths} times with the holder killed meanwhile: {succeeded} times one of them succeeded it")


def torture(options):
    scene = Scene(options.program)
    try:
        return (torture_service if service_scenarios.is_service(scene) else torture_plain)(options, scene)
    finally:
        scene.remove()


if __name__ == "__main__":
    run_torture(torture, __doc__)
