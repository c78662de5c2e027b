#include <fdn/programs.h>

#include <fdn/CError.h>
#include <fdn/launch/AwaitedProgram.h>

#include <optional>
#include <string>
#include <utility>

#include <sys/wait.h>

namespace fdn {

namespace {

constexpr int kStatusOfNo = 1; // with it, many programs, grep and diff among them, just say no

StandardStream useDefault(ForkExecLevel level) {
    return level == ForkExecLevel::Detached ? useNothing() : StandardStream();
}

void handOver(StandardStream& stream, CIPCConnectionToSubProcess* connection) {
    if (connection != nullptr)
        connection->attach(stream.caller.release());
}

bool isFailure(int state) {
    return WIFSIGNALED(state) || WEXITSTATUS(state) > kStatusOfNo;
}

String describeEnd(int state) {
    return WIFSIGNALED(state) ? String::Format("ended by signal %d", WTERMSIG(state))
                              : String::Format("status %d", WEXITSTATUS(state));
}

String describeQuestion(CExecCommand const& command) {
    String arguments;
    for (String const& argument : command.getArguments())
        arguments += (arguments.empty() ? "" : " ") + argument;
    return arguments.empty() ? String() : " to '" + arguments + "'";
}

// A shell that lacks memory or descriptors prints nothing either. And when nobody knows how the program has
// ended, what it printed may be only a part of the answer.
void requireAnswer(CExecCommand const& command, std::string const& output, std::optional<int> state) {
    String const program = "The program '" + command.getProgram().getText() + "'";
    String const question = describeQuestion(command);
    if (!state)
        throw CError(program + " may have failed without its whole answer" + question +
                     ": how it has ended is not known.");
    if (output.empty() && isFailure(*state))
        throw CError(program + " has failed without an answer" + question + ": " + describeEnd(*state) + ".");
}

} // namespace

int forkAndExec(CExecCommand const& command, CImpersonateInfo* impersonate, ForkExecLevel level,
                Path const& folder, CIPCConnectionToSubProcess* input, CIPCConnectionToSubProcess* output,
                CIPCConnectionToSubProcess* error, TMap<String, String> const* environment) {
    StandardStreams streams = {input != nullptr ? readFromCaller() : useDefault(level),
                               output != nullptr ? writeToCaller() : useDefault(level),
                               error != nullptr ? writeToCaller() : useDefault(level)};
    // Handed over only after the start, so that a failed one leaves the connections as they were.
    pid_t const process = launch({command, impersonate, level, folder, environment}, streams);
    handOver(streams[0], input);
    handOver(streams[1], output);
    handOver(streams[2], error);
    return process;
}

int launchDetached(CExecCommand const& command, CImpersonateInfo* impersonate, Path const& folder,
                   TMap<String, String> const& variables) {
    StandardStreams streams = {useNothing(), useNothing(), useNothing()};
    LaunchRequest request = {command, impersonate, ForkExecLevel::Detached, folder, nullptr};
    request.variables = &variables;
    return launch(request, streams);
}

String execSyncReturnOutputAsString(CExecCommand const& command, bool includeStandardError,
                                    TMap<String, String> const* environment, Path const& folder) {
    StandardStreams streams = {useNothing(), writeToCaller(), StandardStream()};
    if (includeStandardError)
        streams[2] = useSameAs(streams[1]);
    AwaitedProgram program({command, nullptr, ForkExecLevel::Child, folder, environment}, streams);
    std::string const output = program.readOutput(std::move(streams[1].caller));
    requireAnswer(command, output, program.awaitEnd());
    return String::fromBytes(output);
}

} // namespace fdn
