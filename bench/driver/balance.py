#!/usr/bin/python3 -B
"""Says where a user of the library gains and where he pays, in a table of docs/performance.md.

Its figures are those of the page of results, so that both pages agree. With --check, the page is not written:
its table must be what would be written, and outside of it there must be no measured figure.

Usage: balance.py [--check] RESULTS PAGE"""

import re
import sys
from dataclasses import dataclass

from reasons import MEASURED_FIGURE

BEGIN = "<!-- Written by bench/driver/balance.py from the results. -->\n"
END = "<!-- The end of what is written. -->\n"
NO_PROSE = re.compile(r"^    .*$|`[^`\n]*`", re.MULTILINE)
EVEN = 0.05  # a difference that a user does not notice
GAIN, EVEN_NAME, PAY = "You gain", "Neither", "You pay"


@dataclass(frozen=True)
class Statement:
    """What a row of the results means to a user, as a sentence with {ours} and {theirs} in it, and why it is
    so. Both hold for whichever of the two is less."""

    section: str
    what: str
    beside: str
    sentence: str
    reason: str

    def key(self):
        return self.section, self.what, self.beside

    def tell(self, row):
        return self.sentence.format(ours=row.ours, theirs=row.theirs)


@dataclass(frozen=True)
class Row:
    """A row of the results, as it stands there."""

    ours: str
    theirs: str
    ratio: str

    def judge(self):
        if self.ratio == "-" or abs(float(self.ratio) - 1) <= EVEN:
            return EVEN_NAME
        return GAIN if float(self.ratio) < 1 else PAY


COMMANDS = "Commands"
MEMORY = "Peak memory of commands"
IDLE = "An idle daemon"
DMNCTL = "dmnctl"
OPERATIONS = "Operations of the foundation"

LOADING = "Each command first loads wxWidgets' base library, on which the library is built."

STATEMENTS = (
    Statement(COMMANDS, "start", "Go service",
              "`start` takes {ours}, and that of the Go service {theirs}.",
              "Ours launches the daemon itself. The Go service runs service(8), whose script launches it."),
    Statement(COMMANDS, "start", "Poco server, settings read",
              "`start` takes {ours}, and that of a Poco server that reads the same settings {theirs}.",
              "Ours loads wxWidgets' base library twice, for itself and for the daemon. The other runs its "
              "script for each setting."),
    Statement(COMMANDS, "stop a running daemon, less the other's sleeps", "Go service",
              "`stop` takes {ours}, and that of the Go service {theirs}, without what it sleeps.",
              "Ours sends the signal itself, and the system wakes it when the process has ended."),
    Statement(COMMANDS, "status of a running daemon", "Go service",
              "`status` takes {ours}, and that of the Go service {theirs}.",
              "Ours looks at the PID file and at the process itself. The Go service asks its script."),
    Statement(DMNCTL, "list of 500 daemons", "status of each, one by one",
              "`dmnctl list` shows 500 installed daemons in {ours}, and their own `status`, one by one, in "
              "{theirs}.",
              "One process reads all scripts as texts, instead of one process for each daemon."),
    Statement(DMNCTL, "last 20 entries of a full log", "tail and sed",
              "`dmnctl log -n 20` shows the end of a full log in {ours}, and `tail` with `sed` in {theirs}.",
              LOADING + " Then it reads the log from its end."),
    Statement(COMMANDS, "install", "Go service",
              "`install` takes {ours}, and that of the Go service {theirs}.",
              LOADING + " `install` also tries the settings before it writes them."),
    Statement(COMMANDS, "unknown command", "Go service",
              "A mistyped command takes {ours}, and that of the Go service {theirs}.", LOADING),
    Statement(MEMORY, "start", "Go service",
              "`start` needs {ours} of memory at its peak, and that of the Go service {theirs}.",
              "wxWidgets' base library and the C++ library take most of it."),
    Statement(IDLE, "private memory", "Go service",
              "An idle daemon has {ours} of memory to itself, and the Go service {theirs}.",
              "The daemon shares its libraries with other processes. A program in Go brings everything "
              "with it."),
    Statement(IDLE, "wake-ups per minute", "Go service",
              "An idle daemon wakes up {ours} times in a minute, and the Go service {theirs} times.",
              "Every thread waits until something happens; none looks again and again."),
    Statement(OPERATIONS, "write a log entry", "spdlog",
              "Writing a log entry takes {ours}, and with spdlog {theirs}.",
              "Several processes may write into one log and rotate it, and other tools may move it, so each "
              "entry looks at the path; and no signal may interrupt it."),
    Statement(OPERATIONS, "claim a PID file and give it up", "libbsd",
              "Claiming a PID file and giving it up takes {ours}, and with libbsd {theirs}.",
              "Ours also writes what tells the process from a later one with its number, and makes the file "
              "whole before it can be seen."),
    Statement(OPERATIONS, "join five texts", "wxString",
              "Joining five texts takes {ours}, and with wxString {theirs}.",
              "Each part goes straight to the end of the result."),
    Statement(OPERATIONS, "join five texts", "std::string",
              "Joining five texts takes {ours}, and with the standard string {theirs}.",
              "Characters are wide, as in wxString, so there are four times as many bytes to copy."),
    Statement(OPERATIONS, "normalize a path", "std::filesystem::path",
              "Normalizing a path takes {ours}, and with the standard path {theirs}.",
              "Ours puts the names together in one text. The standard path makes a path of each."),
)


