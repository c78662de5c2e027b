"""What the comparisons should come to, and why they come to what they do.

All limits are here. The reasons of the foundation's operations stand in bench/foundation, those of growth at
their series."""

from dataclasses import dataclass

from figures import format_quantity
from reasons import check_reason
from steps import (INSTALL, LOAD, RESTART, START, STATUS_RUNNING, STATUS_STOPPED, STOP_RUNNING, STOP_STOPPED,
                   UNINSTALL, UNKNOWN)
from subjects import BARE_WX, DEBIAN, DEBIAN_WITH_SETTINGS, GO, OURS, PLAIN, POCO, POCO_WITH_SETTINGS


@dataclass(frozen=True)
class Target:
    """The ratio of ours to the other should not exceed the limit."""

    limit: float
    reason: str

    def __post_init__(self):
        check_reason(self.reason)

    def is_reached(self, comparison):
        return comparison.ratio.median <= self.limit

    def describe(self):
        return f"{self.limit:g}"


@dataclass(frozen=True)
class DifferenceTarget(Target):
    """Ours should not exceed the other by more than the limit."""

    unit: str

    def is_reached(self, comparison):
        return comparison.ours.median - comparison.other.median <= self.limit

    def describe(self):
        return f"at most {format_quantity(self.limit, self.unit)} more"


@dataclass(frozen=True)
class ValueTarget(Target):
    """Ours should not exceed the limit, whatever the other is."""

    unit: str

    def is_reached(self, comparison):
        return comparison.ours.median <= self.limit

    def describe(self):
        return f"at most {format_quantity(self.limit, self.unit)}"


LOADING = ("Every command starts wxWidgets' base library, on which the library is built: see \"start the "
           "libraries alone\".")
LOADING_TWICE = ("The command starts wxWidgets' base library, on which the library is built, twice: for "
                 "itself and for the daemon. The commands beside their limit show what these alone take.")

# The limits by ours, the step and the other, and the reason. Whoever takes the settings from its command line
# instead of a script does less than ours, and sets no limit where settings are read.
COMMANDS = {
    (OURS, INSTALL): ({GO: 1},
                      "The command starts wxWidgets' base library, on which the library is built, and tries "
                      "the settings on the shell before it writes them."),
    (OURS, START): ({GO: 0.7, POCO_WITH_SETTINGS: 0.8, DEBIAN_WITH_SETTINGS: 1}, LOADING_TWICE),
    (OURS, STATUS_RUNNING): ({GO: 1}, LOADING),
    (OURS, RESTART): ({GO: 1}, LOADING_TWICE),
    (OURS, STOP_RUNNING): ({GO: 0.4, POCO_WITH_SETTINGS: 1, DEBIAN_WITH_SETTINGS: 1}, LOADING),
    (OURS, STATUS_STOPPED): ({GO: 1}, LOADING),
    (OURS, STOP_STOPPED): ({GO: 1, DEBIAN_WITH_SETTINGS: 1}, LOADING),
    (OURS, UNINSTALL): ({GO: 1}, LOADING),
    (OURS, UNKNOWN): ({GO: 1, POCO: 1, DEBIAN: 1, BARE_WX: 1.5}, LOADING),
    (OURS, LOAD): ({BARE_WX: 1.5}, "Our two libraries are loaded besides wxWidgets' base library."),
    (PLAIN, START): ({GO: 0.9, POCO_WITH_SETTINGS: 1.05},
                     "The command runs the init script once for each setting, all at once, and starts "
                     "wxWidgets' base library, on which the library is built, twice: for itself and for the "
                     "daemon."),
}


def find_command_target(ours, step, other):
    """None if the other is only there to be looked at."""
    limits, reason = COMMANDS.get((ours, step), ({}, None))
    return Target(limits[other], reason) if other in limits else None


IDLE_MEMORY = DifferenceTarget(1.5 * 1024,
                               "A daemon has what the floor lacks: wxWidgets' base library, the C++ library, "
                               "our two libraries, and the thread that takes signals.", "KiB")
IDLE_WAKE_UPS = ValueTarget(0, "Every thread waits until something happens; none looks again and again.", "")


def operation(reason):
    """For an operation of the foundation."""
    return Target(1, reason)


def linear(reason):
    """For the largest count beside half of it: linear growth gives 2; a tenth more is for noise."""
    return Target(2.2, reason)


READING_TEXTS = ("One process reads the scripts of all daemons as texts. The others start processes for each "
                 "daemon.")
LIST = Target(1, READING_TEXTS)
LARGEST_LIST = ValueTarget(100e6, READING_TEXTS, "ns")
