#include <fdn/crash/crashSignals.h>

#include <fdn/crash/LastEntry.h>
#include <fdn/log/FixedText.h>
#include <fdn/log/LogEntry.h>
#include <fdn/log/readableEntry.h>

#include <cerrno>
#include <csignal>
#include <new>

#include <sys/auxv.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace fdn {

namespace {

struct CrashSignal {
    int number;
    char const* name;
};

constexpr CrashSignal kCrashSignals[] = {{SIGSEGV, "SIGSEGV"}, {SIGBUS, "SIGBUS"}, {SIGILL, "SIGILL"},
                                         {SIGFPE, "SIGFPE"},   {SIGSYS, "SIGSYS"}, {SIGABRT, "SIGABRT"}};

using Description = FixedText<160>;

char const* getName(int signal) {
    for (CrashSignal const& known : kCrashSignals)
        if (known.number == signal)
            return known.name;
    return "";
}

// Whether the thread's own instruction has raised it, and the kernel knows the address.
bool isFault(siginfo_t const& info) {
    return info.si_code > 0 && info.si_code != SI_KERNEL && info.si_signo != SIGSYS;
}

bool isFromAnotherProcess(siginfo_t const& info) {
    return info.si_code <= 0 && info.si_pid != getpid();
}

Description describe(siginfo_t const& info) {
    Description text;
    text << "The process has crashed: signal " << info.si_signo << " (" << getName(info.si_signo) << ")";
    if (isFault(info))
        (text << " at address ").addAddress(info.si_addr);
    else if (isFromAnotherProcess(info))
        text << ", sent by process " << info.si_pid;
    text << ".";
    return text;
}

void report(siginfo_t const& info) {
    Description const text = describe(info);
    FixedText<512> entry;
    entry << composeStartTag(LogLevel::Error) << text << kEndOfEntry;
    FixedText<512> readable;
    readable << composeReadableStart(LogLevel::Error) << text << "\n";
    writeLastEntry(entry, readable);
}

// Sends the signal again just as it came, so that a core dump has its true cause. It is blocked until the
// handler returns, and then ends the process where the crash has happened. To return alone would not do: not
// every instruction fails again, and what another process has sent would be forgotten.
void sendAgain(siginfo_t& info) {
    struct sigaction standard = {};
    standard.sa_handler = SIG_DFL;
    sigaction(info.si_signo, &standard, nullptr);
    if (syscall(SYS_rt_tgsigqueueinfo, getpid(), gettid(), info.si_signo, &info) != 0)
        raise(info.si_signo);
}

// The treatment stays in place until the entry is written: another thread that crashes meanwhile would end
// the process with the default one.
void handle(int, siginfo_t* info, void*) {
    int const savedError = errno;
    if (claimLastEntry())
        report(*info);
    sendAgain(*info);
    errno = savedError;
}

// The stack of a thread that has overflowed cannot take the handler. Kept for as long as the process lives,
// like the handlers.
void giveSecondStack() {
    stack_t current = {};
    if (sigaltstack(nullptr, &current) != 0 || (current.ss_flags & SS_DISABLE) == 0)
        return;
    constexpr std::size_t kRoomForHandler = 64UL * 1024;
    stack_t second = {};
    second.ss_size = kRoomForHandler + getauxval(AT_MINSIGSTKSZ);
    static char* const memory = new (std::nothrow) char[second.ss_size];
    if (memory == nullptr)
        return;
    second.ss_sp = memory;
    sigaltstack(&second, nullptr);
}

void install(int signal) {
    struct sigaction treatment = {};
    if (sigaction(signal, nullptr, &treatment) != 0 || (treatment.sa_flags & SA_SIGINFO) != 0 ||
        treatment.sa_handler != SIG_DFL)
        return;
    treatment.sa_sigaction = &handle;
    treatment.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigfillset(&treatment.sa_mask);
    sigaction(signal, &treatment, nullptr);
}

} // namespace

void reportCrashSignals() {
    giveSecondStack();
    for (CrashSignal const& signal : kCrashSignals)
        install(signal.number);
}

} // namespace fdn
