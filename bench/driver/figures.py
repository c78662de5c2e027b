"""What was measured: samples of a quantity, and the figures that sum them up."""

import statistics


class Figure:
    """Samples of one quantity: nanoseconds ("ns"), KiB ("KiB"), or a plain number ("")."""

    def __init__(self, samples, unit):
        self.samples = list(samples)
        self.unit = unit
        self.median = statistics.median(self.samples)
        self.low, self.high = quartiles(self.samples)

    def __str__(self):
        return format_quantity(self.median, self.unit)

    def as_dict(self):
        return {"median": self.median, "low quartile": self.low, "high quartile": self.high,
                "samples": len(self.samples), "unit": self.unit}


def quartiles(samples):
    if len(samples) < 2:
        return samples[0], samples[0]
    low, _, high = statistics.quantiles(samples, n=4, method="inclusive")
    return low, high


def divide(ours, other):
    """The ratio of what was measured in the same round, round by round; None if the other ever measured
    nothing."""
    if any(sample == 0 for sample in other.samples):
        return None
    return Figure([mine / theirs for mine, theirs in zip(ours.samples, other.samples)], "")


def format_time(nanoseconds):
    for factor, name in ((1e9, "s"), (1e6, "ms"), (1e3, "µs")):
        if nanoseconds >= factor:
            value = nanoseconds / factor
            return f"{value:.3g} {name}" if value < 1000 else f"{value:.0f} {name}"
    return f"{nanoseconds:.3g} ns"


def format_quantity(value, unit):
    if unit == "ns":
        return format_time(value)
    if unit == "KiB":
        return f"{value / 1024:.2f} MiB" if value >= 1024 else f"{value:.0f} KiB"
    return f"{value:.3g}"
