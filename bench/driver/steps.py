"""The steps that the programs are taken through."""

from dataclasses import dataclass


@dataclass(frozen=True)
class Step:
    """What a user does with a daemon by one command. Ours cannot do without so many starts of wxWidgets."""

    name: str
    wx_starts: int = 0


INSTALL = Step("install", wx_starts=1)
PRINT = Step("print a setting")
START = Step("start", wx_starts=2)
STATUS_RUNNING = Step("status of a running daemon", wx_starts=1)
RESTART = Step("restart", wx_starts=2)
CHECK = Step("check", wx_starts=1)
STOP_RUNNING = Step("stop a running daemon", wx_starts=1)
STATUS_STOPPED = Step("status of a stopped daemon", wx_starts=1)
STOP_STOPPED = Step("stop a stopped daemon", wx_starts=1)
UNINSTALL = Step("uninstall", wx_starts=1)
UNKNOWN = Step("unknown command", wx_starts=1)
LOAD = Step("start the libraries alone")

STEPS = (INSTALL, PRINT, START, STATUS_RUNNING, RESTART, CHECK, STOP_RUNNING, STATUS_STOPPED, STOP_STOPPED,
         UNINSTALL, UNKNOWN, LOAD)
LAUNCHING_STEPS = (START, RESTART)
AWAITING_STEPS = (STOP_RUNNING, RESTART)  # in which others look again and again whether the daemon has ended
