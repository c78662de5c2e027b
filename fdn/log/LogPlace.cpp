#include <fdn/log/LogPlace.h>

#include <fdn/CError.h>
#include <fdn/currentFolder.h>
#include <fdn/fileName.h>

#include <climits>
#include <optional>
#include <string>

#include <errno.h>
#include <stdlib.h>
#include <unistd.h>

namespace fdn {

namespace {

// Refuses a name that is not text, because its nearest text would name another file.
String toText(char const* name) {
    std::optional<String> const text = fromFileName(name);
    if (!text)
        throw CError("The log's name is not text in the locale's encoding.");
    return *text;
}

// Counts as unset in a set-user-ID program, which has more rights than its user and must not write where that
// user says (secure_getenv(3)).
String getTrustedVariable(char const* name) {
    char const* const value = secure_getenv(name);
    return value == nullptr ? String() : toText(value);
}

bool isRoot() {
    return geteuid() == 0;
}

// The name of the executable's file, without the mark that the kernel adds once that file was deleted or
// replaced.
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

// Follows the XDG Base Directory 0.8, by which a relative path does not count either.
String getUserStateFolder() {
    String const stateFolder = getTrustedVariable("XDG_STATE_HOME");
    if (CUnixPathTraits::isAbsolute(stateFolder))
        return stateFolder;
    String const home = getTrustedVariable("HOME");
    if (CUnixPathTraits::isAbsolute(home))
        return home + "/.local/state";
    throw CError("The user has no folder for logs.");
}

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
    place.file = CUnixPathTraits::isAbsolute(file) ? Path(file)
                                                   : Path(getCurrentWorkDirectoryAsString()) << Path(file);
    place.isAnyKind = true;
    place.descriptor = getNamedDescriptor(file);
    return place;
}

LogPlace getUsualPlace() {
    String const program = getProgramName();
    LogPlace place;
    place.folder = Path(isRoot() ? String("/var/log") : getUserStateFolder()) << Path(program);
    place.folderMode = isRoot() ? 0750 : 0700;
    place.file = place.folder << Path(program + ".log");
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
