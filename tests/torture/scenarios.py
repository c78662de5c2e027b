"""The victim's commands, each with the state before it and the states that it may leave."""

import os
import re
import signal
import tempfile

from torture import (FOLDERS_OF_ETC, LINKS, SCRIPT, Failure, Process, await_that, read_file, require,
                     signal_if_there)

ORDINARY_USER = 61001  # dmnuser; the victim's effective user unless that is root
DAEMONS_ACCOUNT = "dmnother"
DAEMONS_USER = 61002
TRANSIENT_FOLDER = "/run/victim-run"
INSTALL = [f"--runas={DAEMONS_ACCOUNT}", "--transientFolderAppID=victim-run", "--word=a b", "install"]


# What a message must name: a thing in quotes or brackets, or a call. Two messages say enough without.
NAMING = re.compile(r"'.+'|\[.+\]|(^|: )\w+ failed|/proc/self/exe|"
                    r"necessary root privileges|^Timeout while waiting for daemon")


def remove(path):
    try:
        os.remove(path)
    except FileNotFoundError:
        pass


class Scenario:
    """A command of the victim; the class's name is the one to show."""

    user = ORDINARY_USER
    words = []
    environment = {}
    success = 0  # the exit status without a fault
    said = ""  # the output of the command that was performed last

    def __init__(self, scene):
        self.scene = scene
        self.daemon = None
        self.others = set(os.listdir(tempfile.gettempdir()))
        self.remove_installation()
        scene.perform(INSTALL)
        self.script = read_file(SCRIPT)
        self.remove_installation()

    def prepare(self):
        """Makes the state before the command, whatever the state was."""

    def stimulate(self, process):
        """Does from outside what the command waits for."""

    def check_done(self):
        """After the command has succeeded: requires that everything is done."""

    def check_failed(self):
        """After the command has failed: requires that nothing is half done."""

    def check_outcome(self, process):
        """After a command that a fault may have made fail: requires that all is done, or that it says what
        failed."""
        self.said = process.output()
        if process.status == self.success:
            self.check_done()
        else:
            require(process.status == 2, f"status {process.status}: {self.said}")
            self.check_message()
            self.check_failed()

    def check_message(self):
        """The message of a command that failed must name a call or a thing. If the message could not be
        printed, the log has it."""
        texts = re.findall(r"FATAL ERROR: (.*)", self.said)
        texts += re.findall(r"<what>(.*)</what>",
                            (read_file(self.scene.log) or b"").decode(errors="replace"))
        require(texts, f"a failure without a message: '{self.said}'")
        require(any(NAMING.search(text) for text in texts), f"the message names nothing: {texts}")

    def check_nothing_left(self):
        leftovers = self.leftovers()
        require(not leftovers, f"left behind: {leftovers}")

    def clean(self):
        """Ends the daemon and removes its files."""
        for victim in self.scene.victims():
            signal_if_there(victim, signal.SIGKILL)
        if self.daemon is not None:
            self.daemon.wait()
            self.daemon = None
        await_that(lambda: not self.scene.victims(), "the end of the victims")
        for name in os.listdir(self.scene.control):
            os.remove(f"{self.scene.control}/{name}")

    # What the scenarios are made of.

    def remove_installation(self):
        for path in [SCRIPT, *LINKS]:
            remove(path)

    def put_installation(self, script):
        self.remove_installation()
        with open(SCRIPT, "wb") as file:
            file.write(script)
            os.fchmod(file.fileno(), 0o755)
        for link in LINKS:
            os.symlink(SCRIPT, link)

    def put_daemon(self, folder=None):
        scene = self.scene
        if self.daemon is not None and not self.daemon.has_ended():
            return
        arguments = [scene.program, "--id=victim", f"--controlFolder={folder or scene.control}", "daemon"]
        scene.marks.clear()
        self.daemon = Process(arguments, scene.environment(), f"{scene.folder}/daemon-output")
        await_that(lambda: scene.marks.is_set("running"), "the daemon to run")

    def links(self):
        return {link for link in LINKS if os.path.lexists(link)}

    def check_installed(self):
        require(read_file(SCRIPT) == self.script, "the script is not the one that was to be installed")
        require(os.stat(SCRIPT).st_mode == 0o100755, "the script's mode is not 755")
        require(self.links() == LINKS, f"only some of the links are there: {self.links()}")

    def check_uninstalled(self):
        require(not os.path.lexists(SCRIPT) and not self.links(), "a part of the installation is left")

    def check_script_is_one_of(self, *scripts):
        require(read_file(SCRIPT) in scripts, "the script is half written")
        for link in self.links():
            require(os.readlink(link) == SCRIPT, f"the link {link} leads to {os.readlink(link)}")

    def leftovers(self):
        """The files that belong neither to an installation nor to a daemon."""
        found = []
        for folder in [*FOLDERS_OF_ETC, "/run", self.scene.control]:
            if os.path.exists(folder):
                found += [f"{folder}/{name}" for name in os.listdir(folder)]
        found += set(os.listdir(tempfile.gettempdir())) - self.others
        known = {SCRIPT, *LINKS, self.scene.pid_file, f"{self.scene.control}/victim.txt", TRANSIENT_FOLDER,
                 "/run/private-root", "/run/lock"}
        return sorted(set(found) - known)

    def await_daemons_end(self):
        await_that(lambda: self.daemon.has_ended(), "the daemon's end")
        require(self.daemon.status == 0, f"the daemon ended with status {self.daemon.status}")
        require(not os.path.exists(self.scene.pid_file), "the daemon ended and left its PID file behind")


