#include <fdn/crash/LastEntry.h>

#include <fdn/fileName.h>
#include <fdn/log/FixedText.h>
#include <fdn/log/LogPlace.h>
#include <fdn/log/LogWriter.h>
#include <fdn/log/sendToSyslog.h>
#include <fdn/system/Descriptor.h>
#include <fdn/system/FileId.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

namespace fdn {

namespace {

// A LogPlace that needs no memory but its own.
struct Target {
    char name[PATH_MAX] = {}; // empty: there is none
    mode_t mode = 0;
    bool isAnyKind = false;
    int descriptor = -1;
};

Target logTarget;
Target displayTarget;

enum class Progress { None, Begun, Written };
std::atomic<Progress> progress{Progress::None};
static_assert(std::atomic<Progress>::is_always_lock_free);

void prepare(Target& target, LogPlace const& place) {
    wxCharBuffer const name = toFileName(place.file);
    if (name.length() >= sizeof target.name)
        return;
    target.mode = static_cast<mode_t>(place.fileMode);
    target.isAnyKind = place.isAnyKind;
    target.descriptor = place.descriptor;
    std::copy_n(name.data(), name.length() + 1, target.name);
}

// The process ends now, so nobody misses these signals: it must end as it would have without the entry.
void ignoreSignalsOfWriting() {
    struct sigaction ignored = {};
    ignored.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignored, nullptr);
    sigaction(SIGXFSZ, &ignored, nullptr);
}

mode_t getKind(int descriptor) {
    struct stat info = {};
    return fstat(descriptor, &info) == 0 ? info.st_mode & S_IFMT : 0;
}

bool write(int descriptor, std::string_view line) {
    return ::write(descriptor, line.data(), line.size()) == static_cast<ssize_t>(line.size());
}

// If so, a pipe takes PIPE_BUF bytes, all at once (POSIX poll, write).
bool hasRoom(int descriptor) {
    pollfd pipe = {descriptor, POLLOUT, 0};
    return poll(&pipe, 1, 0) > 0;
}

// A file is written to through the program's own descriptor, for the reason that LogFile has; a socket or
// pipe only because it cannot be opened by name. These may be blocking ones.
bool writeToGiven(int descriptor, std::string_view line) {
    switch (getKind(descriptor)) {
    case S_IFREG:
        return write(descriptor, line);
    case S_IFSOCK:
        return send(descriptor, line.data(), line.size(), MSG_DONTWAIT | MSG_NOSIGNAL) > 0;
    case S_IFIFO:
        return hasRoom(descriptor) && write(descriptor, line);
    default:
        return false;
    }
}

bool writeByName(Target const& target, std::string_view line) {
    int const flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    Descriptor const file(open(target.name, flags | (target.isAnyKind ? 0 : O_NOFOLLOW), target.mode));
    if (!file.isOpen())
        return false;
    return (target.isAnyKind || getKind(file.get()) == S_IFREG) && write(file.get(), line);
}

bool writeTo(Target const& target, std::string_view line) {
    if (getKind(target.descriptor) == S_IFREG)
        return writeToGiven(target.descriptor, line);
    return writeByName(target, line) || writeToGiven(target.descriptor, line);
}

bool sendToSyslog(std::string_view entry) {
    FixedText<8192> message;
    message << "<" << (LOG_DAEMON | LOG_ERR) << ">" << program_invocation_short_name << "[" << getpid()
            << "]: " << entry.substr(0, entry.size() - 1); // without the line feed
    return sendFramedToSyslog(message);
}

bool isLogAtStandardError() {
    struct stat log = {};
    struct stat standardError = {};
    return stat(logTarget.name, &log) == 0 && fstat(STDERR_FILENO, &standardError) == 0 &&
           getFileId(log) == getFileId(standardError);
}

} // namespace

void prepareLastEntry() {
    prepare(displayTarget, getPlaceOfStandardError());
    prepare(logTarget, chooseLogPlace(ThisProcess()));
}

bool claimLastEntry() {
    Progress before = Progress::None;
    if (progress.compare_exchange_strong(before, Progress::Begun))
        return true;
    for (int i = 0; i < 1000 && progress == Progress::Begun; ++i)
        poll(nullptr, 0, 1);
    return false;
}

void writeLastEntry(std::string_view entry, std::string_view readable) {
    writeEntryWithoutLock(entry, readable);
    progress = Progress::Written;
}

void writeEntryWithoutLock(std::string_view entry, std::string_view readable) {
    ignoreSignalsOfWriting();
    if (!writeTo(logTarget, entry))
        sendToSyslog(entry);
    if (LogWriter::isShown() && !isLogAtStandardError())
        writeTo(displayTarget, readable);
}

} // namespace fdn
