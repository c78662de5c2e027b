#pragma once

#include <fdn/CBase.h>

#include <csignal>
#include <memory>

namespace fdn {

/// The signals that a program may handle, with the system's numbers (POSIX signal.h).
enum class SysSignal : int {
    Hangup = SIGHUP,
    Interrupt = SIGINT,
    Quit = SIGQUIT,
    User1 = SIGUSR1,
    User2 = SIGUSR2,
    Terminate = SIGTERM
};

static_assert(static_cast<int>(SysSignal::Terminate) == 15, "the usual request to end a process");

/// What a program does about a signal.
class FDN_EXPORT ISystemSignalHandler : public virtual IBase {
public:
    /// Called on the receiver's own thread, outside the signal's context: it may take locks, allocate, log
    /// and call anything in the program. The receiver holds a reference to the object and no lock
    /// meanwhile. A std::exception that it throws is logged and goes no further.
    virtual void handleSystemSignal(SysSignal signal) = 0;
};

/// Receives the signals of the process and hands them to handler objects, one after the other, on a thread
/// of its own. There is one per process, reached through get():
///
///     CSystemSignalReceiver::get().setHandler(SysSignal::Terminate, handler.get());
///
/// It works whatever signals the program's threads block, also where the process was started with the signal
/// blocked or ignored, and needs no file descriptor, which the program might close. The thread sleeps until a
/// signal comes. Like all pending signals, several of the same kind that come before the thread gets to run
/// may count as one (POSIX 2.4.1), and different ones may be handled in another order than they came.
///
/// A process that is forked off without running a program of its own has no receiver: the signals that are
/// handled here end it, as they end any program that does not handle them. At process exit the signals that
/// still have handlers are ignored from then on, so that they cannot change the exit status any more, and a
/// handler that is running is waited for. The receiver itself stays until the process is gone, for
/// destructors that give up their handlers late.
class FDN_EXPORT CSystemSignalReceiver : public CBase {
public:
    /// Starts the thread. Throws CError when that fails, and when the process has or had a receiver
    /// already: use get().
    CSystemSignalReceiver();

    CSystemSignalReceiver(CSystemSignalReceiver const&) = delete;
    CSystemSignalReceiver& operator=(CSystemSignalReceiver const&) = delete;

    /// Ignores the handled signals and ends the thread.
    ~CSystemSignalReceiver() override;

    /// The process's one receiver.
    static CSystemSignalReceiver& get();

    /// Makes the object handle the signal from now on, instead of the one that did before; the receiver
    /// holds a reference to it. Null gives the signal back the treatment that it had before it was handled
    /// here.
    ///
    /// Any thread may call it, a handler too. It does not wait for a handler that is running. Throws CError
    /// for signals that cannot be handled, in a process that was forked off and, for a handler, when the
    /// process's globals are being destroyed.
    void setHandler(SysSignal signal, ISystemSignalHandler* handler);

private:
    class CDelivery;
    class CDeliveryEnd;
    std::unique_ptr<CDelivery> m_delivery;
};

} // namespace fdn
