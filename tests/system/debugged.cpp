// Holds values for a debugger to show.

#include <fdn/CError.h>
#include <fdn/P.h>
#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/TBuffer.h>

#include <cstdlib>

int main() {
    fdn::String const text = fdn::String::fromBytes("grüß \"dich\"");
    wxString const wxText = "base";
    fdn::Path const path("/var/lib/heartbeat");
    fdn::P<fdn::CBase> const pointer = fdn::newObj<fdn::String>("held");
    fdn::P<fdn::IBase> const second = pointer;
    fdn::P<fdn::CBase> const empty;
    int const numbers[] = {1, 22, 333};
    fdn::TBuffer<int> const buffer(numbers, 3, 8);
    fdn::TCryptBuffer<char> const secret("hush", 4, 4);
    std::abort(); // the debugger stops here
}
