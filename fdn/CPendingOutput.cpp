#include <fdn/CPendingOutput.h>

#include <fdn/CError.h>
#include <fdn/ForkExecLevel.h>
#include <fdn/launch/AwaitedProgram.h>

#include <optional>
#include <string>
#include <utility>

#include <sys/wait.h>

namespace fdn {

namespace {

constexpr int kStatusOfNo = 1; // with it, many programs, grep and diff among them, just say no

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

StandardStreams composeStreams(bool includeStandardError) {
    StandardStreams streams = {useNothing(), writeToCaller(), StandardStream()};
    if (includeStandardError)
        streams[2] = useSameAs(streams[1]);
    return streams;
}

} // namespace

struct CPendingOutput::Program {
    Program(CExecCommand const& runCommand, StandardStreams streams, LaunchRequest const& request)
        : command(runCommand), awaited(request, streams), output(std::move(streams[1].caller)) {}

    CExecCommand command;
    AwaitedProgram awaited;
    Descriptor output; // closed before the program is awaited, which may wait for a reader
};

CPendingOutput::CPendingOutput(CExecCommand const& command, bool includeStandardError,
                               TMap<String, String> const* environment, Path const& folder)
    : m_program(std::make_unique<Program>(
          command, composeStreams(includeStandardError),
          LaunchRequest{command, nullptr, ForkExecLevel::Child, folder, environment})) {}

CPendingOutput::CPendingOutput(CPendingOutput&& other) noexcept = default;

CPendingOutput& CPendingOutput::operator=(CPendingOutput&& other) noexcept = default;

CPendingOutput::~CPendingOutput() = default;

String CPendingOutput::take() {
    std::unique_ptr<Program> const program = std::move(m_program);
    std::string const output = program->awaited.readOutput(std::move(program->output));
    requireAnswer(program->command, output, program->awaited.awaitEnd());
    return String::fromBytes(output);
}

} // namespace fdn
