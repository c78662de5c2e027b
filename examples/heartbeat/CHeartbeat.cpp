#include "CHeartbeat.h"

#include <fdn/CError.h>

#include <wx/datetime.h>

CHeartbeat::CHeartbeat(fdn::String const& id, fdn::Path const& controlFolder, long intervalSeconds,
                       fdn::String const& message)
    : CDaemon(id, controlFolder), m_interval(intervalSeconds), m_message(message) {}

void CHeartbeat::init(dmn::IDaemonOperationProgress* progress) {
    fdn::Path const path = getControlFolder() << fdn::Path(getId() + ".txt");
    m_file.open(path.getText().toUTF8(), std::ios::app);
    if (!m_file)
        throw fdn::CError("The file '" + path.getText() + "' cannot be opened for writing.");
    progress->onOperationStepDone();

    writeLine("started");
    progress->onOperationStepDone();
}

void CHeartbeat::run() {
    while (!shouldStop()) {
        writeLine(m_message);
        waitForNextBeat();
    }
    writeLine("stopped");
}

void CHeartbeat::writeLine(fdn::String const& text) {
    fdn::String const time = wxDateTime::Now().FormatISOCombined(' ');
    m_file << (time + " " + text).toUTF8() << std::endl;
}

// Sleeps for the whole interval unless woken: it stops promptly without polling.
void CHeartbeat::waitForNextBeat() {
    std::unique_lock<std::mutex> lock(m_waitMutex);
    m_wakeUp.wait_for(lock, m_interval, [this] { return shouldStop(); });
}

// Without the lock, the notification could be lost between the check of the condition and the sleep.
void CHeartbeat::wakeUp() {
    std::lock_guard<std::mutex> const lock(m_waitMutex);
    m_wakeUp.notify_all();
}
