#include <fdn/log/LogOwner.h>

#include <fdn/CError.h>
#include <fdn/currentFolder.h>
#include <fdn/fileName.h>
#include <fdn/launch/ProgramEnvironment.h>
#include <fdn/system/MallocedText.h>

#include <climits>
#include <optional>

#include <errno.h>
#include <stdlib.h>
#include <sys/stat.h>
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

} // namespace

LogOwner::~LogOwner() = default;

uid_t ThisProcess::getUser() const {
    return geteuid();
}

// Without the mark that the kernel adds once the file was deleted or replaced.
String ThisProcess::getProgramName() const {
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

// Counts as unset in a set-user-ID program, which has more rights than its user and must not write where that
// user says (secure_getenv(3)).
String ThisProcess::getVariable(char const* name) const {
    char const* const value = secure_getenv(name);
    return value == nullptr ? String() : toText(value);
}

Path ThisProcess::getCurrentFolder() const {
    return Path(getCurrentWorkDirectoryAsString());
}

LaunchedProgram::LaunchedProgram(Path const& program, CSystemUserID const& account, Path const& folder)
    : m_program(program), m_folder(folder), m_environment(composeEnvironment(nullptr)) {
    UserRecord const record = getUserRecord(account);
    m_user = record.user;
    setAccountVariables(m_environment, record);
    takeFileRights(record.user, record.group);
}

// A set-user-ID file gives the program another effective user, and it trusts no variable then.
void LaunchedProgram::takeFileRights(uid_t user, gid_t group) {
    struct stat info = {};
    if (stat(toFileName(m_program), &info) != 0)
        return;
    bool const changesUser = (info.st_mode & S_ISUID) != 0 && info.st_uid != user;
    bool const changesGroup = (info.st_mode & S_ISGID) != 0 && info.st_gid != group;
    if (changesUser)
        m_user = info.st_uid;
    if (changesUser || changesGroup)
        m_environment.clear();
}

// The program goes by the name of the file that a link leads to.
String LaunchedProgram::getProgramName() const {
    MallocedText const target(realpath(toFileName(m_program), nullptr));
    return (target ? toText(target.get()) : m_program.getText()).AfterLast(L'/');
}

String LaunchedProgram::getVariable(char const* name) const {
    std::string const start = std::string(name) + "=";
    for (std::string const& variable : m_environment)
        if (variable.compare(0, start.size(), start) == 0)
            return toText(variable.c_str() + start.size());
    return String();
}

Path LaunchedProgram::getCurrentFolder() const {
    return m_folder.getText().empty() ? Path(getCurrentWorkDirectoryAsString()) : m_folder;
}

} // namespace fdn
