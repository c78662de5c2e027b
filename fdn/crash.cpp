#include <fdn/crash.h>

namespace fdn {

void logCrashes() {}

CExitReport::CExitReport(String const&) {}

CExitReport::~CExitReport() = default;

} // namespace fdn
