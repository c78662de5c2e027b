"""System calls as strace lists them, and the errors that each of them can really give."""

import collections
import re

# An occurrence of a call: the process or thread that makes it, numbered in the order of their first calls (0
# is the command's main thread), the call's name, its number among the calls of that name there, and its
# arguments.
Call = collections.namedtuple("Call", "tracee name number arguments")

LINE = re.compile(r"^(\d+) +(\w+)\((.*)$")

# From section 2 of the manual pages, with EIO, which any file system may give. Only errors that a call of
# this library can meet: not EBADF, EFAULT, EINVAL. Three calls are left out: brk and futex, because the C
# library does not expect the error numbers that strace would give it, and kill (pidfd_send_signal), which
# always succeeds for root.
ERRORS = {
    "access": "EACCES EIO ENOMEM",
    "bind": "EADDRINUSE ENOMEM ENOSPC",
    "chdir": "EACCES EIO ENOENT ENOMEM",
    "chmod": "EACCES EIO ENOMEM EPERM EROFS",
    "chown": "EACCES EIO ENOMEM EPERM EROFS",
    "clone": "EAGAIN ENOMEM",
    "clone3": "EAGAIN ENOMEM",
    "clock_nanosleep": "EINTR",
    "close_range": "EMFILE ENOMEM",
    "connect": "EACCES EAGAIN ECONNREFUSED EINTR",
    "dup2": "EBUSY EINTR EMFILE",
    "eventfd2": "EMFILE ENFILE ENODEV ENOMEM",
    "execve": "EACCES EAGAIN EIO EMFILE ENOENT ENOMEM ETXTBSY",
    "faccessat2": "EACCES EIO ENOMEM",
    "fchmod": "EIO EPERM EROFS",
    "fchownat": "EACCES EIO ENOMEM EPERM EROFS",
    "flock": "EAGAIN EINTR ENOLCK",
    "fork": "EAGAIN ENOMEM",
    "fstatfs": "EIO ENOMEM ENOSYS",
    "fsync": "EDQUOT EINTR EIO ENOSPC",
    "getcwd": "EACCES ENOENT ENOMEM",
    "getdents64": "EIO",
    "getrandom": "EINTR",
    "getsockname": "ENOBUFS",
    "lchown": "EACCES EIO ENOMEM EPERM EROFS",
    "mkdir": "EACCES EDQUOT EMLINK ENOMEM ENOSPC EROFS",
    "mkdirat": "EACCES EDQUOT EMLINK ENOMEM ENOSPC EROFS",
    "mmap": "ENOMEM EAGAIN",
    "mprotect": "ENOMEM",
    "newfstatat": "EACCES ENOMEM EIO",
    "openat": "EACCES EINTR EIO EMFILE ENFILE ENOMEM",
    "openat2": "EACCES EINTR EIO EMFILE ENFILE ENOMEM ENOSYS",
    "pidfd_open": "EMFILE ENFILE ENODEV ENOMEM ENOSYS EPERM",
    "pipe2": "EMFILE ENFILE",
    "poll": "EINTR ENOMEM",
    "readlink": "EACCES EIO ENOENT ENOMEM",
    "recvmsg": "EAGAIN EINTR ENOBUFS ENOMEM",
    "rename": "EACCES EBUSY EDQUOT EIO ENOMEM ENOSPC EPERM EROFS",
    "renameat": "EACCES EBUSY EDQUOT EIO ENOMEM ENOSPC EPERM EROFS",
    "renameat2": "EACCES EBUSY EDQUOT EIO ENOMEM ENOSPC EPERM EROFS",
    "rmdir": "EACCES EBUSY EIO ENOMEM EPERM EROFS",
    "rt_sigtimedwait": "EAGAIN EINTR",
    "sendto": "ECONNREFUSED ENOBUFS ENOMEM",
    "setgroups": "ENOMEM EPERM",
    "setresgid": "EPERM",
    "setreuid": "EAGAIN EPERM",
    "setsid": "EPERM",
    "socket": "EACCES EMFILE ENFILE ENOBUFS ENOMEM",
    "stat": "EACCES EIO ENOMEM",
    "statfs": "EACCES EIO ENOMEM ENOSYS",
    "statx": "EACCES EIO ENOMEM",
    "symlink": "EACCES EDQUOT EIO ENOMEM ENOSPC EPERM EROFS",
    "unlink": "EACCES EBUSY EIO ENOMEM EPERM EROFS",
    "unlinkat": "EACCES EBUSY EIO ENOMEM EPERM EROFS",
    "vfork": "EAGAIN ENOMEM",
    "wait4": "EINTR",
}

