#include <fdn/launch/LaunchMaterial.h>

#include <fdn/accounts/SupplementaryGroups.h>
#include <fdn/currentFolder.h>
#include <fdn/fileName.h>
#include <fdn/launch/ProgramEnvironment.h>

namespace fdn {

namespace {

// Arguments often hold paths, so they are encoded like file names.
std::string toSystemText(String const& text) {
    return toFileName(text).data();
}

// The new process may enter another folder before it runs the program, and a relative path counts from the
// caller's.
Path toAbsolute(Path const& program) {
    if (program.getText().empty() || CUnixPathTraits::isAbsolute(program.getText()))
        return program;
    return Path(getCurrentWorkDirectoryAsString()) << program;
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
    m_environmentTexts = request.variables != nullptr ? composeUnsupervisedEnvironment(*request.variables)
                                                      : composeEnvironment(request.environment);
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

void LaunchMaterial::takeAccount(CSystemUserID const& user) {
    UserRecord const record = getUserRecord(user);
    m_groups = findSupplementaryGroups(record);
    m_plan.changesAccount = true;
    m_plan.user = record.user;
    m_plan.group = record.group;
    m_plan.groups = m_groups.data();
    m_plan.groupCount = m_groups.size();
    setAccountVariables(m_environmentTexts, record);
}

} // namespace fdn
