#include <dmn/script/Shell.h>

#include <fdn/Path.h>

namespace dmn {

fdn::CExecCommand composeShellCommand(fdn::String const& text, fdn::TArray<fdn::String> const& arguments) {
    fdn::TArray<fdn::String> all{"-c", text, "sh"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return fdn::CExecCommand(fdn::Path("/bin/sh"), all);
}

fdn::TMap<fdn::String, fdn::String> composeShellEnvironment() {
    return {{"PATH", "/usr/sbin:/usr/bin:/sbin:/bin"}};
}

} // namespace dmn
