#include <dmn/script/runShellAs.h>

#include <fdn/CExecCommand.h>
#include <fdn/CIPCConnectionToSubProcess.h>
#include <fdn/Path.h>
#include <fdn/programs.h>

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

std::string runShellAs(fdn::CImpersonateInfo* account, fdn::TArray<fdn::String> const& arguments) {
    fdn::CIPCConnectionToSubProcess output;
    fdn::TMap<fdn::String, fdn::String> const environment{{"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"}};
    pid_t const child =
        fdn::forkAndExec(fdn::CExecCommand(fdn::Path("/bin/sh"), arguments), account,
                         fdn::ForkExecLevel::Child, fdn::Path("/"), nullptr, &output, nullptr, &environment);
    std::string text = readAll(output);
    reap(child);
    return text;
}

} // namespace dmn
