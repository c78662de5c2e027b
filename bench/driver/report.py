"""Writes what was measured: as a table, as JSON and as a page of the documentation."""

import json
import os

from machine import describe_machine

HEADER = ("", "dmn", "beside", "", "ratio", "quartiles", "target", "kept")


def write_all(folder, comparisons, curves, effort):
    write(folder, "results.txt", make_text(comparisons))
    write(folder, "results.json", make_json(comparisons, curves))
    write(folder, "results.md", make_page(comparisons, effort))


def write(folder, name, content):
    with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
        file.write(content)


def make_cells(comparison):
    ratio = comparison.ratio
    return (comparison.what, str(comparison.ours), comparison.other_name, str(comparison.other),
            f"{ratio.median:.2f}" if ratio else "-",
            f"{ratio.low:.2f} to {ratio.high:.2f}" if ratio and len(ratio.samples) > 1 else "",
            comparison.target.describe() if comparison.target else "",
            {None: "", True: "yes", False: "no"}[comparison.reached()])


def make_sections(comparisons):
    sections = {}
    for comparison in comparisons:
        sections.setdefault(comparison.section, []).append(comparison)
    return sections


def make_text(comparisons):
    lines = []
    for section, its_comparisons in make_sections(comparisons).items():
        cells = [HEADER] + [make_cells(comparison) for comparison in its_comparisons]
        widths = [max(len(line[column]) for line in cells) for column in range(len(HEADER))]
        lines += ["", section] + ["  ".join(map(str.ljust, line, widths)).rstrip() for line in cells]
    return "\n".join(lines + [""])


def make_json(comparisons, curves):
    growing = {series.name: [(count, figure.as_dict()) for count, figure in sorted(curve.items())]
               for series, curve in curves.items()}
    return json.dumps({"machine": describe_machine(), "comparisons": [each.as_dict() for each in comparisons],
                       "growth": growing}, indent=1, ensure_ascii=False) + "\n"


def make_page(comparisons, effort):
    lines = ["# Results", "",
             "`scripts/bench` writes this page; do not edit it. [Performance](../performance.md) says what "
             "is measured, and how.", ""]
    lines += [f"- {name}: {value}" for name, value in describe_machine().items()]
    lines += [f"- Rounds: {effort.rounds} of all commands, {effort.rounds_of_many} of those of dmnctl", ""]
    for section, its_comparisons in make_sections(comparisons).items():
        lines += [f"## {section}", "", make_line(HEADER), "|" + "---|" * len(HEADER)]
        lines += [make_line(make_cells(comparison)) for comparison in its_comparisons] + [""]
    return "\n".join(lines + make_misses(comparisons))


def make_line(cells):
    return "| " + " | ".join(cells) + " |"


def make_misses(comparisons):
    """The targets that are not reached, by the reason."""
    misses = {}
    for comparison in comparisons:
        if comparison.reached() is False:
            missed = f"{comparison.what} (beside {comparison.other_name})"
            misses.setdefault(comparison.target.reason, []).append(missed)
    lines = [f"- {', '.join(missed)}: {reason}" for reason, missed in misses.items()]
    return ["## Targets that are not reached", ""] + (lines or ["None."]) + [""]
