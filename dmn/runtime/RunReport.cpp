#include <dmn/runtime/RunReport.h>

#include <fdn/CError.h>
#include <fdn/String.h>
#include <fdn/notify.h>

#include <dmn/progress/steps.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

#include <time.h>

namespace dmn {

namespace {

constexpr char const* kReady = "READY=1\nSTATUS=Running";

// By the clock that supervisors compare it with, CLOCK_MONOTONIC.
std::int64_t getMonotonicMicroseconds() {
    auto const now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(now).count();
}

// A run must not fail because somebody could not be told of it, for lack of memory for example. Returns false
// when there was no room for it yet.
template <class Compose>
bool tell(Compose compose) noexcept {
    try {
        return fdn::notifySupervisor(compose());
    } catch (std::exception const&) { // nor will there be memory soon
        return true;
    }
}

// Nobody would learn of it by any other message, so it waits for a supervisor who reads slowly, but not for
// one who does not read at all.
template <class Compose>
void tellReadiness(Compose compose) noexcept {
    constexpr int kAttempts = 40;
    constexpr timespec kPause = {0, 5'000'000};
    for (int attempt = 1; !tell(compose) && attempt < kAttempts; ++attempt)
        nanosleep(&kPause, nullptr);
}

void tellStatus(char const* text) {
    tell([=] { return fdn::composeStatusNotification(text); });
}

} // namespace

void RunReport::tellClaiming() {
    tellStatus(kClaiming);
}

void RunReport::tellInitializing() {
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_isInitializing = true;
    m_stepsDone = 0;
    tellStatus(kInitializing);
}

void RunReport::tellStepDone() {
    std::lock_guard<std::mutex> const lock(m_mutex);
    if (m_isInitializing)
        tell([this] { return fdn::composeStatusNotification(describeStepsDone(++m_stepsDone)); });
}

void RunReport::tellInitialized() {
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_isInitializing = false;
}

void RunReport::tellRunning() {
    std::lock_guard<std::mutex> const lock(m_mutex);
    if (!std::exchange(m_hasToldRunning, true))
        tellReadiness([] { return kReady; });
}

void RunReport::tellStopping() {
    tell([] { return "STOPPING=1"; });
}

void RunReport::tellFailure(std::exception const& error) {
    tell([&] { return fdn::composeStatusNotification(fdn::getMessageOf(error)); });
}

void RunReport::tellReloading() {
    tell([] {
        return "RELOADING=1\nMONOTONIC_USEC=" + std::to_string(getMonotonicMicroseconds()) + "\n" +
               fdn::composeStatusNotification("Reloading");
    });
}

void RunReport::tellReloaded() {
    tellReadiness([] { return kReady; });
}

void RunReport::tellReloadFailure(std::exception const& error) {
    tellReadiness([&] {
        return "READY=1\n" +
               fdn::composeStatusNotification("Reloading has failed: " + fdn::getMessageOf(error));
    });
}

} // namespace dmn
