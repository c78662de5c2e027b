"""What the programs that torture the victim share: the scene, running the victim, and waiting for what it
does."""

import argparse
import mmap
import os
import random
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time

PATIENCE = 30  # seconds until something that does not happen counts as a hang
SCRIPT = "/etc/init.d/victim"
LINKS = {f"/etc/rc{level}.d/{name}victim"
         for level, name in [(0, "K10"), (2, "S90"), (3, "S90"), (4, "S90"), (5, "S90"), (6, "K10")]}
FOLDERS_OF_ETC = ["/etc/init.d"] + [f"/etc/rc{level}.d" for level in range(7)]


class Failure(Exception):
    """The library has not kept a promise."""


def require(condition, what):
    if not condition:
        raise Failure(what)


def await_that(condition, what, patience=PATIENCE):
    """Waits until the condition, asked every millisecond, answers with something true, and returns that."""
    deadline = time.monotonic() + patience
    while True:
        answer = condition()
        if answer:
            return answer
        require(time.monotonic() < deadline, f"waited {patience} seconds in vain for {what}")
        time.sleep(0.001)


def read_file(path):
    """The content as bytes, or None if there is no such file."""
    try:
        with open(path, "rb") as file:
            return file.read()
    except FileNotFoundError:
        return None


def signal_if_there(process, number):
    try:
        os.kill(process, number)
    except ProcessLookupError:
        pass


class Marks:
    """How far a victim has got, in memory that it shares: Marks.h is the victim's side."""

    def __init__(self, path):
        self.path = path
        with open(path, "wb") as file:
            file.truncate(mmap.PAGESIZE)
        os.chmod(path, 0o666)
        with open(path, "r+b") as file:
            self._memory = mmap.mmap(file.fileno(), mmap.PAGESIZE)

    def clear(self):
        self._memory[:16] = bytes(16)

    def is_set(self, name):
        return self._memory[["inMain", "registered", "running", "returned", "left"].index(name)] != 0

    def count(self, name):
        return struct.unpack_from("I", self._memory, {"hangups": 8, "entries": 12}[name])[0]


class Process:
    """A child whose output goes to a file."""

    def __init__(self, arguments, environment, output):
        self.arguments = arguments
        self._output = output
        streams = [(os.POSIX_SPAWN_OPEN, 0, "/dev/null", os.O_RDONLY, 0),
                   (os.POSIX_SPAWN_OPEN, 1, output, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600),
                   (os.POSIX_SPAWN_DUP2, 1, 2)]
        self.pid = os.posix_spawn(arguments[0], arguments, environment, file_actions=streams,
                                  setsigdef=[signal.SIGINT])
        self.status = None

    def has_ended(self):
        if self.status is None:
            process, status = os.waitpid(self.pid, os.WNOHANG)
            if process != 0:
                self.status = os.waitstatus_to_exitcode(status)
        return self.status is not None

    def wait(self):
        """Its exit status, or the negative number of the signal that ended it."""
        await_that(self.has_ended, f"the end of {self.arguments}")
        return self.status

    def output(self):
        return (read_file(self._output) or b"").decode()


class Scene:
    """Where the victim is tortured: folders, log, environment. Use it in a private root."""

    def __init__(self, program):
        self.program = program
        # Not where a boot removes what is there: check would find that wrong.
        self.folder = tempfile.mkdtemp(prefix="dmn-torture-", dir="/var/log")
        os.chmod(self.folder, 0o755)
        self.control = f"{self.folder}/control"
        os.mkdir(self.control)
        os.chmod(self.control, 0o777)
        self.log = f"{self.folder}/log"
        self.pid_file = f"{self.control}/victim.pid"
        self.marks = Marks(f"{self.folder}/marks")
        self.clear_log()

    def remove(self):
        for victim in self.victims():
            signal_if_there(victim, signal.SIGKILL)
        shutil.rmtree(self.folder)

    def clear_log(self):
        with open(self.log, "wb"):
            os.chmod(self.log, 0o666)

    def environment(self, **more):
        return {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "FDN_LOG_FILE": self.log,
                "VICTIM_MARKS": self.marks.path, **more}

    def begin(self, words, **environment):
        """Begins a command of the victim."""
        arguments = [self.program, f"--controlFolder={self.control}", *words]
        return Process(arguments, self.environment(**environment), f"{self.folder}/output")

    def perform(self, words, **environment):
        """Performs a command of the victim, which must succeed."""
        process = self.begin(words, **environment)
        status = process.wait()
        require(status == 0, f"status {status} from {words}: {process.output()}")

    def victims(self):
        """The processes that run the victim's program."""
        found = []
        for name in os.listdir("/proc"):
            try:
                if name.isdecimal() and os.readlink(f"/proc/{name}/exe") == self.program:
                    found.append(int(name))
            except OSError:
                pass  # the process has ended meanwhile
        return found

    def holder(self):
        """The process that the PID file names, or None if there is no file."""
        content = read_file(self.pid_file)
        return int(content.split()[0]) if content else None

    def running(self):
        """The victim that holds the PID file and runs, or None."""
        holder = self.holder()
        return holder if holder in self.victims() else None


def run_torture(torture, description):
    """Calls torture(options), which returns a line that counts what was done, and prints it. If a promise was
    not kept, the program ends with status 1."""
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("--program", required=True, help="the victim")
    parser.add_argument("--long", action="store_true", help="the long run instead of the short one")
    parser.add_argument("--seed", type=int, default=None, help="repeat the random choices of an earlier run")
    parser.add_argument("--only", default="", help="only the cases whose names contain this")
    options = parser.parse_args()
    if os.environ.get("DMN_PRIVATE_ROOT") != "accounts":
        print(f"{os.path.basename(sys.argv[0])} needs a private root that was made by root")
        sys.exit(1 if os.environ.get("DMN_TEST_REQUIRE_ALL") == "1" else 77)
    if options.seed is None:
        options.seed = random.SystemRandom().randrange(1000000)
    options.random = random.Random(options.seed)
    started = time.monotonic()
    try:
        counts = torture(options)
    except Failure as failure:
        print(f"FAILED: {failure}\nseed: {options.seed}")
        sys.exit(1)
    print(f"{counts}; {time.monotonic() - started:.0f} s; seed {options.seed}")


def end(process):
    """Ends a child that might go on for ever, such as strace."""
    process.terminate()
    process.wait(PATIENCE)


def run_strace(arguments):
    return subprocess.Popen(["strace", "-qq", *arguments], stdin=subprocess.DEVNULL, stderr=subprocess.PIPE)
