"""How costs grow with what may become large."""

import collections
import os
import statistics
import subprocess

from figures import Figure, Row

SECTION = "Growth"
LARGEST_RATIO = 2.2  # linear, and a tenth for noise

Series = collections.namedtuple("Series", "name title axis largest repetitions", defaults=(25,))

ALL_SERIES = (
    Series("getRunLevelDir", "1000 calls of getRunLevelDir", "entries in a run-level folder", 10000),
    Series("uninstall", "uninstall, which removes links", "entries in a run-level folder", 10000),
    Series("install", "install", "run parameters", 1000),
    Series("read-parameters", "read the run parameters back", "run parameters", 1000),
    Series("log", "write log entries", "entries", 1000000, 3))


def run(programs, series, largest, repetitions):
    """The samples in seconds for each count."""
    output = subprocess.run([os.path.join(programs, "bench/growth"), series.name, str(largest), str(repetitions)],
                            check=True, stdout=subprocess.PIPE, text=True).stdout
    samples = collections.defaultdict(list)
    for line in output.splitlines():
        _, count, seconds = line.split()
        samples[int(count)].append(float(seconds))
    return samples


def compare_with_half(series, samples):
    """The largest count beside half of it, which costs twice as much where growth is linear."""
    half, largest = (Figure([seconds * 1e9 for seconds in samples[count]], "ns")
                     for count in (max(samples) // 2, max(samples)))
    return Row(SECTION, f"{series.title}: {max(samples)} {series.axis}", largest, f"{max(samples) // 2}", half,
               LARGEST_RATIO)


def measure(programs, is_short):
    """Returns the rows, and for each series the medians by count."""
    rows, curves = [], {}
    for series in ALL_SERIES:
        effort = (series.largest // 100, 1) if is_short else (series.largest, series.repetitions)
        samples = run(programs, series, *effort)
        rows.append(compare_with_half(series, samples))
        curves[series] = {count: statistics.median(seconds) for count, seconds in samples.items()}
    return rows, curves
