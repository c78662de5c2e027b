"""How costs grow with what may become large."""

import collections
import subprocess
from dataclasses import dataclass

from comparisons import Comparison
from figures import Figure
from targets import Target, linear

SECTION = "Growth"
SHORTENING = 100  # a short run ends at the largest count divided by this


@dataclass(frozen=True)
class Series:
    """What is measured at rising counts. `name` is how the program bench/growth calls it; the title and the
    axis are for people."""

    name: str
    title: str
    axis: str
    largest: int
    target: Target
    repetitions: int = 25


ALL_SERIES = (
    Series("getRunLevelDir", "1000 calls of getRunLevelDir", "entries in a run-level folder", 10_000,
           linear("Each call looks for the folder by its name and does not read its entries.")),
    Series("uninstall", "uninstall, which removes links", "entries in a run-level folder", 10_000,
           linear("Each entry of the folder is read once, to find the daemon's links by their names.")),
    Series("install", "install", "run parameters", 1000,
           linear("Each parameter is escaped once and put at the end of the script's text.")),
    Series("read-parameters", "read the run parameters back", "run parameters", 1000,
           linear("One run of the script prints all parameters, and each is unescaped once.")),
    Series("log", "write log entries", "entries", 1_000_000,
           linear("Each entry is one write at the end of the file, and a rotation only moves a few files."),
           repetitions=3))


def run(place, series, largest, repetitions):
    """The figure of each count."""
    command = [place.program("bench/growth"), series.name, str(largest), str(repetitions)]
    output = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout
    samples = collections.defaultdict(list)
    for line in output.splitlines():
        _, count, seconds = line.split()
        samples[int(count)].append(float(seconds) * 1e9)
    return {count: Figure(its_samples, "ns") for count, its_samples in samples.items()}


def compare_with_half(series, curve):
    """The largest count beside half of it, which takes half the time if growth is linear."""
    largest = max(curve)
    half = largest // 2
    name = f"{series.title}: {largest} {series.axis}"
    return Comparison(SECTION, name, curve[largest], str(half), curve[half], series.target)


def measure(place, effort):
    """Returns the comparisons, and for each series the figures by count."""
    curves = {}
    for series in ALL_SERIES:
        largest, repetitions = ((series.largest // SHORTENING, 1) if effort.is_short else
                                (series.largest, series.repetitions))
        curves[series] = run(place, series, largest, repetitions)
    return [compare_with_half(series, curve) for series, curve in curves.items()], curves
