#include <fdn/CProps.h>

namespace fdn {

CProps::~CProps() = default;

} // namespace fdn
