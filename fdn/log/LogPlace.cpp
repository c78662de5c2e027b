#include <fdn/log/LogPlace.h>

#include <fdn/CError.h>

#include <string>

#include <unistd.h>

namespace fdn {

namespace {

bool isRoot(LogOwner const& owner) {
    return owner.getUser() == 0;
}

// Follows the XDG Base Directory 0.8, by which a relative path does not count either.
String getUserStateFolder(LogOwner const& owner) {
    String const stateFolder = owner.getVariable("XDG_STATE_HOME");
    if (CUnixPathTraits::isAbsolute(stateFolder))
        return stateFolder;
    String const home = owner.getVariable("HOME");
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

LogPlace getNamedPlace(LogOwner const& owner, String const& file) {
    LogPlace place;
    place.file = CUnixPathTraits::isAbsolute(file) ? Path(file) : owner.getCurrentFolder() << Path(file);
    place.isAnyKind = true;
    place.descriptor = getNamedDescriptor(file);
    return place;
}

LogPlace getUsualPlace(LogOwner const& owner) {
    String const program = owner.getProgramName();
    LogPlace place;
    place.folder = Path(isRoot(owner) ? String("/var/log") : getUserStateFolder(owner)) << Path(program);
    place.folderMode = isRoot(owner) ? 0750 : 0700;
    place.file = place.folder << Path(program + ".log");
    return place;
}

} // namespace

LogPlace chooseLogPlace(LogOwner const& owner) {
    String const named = owner.getVariable("FDN_LOG_FILE");
    LogPlace place = named.empty() ? getUsualPlace(owner) : getNamedPlace(owner, named);
    place.fileMode = isRoot(owner) ? 0640 : 0600;
    return place;
}

LogPlace getPlaceOfStandardError() {
    LogPlace place;
    place.file = Path("/proc/self/fd/2");
    place.isAnyKind = true;
    place.descriptor = STDERR_FILENO;
    return place;
}

} // namespace fdn
