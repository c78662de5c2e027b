"""Commands as a user feels them: whole processes, from the call to the last thing that the user waits for."""

import collections
import time

from comparisons import Comparison
from figures import Figure
from steps import AWAITING_STEPS, LAUNCHING_STEPS, LOAD, STEPS
from stopwatch import Stopwatch
from subjects import BARE_WX, OURS, make_subjects
from targets import find_command_target

SECTION = "Commands"
LIMIT_SECTION = "Commands beside their limit"
MEMORY_SECTION = "Peak memory of commands"
WITHOUT_SLEEPS = ", less the other's sleeps"

SETTLING_SECONDS = 0.2


def measure_rounds(stopwatch, subjects, rounds):
    """Takes all subjects through all steps, side by side, each round in another order. Returns the samples by
    step and subject's name."""
    samples = collections.defaultdict(list)
    for number in range(rounds):
        first = number % len(subjects)
        for step in STEPS:
            for subject in subjects[first:] + subjects[:first]:
                if step in subject.commands:
                    samples[step, subject.name].append(stopwatch.measure(subject.commands[step]))
        if step in LAUNCHING_STEPS:
            time.sleep(SETTLING_SECONDS)  # so that the next step finds daemons that are up
    return samples


def list_pairs(subjects):
    """Each step with ours and each of the others that has it; of our other front end, what is judged."""
    ours, plain, *peers = subjects
    pairs = [(step, ours, other) for step in STEPS for other in (plain, *peers) if step in other.commands]
    return pairs + [(step, plain, peer) for step in STEPS for peer in peers
                    if find_command_target(plain.name, step, peer.name)]


def name_step(step, ours):
    return step.name if ours.name == OURS else f"{step.name}, {ours.name}"


def take_times(samples, step, name):
    return [sample.nanoseconds for sample in samples[step, name]]


def without_sleeps(times, poll):
    """A command that looks again and again sleeps a whole number of times before its daemon is gone, and works
    for less than one such sleep."""
    return [time_ % int(poll * 1e9) if poll else time_ for time_ in times]


def compare_times(samples, step, ours, other):
    mine, theirs = (take_times(samples, step, subject.name) for subject in (ours, other))
    target = find_command_target(ours.name, step, other.name)
    name = name_step(step, ours)
    if step not in AWAITING_STEPS:
        return [Comparison(SECTION, name, Figure(mine, "ns"), other.name, Figure(theirs, "ns"), target)]
    return [Comparison(SECTION, name, Figure(mine, "ns"), other.name, Figure(theirs, "ns")),
            Comparison(SECTION, name + WITHOUT_SLEEPS, Figure(mine, "ns"), other.name,
                       Figure(without_sleeps(theirs, other.poll), "ns"), target)]


def compare_with_limit(samples, step):
    """Beside what the command cannot do without, in the same round."""
    limit = [step.wx_starts * wx_start for wx_start in take_times(samples, LOAD, BARE_WX)]
    return Comparison(LIMIT_SECTION, step.name, Figure(take_times(samples, step, OURS), "ns"),
                      f"{step.wx_starts} x {BARE_WX}", Figure(limit, "ns"))


def compare_memory(samples, step, ours, other):
    mine, theirs = (Figure([sample.memory for sample in samples[step, subject.name]], "KiB")
                    for subject in (ours, other))
    return Comparison(MEMORY_SECTION, name_step(step, ours), mine, other.name, theirs)


def compare(samples, subjects):
    pairs = list_pairs(subjects)
    comparisons = []
    for pair in pairs:
        comparisons += compare_times(samples, *pair)
    comparisons += [compare_with_limit(samples, step) for step in STEPS if step.wx_starts > 0]
    return comparisons + [compare_memory(samples, *pair) for pair in pairs]


def measure(place, effort):
    subjects = make_subjects(place)
    return compare(measure_rounds(Stopwatch(place), subjects, effort.rounds), subjects)
