#include "CService.h"

#include <chrono>

void CService::run() {
    while (!shouldStop()) {
        fdn::logInfo(getId() + " is there."); // Do the daemon's work here.
        waitForNextRound();
    }
}

void CService::waitForNextRound() {
    std::unique_lock<std::mutex> lock(m_waitMutex);
    m_wakeUp.wait_for(lock, std::chrono::minutes(1), [this] { return shouldStop(); });
}

// Without the lock, the notification could be lost between the check of the condition and the sleep.
void CService::wakeUp() {
    std::lock_guard<std::mutex> const lock(m_waitMutex);
    m_wakeUp.notify_all();
}
