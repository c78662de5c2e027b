#include <fdn/launch/LaunchMaterial.h>

#include <fdn/CError.h>
#include <fdn/accounts/SupplementaryGroups.h>
#include <fdn/currentFolder.h>
#include <fdn/fileName.h>

#include <algorithm>

#include <sys/auxv.h>
#include <unistd.h>

namespace fdn {

namespace {

// What the system's first process gives to the programs that it starts, as far as every program needs it.
constexpr char kSystemsPath[] = "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";

// Arguments and variables often hold paths, so they are encoded like file names.
std::string toSystemText(String const& text) {
    return toFileName(text).data();
}

// Whether the environment comes from a user with fewer rights, as that of a set-user-ID program does. Shells
// and interpreters obey variables, so a started program must not see any of these.
bool hasForeignEnvironment() {
    return getauxval(AT_SECURE) != 0;
}

// The new process may enter another folder before it runs the program, and a relative path counts from the
// caller's.
Path toAbsolute(Path const& program) {
    if (program.getText().empty() || CUnixPathTraits::isAbsolute(program.getText()))
        return program;
    return Path(getCurrentWorkDirectoryAsString()) << program;
}

std::string toVariable(String const& name, String const& value) {
    if (name.empty() || name.find(L'=') != String::npos)
        throw CError("Invalid name of an environment variable: '" + name + "'.");
    return toSystemText(name) + "=" + toSystemText(value);
}

// The system takes texts as pointers, the last of which is null.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

LaunchMaterial::LaunchMaterial(LaunchRequest const& request)
    : m_program(toSystemText(toAbsolute(request.command.getProgram()).getText())),
      m_folder(toSystemText(request.folder.getText())) {
    takeArguments(request.command.getArguments());
    takeEnvironment(request.environment);
    if (request.impersonate != nullptr)
        takeAccount(request.impersonate->getUserID());

    m_arguments = pointersTo(m_argumentTexts);
    m_environment = pointersTo(m_environmentTexts);
    m_plan.program = m_program.c_str();
    m_plan.arguments = m_arguments.data();
    m_plan.environment = m_environment.data();
    m_plan.folder = m_folder.empty() ? nullptr : m_folder.c_str();
    m_plan.startsSession = request.level != ForkExecLevel::Child;
    m_plan.leavesParent = request.level == ForkExecLevel::Detached;
    m_plan.endReport = request.endReport;
}

void LaunchMaterial::takeArguments(TArray<String> const& arguments) {
    m_argumentTexts.push_back(m_program);
    for (String const& argument : arguments)
        m_argumentTexts.push_back(toSystemText(argument));
}

void LaunchMaterial::takeEnvironment(TMap<String, String> const* environment) {
    if (environment != nullptr) {
        for (auto const& [name, value] : *environment)
            m_environmentTexts.push_back(toVariable(name, value));
    } else if (hasForeignEnvironment()) {
        m_environmentTexts.emplace_back(kSystemsPath);
    } else {
        for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable)
            m_environmentTexts.emplace_back(*variable);
    }
}

void LaunchMaterial::takeAccount(CSystemUserID const& user) {
    UserRecord const record = getUserRecord(user);
    m_groups = findSupplementaryGroups(record);
    m_plan.changesAccount = true;
    m_plan.user = record.user;
    m_plan.group = record.group;
    m_plan.groups = m_groups.data();
    m_plan.groupCount = m_groups.size();
    setVariable("HOME", record.home);
    setVariable("USER", record.name);
    setVariable("LOGNAME", record.name);
    setVariable("SHELL", record.shell);
}

// The old variable goes, however often it is there: programs differ in which of two they take.
void LaunchMaterial::setVariable(std::string const& name, std::string const& value) {
    std::string const start = name + "=";
    auto const isOld = [&](std::string const& text) { return text.compare(0, start.size(), start) == 0; };
    auto& texts = m_environmentTexts;
    texts.erase(std::remove_if(texts.begin(), texts.end(), isOld), texts.end());
    texts.push_back(start + value);
}

} // namespace fdn
