#pragma once

#include <fdn/ISystemSignalHandler.h>
#include <fdn/P.h>
#include <fdn/containers.h>

#include <csignal>
#include <cstddef>
#include <mutex>
#include <thread>

namespace fdn {

/// Catches signals and calls their handlers on a thread of its own. A process has one at most, because a
/// signal's context finds it through globals only; any thread may use it.
class SignalDelivery {
public:
    /// Starts the thread. Throws CError when that fails, and when the process has or had a delivery already.
    SignalDelivery();

    SignalDelivery(SignalDelivery const&) = delete;
    SignalDelivery& operator=(SignalDelivery const&) = delete;

    /// Ends the delivery.
    ~SignalDelivery();

    /// As CSystemSignalReceiver::setHandler().
    void setHandler(int signal, ISystemSignalHandler* handler);

    /// Ignores the signals that are handled and ends the thread: waits for a handler that is running, unless
    /// the caller is that handler. Later calls do nothing. In a forked process, which has no such thread, the
    /// signals stay as they are.
    void end();

private:
    struct Registration {
        P<ISystemSignalHandler> handler;
        struct sigaction previousAction;
    };

    struct Call {
        int signal = 0;
        P<ISystemSignalHandler> handler;
    };

    void replaceHandler(int signal, P<ISystemSignalHandler> handler);
    void catchSignal(int signal, P<ISystemSignalHandler> const& handler);
    void removeHandler(int signal);
    void startThread();
    void deliverSignals();
    bool unblockHandledSignals();
    Call takeCall();
    TMap<int, Registration> ignoreHandledSignals();
    void stopThread();

    std::mutex m_mutex; // guards the next two fields, and counting signals down
    TMap<int, Registration> m_registrations;
    bool m_stopping = false;
    std::size_t m_lastSignal = 0; // only the thread uses it
    std::thread m_thread;
};

} // namespace fdn
