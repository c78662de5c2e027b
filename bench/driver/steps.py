"""The steps that the programs are taken through, and why ours takes as long as it does in each."""

from dataclasses import dataclass

from reasons import check_reason

STARTING = ("Every command starts wxWidgets' base library, on which the library is built: see \"start the "
            "libraries alone\".")
READING = ("The command starts wxWidgets' base library, on which the library is built, and reads each setting "
           "that it needs by a run of the init script. The commands beside their limit show what these two "
           "alone take.")


@dataclass(frozen=True)
class Step:
    """What a user does with a daemon by one command, and why ours takes what it takes.

    The command cannot do without so many starts of wxWidgets, and without reading so many settings."""

    name: str
    reason: str
    wx_starts: int = 0
    settings: int = 0

    def __post_init__(self):
        check_reason(self.reason)


INSTALL = Step("install",
               "The command starts wxWidgets' base library, on which the library is built, and tries the "
               "settings on the shell before it writes them. The commands beside their limit show what these "
               "two alone take.", wx_starts=1, settings=6)
PRINT = Step("print a setting", "The shell reads the whole init script to print one setting.")
START = Step("start",
             "The command reads each setting by a run of the init script, and starts wxWidgets' base "
             "library, on which the library is built, twice: for itself and for the daemon. The commands "
             "beside their limit show what these alone take.", wx_starts=2, settings=6)
STATUS_RUNNING = Step("status of a running daemon", READING, wx_starts=1, settings=1)
RESTART = Step("restart", "The command does what stop and start do.", wx_starts=2, settings=7)
CHECK = Step("check", READING, wx_starts=1, settings=6)
STOP_RUNNING = Step("stop a running daemon", READING, wx_starts=1, settings=1)
STATUS_STOPPED = Step("status of a stopped daemon", READING, wx_starts=1, settings=1)
STOP_STOPPED = Step("stop a stopped daemon", READING, wx_starts=1, settings=1)
UNINSTALL = Step("uninstall", READING, wx_starts=1, settings=2)
UNKNOWN = Step("unknown command", STARTING, wx_starts=1)
LOAD = Step("start the libraries alone", "Our two libraries are loaded besides wxWidgets' base library.")

STEPS = (INSTALL, PRINT, START, STATUS_RUNNING, RESTART, CHECK, STOP_RUNNING, STATUS_STOPPED, STOP_STOPPED,
         UNINSTALL, UNKNOWN, LOAD)
LAUNCHING_STEPS = (START, RESTART)
