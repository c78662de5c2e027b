#pragma once

#include <fdn/CBase.h>
#include <fdn/ISystemSignalHandler.h>
#include <fdn/SysSignal.h>

#include <memory>

namespace fdn {

class SignalDelivery;

/// Receives the signals of the process and hands them to handler objects, one after the other, on a thread of
/// its own. There is one per process, reached through get():
///
///     CSystemSignalReceiver::get().setHandler(SysSignal::Terminate, handler.get());
///
/// It works whatever signals the program's threads block, even when the process was started with the signal
/// blocked or ignored, and it needs no file descriptor that the program might close. The thread sleeps until
/// a signal comes. Several signals of the same kind that come before the thread runs may count as one (POSIX
/// 2.4.1), and different ones may be handled out of order.
///
/// A process that is forked without running another program has no receiver: the signals that are handled
/// here end it, as they end any program that does not handle them. When the process exits, signals that still
/// have handlers are ignored from then on, so that they cannot change the exit status any more, and the exit
/// waits for a handler that is running. The receiver itself stays until the process is gone, for destructors
/// that give up their handlers late.
class FDN_EXPORT CSystemSignalReceiver : public CBase {
public:
    /// Starts the thread. Throws CError when that fails, and when the process has or had a receiver already:
    /// use get().
    CSystemSignalReceiver();

    CSystemSignalReceiver(CSystemSignalReceiver const&) = delete;
    CSystemSignalReceiver& operator=(CSystemSignalReceiver const&) = delete;

    /// Ignores the handled signals and ends the thread.
    ~CSystemSignalReceiver() override;

    /// The process's one receiver, constructed by the first call, which throws CError when that fails. Any
    /// thread may call it.
    static CSystemSignalReceiver& get();

    /// Makes the object handle the signal from now on, in place of an earlier handler; the receiver holds a
    /// reference to it. Null gives the signal back the treatment that it had before it was handled here.
    ///
    /// Any thread may call it, and so may a handler. It does not wait for a handler that is running. Throws
    /// CError for signals that cannot be handled, in a forked process, and, for a handler, once the process's
    /// globals are being destroyed; the signal's treatment is unchanged then.
    void setHandler(SysSignal signal, ISystemSignalHandler* handler);

private:
    std::unique_ptr<SignalDelivery> m_delivery;
};

} // namespace fdn
