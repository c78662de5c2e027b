#include <dmn/start/DaemonLog.h>

#include <fdn/CSystemAccountManager.h>
#include <fdn/log.h>

namespace dmn {

namespace {

constexpr char kRoot[] = "root";

} // namespace

fdn::Path locateDaemonLog(fdn::Path const& program, fdn::String const& runAs) {
    fdn::String const account = runAs.empty() ? fdn::String(kRoot) : runAs;
    return fdn::getLogFileOf(program, fdn::CSystemAccountManager::get().getUserID(account));
}

} // namespace dmn
