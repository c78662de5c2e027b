"""The programs whose commands are measured: ours, the peers and the floors."""

import collections
from dataclasses import dataclass

from steps import (CHECK, INSTALL, LOAD, PRINT, RESTART, START, STATUS_RUNNING, STATUS_STOPPED, STOP_RUNNING,
                   STOP_STOPPED, UNINSTALL, UNKNOWN, Step)

OURS = "dmn"
PLAIN = "plain front end"
GO = "Go service"
POCO = "Poco server"
POCO_WITH_SETTINGS = "Poco server, settings read"
DEBIAN = "start-stop-daemon"
DEBIAN_WITH_SETTINGS = "start-stop-daemon, settings read"
BARE_C = "bare C"
BARE_SHELL = "sh -c echo"
BARE_WX = "bare wxWidgets"

SCRIPT = "/etc/init.d/heartbeat"
FOREVER = "--interval=86400"

# How many seconds the commands that stop a daemon sleep between two looks whether it has stopped. Ours does not.
PLAIN_POLL = 0.05
GO_POLL = 1
POCO_POLL = 0.05
DEBIAN_POLL = 0.02

# For the shell, which gets the init script as $0 and a command as its arguments: it reads the settings that
# our command reads before it starts or stops a daemon, and goes on with the other command.
READ_FOR_START = """
folder=$($0 printControlFolder) params=$($0 printParams) user=$($0 printRunAs)
app_id=$($0 printTransientFolderAppID) group=$($0 printTransientFolderGroup) exe=$($0 printExePath)
"""
READ_FOR_STOP = "folder=$($0 printControlFolder); "
GO_ON = """exec "$@" """
KILL_AND_WAIT = f"""kill "$(cat "$1")"; while [ -e "$1" ]; do sleep {POCO_POLL}; done"""

# A command line, the status that it must end with, and the PID file that the user waits for after it.
Command = collections.namedtuple("Command", "line status pid_file", defaults=(0, None))


@dataclass(frozen=True)
class Subject:
    """A program that is measured: its command for each step that it knows."""

    name: str
    commands: dict[Step, Command]
    poll: float | None = None
    is_watched_idle: bool = False


def make_subjects(place):
    """All of them; ours comes first, then ours with the other front end."""
    return [make_ours(place), make_plain_front_end(place), make_go_service(place),
            make_poco_server(place), make_poco_server_with_settings(place),
            make_start_stop_daemon(place), make_start_stop_daemon_with_settings(place),
            make_bare_c(place), make_bare_shell(), make_bare_wx(place)]


def make_ours(place):
    heartbeat = place.program("examples/heartbeat")
    return Subject(OURS, {
        INSTALL: Command([heartbeat, "install", "--controlFolder=" + place.folder, FOREVER]),
        PRINT: Command([SCRIPT, "printExePath"]),
        START: Command([heartbeat, "start"], pid_file=place.pid_file("heartbeat")),
        STATUS_RUNNING: Command([heartbeat, "status"]),
        RESTART: Command([heartbeat, "restart"]),
        CHECK: Command([heartbeat, "check"]),
        STOP_RUNNING: Command([heartbeat, "stop"]),
        STATUS_STOPPED: Command([heartbeat, "status"], status=3),
        STOP_STOPPED: Command([heartbeat, "stop"]),
        UNINSTALL: Command([heartbeat, "uninstall"]),
        UNKNOWN: Command([heartbeat, "bogus"], status=2),
        LOAD: Command([place.program("bench/start_dmn")])},
        is_watched_idle=True)


def make_plain_front_end(place):
    """It shows what it costs ours to tell the truth."""
    plain = place.program("bench/plain_daemon")
    return Subject(PLAIN, {
        INSTALL: Command([plain, "install", "--controlFolder=" + place.folder]),
        START: Command([plain, "start"], pid_file=place.pid_file("plain")),
        STOP_RUNNING: Command([plain, "stop"]),
        STOP_STOPPED: Command([plain, "stop"]),
        UNINSTALL: Command([plain, "uninstall"])}, poll=PLAIN_POLL)


