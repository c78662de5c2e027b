"""Measures, in a private root, and writes the report."""

import argparse
import os
import subprocess
import sys
from dataclasses import dataclass

import balance
import commands
import dmnctl
import foundation
import growth
import idle
import plots
import report
from place import Place


@dataclass(frozen=True)
class Effort:
    """How much is measured."""

    rounds: int  # of all commands
    rounds_of_many: int  # of the commands of dmnctl
    idle_seconds: float
    repetitions: int  # of each operation of the foundation
    seconds_of_repetition: float
    is_short: bool


FULL = Effort(rounds=100, rounds_of_many=10, idle_seconds=60, repetitions=21, seconds_of_repetition=0.2,
              is_short=False)
SHORT = Effort(rounds=3, rounds_of_many=1, idle_seconds=2, repetitions=2, seconds_of_repetition=0.01,
               is_short=True)


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("programs", help="the build folder")
    parser.add_argument("report", help="the folder to write to")
    parser.add_argument("--short", action="store_true", help="only show that everything can be measured")
    return parser.parse_args()


def say(text):
    print(text, file=sys.stderr, flush=True)


def set_environment():
    """The part of the environment that affects the figures is always the same."""
    os.environ.pop("LC_ALL", None)
    os.environ.update(LANG="C.UTF-8", PATH="/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin")


def install_libraries(programs):
    """Makes the loader find the libraries where it finds installed ones: in its cache. The private root has
    its own cache, and its own list of the folders that go into it."""
    known = subprocess.run(["ldconfig", "-p"], check=True, stdout=subprocess.PIPE, text=True).stdout
    folders = {os.path.dirname(line.split(" => ")[1]) for line in known.splitlines() if " => " in line}
    with open("/etc/ld.so.conf", "w", encoding="utf-8") as file:
        for folder in sorted(folders) + [os.path.join(programs, "fdn"), os.path.join(programs, "dmn")]:
            print(folder, file=file)
    subprocess.run(["mount", "-n", "-t", "tmpfs", "bench", "/var/cache/ldconfig"], check=True)
    subprocess.run(["ldconfig", "-X"], check=True)


def provide_init():
    """Makes the private root a machine whose init starts daemons in the order of their links."""
    with open("/etc/inittab", "w", encoding="ascii") as file:
        file.write("id:2:initdefault:\n")


def measure_all(programs, effort):
    """Returns the comparisons, and the curves of what grows."""
    folder = os.path.join(os.environ["TMPDIR"], "bench")
    os.mkdir(folder)
    place = Place(programs, folder)
    say("Measuring commands")
    comparisons = commands.measure(place, effort)
    say("Measuring idle daemons")
    comparisons += idle.measure(place, effort)
    say("Measuring operations of the foundation")
    comparisons += foundation.measure(place, effort)
    say("Measuring growth")
    growing, curves = growth.measure(place, effort)
    say("Measuring dmnctl")  # last, because its daemons end with the private root
    managing, listing = dmnctl.measure(place, effort)
    return comparisons + managing + growing, {**curves, **listing}


def main():
    arguments = parse_arguments()
    effort = SHORT if arguments.short else FULL
    set_environment()
    install_libraries(arguments.programs)
    provide_init()
    comparisons, curves = measure_all(arguments.programs, effort)
    os.makedirs(arguments.report, exist_ok=True)
    report.write_all(arguments.report, comparisons, curves, effort)
    balance.check_complete(comparisons)
    plots.plot_all(arguments.report, comparisons)
    for series, curve in curves.items():
        plots.plot_growth(arguments.report, series, curve)


main()
