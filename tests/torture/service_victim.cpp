// The service that is tortured: a victim with the front end for new programs.

#include "VictimEntry.h"

#include <fdn/log.h>

namespace {

using torture::marks;

constexpr int kPauseMs = 60000;
constexpr int kPauseOfTheBusyMs = 10;

class CServiceVictim : public dmn::CService {
public:
    CServiceVictim(fdn::String const& id, fdn::Path const& controlFolder, fdn::String const& word)
        : CService(id, controlFolder), m_word(word) {}

    void init(dmn::IDaemonOperationProgress*) override { torture::introduce(*this, m_word); }

    void run() override {
        marks->running = true;
        if (torture::runMode() == "busy")
            logUntilStopped();
        else if (torture::runMode() != "brief")
            waitUntilStopped();
        marks->returned = true;
    }

    void reload() override { ++marks->hangups; }

private:
    void logUntilStopped() {
        while (sleep(kPauseOfTheBusyMs)) {
            fdn::logInfo(fdn::String::Format("entry %u", marks->entries.load()));
            ++marks->entries;
        }
    }

    void waitUntilStopped() {
        while (sleep(kPauseMs)) {
        }
    }

    fdn::String m_word;
};

class CServiceVictimEntry : public torture::TVictimEntry<dmn::CServiceEntry> {
public:
    fdn::P<dmn::CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override {
        return fdn::newObj<CServiceVictim>(id, controlFolder, m_word);
    }
};

} // namespace

int main(int argc, char** argv) {
    return torture::live([&] { return fdn::newObj<CServiceVictimEntry>()->entry(argc, argv); });
}
