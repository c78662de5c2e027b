"""What was measured, and how it compares."""

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


class Row:
    """One comparison: ours beside a peer or a floor. `limit` is what its ratio, or the measure that is named,
    should not exceed; without one, the row is there to be looked at."""

    def __init__(self, section, what, ours, other_name, other, limit=None, measure="ratio"):
        self.section = section
        self.what = what
        self.ours = ours
        self.other_name = other_name
        self.other = other
        self.limit = limit
        self.measure = measure
        self.ratio = divide(ours, other)

    def reached(self):
        """Whether the limit is kept; None where there is none."""
        if self.limit is None:
            return None
        values = {"ratio": self.ratio.median if self.ratio else None,
                  "difference": self.ours.median - self.other.median,
                  "value": self.ours.median}
        return values[self.measure] <= self.limit

    def target(self):
        if self.limit is None:
            return ""
        if self.measure == "difference":
            return f"at most {format_quantity(self.limit, self.ours.unit)} more"
        if self.measure == "value":
            return f"{self.limit}"
        return f"{self.limit:g}"

    def as_dict(self):
        return {"section": self.section, "what": self.what, "ours": self.ours.as_dict(), "beside": self.other_name,
                "theirs": self.other.as_dict(), "ratio": self.ratio.as_dict() if self.ratio else None,
                "target": self.target(), "reached": self.reached()}


def quartiles(samples):
    if len(samples) < 2:
        return samples[0], samples[0]
    low, _, high = statistics.quantiles(samples, n=4, method="inclusive")
    return low, high


def divide(ours, other):
    """The ratio of what was measured in the same round, round by round; None where there is nothing to divide by."""
    if any(sample == 0 for sample in other.samples):
        return None
    return Figure([mine / theirs for mine, theirs in zip(ours.samples, other.samples)], "")


def format_quantity(value, unit):
    if unit == "ns":
        for factor, name in ((1e9, "s"), (1e6, "ms"), (1e3, "µs")):
            if value >= factor:
                return f"{value / factor:.3g} {name}" if value < 1000 * factor else f"{value / factor:.0f} {name}"
        return f"{value:.3g} ns"
    if unit == "KiB":
        return f"{value / 1024:.2f} MiB" if value >= 1024 else f"{value:.0f} KiB"
    return f"{value:.3g}"
