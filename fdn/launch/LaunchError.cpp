#include <fdn/launch/LaunchError.h>

#include <fdn/CError.h>
#include <fdn/sysError.h>

#include <cerrno>

namespace fdn {

namespace {

char const* getFunction(LaunchStep step) {
    switch (step) {
    case LaunchStep::Fork: // also when the process gets memory of its own
        return "vfork";
    case LaunchStep::Session:
        return "setsid";
    case LaunchStep::Pipe:
        return "pipe2";
    case LaunchStep::Streams:
        return "dup2";
    case LaunchStep::Group:
        return "setresgid";
    case LaunchStep::SupplementaryGroups:
        return "setgroups";
    case LaunchStep::User:
        return "setresuid";
    case LaunchStep::Folder:
        return "chdir";
    case LaunchStep::Program:
        return "execve";
    case LaunchStep::Done:
        break;
    }
    return "";
}

// Errors of these steps name the account, because the program plays no part in them.
bool changesAccount(LaunchStep step) {
    return step == LaunchStep::Group || step == LaunchStep::SupplementaryGroups || step == LaunchStep::User;
}

CProps describe(LaunchRequest const& request, LaunchStep step) {
    CProps props = {{"func", getFunction(step)}, {"action", "forkAndExec"}};
    if (changesAccount(step))
        props["account"] = request.impersonate->getUserID().getName();
    else
        props["program"] = request.command.getProgram().getText();
    if (step == LaunchStep::Folder)
        props["path"] = request.folder.getText();
    return props;
}

[[noreturn]] void throwTimeout(LaunchRequest const& request, LaunchStep step) {
    String const where = step == LaunchStep::Folder ? " for '" + request.folder.getText() + "'" : String();
    throw CError("The program '" + request.command.getProgram().getText() +
                     "' could not be started: " + getFunction(step) + " did not finish" + where + ".",
                 String(), ETIMEDOUT, describe(request, step), nullptr);
}

} // namespace

void throwLaunchError(LaunchRequest const& request, LaunchOutcome const& outcome) {
    if (!outcome.isComplete)
        throwTimeout(request, outcome.last.step);
    if (outcome.last.error != 0)
        throwSysError(outcome.last.error, describe(request, outcome.last.step));
    // The pipe has ended without an error, before the last step.
    throw CError("The program '" + request.command.getProgram().getText() +
                 "' was ended before it could run.");
}

} // namespace fdn
