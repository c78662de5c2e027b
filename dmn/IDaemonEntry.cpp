#include <dmn/IDaemonEntry.h>

namespace dmnm {

IDaemonEntry::~IDaemonEntry() = default;

} // namespace dmnm