def read_rows(results):
    """The rows of the page of results by its section, by what is compared, and with what."""
    rows, section = {}, ""
    for line in results.splitlines():
        if line.startswith("## "):
            section = line.removeprefix("## ")
        cells = line.strip("| ").split(" | ")
        if line.startswith("| ") and len(cells) > 4:
            what, ours, beside, theirs, ratio = cells[:5]
            rows[section, what, beside] = Row(ours, theirs, ratio)
    return rows


def make_table(results):
    """What the last full run did not measure yet is left out."""
    rows = read_rows(results)
    stated = [(rows[statement.key()], statement) for statement in STATEMENTS if statement.key() in rows]
    lines = ["| | What it takes | Why |", "|---|---|---|"]
    for verdict in (GAIN, EVEN_NAME, PAY):
        lines += [f"| {verdict} | {statement.tell(row)} | {statement.reason} |"
                  for row, statement in stated if row.judge() == verdict]
    return "\n".join(lines) + "\n"


def replace_table(page, table):
    head, rest = page.split(BEGIN)
    return head + BEGIN + "\n" + table + "\n" + END + rest.split(END)[1]


def find_measured_figures(page):
    """The lines outside of the table that have one, which would be wrong after the next run."""
    prose = NO_PROSE.sub("", replace_table(page, ""))
    return [line for line in prose.splitlines() if MEASURED_FIGURE.search(line)]


def check_complete(comparisons):
    """Each statement must be about something that is measured."""
    measured = {(each.section, each.what, each.other_name) for each in comparisons}
    for statement in STATEMENTS:
        if statement.key() not in measured:
            raise RuntimeError(f"a page tells of what is not measured: {statement.key()}")


def check(page, right_page):
    faults = [f"a figure that is not from the results: {line}" for line in find_measured_figures(page)]
    if page != right_page:
        faults.append("the table does not say what the results say; bench/driver/balance.py writes it")
    print(*faults, sep="\n", file=sys.stderr)
    return 1 if faults else 0


def main():
    *options, results_name, page_name = sys.argv[1:]
    with open(results_name, encoding="utf-8") as file:
        table = make_table(file.read())
    with open(page_name, encoding="utf-8") as file:
        page = file.read()
    if options == ["--check"]:
        return check(page, replace_table(page, table))
    with open(page_name, "w", encoding="utf-8") as file:
        file.write(replace_table(page, table))
    return 0


if __name__ == "__main__":
    sys.exit(main())
