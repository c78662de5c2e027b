"""The foundation's operations, beside what else a program could use for them."""

import json
import os
import subprocess

from figures import Figure, Row

SECTION = "Operations of the foundation"


def run(programs, folder, repetitions, seconds):
    output = os.path.join(folder, "foundation.json")
    subprocess.run([os.path.join(programs, "bench/foundation"), f"--benchmark_repetitions={repetitions}",
                    "--benchmark_enable_random_interleaving=true", f"--benchmark_min_time={seconds}",
                    "--benchmark_out=" + output, "--benchmark_out_format=json"],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    with open(output, encoding="utf-8") as file:
        return json.load(file)["benchmarks"]


def get_time(benchmark):
    """What the operation keeps the processor busy for, or takes where it waits for other processes."""
    waits = benchmark["name"].endswith(("/real_time", "/manual_time"))
    return benchmark["real_time" if waits else "cpu_time"]


def collect(benchmarks):
    """The samples of each operation by who does it, in the order of the program."""
    operations = {}
    for benchmark in sorted(benchmarks, key=lambda benchmark: benchmark["family_index"]):
        if benchmark["run_type"] != "iteration":
            continue
        if benchmark.get("error_occurred"):
            raise RuntimeError(benchmark["name"] + ": " + benchmark["error_message"])
        operation, who = benchmark["name"].split("/")[:2]
        samples = operations.setdefault(operation, {}).setdefault(who, [])
        samples.append((benchmark["repetition_index"], get_time(benchmark)))
    return operations


def compare(operations):
    rows = []
    for operation, subjects in operations.items():
        figures = {who: Figure([time for _, time in sorted(samples)], "ns") for who, samples in subjects.items()}
        (_, ours), *others = figures.items()
        rows += [Row(SECTION, operation, ours, who, other, 1) for who, other in others]
    return rows


def measure(programs, folder, repetitions, seconds):
    return compare(collect(run(programs, folder, repetitions, seconds)))
