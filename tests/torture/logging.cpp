// Writes numbered entries to the log, with a pause after each.
//
// Usage: logging WRITER ENTRIES PAUSE_IN_MICROSECONDS

#include <fdn/CFdnInit.h>
#include <fdn/log.h>

#include <cstdlib>
#include <string>

#include <unistd.h>

int main(int argc, char** argv) {
    if (argc != 4)
        return 2;
    fdn::CFdnInit const foundation(true);
    std::string const padding(200, '.');
    for (int number = 0; number < std::atoi(argv[2]); ++number) {
        fdn::logInfo((std::string(argv[1]) + " " + std::to_string(number) + " " + padding).c_str());
        usleep(static_cast<useconds_t>(std::atoi(argv[3])));
    }
}
