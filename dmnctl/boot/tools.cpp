#include <dmnctl/boot/tools.h>

#include <dmnctl/show/text.h>

#include <fdn/CError.h>
#include <fdn/CIPCConnectionToSubProcess.h>
#include <fdn/programs.h>

#include <cerrno>
#include <cstdio>
#include <sstream>

#include <sys/wait.h>

namespace dmnctl {

namespace {

// Not every caller has the folders of administrators' tools in its PATH.
constexpr char kRun[] = R"(PATH=$PATH:/usr/sbin:/usr/bin:/sbin:/bin; export PATH; exec "$@" 2>&1)";

std::string readAll(fdn::CIPCConnectionToSubProcess& output) {
    std::string text;
    char buffer[4096];
    while (std::size_t const count = output.read(buffer, sizeof(buffer)))
        text.append(buffer, count);
    return text;
}

fdn::CExecCommand composeCommand(fdn::TArray<fdn::String> const& words) {
    fdn::TArray<fdn::String> arguments{"-c", kRun, "sh"};
    arguments.insert(arguments.end(), words.begin(), words.end());
    return fdn::CExecCommand(fdn::Path("/bin/sh"), arguments);
}

fdn::String join(fdn::TArray<fdn::String> const& words) {
    fdn::String text;
    for (fdn::String const& word : words)
        text << (text.empty() ? "" : " ") << word;
    return text;
}

void passOn(std::string const& printed) {
    std::istringstream lines(printed);
    for (std::string line; std::getline(lines, line);)
        std::fputs((toPrintable(line) + "\n").c_str(), stderr);
}

} // namespace

void runTool(fdn::TArray<fdn::String> const& words) {
    fdn::CIPCConnectionToSubProcess output;
    pid_t const tool = fdn::forkAndExec(composeCommand(words), nullptr, fdn::ForkExecLevel::Child,
                                        fdn::Path("/"), nullptr, &output, nullptr, nullptr);
    passOn(readAll(output));
    if (awaitStatus(tool) != 0)
        throw fdn::CError("'" + join(words) + "' has failed.");
}

// A status that is lost is none of success.
int awaitStatus(pid_t child) {
    int status = -1;
    while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
    }
    return status;
}

} // namespace dmnctl
