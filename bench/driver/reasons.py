"""Why a target is not reached, where what the library has to do is the reason."""

STARTING = ("starting wxWidgets' base library, which the library is built on, takes most of the time; see \"start the "
            "libraries alone\".")
LOADING = ("starting wxWidgets' base library, which the library is built on, takes most of the time that reading the "
           "settings leaves. Our start does so twice, for the command and for the daemon.")
APPENDING = ("making room and taking it into use are two operations, and each checks the room: the bytes written in "
             "between might be those of the counts, for all that the compiler knows.")
WIDE_TEXT = "characters are wide, as in wxString, so that there is four times as much to copy, on the heap."

REASONS = {
    "install": STARTING,
    "start": LOADING,
    "stop a running daemon, less its sleeps": LOADING,
    "stop a stopped daemon": LOADING,
    "unknown command": STARTING,
    "append 1000 blocks of 64 bytes": APPENDING,
    "append 1000 bytes one by one": APPENDING,
    "ask who holds a PID file": "three quarters of the time go into what a PID file is believed for: that its process "
                                "lives (4 µs), when that was started (6 µs) and at which boot (4 µs). The peer asks "
                                "for none of it, but for a lock, which a forked process inherits.",
    "claim a PID file and give it up": "half of the time goes into what the peer does without: the start and the boot "
                                       "that tell the process from a later one of the same number (10 µs), a file that "
                                       "is made whole under another name (5 µs), and its lock.",
    "copy and release a pointer": "the operations that count are virtual: that an object has not replaced them is checked "
                                  "before it is counted in place.",
    "join five texts": WIDE_TEXT,
    "make a text from narrow text": WIDE_TEXT,
    "read a global object": "whether its construction has failed is looked at in addition to what the compiler's flag "
                            "says.",
    "read a setting back": "the shell reads the whole init script for it.",
    "turn a text into UTF-8": WIDE_TEXT,
    "unescape a run parameter": "the text is wide: it is turned into UTF-8 before and back afterwards.",
    "write a log entry": "before each entry the file's path is looked at: another tool may have moved it, and several "
                         "processes share and rotate it. That look alone takes as long as an entry of the peer's. The "
                         "numbers of process and thread are asked for each time (0.2 µs): a forked process has others.",
}
REASONS["write a log entry, four processes at once"] = REASONS["write a log entry"]


def find_reason(row):
    return REASONS.get(row.what, "not explained yet.")
