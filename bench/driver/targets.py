"""What a comparison should come to, and why it comes to what it does.

Each reason stands where its measurement is defined. It holds whether the target is reached or not, and leaves
the figures to the run."""

import re
from dataclasses import dataclass

from figures import format_quantity

MEASURED_FIGURE = re.compile(r"\d ?(ns|µs|ms|s|KiB|MiB|%)(?!\w)")


def check_reason(reason):
    if not reason:
        raise ValueError("a measurement has no reason for its result")
    if MEASURED_FIGURE.search(reason):
        raise ValueError(f"this reason has a measured figure, which may differ in the next run: {reason}")


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


class DifferenceTarget(Target):
    """Ours, in KiB, should not exceed the other by more than the limit."""

    def is_reached(self, comparison):
        return comparison.ours.median - comparison.other.median <= self.limit

    def describe(self):
        return f"at most {format_quantity(self.limit, 'KiB')} more"


class ValueTarget(Target):
    """Ours should not exceed the limit, whatever the other is."""

    def is_reached(self, comparison):
        return comparison.ours.median <= self.limit
