"""What a comparison should come to, and why it comes to what it does."""

from dataclasses import dataclass

from figures import format_quantity
from reasons import check_reason


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
