#include <dmn/bootSequence.h>

namespace dmn {

BootSequence detectBootSequence() {
    return BootSequence::None;
}

bool startsAtBoot(fdn::String const&, BootSequence) {
    return false;
}

fdn::String composeBootCommand(fdn::String const&, BootSequence) {
    return fdn::String();
}

} // namespace dmn
