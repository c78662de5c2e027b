#include <fdn/CThread.h>

#include <chrono>
#include <thread>

namespace fdn {

void CThread::sleep(unsigned milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

void threadYield(bool letLowerPrioritiesRun) {
    if (letLowerPrioritiesRun)
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    else
        std::this_thread::yield();
}

} // namespace fdn
