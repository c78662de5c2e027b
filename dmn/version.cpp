#include <dmn/version.h>

namespace dmn {

int getVersion() {
    return DMN_VERSION;
}

} // namespace dmn
