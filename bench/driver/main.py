"""Measures, in a private root, and writes the report.

Usage: main.py PROGRAMS REPORT [--short]
PROGRAMS is the build's folder, REPORT the folder to write to."""

import os
import sys

import commands
import foundation
import growth
import idle
import report

FULL = {"rounds": 100, "idle seconds": 60, "repetitions": 21, "seconds": 0.2, "divisor": 1, "growth repetitions": 3}
SHORT = {"rounds": 3, "idle seconds": 2, "repetitions": 2, "seconds": 0.01, "divisor": 100, "growth repetitions": 1}


def say(text):
    print(text, file=sys.stderr, flush=True)


def measure_all(programs, effort):
    folder = os.path.join(os.environ["TMPDIR"], "bench")
    os.mkdir(folder)
    say("Measuring commands")
    rows = commands.measure(programs, folder, effort["rounds"])
    say("Measuring idle daemons")
    rows += idle.measure(programs, folder, effort["idle seconds"])
    say("Measuring operations of the foundation")
    rows += foundation.measure(programs, folder, effort["repetitions"], effort["seconds"])
    say("Measuring growth")
    growth_rows, curves = growth.measure(programs, effort["divisor"], effort["growth repetitions"])
    return rows + growth_rows, curves


def main():
    programs, folder = sys.argv[1:3]
    effort = SHORT if "--short" in sys.argv[3:] else FULL
    rows, curves = measure_all(programs, effort)
    report.write_all(folder, rows, curves, effort["rounds"])


main()
