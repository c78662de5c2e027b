#include <dmnctl/boot/tools.h>

#include <dmnctl/show/text.h>

#include <fdn/CError.h>
#include <fdn/CIPCConnectionToSubProcess.h>
#include <fdn/programs.h>

#include <fmt/core.h>

#include <cerrno>
#include <csignal>

#include <sys/wait.h>

namespace dmnctl {

namespace {

// The tools are where administrators' tools are, which not every caller looks for them.
constexpr char kRun[] = R"(PATH=$PATH:/usr/sbin:/usr/bin:/sbin:/bin; export PATH; exec "$@" 2>&1)";

std::string readAll(fdn::CIPCConnectionToSubProcess& output) {
    std::string text;
    char buffer[4096];
    while (std::size_t const count = output.read(buffer, sizeof(buffer)))
        text.append(buffer, count);
    return text;
}

int await(pid_t child) {
    int status = -1;
    while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
    }
    return status;
}

fdn::CExecCommand composeCommand(fdn::TArray<fdn::String> const& words) {
    fdn::TArray<fdn::String> arguments{"-c", kRun, "sh"};
    arguments.insert(arguments.end(), words.begin(), words.end());
    return fdn::CExecCommand(fdn::Path("/bin/sh"), arguments);
}

std::string join(fdn::TArray<fdn::String> const& words) {
    std::string text;
    for (fdn::String const& word : words)
        text += (text.empty() ? "" : " ") + toUTF8(word);
    return text;
}

} // namespace

void runTool(fdn::TArray<fdn::String> const& words) {
    // A caller that ignores its children hands that on, and then nobody learns how the tool has ended.
    std::signal(SIGCHLD, SIG_DFL);
    fdn::CIPCConnectionToSubProcess output;
    pid_t const tool = fdn::forkAndExec(composeCommand(words), nullptr, fdn::ForkExecLevel::Child,
                                        fdn::Path("/"), nullptr, &output, nullptr, nullptr);
    std::string const printed = readAll(output);
    if (await(tool) != 0)
        throw fdn::CError(fromUTF8(fmt::format("`{}` has failed: {}", join(words), printed)).Trim());
    print(printed);
}

} // namespace dmnctl