def make_go_service(place):
    go = place.program("bench/go_service")
    return Subject(GO, {
        INSTALL: Command([go, "install"]),
        START: Command([go, "start"], pid_file="/var/run/go_service.pid"),
        STATUS_RUNNING: Command([go, "status"]),
        RESTART: Command([go, "restart"]),
        STOP_RUNNING: Command([go, "stop"]),
        STATUS_STOPPED: Command([go, "status"], status=1),
        STOP_STOPPED: Command([go, "stop"]),
        UNINSTALL: Command([go, "remove"]),
        UNKNOWN: Command([go, "bogus"], status=1)},
        poll=GO_POLL, is_watched_idle=True)


def run_shell(text, *arguments):
    return ["/bin/sh", "-c", text, SCRIPT, *arguments]


def start_poco(place, name):
    return [place.program("bench/poco_server"), "--daemon", "--pidfile=" + place.pid_file(name)]


def make_poco_server(place):
    pid_file = place.pid_file("poco")
    return Subject(POCO, {
        START: Command(start_poco(place, "poco"), pid_file=pid_file),
        STOP_RUNNING: Command(run_shell(KILL_AND_WAIT, pid_file)),
        UNKNOWN: Command([place.program("bench/poco_server"), "--bogus"], status=78)},
        poll=POCO_POLL, is_watched_idle=True)


def make_poco_server_with_settings(place):
    pid_file = place.pid_file("poco_2")
    return Subject(POCO_WITH_SETTINGS, {
        START: Command(run_shell(READ_FOR_START + GO_ON, *start_poco(place, "poco_2")), pid_file=pid_file),
        STOP_RUNNING: Command(run_shell(READ_FOR_STOP + KILL_AND_WAIT, pid_file))},
        poll=POCO_POLL)


def call_start_stop_daemon(pid_file, *arguments):
    return ["start-stop-daemon", "--quiet", "--pidfile", pid_file, *arguments]


def start_by_debian(pid_file, *arguments):
    return call_start_stop_daemon(pid_file, "--start", "--background", *arguments)


def stop_by_debian(pid_file):
    return call_start_stop_daemon(pid_file, "--stop", "--oknodo", "--retry", "5", "--remove-pidfile")


def make_start_stop_daemon(place):
    pid_file = place.pid_file("debian")
    start = start_by_debian(pid_file, "--make-pidfile", "--exec", place.program("bench/floor"), "--", "wait")
    status = call_start_stop_daemon(pid_file, "--status")
    return Subject(DEBIAN, {
        START: Command(start, pid_file=pid_file),
        STATUS_RUNNING: Command(status),
        STOP_RUNNING: Command(stop_by_debian(pid_file)),
        STATUS_STOPPED: Command(status, status=3),
        STOP_STOPPED: Command(stop_by_debian(pid_file)),
        UNKNOWN: Command(["start-stop-daemon", "--bogus"], status=3)}, poll=DEBIAN_POLL)


def make_start_stop_daemon_with_settings(place):
    """Starts the same daemon as ours, which writes its PID file itself."""
    pid_file = place.pid_file("settings")
    start = start_by_debian(pid_file, "--exec", place.program("examples/heartbeat"), "--", "--id=settings",
                            "--controlFolder=" + place.folder, "daemon", FOREVER)
    stop = Command(run_shell(READ_FOR_STOP + GO_ON, *stop_by_debian(pid_file)))
    return Subject(DEBIAN_WITH_SETTINGS, {
        START: Command(run_shell(READ_FOR_START + GO_ON, *start), pid_file=pid_file),
        STOP_RUNNING: stop,
        STOP_STOPPED: stop}, poll=DEBIAN_POLL)


def make_bare_c(place):
    floor, pid_file = place.program("bench/floor"), place.pid_file("floor")
    return Subject(BARE_C, {
        START: Command([floor, "start", pid_file], pid_file=pid_file),
        STOP_RUNNING: Command([floor, "stop", pid_file]),
        STOP_STOPPED: Command([floor, "stop", pid_file]),
        UNKNOWN: Command([floor, "bogus"], status=2)}, is_watched_idle=True)


def make_bare_shell():
    return Subject(BARE_SHELL, {PRINT: Command(["/bin/sh", "-c", "echo /usr/sbin/heartbeat"])})


def make_bare_wx(place):
    start = Command([place.program("bench/start_wx")])
    return Subject(BARE_WX, {UNKNOWN: start, LOAD: start})
