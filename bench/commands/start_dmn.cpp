// Starts the foundation, as every program that uses the library does first, and ends.

#include <dmn/CDaemonController.h>

#include <fdn/CFdnInit.h>

int main() {
    fdn::CFdnInit const foundation(true);
    dmn::CDaemonController controller(fdn::String("id"), fdn::Path());
    return controller.isDisabled() ? 1 : 0;
}
