"""Measures, in a private root, and writes the report.

Usage: main.py PROGRAMS REPORT [--short]
PROGRAMS is the build's folder, REPORT the folder to write to."""

import os
import subprocess
import sys

import commands
import foundation
import growth
import idle
import report

FULL = {"rounds": 100, "idle seconds": 60, "repetitions": 21, "seconds": 0.2, "short": False}
SHORT = {"rounds": 3, "idle seconds": 2, "repetitions": 2, "seconds": 0.01, "short": True}


def say(text):
    print(text, file=sys.stderr, flush=True)


def install_libraries(programs):
    """Has the loader find the libraries where it finds installed ones, in its cache. Both the cache and what it is
    made from are the private root's own."""
    known = subprocess.run(["ldconfig", "-p"], check=True, stdout=subprocess.PIPE, text=True).stdout
    folders = {os.path.dirname(line.split(" => ")[1]) for line in known.splitlines() if " => " in line}
    with open("/etc/ld.so.conf", "w", encoding="utf-8") as file:
        for folder in sorted(folders) + [os.path.join(programs, "fdn"), os.path.join(programs, "dmn")]:
            print(folder, file=file)
    subprocess.run(["mount", "-n", "-t", "tmpfs", "bench", "/var/cache/ldconfig"], check=True)
    subprocess.run(["ldconfig", "-X"], check=True)


def set_environment():
    """What of the environment has a share in the figures is always the same."""
    os.environ.pop("LC_ALL", None)
    os.environ.update(LANG="C.UTF-8", PATH="/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin")


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
    growth_rows, curves = growth.measure(programs, effort["short"])
    return rows + growth_rows, curves


def main():
    programs, folder = sys.argv[1:3]
    set_environment()
    install_libraries(programs)
    effort = SHORT if "--short" in sys.argv[3:] else FULL
    rows, curves = measure_all(programs, effort)
    report.write_all(folder, rows, curves, effort["rounds"])


main()
