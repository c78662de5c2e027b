#include <dmn/IDaemonOperationProgress.h>

namespace dmn {

IDaemonOperationProgress::~IDaemonOperationProgress() = default;

} // namespace dmn
