#include "CHeartbeat.h"

#include <fdn/CError.h>

#include <wx/datetime.h>

CHeartbeat::CHeartbeat(fdn::String const& id, fdn::Path const& controlFolder, int intervalSeconds,
                       fdn::String const& message)
    : CService(id, controlFolder), m_intervalMs(1000 * intervalSeconds), m_message(message) {}

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
        sleep(m_intervalMs);
    }
    writeLine("stopped");
}

void CHeartbeat::writeLine(fdn::String const& text) {
    fdn::String const time = wxDateTime::Now().FormatISOCombined(' ');
    m_file << (time + " " + text).toUTF8() << std::endl;
}
