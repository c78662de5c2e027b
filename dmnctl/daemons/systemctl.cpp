#include <dmnctl/daemons/systemctl.h>

#include <dmnctl/boot/tools.h>

#include <fdn/CError.h>
#include <fdn/CProcessHandle.h>
#include <fdn/programs.h>

#include <signal.h>

namespace dmnctl {

namespace {

constexpr int kMilliseconds = 1000; // in a second

// Found in PATH, which programs of the foundation are not.
fdn::CExecCommand composeCommand(char const* verb, fdn::String const& id) {
    return {fdn::Path("/usr/bin/env"), {"systemctl", verb, "--", id + ".service"}};
}

void run(char const* verb, fdn::String const& id, int timeoutMs) {
    pid_t const child = fdn::forkAndExec(composeCommand(verb, id), nullptr, fdn::ForkExecLevel::Child,
                                         fdn::Path(), nullptr, nullptr, nullptr, nullptr);
    bool const hasEnded = fdn::CProcessHandle(child).awaitEnd(timeoutMs);
    if (!hasEnded)
        kill(child, SIGKILL); // the client alone; systemd knows its task
    int const status = awaitStatus(child);
    fdn::String const command = fdn::String("'systemctl ") + verb + " " + id + "' ";
    if (!hasEnded)
        throw fdn::CError(id + ": " + command +
                          fdn::String::Format("is not done after %d s.", timeoutMs / kMilliseconds) +
                          " systemd goes on with it.");
    if (status != 0)
        throw fdn::CError(id + ": " + command + "has failed.");
}

} // namespace

void startBySystemd(fdn::String const& id, int timeoutMs) {
    run("start", id, timeoutMs);
}

void stopBySystemd(fdn::String const& id, int timeoutMs) {
    run("stop", id, timeoutMs);
}

} // namespace dmnctl
