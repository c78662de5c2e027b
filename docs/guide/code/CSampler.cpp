#include "CSampler.h"

#include <string>

CSampler::CSampler(fdn::String const& id, fdn::Path const& controlFolder, long intervalSeconds,
                   fdn::String const& label)
    : CDaemon(id, controlFolder), m_interval(intervalSeconds), m_label(label) {}

void CSampler::init(dmn::IDaemonOperationProgress* progress) {
    openFile();
    progress->onOperationStepDone();
    writeSample();
    progress->onOperationStepDone();
}

void CSampler::run() {
    for (waitForNextSample(); !shouldStop(); waitForNextSample()) {
        if (m_reopeningRequested.exchange(false))
            openFile();
        writeSample();
    }
}

void CSampler::openFile() {
    fdn::Path const path = getControlFolder() << fdn::Path("samples.txt");
    m_file = std::ofstream(fdn::toFileName(path).data(), std::ios::app);
    if (!m_file)
        throw fdn::CError("The file '" + path.getText() + "' cannot be opened for writing.");
}

void CSampler::writeSample() {
    std::string load;
    std::getline(std::ifstream("/proc/loadavg"), load);
    m_file << m_label.toUTF8() << ": " << load << std::endl;
}

// Sleeps for the whole interval unless woken: it stops promptly without polling.
void CSampler::waitForNextSample() {
    std::unique_lock<std::mutex> lock(m_waitMutex);
    m_wakeUp.wait_for(lock, m_interval, [this] { return shouldStop() || m_reopeningRequested; });
}

// Without the lock, the notification could be lost between the check of the condition and the sleep.
void CSampler::wakeUp() {
    std::lock_guard<std::mutex> const lock(m_waitMutex);
    m_wakeUp.notify_all();
}

void CSampler::requestReopening() {
    m_reopeningRequested = true;
    wakeUp();
}
