#include <fdn/pidfile/PIDFileVerdict.h>

#include <fdn/pidfile/ProcessIdentity.h>

#include <optional>
#include <string>

#include <unistd.h>

namespace fdn {

namespace {

constexpr int kLooksForOneWithName = 10;

String toText(long long number) {
    return String::fromBytes(std::to_string(number));
}

PIDFileVerdict unclear(pid_t process, String const& reason) {
    return {Standing::Unclear, process, reason};
}

String describe(Path const& path) {
    return "The PID file '" + path.getText() + "'";
}

PIDFileVerdict foreign(PIDFileLook const& look, pid_t process, Path const& path) {
    return unclear(process, describe(path) + " belongs to user " + toText(look.owner) +
                                ", who may not signal process " + toText(process) + ".");
}

PIDFileVerdict secondName(pid_t process, Path const& path) {
    return unclear(process, describe(path) + " of process " + toText(process) +
                                " has another name, and is in a folder that others may write to.");
}

PIDFileVerdict unreadable(pid_t process, Path const& path) {
    return unclear(process,
                   describe(path) + " names process " + toText(process) +
                       ", which lives, but /proc does not tell whether it is the one that is meant.");
}

PIDFileVerdict hidden(Path const& path) {
    return unclear(0, describe(path) +
                          " is held by a process that cannot be seen from here: in another PID namespace or "
                          "on another machine.");
}

PIDFileVerdict another(pid_t process, Path const& path) {
    return unclear(process, describe(path) + " is locked by process " + toText(process) +
                                ", of which it does not tell.");
}

std::optional<bool> mayWriterSignal(PIDFileLook const& look, pid_t process) {
    return look.owner == 0 ? true : mayBeSignalledBy(look.owner, process);
}

// In another PID namespace a process has another number but the same start time, so the identity decides.
bool tellsOf(PIDRecord const& record, pid_t process) {
    bool const isNamed = record.process == process;
    return record.identity.empty() ? isNamed : hasIdentity(process, record.identity).value_or(isNamed);
}

// The kernel says who keeps the lock. But that need not be the file's process: one that clears up after a
// dead process locks the file for a moment, and other programs lock files for reasons of their own.
PIDFileVerdict judgeLocker(PIDFileLook const& look, Path const& path) {
    pid_t const process = look.locker;
    if (process < 1)
        return hidden(path);
    if (look.mayBeAnothersFile)
        return secondName(process, path);
    if (!tellsOf(look.record, process))
        return look.owner == 0 ? another(process, path)
                               : PIDFileVerdict{Standing::NotTrusted, process, String()};
    std::optional<bool> const maySignal = mayWriterSignal(look, process);
    if (!maySignal)
        return unreadable(process, path);
    return *maySignal ? PIDFileVerdict{Standing::Held, process, String()} : foreign(look, process, path);
}

// A number alone is what other tools write, so it is taken at its word, but only when nobody else can have
// written it.
PIDFileVerdict judgeNumber(PIDFileLook const& look, Path const& path) {
    pid_t const process = look.record.process;
    if (look.mayBeAnothersFile)
        return PIDFileVerdict();
    std::optional<bool> const maySignal = mayWriterSignal(look, process);
    if (!maySignal)
        return unreadable(process, path);
    return *maySignal ? PIDFileVerdict{Standing::Held, process, String()} : PIDFileVerdict();
}

// It is certain that the file describes this living process. Who wrote it decides whether that counts.
PIDFileVerdict judgeKnown(PIDFileLook const& look, Path const& path) {
    pid_t const process = look.record.process;
    std::optional<bool> const maySignal = mayWriterSignal(look, process);
    if (!maySignal)
        return unreadable(process, path);
    // A file of this account's own is only ever about its own processes.
    if (!*maySignal && look.owner == geteuid())
        return PIDFileVerdict();
    if (!*maySignal && look.isInRootsFolder)
        return foreign(look, process, path);
    bool const isTrusted = *maySignal && !look.mayBeAnothersFile;
    return {isTrusted ? Standing::Held : Standing::NotTrusted, process, String()};
}

// The process lives, but /proc hides whether it is the one described. Any account can hide processes in a
// namespace of its own, so that must not stop root. About its own processes an account is believed.
PIDFileVerdict judgeHidden(PIDFileLook const& look, Path const& path) {
    pid_t const process = look.record.process;
    std::optional<bool> const maySignal = mayWriterSignal(look, process);
    if (look.owner == 0 || !maySignal || (!*maySignal && look.isInRootsFolder))
        return unreadable(process, path);
    return {*maySignal ? Standing::Held : Standing::NotTrusted, process, String()};
}

PIDFileVerdict judgeRecord(PIDFileLook const& look, Path const& path) {
    PIDRecord const& record = look.record;
    if (record.process == 0 || !isProcessAlive(record.process))
        return PIDFileVerdict();
    if (record.identity.empty())
        return judgeNumber(look, path);
    std::optional<bool> const isSame = hasIdentity(record.process, record.identity);
    if (!isSame && !isProcessAlive(record.process))
        return PIDFileVerdict();
    if (!isSame)
        return judgeHidden(look, path);
    return *isSame ? judgeKnown(look, path) : PIDFileVerdict();
}

PIDFileVerdict judge(PIDFileLook const& look, Path const& path) {
    if (look.isHeldHere)
        return {Standing::Held, getpid(), String()};
    if (look.isOutOfReach)
        return {Standing::NotTrusted, 0, String()};
    if (!look.isThere)
        return PIDFileVerdict();
    return look.isLocked ? judgeLocker(look, path) : judgeRecord(look, path);
}

// Once the process has ended, what is asked about it has no answer: /proc has forgotten it.
bool hasEnded(PIDFileVerdict const& verdict) {
    return verdict.standing == Standing::Unclear && verdict.process > 0 && !isProcessAlive(verdict.process);
}

// Only its name makes a file this PID file. Daemons that come and go can delete one at each look, and there
// are file systems that count no names.
PIDFileLook lookForOneWithName(PIDFileLook look, std::function<PIDFileLook()> const& lookAgain) {
    for (int looks = 0; look.isDeleted && looks < kLooksForOneWithName; ++looks)
        look = lookAgain();
    return look;
}

} // namespace

PIDFileVerdict judgePIDFile(PIDFileLook const& look, std::function<PIDFileLook()> const& lookAgain,
                            Path const& path) {
    PIDFileVerdict const verdict = judge(lookForOneWithName(look, lookAgain), path);
    // Only the kernel knows that the lock is gone too: the number may be that of a process elsewhere.
    return hasEnded(verdict) ? judge(lookAgain(), path) : verdict;
}

} // namespace fdn
