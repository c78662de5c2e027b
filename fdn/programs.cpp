#include <fdn/programs.h>

#include <fdn/CPendingOutput.h>
#include <fdn/launch/Launch.h>

namespace fdn {

namespace {

StandardStream useDefault(ForkExecLevel level) {
    return level == ForkExecLevel::Detached ? useNothing() : StandardStream();
}

void handOver(StandardStream& stream, CIPCConnectionToSubProcess* connection) {
    if (connection != nullptr)
        connection->attach(stream.caller.release());
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
    return CPendingOutput(command, includeStandardError, environment, folder).take();
}

} // namespace fdn
