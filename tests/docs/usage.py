#!/usr/bin/python3
"""Fails unless dmnctl(8) has just the commands and options that the program shows in its help.

Usage: usage.py PROGRAM PAGE"""

import pathlib
import re
import subprocess
import sys

COMMON = {"-h", "--help"}

COMMANDS = re.compile(r"^Commands:\n((?: .*\n)+)", re.MULTILINE)
COMMAND = re.compile(r"^ {1,4}([a-z]+)", re.MULTILINE)
OPTION_LINE = re.compile(r"^ {1,4}(-[-a-z,]+)", re.MULTILINE)
FORM = re.compile(r"^\.Nm\n\.Cm (\w+)\n((?:\.(?!Nm|Sh).*\n)*)", re.MULTILINE)
ITEM = re.compile(r"^\.It (Fl .*)", re.MULTILINE)
FLAG = re.compile(r"\bFl (Fl )?([a-z-]+)")


def show_help(program, *command):
    return subprocess.run([program, *command, "--help"], check=True, text=True, stdout=subprocess.PIPE).stdout


def read_help(program):
    """For each command, the names of each option; the options of no command under the name None."""
    text = show_help(program)
    usage = {None: read_options(text)}
    for command in COMMAND.findall(COMMANDS.search(text).group(1)):
        usage[command] = read_options(show_help(program, command))
    return usage


def read_options(text):
    return [set(names.split(",")) for names in OPTION_LINE.findall(text)]


def read_flags(text):
    """The options in a piece of the page: "Fl Fl kill" is --kill."""
    return {("--" if double else "-") + name for double, name in FLAG.findall(text)}


def find_faults(usage, page):
    forms = {command: read_flags(form) for command, form in FORM.findall(page)}
    commands = set(usage) - {None}
    yield from (f"{command}: the help does not have it" for command in forms.keys() - commands)
    for command in commands:
        yield from find_faults_of_form(command, usage[command], forms.get(command))
        if f".It Cm {command}\n" not in page:
            yield f"{command}: the page does not describe it"
    yield from find_faults_of_items(usage, [read_flags(item) for item in ITEM.findall(page)])


def find_faults_of_form(command, options, form):
    if form is None:
        yield f"{command}: the synopsis does not have it"
        return
    for names in options:
        if not names & (form | COMMON):
            yield f"{command}: the synopsis does not have {max(names)}"
    for flag in form:
        if not any(flag in names for names in options):
            yield f"{command}: the help does not have {flag}"


def find_faults_of_items(usage, items):
    options = [names for command in usage for names in usage[command]]
    yield from (f"The page does not describe {', '.join(sorted(names))}" for names in options if names not in items)
    yield from (f"The help does not have {', '.join(sorted(names))}" for names in items if names not in options)


def main():
    program, page = sys.argv[1:]
    faults = list(find_faults(read_help(program), pathlib.Path(page).read_text("utf-8")))
    print(*faults, sep="\n", file=sys.stderr)
    sys.exit(1 if faults else 0)


main()
