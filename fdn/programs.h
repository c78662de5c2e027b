#pragma once

#include <fdn/CExecCommand.h>
#include <fdn/CIPCConnectionToSubProcess.h>
#include <fdn/CImpersonateInfo.h>
#include <fdn/ForkExecLevel.h>
#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/containers.h>

namespace fdn {

// Every program that is started here begins with the default treatment of every signal, with no signal
// blocked, with the umask and limits of its starter, and with no descriptor but 0, 1 and 2 (before Linux 5.9:
// with none from 3 to 65535). Any thread may start programs.
//
// Program, arguments and environment variables are passed in the encoding of file names; a text that it
// cannot represent, or that holds the character NUL, is refused with CUnencodableStringError. An environment
// consists of exactly the variables given, or is the caller's own when it is null. In a set-user-ID program
// null means the system's PATH alone, because the user who called it must not tell others what to do. A
// folder becomes the program's current folder; an empty one keeps the caller's.
//
// A program that cannot be started is an error of the call: a CError with the system's error number as its
// code and, as the property "func", the step that failed. That is "execve" with the program's path as
// "program" (also for a file that is not an executable and does not begin with "#!", ENOEXEC), "chdir" with
// the folder as "path", or "setresgid", "setgroups" or "setresuid" with the "account". Such an attempt leaves
// nothing behind.
//
// A start through a process with memory of its own is given up after ten seconds: at the level Detached,
// under another account, and where execSyncReturnOutputAsString() needs such a process. Its processes are
// killed, and the CError has the code ETIMEDOUT and names the step that hangs: entering a folder on a file
// system that does not answer, for instance. A process that is stuck in the kernel ends once the kernel lets
// it go, and is not waited for even if it is the caller's child. All other starts borrow the caller's memory,
// and the calling thread waits as long as they take.

/// Starts the program, and returns its process identifier once it runs.
///
/// `impersonate`: the account under which it runs, or null for the caller's. The process gets the account's
/// group, all its supplementary groups, and the user, in this order, and cannot undo it. The folder is
/// entered with the account's rights; HOME, USER, LOGNAME and SHELL follow the account, also in a given
/// environment. Only root can do this. Throws CError for an account that does not exist, unless the account
/// manager has found it before (see CSystemUserID).
///
/// `input`, `output` and `error`: the connections that get the caller's ends of pipes to and from the
/// program's standard streams. Without a connection the stream is the caller's, or /dev/null at the level
/// Detached. When the call throws, the connections are as they were.
///
/// Blocks until the program runs or has failed to, with the limit of ten seconds described above. At the
/// levels Child and Session under another account, if another thread forks meanwhile without exec, this
/// blocks until that child exits, but for ten seconds at most.
FDN_EXPORT int forkAndExec(CExecCommand const& command, CImpersonateInfo* impersonate, ForkExecLevel level,
                           Path const& folder, CIPCConnectionToSubProcess* input,
                           CIPCConnectionToSubProcess* output, CIPCConnectionToSubProcess* error,
                           TMap<String, String> const* environment);

/// Starts the program as forkAndExec() does at the level Detached without connections, in the caller's own
/// environment (in a set-user-ID program: the system's PATH alone) with these variables set in place of any
/// that it has. The caller's NOTIFY_SOCKET is not handed on (see notifySupervisor()): its supervisor waits
/// for the caller, not for the program.
FDN_EXPORT int launchDetached(CExecCommand const& command, CImpersonateInfo* impersonate, Path const& folder,
                              TMap<String, String> const& variables);

/// Runs the program in the caller's session, with /dev/null as its standard input, and returns what it has
/// written to its standard output, as text (by the rule of String::fromBytes()).
///
/// With `includeStandardError`, the answer includes what it writes to its standard error, in the order of
/// writing; otherwise that stream is the caller's.
///
/// The exit status of a program that has printed something does not matter. A program that has printed
/// nothing and was ended by a signal, or by a status above 1, has failed without an answer: that is a CError,
/// which names the program and its arguments. Whatever was printed, it is also a CError if the end is unknown
/// because another thread has waited for the program.
///
/// The program is a child of the caller. If the caller ignores SIGCHLD, handles it, or lets the system forget
/// its children (SA_NOCLDWAIT), it is the child of a process in between, which reports how it ends; the
/// caller's treatment of SIGCHLD stays as it is. If that process is killed, so is the program.
///
/// Blocks until the program has ended, and reaps it. Whatever another process that holds the output writes
/// after that is not read, and raises SIGPIPE there. Where the kernel offers no handle on a child
/// (pidfd_open, before Linux 5.3), this also blocks until no process holds the output open.
FDN_EXPORT String execSyncReturnOutputAsString(CExecCommand const& command, bool includeStandardError,
                                               TMap<String, String> const* environment, Path const& folder);

} // namespace fdn
