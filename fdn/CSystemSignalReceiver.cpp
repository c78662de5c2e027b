#include <fdn/CSystemSignalReceiver.h>

#include <fdn/CError.h>
#include <fdn/containers.h>
#include <fdn/log.h>
#include <fdn/objects/KeptGlobal.h>
#include <fdn/sysError.h>
#include <fdn/system/AllSignalsBlocked.h>
#include <fdn/system/Descriptor.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include <semaphore.h>
#include <unistd.h>

namespace fdn {

namespace {

// What a signal's context may look at: which process this is about, how often each signal has come since it
// was handled last, and the semaphore that wakes the thread. It is never destroyed: at the end, a signal may
// still be in the middle of being noted on any thread. No descriptor is needed, which a program that closes
// those that it does not know would take away, and then get for a file of its own.
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

void endAsUsual(int signal) {
    ::signal(signal, SIG_DFL);
    raise(signal);
}

extern "C" void receiveSignal(int signal) {
    int const savedError = errno;
    // A forked process has no thread that would call a handler.
    if (isOwnProcess()) {
        ++pendingSignals[static_cast<std::size_t>(signal)];
        wakeUp();
    } else {
        endAsUsual(signal);
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

class CSystemSignalReceiver::CDelivery {
public:
    CDelivery();
    CDelivery(CDelivery const&) = delete;
    CDelivery& operator=(CDelivery const&) = delete;
    ~CDelivery();

    void setHandler(int signal, P<ISystemSignalHandler> handler);
    void removeHandler(int signal);
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

    void catchSignal(int signal, P<ISystemSignalHandler> const& handler);
    void startThread();
    void run();
    bool unblockHandledSignals();
    Call takeCall();
    TMap<int, Registration> ignoreHandledSignals();
    void stopThread();

    std::mutex m_mutex; // guards the two fields below, and counting signals down
    TMap<int, Registration> m_registrations;
    bool m_stopping = false;
    std::size_t m_lastSignal = 0; // for the thread alone
    std::thread m_thread;
};

CSystemSignalReceiver::CDelivery::CDelivery() {
    pid_t nobody = 0;
    if (!owner.compare_exchange_strong(nobody, getpid()))
        throw CError("The process has its signal receiver already.");
    sem_init(&wakeUps, 0, 0);
    startThread();
}

CSystemSignalReceiver::CDelivery::~CDelivery() {
    end();
}

void CSystemSignalReceiver::CDelivery::setHandler(int signal, P<ISystemSignalHandler> handler) {
    std::lock_guard<std::mutex> const lock(m_mutex);
    if (m_stopping)
        throw CError("The process ends: its signals are not handled any more.");
    auto const found = m_registrations.find(signal);
    if (found == m_registrations.end())
        catchSignal(signal, handler);
    else
        // The argument outlives the lock: the destructor of the old handler may come back here.
        std::swap(found->second.handler, handler);
}

void CSystemSignalReceiver::CDelivery::catchSignal(int signal, P<ISystemSignalHandler> const& handler) {
    struct sigaction action = {};
    action.sa_handler = &receiveSignal;
    action.sa_flags = SA_RESTART;
    Registration registration = {handler, {}};
    if (sigaction(signal, &action, &registration.previousAction) == -1)
        throwLastSysError("sigaction", "CSystemSignalReceiver::setHandler");
    m_registrations.emplace(signal, registration);
    wakeUp();
}

void CSystemSignalReceiver::CDelivery::removeHandler(int signal) {
    Registration removed = {}; // outlives the lock
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

void CSystemSignalReceiver::CDelivery::startThread() {
    AllSignalsBlocked const blocked;
    try {
        m_thread = std::thread([this] { run(); });
    } catch (std::system_error const& error) {
        throwSysError(error.code().value(),
                      {{"func", "pthread_create"}, {"action", "CSystemSignalReceiver constructor"}});
    }
}

// There is a wake-up for each signal that pends, for each change of the handlers and for the end.
void CSystemSignalReceiver::CDelivery::run() {
    while (awaitWakeUp() && unblockHandledSignals()) {
        Call const call = takeCall();
        if (call.handler)
            callHandler(*call.handler, call.signal);
    }
}

// Whatever the program's other threads block, this one takes the signals that are handled. Returns false at
// the end.
bool CSystemSignalReceiver::CDelivery::unblockHandledSignals() {
    sigset_t blocked;
    sigfillset(&blocked);
    std::lock_guard<std::mutex> const lock(m_mutex);
    for (auto const& [signal, registration] : m_registrations)
        sigdelset(&blocked, signal);
    pthread_sigmask(SIG_SETMASK, &blocked, nullptr);
    return !m_stopping;
}

// What is due for a pending signal; without one, no handler. Begins after the last one, so that a flood
// of one signal does not keep the others waiting.
CSystemSignalReceiver::CDelivery::Call CSystemSignalReceiver::CDelivery::takeCall() {
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

// The process's receiver ends like this, since its destructor never runs.
void CSystemSignalReceiver::CDelivery::end() {
    if (!m_thread.joinable())
        return;
    if (!isOwnProcess()) {
        m_thread.detach(); // a forked process does not have it
        return;
    }
    TMap<int, Registration> const unused = ignoreHandledSignals(); // outlives the thread
    stopThread();
}

// A signal that comes from now on must neither end the process nor call into this library, which may be
// unloaded next.
TMap<int, CSystemSignalReceiver::CDelivery::Registration>
CSystemSignalReceiver::CDelivery::ignoreHandledSignals() {
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_stopping = true;
    for (auto const& [signal, registration] : m_registrations)
        ::signal(signal, SIG_IGN);
    return std::exchange(m_registrations, {});
}

void CSystemSignalReceiver::CDelivery::stopThread() {
    wakeUp();
    if (m_thread.get_id() == std::this_thread::get_id())
        m_thread.detach(); // a handler ends the process
    else
        m_thread.join();
}

class CSystemSignalReceiver::CDeliveryEnd {
public:
    explicit CDeliveryEnd(CDelivery& delivery) : m_delivery(delivery) {}

    CDeliveryEnd(CDeliveryEnd const&) = delete;
    CDeliveryEnd& operator=(CDeliveryEnd const&) = delete;

    ~CDeliveryEnd() { m_delivery.end(); }

private:
    CDelivery& m_delivery;
};

CSystemSignalReceiver::CSystemSignalReceiver() : m_delivery(std::make_unique<CDelivery>()) {}

CSystemSignalReceiver::~CSystemSignalReceiver() = default;

CSystemSignalReceiver& CSystemSignalReceiver::get() {
    auto& receiver = getKeptGlobal<CSystemSignalReceiver>();
    // The object stays, for destructors of other globals. Its thread does not.
    static CDeliveryEnd const end(*receiver.m_delivery);
    return receiver;
}

void CSystemSignalReceiver::setHandler(SysSignal signal, ISystemSignalHandler* handler) {
    if (!isOwnProcess())
        throw CError("The signal receiver belongs to the process that has made it.");
    if (handler != nullptr)
        m_delivery->setHandler(static_cast<int>(signal), handler);
    else
        m_delivery->removeHandler(static_cast<int>(signal));
}

} // namespace fdn
