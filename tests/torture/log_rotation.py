#!/usr/bin/python3
"""Several processes write to one log while it is rotated, by the library itself at 10 MiB or by logrotate:
each entry must be there once, and whole."""

import collections
import glob
import os
import re
import shutil
import subprocess
import tempfile
import time

from torture import Process, read_file, require, run_torture

WRITERS = 8
ENTRY = re.compile(rb'<entry time="[^"<>]+" level="info" process="\d+" thread="\d+">'
                   rb'(\d+) (\d+) \.{200}</entry>')
# Few enough for the library to keep them all: in five old files, which each have almost 10 MiB of entries of
# at most 320 bytes, and in the one in use.
ENTRIES = 5 * 10 * 1024 * 1024 // 320 // WRITERS

ROTATIONS = 1000  # the most by logrotate, which deletes older files

# Without "nocreate", logrotate creates the file after moving the old one away. If a writer has created it
# first, logrotate moves the writer's file to a name with the hour in it, and overwrites what another rotation
# in that hour has moved there.
CONFIGURATION = """{log} {{
    size 1
    rotate {rotations}
    missingok
    nocreate
}}
"""


def begin_writers(program, folder, entries, pause):
    environment = {"PATH": "/usr/bin:/bin", "FDN_LOG_FILE": f"{folder}/log"}
    return [Process([program, str(writer), str(entries), str(pause)], environment,
                    f"{folder}/output-{writer}") for writer in range(WRITERS)]


def end_writers(writers):
    for writer in writers:
        require(writer.wait() == 0, f"a writer ended with status {writer.status}: {writer.output()}")


def check_log(folder, entries):
    """Returns the number of files of the log."""
    files = glob.glob(f"{folder}/log*")
    seen = collections.Counter()
    for file in files:
        for line in read_file(file).splitlines():
            entry = ENTRY.fullmatch(line)
            require(entry, f"not a whole entry: {line}")
            seen[int(entry[1]), int(entry[2])] += 1
    expected = {(writer, number): 1 for writer in range(WRITERS) for number in range(entries)}
    missing = expected.keys() - seen.keys()
    require(not missing, f"{len(missing)} entries are lost, for example {sorted(missing)[:3]}")
    require(seen == expected, "an entry was written more than once, or was never made")
    return len(files)


def rotate_by_library(program, folder, entries):
    end_writers(begin_writers(program, folder, entries, 0))
    files = check_log(folder, entries)
    return f"by the library: {WRITERS * entries} entries of {WRITERS} writers in {files} files"


def rotate_by_logrotate(program, folder, entries):
    """Runs logrotate again and again while the writers write."""
    configuration = f"{folder}/rotate.conf"
    with open(configuration, "w", encoding="utf-8") as file:
        file.write(CONFIGURATION.format(log=f"{folder}/log", rotations=ROTATIONS))
    writers = begin_writers(program, folder, entries, 1000)
    rotations = 0
    while rotations < ROTATIONS and not all([writer.has_ended() for writer in writers]):
        subprocess.run(["logrotate", "--force", "--state", f"{folder}/state", configuration], check=True)
        rotations += 1
        time.sleep(0.01)
    end_writers(writers)
    files = check_log(folder, entries)
    return (f"by logrotate: {WRITERS * entries} entries of {WRITERS} writers in {files} files, "
            f"logrotate run {rotations} times")


def in_a_folder(rotate, program, entries):
    folder = tempfile.mkdtemp(prefix="dmn-torture-")
    os.chmod(folder, 0o755)
    try:
        print(rotate(program, folder, entries), flush=True)
    finally:
        shutil.rmtree(folder)


def torture(options):
    program = os.path.join(os.path.dirname(options.program), "logging")
    in_a_folder(rotate_by_library, program, ENTRIES if options.long else ENTRIES // 4)
    in_a_folder(rotate_by_logrotate, program, 20000 if options.long else 1000)
    return "no entry lost"


if __name__ == "__main__":
    run_torture(torture, __doc__)
