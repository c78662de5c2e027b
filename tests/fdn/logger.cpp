// Logs "one entry" in a process of its own. Usage: logger [late|deleted]

#include <fdn/CFdnInit.h>
#include <fdn/CXMLLog.h>
#include <fdn/log.h>

#include <filesystem>
#include <string>

namespace {

// Made before everything that the library makes when it is used, so it is destroyed after that.
struct LateEntry {
    ~LateEntry() {
        if (isWanted)
            fdn::logInfo("late entry");
    }

    bool isWanted = false;
} lateEntry;

} // namespace

int main(int argc, char** argv) {
    std::string const role = argc > 1 ? argv[1] : "";
    fdn::CFdnInit const init(true);
    fdn::CXMLLog::CGlobalLogCloser const closer;
    lateEntry.isWanted = role == "late";
    if (role == "deleted")
        std::filesystem::remove(argv[0]);
    fdn::logInfo("one entry");
}
