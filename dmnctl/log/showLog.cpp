#include <dmnctl/log/showLog.h>

namespace dmnctl {

int showLog(LogCommand const&) {
    return 0;
}

std::string composeLastEntries(fdn::String const&, std::size_t) {
    return {};
}

} // namespace dmnctl