class Install(Scenario):
    words = INSTALL

    def prepare(self):
        self.remove_installation()

    def check_done(self):
        self.check_installed()

    def check_failed(self):
        self.check_script_is_one_of(None, self.script)


class Reinstall(Install):
    """Over an installation with other settings."""

    def prepare(self):
        self.old_script = self.script.replace(b"a%20b", b"old")
        self.put_installation(self.old_script)

    def check_failed(self):
        self.check_script_is_one_of(None, self.old_script, self.script)


class Uninstall(Scenario):
    words = ["uninstall"]

    def prepare(self):
        self.put_installation(self.script)
        self.put_daemon()

    def check_done(self):
        self.check_uninstalled()
        self.await_daemons_end()

    def check_failed(self):
        self.check_script_is_one_of(self.script, None)


class Start(Scenario):
    words = ["start"]

    def prepare(self):
        self.clean()
        self.put_installation(self.script)
        if os.path.exists(TRANSIENT_FOLDER):
            os.rmdir(TRANSIENT_FOLDER)

    def check_done(self):
        scene = self.scene
        await_that(scene.running, "the daemon to run")
        await_that(lambda: scene.victims() == [scene.holder()], "only one daemon to run")
        expected = f"{DAEMONS_USER} {DAEMONS_USER} a b\n".encode()
        await_that(lambda: read_file(f"{scene.control}/victim.txt") == expected,
                   "the daemon to run as it was installed", 5)
        folder = os.stat(TRANSIENT_FOLDER)
        require((folder.st_uid, folder.st_gid, folder.st_mode) == (DAEMONS_USER, DAEMONS_USER, 0o040750),
                f"the transient folder is not as it was asked for: {folder}")

    def check_failed(self):
        require(not self.scene.victims(), "the command failed, but the daemon runs")


class StartAsRoot(Start):
    user = 0


class Stop(Scenario):
    words = ["--timeout=2", "stop"]

    def prepare(self):
        self.put_installation(self.script)
        self.put_daemon()

    def check_done(self):
        self.await_daemons_end()


class Run(Scenario):
    words = ["run"]

    def prepare(self):
        self.clean()

    def stimulate(self, process):
        marks = self.scene.marks
        await_that(lambda: marks.is_set("running") or process.has_ended(), "the run or its end")
        if not process.has_ended():
            signal_if_there(process.pid, signal.SIGTERM)

    def check_done(self):
        require(self.scene.marks.is_set("returned"), "the process ended before run() returned")

    def check_nothing_left(self):
        """A PID file may be left only if the log says so."""
        if os.path.exists(self.scene.pid_file):
            require("The PID file could not be deleted" in read_file(self.scene.log).decode(),
                    "the PID file was left behind, and the log does not say so")
        super().check_nothing_left()


ALL = [Install, Reinstall, Uninstall, Start, Stop, Run, StartAsRoot]


def check(scenario, function, what):
    """Calls the function, and adds to its failure what was done before."""
    try:
        function()
    except Failure as failure:
        raise Failure(f"{type(scenario).__name__}, {what}: {failure}") from failure
