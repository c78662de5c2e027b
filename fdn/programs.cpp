#include <fdn/programs.h>

#include <fdn/CError.h>
#include <fdn/Launch.h>

#include <array>
#include <string>
#include <utility>

#include <sys/wait.h>

namespace fdn {

namespace {

constexpr int kStatusOfNo = 1; // by which many programs, grep and diff among them, only say no

StandardStream useDefault(ForkExecLevel level) {
    return level == ForkExecLevel::Detached ? useNothing() : StandardStream();
}

void handOver(StandardStream& stream, CIPCConnectionToSubProcess* connection) {
    if (connection != nullptr)
        connection->attach(stream.caller.release());
}

// Waits for a child, at the end of a scope at the latest.
class ReapedChild {
public:
    explicit ReapedChild(pid_t process) : m_process(process) {}

    ReapedChild(ReapedChild const&) = delete;
    ReapedChild& operator=(ReapedChild const&) = delete;

    ~ReapedChild() { wait(); }

    // How the child has ended; only the first call can tell.
    int wait() { return m_process == 0 ? 0 : reap(std::exchange(m_process, 0)); }

private:
    pid_t m_process;
};

// Closes the stream, so that the child never waits for a reader who waits for the child.
std::string readToEnd(StandardStream& stream) {
    CIPCConnectionToSubProcess output;
    output.attach(stream.caller.release());
    std::string content;
    std::array<char, 4096> buffer;
    while (std::size_t const count = output.read(buffer.data(), buffer.size()))
        content.append(buffer.data(), count);
    return content;
}

bool isFailure(int state) {
    return WIFSIGNALED(state) || WEXITSTATUS(state) > kStatusOfNo;
}

String describeEnd(int state) {
    return WIFSIGNALED(state) ? String::Format("ended by signal %d", WTERMSIG(state))
                              : String::Format("status %d", WEXITSTATUS(state));
}

// A shell that lacks memory or descriptors prints nothing, too.
void requireAnswer(CExecCommand const& command, std::string const& output, int state) {
    if (output.empty() && isFailure(state))
        throw CError("The program '" + command.getProgram().getText() +
                     "' has failed without an answer: " + describeEnd(state) + ".");
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
    ReapedChild child(launch({command, nullptr, ForkExecLevel::Child, folder, environment}, streams));
    std::string const output = readToEnd(streams[1]);
    requireAnswer(command, output, child.wait());
    return String::fromBytes(output);
}

} // namespace fdn
