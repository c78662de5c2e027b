"""Measures one command from outside."""

import collections
import subprocess

PATIENCE = 60  # seconds

Sample = collections.namedtuple("Sample", "nanoseconds memory")  # the peak of the memory in KiB


class Stopwatch:
    """Runs commands through the program bench/stopwatch, which is too small to show in the samples."""

    def __init__(self, place):
        self.program = place.program("bench/stopwatch")

    def measure(self, command):
        """A sample of the command, which must end with its status. If it has a PID file, the time lasts until
        there is something in the file."""
        until = ["--until", command.pid_file] if command.pid_file else []
        output = subprocess.run([self.program] + until + command.line, check=True, timeout=PATIENCE,
                                stdout=subprocess.PIPE, text=True).stdout
        nanoseconds, memory, status = map(int, output.split())
        if status != command.status:
            raise RuntimeError(f"{command.line} ended with status {status}, not {command.status}")
        return Sample(nanoseconds, memory)
