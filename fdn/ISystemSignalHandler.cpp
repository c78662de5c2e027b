#include <fdn/ISystemSignalHandler.h>

namespace fdn {

ISystemSignalHandler::~ISystemSignalHandler() = default;

} // namespace fdn
