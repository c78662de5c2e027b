"""Why a measurement comes to what it does.

Each reason stands where its measurement is defined. It holds whether the target is reached or not, and leaves
the figures to the run."""

import re

MEASURED_FIGURE = re.compile(r"\d ?(ns|µs|ms|s|KiB|MiB|%)(?!\w)")


def check_reason(reason):
    if not reason:
        raise ValueError("a measurement has no reason for its result")
    if MEASURED_FIGURE.search(reason):
        raise ValueError(f"this reason has a measured figure, which may differ in the next run: {reason}")
