#include "CSampler.h"

#include <string>

CSampler::CSampler(fdn::String const& id, fdn::Path const& controlFolder, int intervalSeconds,
                   fdn::String const& label)
    : CService(id, controlFolder), m_intervalSeconds(intervalSeconds), m_label(label) {}

void CSampler::init(dmn::IDaemonOperationProgress* progress) {
    reportStatus("Opening the file of the samples");
    openFile();
    progress->onOperationStepDone();

    writeSample();
    progress->onOperationStepDone();
}

void CSampler::run() {
    while (sleep(m_intervalSeconds * 1000))
        writeSample();
}

void CSampler::reload() {
    openFile();
}

void CSampler::openFile() {
    fdn::Path const path = getControlFolder() << fdn::Path("samples.txt");
    m_file = std::ofstream(fdn::toFileName(path).data(), std::ios::app);
    if (!m_file)
        throw fdn::CError("The file '" + path.getText() + "' cannot be opened for writing.");
    fdn::logDebug("'" + path.getText() + "' is open.");
}

void CSampler::writeSample() {
    std::string load;
    std::getline(std::ifstream("/proc/loadavg"), load);
    m_file << m_label.toUTF8() << ": " << load << std::endl;
}
