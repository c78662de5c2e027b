// Logs numbered entries until SIGTERM, then prints how many.

#include <fdn/CFdnInit.h>
#include <fdn/CXMLLog.h>
#include <fdn/log.h>

#include <cstdio>
#include <string>

#include <signal.h>

namespace {

volatile sig_atomic_t mustStop = 0;

} // namespace

int main() {
    fdn::CFdnInit const foundation(true);
    fdn::CXMLLog::CGlobalLogCloser const closer;
    signal(SIGTERM, [](int) { mustStop = 1; });
    long count = 0;
    for (; mustStop == 0; ++count)
        fdn::logInfo(std::to_string(count).c_str());
    std::printf("%ld\n", count);
}
