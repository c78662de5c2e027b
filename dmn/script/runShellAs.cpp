#include <dmn/script/runShellAs.h>

#include <fdn/CIPCConnectionToSubProcess.h>
#include <fdn/Path.h>
#include <fdn/programs.h>

#include <dmn/script/Shell.h>

#include <cerrno>

#include <sys/wait.h>

namespace dmn {

namespace {

std::string readAll(fdn::CIPCConnectionToSubProcess& output) {
    std::string text;
    char buffer[256];
    while (std::size_t const count = output.read(buffer, sizeof(buffer)))
        text.append(buffer, count);
    return text;
}

// A caller that ignores SIGCHLD has no child to wait for by now. The output has come nevertheless.
void reap(pid_t child) {
    while (waitpid(child, nullptr, 0) == -1 && errno == EINTR) {
    }
}

} // namespace

std::string runShellAs(fdn::CImpersonateInfo* account, fdn::String const& text,
                       fdn::TArray<fdn::String> const& arguments) {
    fdn::CIPCConnectionToSubProcess output;
    auto const environment = composeShellEnvironment();
    pid_t const child =
        fdn::forkAndExec(composeShellCommand(text, arguments), account, fdn::ForkExecLevel::Child,
                         fdn::Path("/"), nullptr, &output, nullptr, &environment);
    std::string printed = readAll(output);
    reap(child);
    return printed;
}

} // namespace dmn
