"""The foundation's operations, beside what else a program could use for them.

The program bench/foundation defines the comparisons, each with the reason for its result."""

import json
import subprocess

from comparisons import Comparison
from figures import Figure
from targets import operation as operation_target

SECTION = "Operations of the foundation"


def run(place, effort):
    output = place.file("foundation.json")
    subprocess.run([place.program("bench/foundation"),
                    f"--benchmark_repetitions={effort.repetitions}",
                    f"--benchmark_min_time={effort.seconds_of_repetition}",
                    "--benchmark_enable_random_interleaving=true",
                    "--benchmark_out=" + output, "--benchmark_out_format=json"],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    with open(output, encoding="utf-8") as file:
        return json.load(file)


def get_time(benchmark):
    """How long the operation keeps the processor busy, or takes if it waits for other processes."""
    waits = benchmark["name"].endswith(("/real_time", "/manual_time"))
    return benchmark["real_time" if waits else "cpu_time"]


def collect(benchmarks):
    """The samples of each operation by who performs it, in the order of their definitions."""
    operations = {}
    for benchmark in sorted(benchmarks, key=lambda benchmark: benchmark["family_index"]):
        if benchmark["run_type"] != "iteration":
            continue
        if benchmark.get("error_occurred"):
            raise RuntimeError(benchmark["name"] + ": " + benchmark["error_message"])
        operation, performer = benchmark["name"].split("/")[:2]
        samples = operations.setdefault(operation, {}).setdefault(performer, [])
        samples.append((benchmark["repetition_index"], get_time(benchmark)))
    return operations


def compare(operation, samples_by_performer, reason):
    figures = {performer: Figure([time for _, time in sorted(samples)], "ns")
               for performer, samples in samples_by_performer.items()}
    (_, ours), *others = figures.items()
    return [Comparison(SECTION, operation, ours, performer, other, operation_target(reason))
            for performer, other in others]


def measure(place, effort):
    results = run(place, effort)
    comparisons = []
    for operation, samples in collect(results["benchmarks"]).items():
        comparisons += compare(operation, samples, results["context"][operation])
    return comparisons
