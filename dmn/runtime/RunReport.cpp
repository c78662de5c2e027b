#include <dmn/runtime/RunReport.h>

#include <fdn/CError.h>
#include <fdn/String.h>
#include <fdn/notify.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

namespace dmn {

namespace {

constexpr char const* kReady = "READY=1\nSTATUS=Running";

// By the clock that supervisors compare it with, CLOCK_MONOTONIC.
std::int64_t getMonotonicMicroseconds() {
    auto const now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(now).count();
}

// A run must not fail because somebody could not be told of it, for lack of memory for example.
template <class Compose>
void tell(Compose compose) noexcept {
    try {
        fdn::notifySupervisor(compose());
    } catch (std::exception const&) { // NOLINT(bugprone-empty-catch)
    }
}

void tellStatus(char const* text) {
    tell([=] { return fdn::composeStatusNotification(text); });
}

fdn::String describeSteps(int count) {
    return fdn::String::Format("Initializing: %d %s done", count, count == 1 ? "step" : "steps");
}

} // namespace

void RunReport::tellClaiming() {
    tellStatus("Claiming the PID file");
}

void RunReport::tellInitializing() {
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_isInitializing = true;
    m_stepsDone = 0;
    tellStatus("Initializing");
}

void RunReport::tellStepDone() {
    std::lock_guard<std::mutex> const lock(m_mutex);
    if (m_isInitializing)
        tell([this] { return fdn::composeStatusNotification(describeSteps(++m_stepsDone)); });
}

void RunReport::tellInitialized() {
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_isInitializing = false;
}

void RunReport::tellRunning() {
    std::lock_guard<std::mutex> const lock(m_mutex);
    if (!std::exchange(m_hasToldRunning, true))
        tell([] { return kReady; });
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
    tell([] { return kReady; });
}

void RunReport::tellReloadFailure(std::exception const& error) {
    tell([&] {
        return "READY=1\n" +
               fdn::composeStatusNotification("Reloading has failed: " + fdn::getMessageOf(error));
    });
}

} // namespace dmn
