#include <fdn/signals/SignalDelivery.h>

#include <fdn/CError.h>
#include <fdn/log.h>
#include <fdn/sysError.h>
#include <fdn/system/AllSignalsBlocked.h>
#include <fdn/system/Descriptor.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <system_error>
#include <utility>

#include <semaphore.h>
#include <unistd.h>

namespace fdn {

namespace {

// All that a signal's context may look at: the process whose signals are delivered, how often each signal has
// come since it was last handled, and the semaphore that wakes the thread.
//
// The semaphore is never destroyed, because at the end some thread may still be noting a signal. A descriptor
// would not do: a program that closes those it does not know would close it, and the next file that it opens
// would get the number.
std::atomic<pid_t> owner{0};
std::array<std::atomic<unsigned>, NSIG> pendingSignals;
sem_t wakeUps;
static_assert(std::atomic<pid_t>::is_always_lock_free && std::atomic<unsigned>::is_always_lock_free);

bool isOwnProcess() {
    return getpid() == owner;
}

void wakeUp() {
    sem_post(&wakeUps);
}

bool awaitWakeUp() {
    return uninterrupted([] { return sem_wait(&wakeUps); }) == 0;
}

void endAsIfUnhandled(int signal) {
    ::signal(signal, SIG_DFL);
    raise(signal);
}

extern "C" void receiveSignal(int signal) {
    int const savedError = errno;
    // A forked process has no thread that could call a handler.
    if (isOwnProcess()) {
        ++pendingSignals[static_cast<std::size_t>(signal)];
        wakeUp();
    } else {
        endAsIfUnhandled(signal);
    }
    errno = savedError;
}

void callHandler(ISystemSignalHandler& handler, int signal) {
    try {
        handler.handleSystemSignal(static_cast<SysSignal>(signal));
    } catch (std::exception const& error) {
        logError(error, String(), "CSystemSignalReceiver - handling a signal");
    }
}

} // namespace

SignalDelivery::SignalDelivery() {
    pid_t nobody = 0;
    if (!owner.compare_exchange_strong(nobody, getpid()))
        throw CError("The process has its signal receiver already.");
    sem_init(&wakeUps, 0, 0);
    startThread();
}

SignalDelivery::~SignalDelivery() {
    end();
}

void SignalDelivery::setHandler(int signal, ISystemSignalHandler* handler) {
    if (!isOwnProcess())
        throw CError("The signal receiver belongs to the process that has made it.");
    if (handler != nullptr)
        replaceHandler(signal, handler);
    else
        removeHandler(signal);
}

void SignalDelivery::replaceHandler(int signal, P<ISystemSignalHandler> handler) {
    std::lock_guard<std::mutex> const lock(m_mutex);
    if (m_stopping)
        throw CError("The process ends: its signals are not handled any more.");
    auto const found = m_registrations.find(signal);
    if (found == m_registrations.end())
        catchSignal(signal, handler);
    else
        // The argument gets the old handler and outlives the lock, because its destructor may call this
        // again.
        std::swap(found->second.handler, handler);
}

void SignalDelivery::catchSignal(int signal, P<ISystemSignalHandler> const& handler) {
    struct sigaction action = {};
    action.sa_handler = &receiveSignal;
    action.sa_flags = SA_RESTART;
    Registration registration = {handler, {}};
    if (sigaction(signal, &action, &registration.previousAction) == -1)
        throwLastSysError("sigaction", "CSystemSignalReceiver::setHandler");
    m_registrations.emplace(signal, registration);
    wakeUp();
}

void SignalDelivery::removeHandler(int signal) {
    Registration removed = {}; // outlives the lock, as in replaceHandler()
    std::lock_guard<std::mutex> const lock(m_mutex);
    auto const found = m_registrations.find(signal);
    if (found == m_registrations.end())
        return;
    removed = found->second;
    m_registrations.erase(found);
    sigaction(signal, &removed.previousAction, nullptr);
    pendingSignals[static_cast<std::size_t>(signal)] = 0;
    wakeUp();
}

// The thread inherits a mask that blocks everything, so it takes no signal of the program's before it knows
// which ones are handled here.
void SignalDelivery::startThread() {
    AllSignalsBlocked const blocked;
    try {
        m_thread = std::thread([this] { deliverSignals(); });
    } catch (std::system_error const& error) {
        throwSysError(error.code().value(),
                      {{"func", "pthread_create"}, {"action", "CSystemSignalReceiver constructor"}});
    }
}

// Each pending signal, each change of the handlers, and the end post one wake-up.
void SignalDelivery::deliverSignals() {
    while (awaitWakeUp() && unblockHandledSignals()) {
        Call const call = takeCall();
        if (call.handler)
            callHandler(*call.handler, call.signal);
    }
}

// The program's other threads may block what they like: this one takes the signals that are handled. Returns
// false at the end.
bool SignalDelivery::unblockHandledSignals() {
    sigset_t blocked;
    sigfillset(&blocked);
    std::lock_guard<std::mutex> const lock(m_mutex);
    for (auto const& [signal, registration] : m_registrations)
        sigdelset(&blocked, signal);
    pthread_sigmask(SIG_SETMASK, &blocked, nullptr);
    return !m_stopping;
}

// Takes the next pending signal and its handler; null when nothing is pending. The search begins after the
// last signal, so that a flood of one does not keep the others waiting.
SignalDelivery::Call SignalDelivery::takeCall() {
    std::lock_guard<std::mutex> const lock(m_mutex);
    for (std::size_t i = 0; i < pendingSignals.size(); ++i) {
        m_lastSignal = (m_lastSignal + 1) % pendingSignals.size();
        if (pendingSignals[m_lastSignal] == 0)
            continue;
        --pendingSignals[m_lastSignal];
        auto const found = m_registrations.find(static_cast<int>(m_lastSignal));
        return {static_cast<int>(m_lastSignal),
                found == m_registrations.end() ? nullptr : found->second.handler};
    }
    return Call();
}

void SignalDelivery::end() {
    if (!m_thread.joinable())
        return;
    if (!isOwnProcess()) {
        m_thread.detach(); // a forked process has no such thread to join
        return;
    }
    // Outlives the thread, which may be calling one of these handlers.
    TMap<int, Registration> const unused = ignoreHandledSignals();
    stopThread();
}

// From now on a signal must neither end the process, whose exit status is settled, nor call into this
// library, which may be unloaded next.
TMap<int, SignalDelivery::Registration> SignalDelivery::ignoreHandledSignals() {
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_stopping = true;
    for (auto const& [signal, registration] : m_registrations)
        ::signal(signal, SIG_IGN);
    return std::exchange(m_registrations, {});
}

void SignalDelivery::stopThread() {
    wakeUp();
    if (m_thread.get_id() == std::this_thread::get_id())
        m_thread.detach(); // a handler has called exit(), and cannot wait for itself
    else
        m_thread.join();
}

} // namespace fdn
