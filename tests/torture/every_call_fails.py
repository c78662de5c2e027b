#!/usr/bin/python3
"""Makes every system call of the victim's commands fail once, with each error that it can really give.

A command stops at the beginning of main(), where strace is attached, so that the dynamic loader works without
faults. To fail a call of the main thread, strace watches only that thread. To fail a call of the signal
thread or of a process that the command makes, strace watches all threads and processes until they become
another program, and the call fails in each that gets so far. To fail a call of the shell that runs the init
script, strace runs the script.

Afterwards the command must have succeeded with everything done, or have failed with status 2 and a message
that names what failed. It must leave nothing half done or temporary, and must then succeed without the
fault."""

import collections
import os
import re
import signal
import subprocess

import faults
from service_scenarios import commands, start
from torture import (PATIENCE, SCRIPT, Failure, Scene, await_that, end, read_file, require, run_strace,
                     run_torture)

SHORT_RUN = 150  # faults in the short run, for all commands

# A call that strace has failed.
INJECTED = re.compile(r"(\w+)\((.*) \(INJECTED\)$")

# strace fails the call with the error: in the main thread, or, if it follows, in every thread and process.
Fault = collections.namedtuple("Fault", "call error follows")


def begin_paused(scenario):
    scene = scenario.scene
    scene.marks.clear()
    user = {"VICTIM_USER": str(scenario.user)} if scenario.user else {}
    process = scene.begin(scenario.words, VICTIM_PAUSE="1", **user, **scenario.environment)
    os.waitid(os.P_PID, process.pid, os.WSTOPPED)
    return process


def is_traced(process):
    return "TracerPid:\t0\n" not in (read_file(f"/proc/{process.pid}/status") or b"").decode()


def trace(scenario, strace_options):
    """Performs the command with strace attached. Returns the process, which has ended, and strace's lines."""
    scene = scenario.scene
    process = begin_paused(scenario)
    listing = f"{scene.folder}/strace"
    strace = run_strace(["-o", listing, "-p", str(process.pid), *strace_options])
    try:
        await_that(lambda: is_traced(process), "strace to attach")
        os.kill(process.pid, signal.SIGCONT)
        scenario.stimulate(process)
        process.wait()
    finally:
        if process.status is None:
            os.kill(process.pid, signal.SIGKILL)
        end(strace)
    lines = read_file(listing).decode(errors="replace").splitlines()
    os.remove(listing)
    return process, lines


def list_faults(scenario):
    scenario.prepare()
    process, lines = trace(scenario, ["-f", "-b", "execve", "-y"])
    require(process.status == scenario.success,
            f"status {process.status} without a fault: {process.output()}")
    calls = faults.parse(lines, process.pid)
    of_main = [Fault(call, error, faults.changes_every_thread(call))
               for call in calls if call.tracee == 0 for error in faults.errors_of(call)]
    # Several processes make the same calls: each call, by its name and number, counts once.
    of_others = {(call.name, call.number, error): Fault(call, error, True)
                 for call in faults.before_exec(calls) for error in faults.errors_of(call)
                 # Unless the command runs as root, its own setresuid gives up root's rights.
                 if call.name != "setresuid" or scenario.user == 0}
    return of_main + list(of_others.values())


def to_option(fault):
    return f"inject={fault.call.name}:error={fault.error}:when={fault.call.number}"


def describe(fault):
    where = " in every process" if fault.follows else ""
    return f"{to_option(fault)}{where} for {fault.call.name}({fault.call.arguments}"


def check_without_fault(scenario):
    """The same command must succeed in the state that the fault has left."""
    scene = scenario.scene
    scene.marks.clear()
    process = scene.begin(scenario.words, **scenario.environment)
    scenario.stimulate(process)
    require(process.wait() == scenario.success,
            f"afterwards, without a fault, status {process.status}: {process.output()}")
    scenario.said = process.output()
    scenario.check_done()


def has_met_possible_call(fault, lines):
    """Whether a call has failed that can really give the error. How often a pipe is read depends on how busy
    the machine is, so another call may have got the number of the one that was to fail."""
    calls = [faults.Call(0, call[1], fault.call.number, call[2])
             for call in map(INJECTED.search, lines) if call]
    return not calls or any(fault.error in faults.errors_of(call) for call in calls)