# The errors of these calls depend on what the descriptor leads to.
OF_FILES = {"close": "EDQUOT EIO ENOSPC", "read": "EIO", "write": "EDQUOT EFBIG EIO ENOSPC"}
OF_PIPES = {"read": "EINTR", "write": "EINTR"}
OF_EVENTS = {"read": "EINTR"}


def parse(lines, main):
    """The calls in the lines of strace with the options -f and -y; `main` is the main thread's number."""
    tracees = {str(main): 0}
    numbers = collections.Counter()
    calls = []
    for line in lines:
        match = LINE.match(line)
        if not match:
            continue  # the rest of a call, a signal, an end
        thread, name, arguments = match.groups()
        tracee = tracees.setdefault(thread, len(tracees))
        numbers[tracee, name] += 1
        calls.append(Call(tracee, name, numbers[tracee, name], arguments))
    return calls


def errors_of(call):
    if call.name in OF_FILES:
        return errors_of_descriptor(call)
    errors = ERRORS.get(call.name, "").split()
    if call.name == "openat" and "O_CREAT" in call.arguments:
        errors += ["EDQUOT", "ENOSPC", "EROFS"]
    if call.name == "fcntl" and "F_DUPFD" in call.arguments:
        errors += ["EMFILE"]
    if call.name == "fcntl" and "_SETLK" in call.arguments:
        errors += ["EAGAIN", "ENOLCK"]
    if call.name == "prctl" and "PR_SET_CHILD_SUBREAPER" in call.arguments:
        errors += ["EPERM"]  # in a sandbox
    if call.name == "setresuid" and "-1" not in call.arguments:
        errors = ["EAGAIN", "EPERM"]  # for good; giving up root's rights for a while succeeds
    if call.name == "newfstatat" and ' "", ' in call.arguments:
        errors = ["EIO", "ENOMEM"]  # the file is open already
    return errors


def errors_of_descriptor(call):
    target = call.arguments.partition("<")[2].partition(">")[0]
    # strace skips the call that it fails, while the system closes the descriptor even if it reports an error,
    # which it only does for what was written to. The end of a pipe that stayed open would be a fault of
    # another kind.
    if call.name == "close" and not target.endswith(".tmp") and not target.endswith(".new"):
        return []
    if target.startswith("pipe:"):
        errors = OF_PIPES
    elif target.startswith("anon_inode:"):
        errors = OF_EVENTS
    else:
        errors = OF_FILES
    return errors.get(call.name, "").split()


def kind_of(call):
    """What the call is about, without the numbers that differ from run to run."""
    return re.sub(r"\d+", "#", call.arguments.split(",")[0])


def changes_every_thread(call):
    """The C library makes every thread change its user, and aborts the process if only some of them
    succeed."""
    return call.name in ("setreuid", "setresuid", "setresgid", "setgroups")


def before_exec(calls):
    """The calls of each of the other processes and threads up to the one that makes it another program."""
    ended = set()
    kept = []
    for call in calls:
        if call.tracee != 0 and call.tracee not in ended:
            kept.append(call)
        if call.name == "execve":
            ended.add(call.tracee)
    return kept
