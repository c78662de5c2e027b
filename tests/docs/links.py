#!/usr/bin/python3
"""Fails unless every relative link in the project's pages leads to a file, and to a heading where it names one.

Usage: links.py SOURCES"""

import pathlib
import re
import sys

PAGES = ["*.md", "docs/**/*.md", "examples/**/*.md"]
CODE = re.compile(r"^```.*?^```|^    .*?$|`[^`\n]*`", re.MULTILINE | re.DOTALL)
LINK = re.compile(r"\]\((?!\w+:)([^)#\s]*)(?:#([^)\s]*))?\)")
HEADING = re.compile(r"^#+ (.*)", re.MULTILINE)


def find_anchors(page):
    """What the usual renderers make of the page's headings."""
    headings = HEADING.findall(page.read_text("utf-8"))
    return {re.sub(r"[^\w\- ]", "", heading).lower().replace(" ", "-") for heading in headings}


def find_faults(page):
    for path, anchor in LINK.findall(CODE.sub("", page.read_text("utf-8"))):
        target = page.parent / path if path else page
        if not target.exists():
            yield f"{page}: there is no {path}"
        elif anchor and anchor not in find_anchors(target):
            yield f"{page}: {target.name} has no heading for #{anchor}"


def main():
    sources = pathlib.Path(sys.argv[1])
    pages = [page for pattern in PAGES for page in sources.glob(pattern)]
    faults = [fault for page in pages for fault in find_faults(page)] if pages else ["There are no pages."]
    print(*faults, sep="\n", file=sys.stderr)
    sys.exit(1 if faults else 0)


main()
