#include <dmnctl/boot/boot.h>

namespace dmnctl {

int boot(BootCommand const&) {
    return 0;
}

bool isRunBySystemd(fdn::String const&) {
    return false;
}

} // namespace dmnctl
