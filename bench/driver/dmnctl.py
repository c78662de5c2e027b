"""dmnctl on a machine with many daemons, beside what else its administrator could call."""

import collections
import itertools
import os
import shutil

from comparisons import Comparison
from figures import Figure
from growth import Series, compare_with_half
from stopwatch import Stopwatch
from subjects import BARE_WX, DEBIAN_WITH_SETTINGS, FOREVER, OURS, Command, run_shell
from targets import LARGEST_LIST, LIST, READING_TEXTS, linear

SECTION = "dmnctl"

COUNTS = (5, 50, 125, 250, 375, 500)  # of installed daemons
COUNTS_BESIDE_OTHERS = (5, 50, 500)
EACH_RUNNING = 5  # of so many daemons, the first runs

INSTALLED_IN = ["/etc/init.d"] + [f"/etc/rc{level}.d" for level in range(7)]

LOG = "/var/log/heartbeat/heartbeat.log"
FULL_LOG = 10 * 1024 * 1024 - 4096  # bytes; the next entries do not yet rotate it
ENTRIES = "20"

OWN_STATUS = "status of each, one by one"
ONE_STATUS = "its own status"
PIPE = "tail and sed"

FOR_EACH = "for id; do {}; done >/dev/null; true"
READ_AND_LOOK = 'start-stop-daemon --status --pidfile "$(/etc/init.d/$id printControlFolder)/$id.pid"'
# What one types without dmnctl: the columns time, level, process and text.
LAST_ENTRIES = r"""tail -n "$1" "$0" | sed -E '
    s/^<[^"]*"([^"]*)"[^"]*"([^"]*)"[^"]*"([^"]*)"[^>]*>/\1\t\2\t\3\t/
    s/<property name="([^"]*)">/ | \1: /g; s/<cause>/ | caused by/g
    s/<([a-z]+)>/ | \1: /g; s/\t \| /\t/; s/<[^>]*>//g
    s/&lt;/</g; s/&gt;/>/g; s/&quot;/"/g; s/&amp;/\&/g'"""

ONE = "status of one daemon"

LIST_SERIES = Series("list", "dmnctl list", "installed daemons", max(COUNTS), linear(READING_TEXTS))


def name_daemons():
    return [f"d{number:03}" for number in range(1, max(COUNTS) + 1)]


def install_daemons(place, stopwatch, names):
    heartbeat = place.program("examples/heartbeat")
    for number, name in enumerate(names):
        line = [heartbeat, "--id=" + name]
        stopwatch.measure(Command(line + ["install", "--controlFolder=" + place.folder, FOREVER]))
        if number % EACH_RUNNING == 0:
            stopwatch.measure(Command(line + ["start"]))


def keep_first(names, count):
    """Makes folders that can replace those where the daemons are installed, with only the first of them."""
    first = set(names[:count])
    for folder in INSTALLED_IN:
        os.mkdir(f"{folder}.{count}")
        for entry in os.scandir(folder):
            if entry.name[-len(names[0]):] in first:
                shutil.copy2(entry.path, f"{folder}.{count}", follow_symlinks=False)


class Machine:
    """Has as many daemons installed as it is told, and nothing that earlier measurements have left."""

    def __init__(self, names):
        self.count = "all"
        for count in COUNTS:
            keep_first(names, count)

    def set_count(self, count):
        if count == self.count:
            return
        for folder in INSTALLED_IN:
            os.rename(folder, f"{folder}.{self.count}")
            os.rename(f"{folder}.{count}", folder)
        self.count = count


def make_list_commands(place, names):
    """Each shows which of these daemons run; ours comes first."""
    own_status = '"$0" --id=$id status'
    return {OURS: Command([place.program("dmnctl/dmnctl"), "list"]),
            OWN_STATUS: Command(["/bin/sh", "-c", FOR_EACH.format(own_status),
                                 place.program("examples/heartbeat"), *names]),
            DEBIAN_WITH_SETTINGS: Command(run_shell(FOR_EACH.format(READ_AND_LOOK), *names))}


def make_single_commands(place, name):
    """By what they show, and then by who shows it; ours comes first."""
    dmnctl = place.program("dmnctl/dmnctl")
    start_wx = Command([place.program("bench/start_wx")])
    return {ONE: {
                OURS: Command([dmnctl, "status", name]),
                ONE_STATUS: Command([place.program("examples/heartbeat"), "--id=" + name, "status"]),
                BARE_WX: start_wx},
            f"last {ENTRIES} entries of a full log": {
                OURS: Command([dmnctl, "log", "-n", ENTRIES, name]),
                PIPE: Command(["/bin/sh", "-c", LAST_ENTRIES, LOG, ENTRIES]),
                BARE_WX: start_wx}}


def fill_log():
    """Repeats the entries that there are until the log is full."""
    with open(LOG, "rb") as file:
        entries = file.readlines()
    with open(LOG, "wb") as file:
        for entry in itertools.cycle(entries):
            if file.tell() + len(entry) > FULL_LOG:
                break
            file.write(entry)


def measure_rounds(place, stopwatch, rounds):
    """The samples in nanoseconds by what is shown, or how many daemons, and by who shows it."""
    names = name_daemons()
    install_daemons(place, stopwatch, names)
    fill_log()
    machine = Machine(names)
    samples = collections.defaultdict(lambda: collections.defaultdict(list))

    def take(what, commands):
        for name, command in commands.items():
            samples[what][name].append(stopwatch.measure(command).nanoseconds)

    for _ in range(rounds):
        for count in COUNTS:
            machine.set_count(count)
            commands = make_list_commands(place, names[:count])
            take(count, commands if count in COUNTS_BESIDE_OTHERS else {OURS: commands[OURS]})
        for what, commands in make_single_commands(place, names[0]).items():
            take(what, commands)
    return samples


def compare(what, figures, target):
    return [Comparison(SECTION, what, figures[OURS], name, figure, target)
            for name, figure in figures.items() if name != OURS]


def compare_largest_list(figures, floor):
    return Comparison(SECTION, f"list of {max(COUNTS)} daemons", figures[OURS], BARE_WX, floor, LARGEST_LIST)


def measure(place, effort):
    """Returns the comparisons, and the figures of the list by count."""
    samples = measure_rounds(place, Stopwatch(place), effort.rounds_of_many)
    figures = {what: {name: Figure(its_samples, "ns") for name, its_samples in by_name.items()}
               for what, by_name in samples.items()}
    comparisons = []
    for what, by_name in figures.items():
        if what in COUNTS:
            comparisons += compare(f"list of {what} daemons", by_name, LIST)
        else:
            comparisons += compare(what, by_name, None)
    comparisons.append(compare_largest_list(figures[max(COUNTS)], figures[ONE][BARE_WX]))
    curve = {count: figures[count][OURS] for count in COUNTS}
    return comparisons + [compare_with_half(LIST_SERIES, curve)], {LIST_SERIES: curve}
