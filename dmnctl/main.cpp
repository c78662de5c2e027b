#include <dmnctl/boot/boot.h>
#include <dmnctl/commandline/CommandLine.h>
#include <dmnctl/commandline/exitStatus.h>
#include <dmnctl/daemons/operations.h>
#include <dmnctl/log/showLog.h>
#include <dmnctl/show/text.h>
#include <dmnctl/unit/unit.h>

#include <fdn/CError.h>
#include <fdn/CFdnInit.h>
#include <fdn/log.h>

#include <variant>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

namespace {

using namespace dmnctl;

/// Performs what the command line asks for, and returns the exit status.
struct Dispatcher {
    int operator()(Answer const& answer) const {
        if (answer.status == 0)
            print(answer.text);
        else
            printError(answer.text);
        return answer.status;
    }

    int operator()(ListCommand const& command) const { return list(command); }

    int operator()(StatusCommand const& command) const { return showStatus(command); }

    int operator()(StartCommand const& command) const { return start(command); }

    int operator()(StopCommand const& command) const { return stop(command); }

    int operator()(RestartCommand const& command) const { return restart(command); }

    int operator()(CheckCommand const& command) const { return check(command); }

    int operator()(LogCommand const& command) const { return showLog(command); }

    int operator()(BootCommand const& command) const { return boot(command); }

    int operator()(UnitCommand const& command) const { return showUnit(command); }
};

// Opens the missing ones on the null device. Output that its caller has closed cannot be written, though: to
// succeed would be to claim that somebody got it.
void openStandardStreams() {
    bool const hasOutput = fcntl(STDOUT_FILENO, F_GETFD) != -1;
    fdn::openMissingStandardStreams();
    if (hasOutput)
        return;
    close(STDOUT_FILENO);
    open("/dev/null", O_RDONLY); // takes the lowest free number, which is that one
}

} // namespace

int main(int argc, char** argv) {
    openStandardStreams();
    // A caller may ignore both, which its children inherit.
    signal(SIGPIPE, SIG_DFL);
    signal(SIGCHLD, SIG_DFL);
    try {
        fdn::CFdnInit const init(true);
        fdn::setLogLevel(fdn::LogLevel::Warning); // what the tool does is said, not logged
        return std::visit(Dispatcher(), parseCommandLine(argc, argv));
    } catch (fdn::CError const& error) {
        printError(toUTF8(error.getMessage()));
    } catch (std::exception const& error) {
        printError(error.what());
    }
    return kFailed;
}