def inject(scenario, fault):
    """Returns whether the fault was injected, and the command's status."""
    scenario.scene.clear_log()
    scenario.prepare()
    options = ["-y", "-e", f"trace={fault.call.name}", "-e", to_option(fault)]
    process, lines = trace(scenario, options + (["-f", "-b", "execve"] if fault.follows else []))
    if not has_met_possible_call(fault, lines):
        return False, process.status
    scenario.check_outcome(process)
    scenario.check_nothing_left()
    check_without_fault(scenario)
    return any("(INJECTED)" in line for line in lines), process.status


def put_wrapper(scenario, verb, fault):
    """Injects the fault into the shell that runs the script with this verb."""
    real = "/etc/real-script"
    os.rename(SCRIPT, real)
    with open(SCRIPT, "w", encoding="utf-8") as file:
        file.write(f"#!/bin/sh\n[ $1 = {verb} ] || exec {real} $1\n"
                   f"exec strace -qq -o {scenario.scene.folder}/strace -e '{fault}' {real} $1\n")
        os.fchmod(file.fileno(), 0o755)


def list_script_faults(scenario):
    scenario.prepare()
    listing = f"{scenario.scene.folder}/strace"
    subprocess.run(["strace", "-f", "-qq", "-y", "-o", listing, SCRIPT, "printRunAs"], check=True,
                   timeout=PATIENCE, stdout=subprocess.PIPE)
    lines = read_file(listing).decode().splitlines()
    calls = faults.parse(lines, lines[0].split()[0])
    # If reading the script fails, the shell takes that for the script's end, and nobody can tell the
    # difference.
    calls = [call for call in calls[1:] if not (call.name == "read" and SCRIPT in call.arguments)]
    return [Fault(call, error, False) for call in calls for error in faults.errors_of(call)]


def inject_into_script(scenario, fault):
    scene = scenario.scene
    scene.clear_log()
    scenario.prepare()
    put_wrapper(scenario, "printRunAs", to_option(fault))
    process = scene.begin(scenario.words)
    process.wait()
    scenario.check_outcome(process)
    scenario.check_nothing_left()
    lines = (read_file(f"{scene.folder}/strace") or b"").decode(errors="replace").splitlines()
    scenario.prepare()
    check_without_fault(scenario)
    return any("(INJECTED)" in line for line in lines), process.status


def sample(options, all_faults, most):
    """All faults, or, in the short run, one of each kind at random, and so many at most."""
    if options.long:
        return all_faults
    shuffled = list(all_faults)
    options.random.shuffle(shuffled)
    kinds = {(fault.call.name, faults.kind_of(fault.call)): fault for fault in shuffled}
    return list(kinds.values())[:most]


def torture_command(options, name, most, scenario, list_all, inject_one):
    all_faults = list_all(scenario)
    injected, succeeded = 0, 0
    failures = []
    for fault in sample(options, all_faults, most):
        if options.only not in f"{name} {describe(fault)}":
            continue
        try:
            was_injected, status = inject_one(scenario, fault)
        except Failure as failure:
            failures.append(f"{name}: {describe(fault)}\n  {failure}")
            continue
        injected += was_injected
        succeeded += was_injected and status == scenario.success
    scenario.clean()
    print(f"{name}: {injected} faults, {succeeded} without consequence, {injected - succeeded} reported, "
          f"{len(failures)} FAILED", flush=True)
    for failure in failures:
        print(failure, flush=True)
    return injected, len(failures)


def torture(options):
    scene = Scene(options.program)
    scenarios = commands(scene)
    share = SHORT_RUN // len(scenarios)
    try:
        results = [torture_command(options, scenario.__name__, share, scenario(scene), list_faults, inject)
                   for scenario in scenarios]
        results.append(torture_command(options, "StartWithFailingScript", share, start(scene)(scene),
                                       list_script_faults, inject_into_script))
    finally:
        scene.remove()
    require(not sum(failed for _, failed in results), "see above")
    return f"{sum(injected for injected, _ in results)} faults injected"


if __name__ == "__main__":
    run_torture(torture, __doc__)
