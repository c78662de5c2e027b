"""The commands of the victim with the front end for new programs, each with the state before it and the
states that it may leave."""

import os
import re
import shutil
import signal
import socket

import scenarios
from scenarios import DAEMONS_USER, NAMING, Install, Run, Scenario, Start, Stop, Uninstall
from torture import SCRIPT, await_that, read_file, require, signal_if_there

SUPERVISOR = "@victims-supervisor"


def remake_folder(path):
    shutil.rmtree(path, ignore_errors=True)
    os.mkdir(path)
    os.chmod(path, 0o777)


class InstallMakingFolder(Install):
    """The control folder is missing: it is made and given to the account."""

    def prepare(self):
        super().prepare()
        shutil.rmtree(self.scene.control, ignore_errors=True)

    def check_folder(self):
        folder = os.stat(self.scene.control)
        require((folder.st_uid, folder.st_gid, folder.st_mode) == (DAEMONS_USER, DAEMONS_USER, 0o040755),
                f"the control folder is not the account's: {folder}")

    def check_done(self):
        super().check_done()
        self.check_folder()

    def check_failed(self):
        super().check_failed()
        if os.path.exists(self.scene.control):
            self.check_folder()

    def clean(self):
        remake_folder(self.scene.control)
        super().clean()


class InstallElsewhere(Install):
    """Over an installation with another control folder, in which a daemon runs."""

    warned = False  # that nobody knows whether a daemon runs

    def __init__(self, scene):
        super().__init__(scene)
        self.old_folder = f"{scene.folder}/old"
        remake_folder(self.old_folder)
        self.old_script = self.script.replace(scene.control.encode(), self.old_folder.encode())

    def prepare(self):
        self.put_installation(self.old_script)
        self.put_daemon(self.old_folder)
        self.warned = False

    def check_outcome(self, process):
        self.warned = "It is unknown whether victim runs by its old script" in process.output()
        super().check_outcome(process)

    def check_done(self):
        super().check_done()
        self.check_daemon_ended()

    def check_failed(self):
        self.check_script_is_one_of(None, self.old_script, self.script)
        if read_file(SCRIPT) != self.old_script:
            self.check_daemon_ended()

    def check_daemon_ended(self):
        require(self.daemon.has_ended() or self.warned,
                "the daemon with the old folder runs on, and nobody would find it")


class UninstallAwaited(Uninstall):
    def check_done(self):
        require(self.daemon.has_ended(), "the command has not awaited the daemon's end")
        super().check_done()


class StartAwaited(Start):
    def check_done(self):
        told = re.search(r"is running \(process (\d+)\)", self.said)
        if told:
            require(self.scene.running() == int(told[1]), f"the daemon does not run: {self.said}")
            require(read_file(f"{self.scene.control}/victim.txt"), "the daemon is not ready")
        super().check_done()

    def unnamed(self):
        return [victim for victim in self.scene.victims() if f"process {victim}" not in self.said]

    def check_failed(self):
        """A daemon may go on if the message names it."""
        await_that(lambda: not self.unnamed(), f"the end of a daemon that this does not name: {self.said}", 5)


class Restart(StartAwaited):
    words = ["restart"]
    old = None  # the daemon's process before

    def prepare(self):
        super().prepare()
        self.scene.perform(["start"])
        self.old = self.scene.holder()

    def unnamed(self):
        return [victim for victim in super().unnamed() if victim != self.old]

    def check_done(self):
        require(self.old not in self.scene.victims(), "the old daemon runs on")
        super().check_done()


class StopAwaited(Stop):
    def check_done(self):
        require(self.daemon.has_ended(), "the command has not awaited the daemon's end")
        super().check_done()


class StopByForce(Scenario):
    """Of a daemon that is not installed and reacts to nothing."""

    words = ["--timeout=0", "--kill", "stop"]

    def prepare(self):
        self.remove_installation()
        self.put_daemon()
        os.kill(self.daemon.pid, signal.SIGSTOP)

    def check_done(self):
        require(self.daemon.has_ended(), "the command has not ended the daemon")


class Status(Scenario):
    """What the command says must be true: it may say that it does not know, and why."""

    words = ["status"]

    def check_outcome(self, process):
        self.said = process.output()
        if process.status == self.success:
            self.check_done()
            return
        require(process.status == 4, f"status {process.status}: {self.said}")
        reason = re.search(r"unknown whether victim runs: (.*)", self.said)
        if reason:
            require(NAMING.search(reason[1]), f"the reason names nothing: {self.said}")
        else:
            self.check_message()


class StatusOfRunning(Status):
    words = ["--verbose", "status"]

    def prepare(self):
        self.put_installation(self.script)
        self.put_daemon()

    def check_done(self):
        """Of a line that could not be written, nothing is left."""
        require("running" not in self.said or f"(process {self.daemon.pid})" in self.said,
                f"the process is not named: {self.said}")


class StatusOfStopped(Status):
    success = 3

    def prepare(self):
        self.put_installation(self.script)


class StatusOfDead(Status):
    success = 1

    def prepare(self):
        self.put_installation(self.script)
        if os.path.exists(self.scene.pid_file):
            return
        self.put_daemon()
        os.kill(self.daemon.pid, signal.SIGKILL)
        self.daemon.wait()


class StatusOfNone(Status):
    success = 4

    def prepare(self):
        self.remove_installation()


class Check(Scenario):
    """What could not be looked at is a finding."""

    words = ["check"]

    def prepare(self):
        self.put_installation(self.script)
        with open("/etc/inittab", "w", encoding="utf-8") as file:  # of an init that reads the links
            file.write("id:2:initdefault:\n")

    def check_outcome(self, process):
        self.said = process.output()
        if process.status == self.success:
            self.check_done()
        elif process.status == 1:  # what the boot sequence does is told without the reason
            require(NAMING.search(self.said) or "does not start at boot" in self.said,
                    f"the findings name nothing: {self.said}")
        else:
            require(process.status == 2, f"status {process.status}: {self.said}")
            self.check_message()


class CheckOfBroken(Check):
    """The account cannot write to its folder: no fault may hide that."""

    success = 1

    def prepare(self):
        super().prepare()
        os.chmod(self.scene.control, 0o700)

    def clean(self):
        os.chmod(self.scene.control, 0o777)
        super().clean()


class RunSupervised(Run):
    """It is told to read its settings again, and then to stop. Its supervisor does not listen, so that soon
    no message gets through."""

    environment = {"NOTIFY_SOCKET": SUPERVISOR}

    def __init__(self, scene):
        super().__init__(scene)
        self.supervisor = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.supervisor.bind(SUPERVISOR.replace("@", "\0"))

    def stimulate(self, process):
        marks = self.scene.marks
        await_that(lambda: marks.is_set("running") or process.has_ended(), "the run or its end")
        if not process.has_ended():
            signal_if_there(process.pid, signal.SIGHUP)
        await_that(lambda: marks.count("hangups") or process.has_ended(), "the reload or the end")
        super().stimulate(process)


OF_SERVICE = [InstallMakingFolder, InstallElsewhere, UninstallAwaited, StartAwaited, Restart, StopAwaited,
              StopByForce, StatusOfRunning, StatusOfStopped, StatusOfDead, StatusOfNone, Check, CheckOfBroken,
              RunSupervised]


def is_service(scene):
    return os.path.basename(scene.program) == "service_victim"


def commands(scene):
    """The scenarios of the victim's front end."""
    return OF_SERVICE if is_service(scene) else scenarios.ALL


def start(scene):
    return StartAwaited if is_service(scene) else Start
