#include <fdn/log/LogPlace.h>

#include <fdn/CError.h>
#include <fdn/files.h>

#include <climits>
#include <optional>
#include <string>

#include <errno.h>
#include <stdlib.h>
#include <unistd.h>

namespace fdn {

namespace {

// A name that is no text would become that of another file.
String toText(char const* name) {
    std::optional<String> const text = fromFileName(name);
    if (!text)
        throw CError("The log's name is no text in the locale's encoding.");
    return *text;
}

// Unset for a program that runs with more rights than its user has: a set-user-ID program must not write
// where that user says.
String getTrustedVariable(char const* name) {
    char const* const value = secure_getenv(name);
    return value == nullptr ? String() : toText(value);
}

bool isRoot() {
    return geteuid() == 0;
}

// The name of the executable's file. The kernel marks a file that was replaced while it runs.
String getProgramName() {
    String const deletedMark(" (deleted)");
    char file[PATH_MAX];
    ssize_t const length = readlink("/proc/self/exe", file, sizeof file);
    if (length == -1)
        return toText(program_invocation_short_name);
    String name = toText(std::string(file, static_cast<std::size_t>(length)).c_str()).AfterLast(L'/');
    if (name.EndsWith(deletedMark))
        name.resize(name.length() - deletedMark.length());
    return name;
}

// XDG Base Directory 0.8, which also says that a relative path does not count.
String getUserStateFolder() {
    String const stateFolder = getTrustedVariable("XDG_STATE_HOME");
    if (CUnixPathTraits::isAbsolute(stateFolder))
        return stateFolder;
    String const home = getTrustedVariable("HOME");
    if (CUnixPathTraits::isAbsolute(home))
        return home + "/.local/state";
    throw CError("The user has no folder for logs.");
}

// Texts are put together here, because joining Paths takes a global object: its first use waits while another
// thread constructs one, and that thread may be about to log.

// The descriptor that the name stands for (proc_pid_fd(5)), or -1.
int getNamedDescriptor(String const& file) {
    if (file == "/dev/stdout")
        return STDOUT_FILENO;
    if (file == "/dev/stderr")
        return STDERR_FILENO;
    String const number = file.AfterLast(L'/');
    String const folder = file.BeforeLast(L'/');
    bool const isNumber =
        !number.empty() && number.length() < 10 && number.find_first_not_of(L"0123456789") == String::npos;
    if (!isNumber || (folder != "/dev/fd" && folder != "/proc/self/fd"))
        return -1;
    return std::stoi(number.toUTF8());
}

LogPlace getNamedPlace(String const& file) {
    LogPlace place;
    place.file =
        Path(CUnixPathTraits::isAbsolute(file) ? file : getCurrentWorkDirectoryAsString() + "/" + file);
    place.isAnyKind = true;
    place.descriptor = getNamedDescriptor(file);
    return place;
}

LogPlace getUsualPlace() {
    String const program = getProgramName();
    String const folder = (isRoot() ? String("/var/log") : getUserStateFolder()) + "/" + program;
    LogPlace place;
    place.folder = Path(folder);
    place.folderMode = isRoot() ? 0750 : 0700;
    place.file = Path(folder + "/" + program + ".log");
    return place;
}

} // namespace

LogPlace chooseLogPlace() {
    String const named = getTrustedVariable("FDN_LOG_FILE");
    LogPlace place = named.empty() ? getUsualPlace() : getNamedPlace(named);
    place.fileMode = isRoot() ? 0640 : 0600;
    return place;
}

} // namespace fdn
