// Logs an error that has everything an entry can hold; or logs numbered entries until SIGTERM, then prints
// how many. Usage: log_writer error|numbers

#include <fdn/CError.h>
#include <fdn/CFdnInit.h>
#include <fdn/CXMLLog.h>
#include <fdn/log.h>

#include <cstdio>
#include <string>

#include <signal.h>

namespace {

volatile sig_atomic_t mustStop = 0;

void logError() {
    fdn::CProps props;
    props["path"] = fdn::String::fromBytes("/tmp/<grüß \"&\"dich>");
    fdn::CError const cause("the cause", "", 5, props, nullptr);
    fdn::CError const error("two\nlines", "second", 2, fdn::CProps(), &cause);
    fdn::logError(error, "while testing", "a > b");
}

void logNumbers() {
    signal(SIGTERM, [](int) { mustStop = 1; });
    long count = 0;
    for (; mustStop == 0; ++count)
        fdn::logInfo(std::to_string(count).c_str());
    std::printf("%ld\n", count);
}

} // namespace

int main(int argc, char** argv) {
    fdn::CFdnInit const foundation(true);
    fdn::CXMLLog::CGlobalLogCloser const closer;
    if (argc > 1 && std::string(argv[1]) == "numbers")
        logNumbers();
    else
        logError();
}
