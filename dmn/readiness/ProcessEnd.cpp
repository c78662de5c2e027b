#include <dmn/readiness/ProcessEnd.h>

#include <sys/wait.h>

namespace dmn {

namespace {

struct SignalName {
    int signal;
    char const* name;
};

// Those that end a process by default and that a daemon may meet. The C library's own list came with glibc
// 2.32, and musl has none.
constexpr SignalName kNames[] = {
    {SIGHUP, "SIGHUP"},   {SIGINT, "SIGINT"},   {SIGQUIT, "SIGQUIT"}, {SIGILL, "SIGILL"},
    {SIGTRAP, "SIGTRAP"}, {SIGABRT, "SIGABRT"}, {SIGBUS, "SIGBUS"},   {SIGFPE, "SIGFPE"},
    {SIGKILL, "SIGKILL"}, {SIGUSR1, "SIGUSR1"}, {SIGSEGV, "SIGSEGV"}, {SIGUSR2, "SIGUSR2"},
    {SIGPIPE, "SIGPIPE"}, {SIGALRM, "SIGALRM"}, {SIGTERM, "SIGTERM"}, {SIGXCPU, "SIGXCPU"},
    {SIGXFSZ, "SIGXFSZ"}, {SIGSYS, "SIGSYS"},
};

fdn::String nameInBrackets(int signal) {
    for (SignalName const& known : kNames) {
        if (known.signal == signal)
            return " (" + fdn::String(known.name) + ")";
    }
    return fdn::String();
}

} // namespace

ProcessEnd::ProcessEnd(siginfo_t const& report) {
    if (report.si_code == CLD_EXITED)
        m_status = report.si_status;
    else
        m_signal = report.si_status;
}

bool ProcessEnd::maySucceed() const {
    return !m_signal && m_status.value_or(0) == 0;
}

bool ProcessEnd::reportsFailure() const {
    return m_status.value_or(0) != 0;
}

fdn::String ProcessEnd::describe() const {
    if (m_status)
        return fdn::String::Format("has ended with status %d.", *m_status);
    if (m_signal)
        return fdn::String::Format("was ended by signal %d", *m_signal) + nameInBrackets(*m_signal) + ".";
    return "has ended; how is not known.";
}

} // namespace dmn
