#include <fdn/programs.h>

#include <fdn/Launch.h>

#include <array>
#include <string>

namespace fdn {

namespace {

StandardStream useDefault(ForkExecLevel level) {
    return level == ForkExecLevel::Detached ? useNothing() : StandardStream();
}

void handOver(StandardStream& stream, CIPCConnectionToSubProcess* connection) {
    if (connection != nullptr)
        connection->attach(stream.caller.release());
}

// Waits for a child at the end of a scope.
class ReapedChild {
public:
    explicit ReapedChild(pid_t process) : m_process(process) {}

    ReapedChild(ReapedChild const&) = delete;
    ReapedChild& operator=(ReapedChild const&) = delete;

    ~ReapedChild() { reap(m_process); }

private:
    pid_t m_process;
};

std::string readToEnd(CIPCConnectionToSubProcess& output) {
    std::string content;
    std::array<char, 4096> buffer;
    while (std::size_t const count = output.read(buffer.data(), buffer.size()))
        content.append(buffer.data(), count);
    return content;
}

} // namespace

int forkAndExec(CExecCommand const& command, CImpersonateInfo* impersonate, ForkExecLevel level,
                Path const& folder, CIPCConnectionToSubProcess* input, CIPCConnectionToSubProcess* output,
                CIPCConnectionToSubProcess* error, TMap<String, String> const* environment) {
    StandardStreams streams = {input != nullptr ? readFromCaller() : useDefault(level),
                               output != nullptr ? writeToCaller() : useDefault(level),
                               error != nullptr ? writeToCaller() : useDefault(level)};
    pid_t const process = launch({command, impersonate, level, folder, environment}, streams);
    handOver(streams[0], input);
    handOver(streams[1], output);
    handOver(streams[2], error);
    return process;
}

String execSyncReturnOutputAsString(CExecCommand const& command, bool includeStandardError,
                                    TMap<String, String> const* environment, Path const& folder) {
    StandardStreams streams = {useNothing(), writeToCaller(), StandardStream()};
    if (includeStandardError)
        streams[2] = useSameAs(streams[1]);
    ReapedChild const child(launch({command, nullptr, ForkExecLevel::Child, folder, environment}, streams));

    // Closed before the child is waited for, which therefore never waits for a reader in turn.
    CIPCConnectionToSubProcess output;
    output.attach(streams[1].caller.release());
    return String::fromBytes(readToEnd(output));
}

} // namespace fdn
