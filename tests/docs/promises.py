#!/usr/bin/python3
"""Fails unless a page names the tests that show what it promises: in each row of the tables whose last column
is "Test", and in its footnotes. Whatever stands there in code must be a test in the sources, or a suite of
tests.

Usage: promises.py SOURCES PAGE"""

import pathlib
import re
import sys

TEST = re.compile(r"^TEST(?:_F|_P)?\((\w+),\s+(\w+)\)", re.MULTILINE)
CHECK = re.compile(r"^check_(\w+)", re.MULTILINE)
TORTURES = re.compile(r"foreach\(name ([^)]+)\)")
MODELS = re.compile(r"^dmn_check_model\((\w+)", re.MULTILINE)

TABLE = re.compile(r"\| Test \|\n[-|]+\n((?:\|.*\n)+)")
FOOTNOTE = re.compile(r"^\[\^([\w-]+)\]: (.*(?:\n    .*)*)", re.MULTILINE)
MARK = re.compile(r"\[\^([\w-]+)\](?!:)")
NAME = re.compile(r"`([^`]+)`")


def collect_tests(sources):
    """The names of the tests in CTest, without the parameters that some have, and the names of the suites."""
    names = set()
    for file in [*sources.glob("tests/**/*.cpp"), *sources.glob("docs/guide/code/*.cpp")]:
        for suite, name in TEST.findall(file.read_text("utf-8")):
            names |= {suite, f"{suite}.{name}"}
    for file in sources.glob("tests/*/*.sh"):
        for check in CHECK.findall(file.read_text("utf-8")):
            names.add(f"{file.parent.name}.{file.stem}.{check}")
    for listed in TORTURES.findall((sources / "tests/torture/CMakeLists.txt").read_text("utf-8")):
        names |= {f"torture.{name}" for name in listed.split()}
    for name in MODELS.findall((sources / "tests/model/CMakeLists.txt").read_text("utf-8")):
        names |= {"model.Claim", f"model.Claim.{name}"}
    return names


def find_places(page):
    """The texts of the page that must name tests."""
    rows = [row for table in TABLE.findall(page) for row in table.splitlines()]
    if not rows:
        yield "a table of promises"
    for row in rows:
        yield row.split("|")[-2]
    footnotes = dict(FOOTNOTE.findall(page))
    for mark in MARK.findall(page):
        yield footnotes.get(mark, f"[^{mark}]")


def find_faults(page, tests):
    for place in find_places(page):
        names = NAME.findall(place)
        if not names:
            yield f"No test is named: {place}"
        for name in names:
            if name not in tests:
                yield f"There is no such test: {name}"


def main():
    sources, page = map(pathlib.Path, sys.argv[1:])
    faults = list(find_faults(page.read_text("utf-8"), collect_tests(sources)))
    print(*faults, sep="\n", file=sys.stderr)
    sys.exit(1 if faults else 0)


main()
