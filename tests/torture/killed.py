#!/usr/bin/python3
"""Kills the victim's commands, with SIGKILL, and the service's with SIGTERM and SIGINT as well: at every
system call that they make, through strace, and at random moments. Afterwards the same command must succeed,
and the temporary files of killed commands must not pile up."""

import os
import signal
import time

import faults
from every_call_fails import check_without_fault, trace
from scenarios import Install, Reinstall, Start, StartAsRoot, Stop, Uninstall, check
from service_scenarios import (InstallElsewhere, InstallMakingFolder, Restart, StartAwaited, StopAwaited,
                               StopByForce, UninstallAwaited, is_service)
from torture import Scene, require, run_torture, signal_if_there

# Kills of each command at random moments. The short run kills as often at system calls, the long run at each.
SHORT_RUN = 10
LONG_RUN = 170

COMMANDS = [Install, Reinstall, Uninstall, Start, StartAsRoot, Stop]
COMMANDS_OF_SERVICE = [InstallMakingFolder, InstallElsewhere, UninstallAwaited, StartAwaited, Restart,
                       StopAwaited, StopByForce]


def list_moments(scenario):
    """A moment for each system call of the main thread, and of the processes that the command makes."""
    scenario.prepare()
    process, lines = trace(scenario, ["-f", "-b", "execve", "-y"])
    calls = faults.parse(lines, process.pid)
    of_main = [(call.name, call.number, False) for call in calls if call.tracee == 0]
    of_others = {(call.name, call.number, True) for call in faults.before_exec(calls)}
    return of_main + sorted(of_others)


def kill_at_call(scenario, deadly, moment):
    name, number, follows = moment
    options = ["-e", f"trace={name}", "-e", f"inject={name}:signal={deadly.name}:when={number}"]
    process, _ = trace(scenario, options + (["-f", "-b", "execve"] if follows else []))
    return process


def measure(scenario):
    """Returns how long the command takes, in seconds."""
    scenario.prepare()
    started = time.monotonic()
    scenario.scene.perform(scenario.words)
    return time.monotonic() - started


def kill_after(scenario, deadly, seconds):
    process = scenario.scene.begin(scenario.words)
    time.sleep(seconds)
    signal_if_there(process.pid, deadly)
    process.wait()
    return process


def check_aftermath(scenario, statuses, process):
    """Each folder may hold one temporary file until the command is performed again."""
    require(process.status in statuses, f"status {process.status}: {process.output()}")
    folders = [os.path.dirname(path) for path in scenario.leftovers()]
    require(len(folders) == len(set(folders)), f"left behind: {scenario.leftovers()}")
    check_without_fault(scenario)
    require(not scenario.leftovers(), f"left behind in the end: {scenario.leftovers()}")


def torture_one(scenario, kill, deadly, moment):
    """Returns whether the signal ended the command."""
    scenario.prepare()
    process = kill(scenario, deadly, moment)
    # If a child of the command was killed, the command may report that with status 2.
    statuses = (0, 2, -deadly) if kill == kill_at_call and moment[2] else (0, -deadly)
    check(scenario, lambda: check_aftermath(scenario, statuses, process), f"{deadly.name} at {moment}")
    return process.status == -deadly


def torture_command(options, scenario, signals):
    name = type(scenario).__name__
    if options.only not in name:
        return 0
    at_calls = list_moments(scenario)
    duration = measure(scenario)
    count = LONG_RUN if options.long else SHORT_RUN
    if not options.long:
        at_calls = options.random.sample(at_calls, count)
    moments = [options.random.uniform(0, duration * 1.2) for _ in range(count)]
    killed, killed_by_chance = (
        sum(torture_one(scenario, kill, options.random.choice(signals), moment) for moment in when)
        for kill, when in [(kill_at_call, at_calls), (kill_after, moments)])
    scenario.clean()
    print(f"{name}: killed {killed} times in {len(at_calls)} at a system call, "
          f"{killed_by_chance} times in {count} at random within {duration * 1200:.0f} ms", flush=True)
    return killed + killed_by_chance


def torture(options):
    scene = Scene(options.program)
    commands, signals = COMMANDS, [signal.SIGKILL]
    if is_service(scene):
        commands, signals = COMMANDS_OF_SERVICE, [signal.SIGKILL, signal.SIGTERM, signal.SIGINT]
    try:
        killed = sum(torture_command(options, command(scene), signals) for command in commands)
    finally:
        scene.remove()
    return f"{killed} commands killed"


if __name__ == "__main__":
    run_torture(torture, __doc__)
