// Takes root privileges twice, one inside the other, and leaves both by an exception; then does the same
// after giving up its effective user. At each step it prints its real, effective and saved user.

#include <dmn/CDaemonController.h>

#include <fdn/CError.h>

#include <cstdio>

#include <unistd.h>

namespace {

using Guard = dmn::CDaemonController::CMakeRoot;

void say(char const* step) {
    uid_t real = 0;
    uid_t effective = 0;
    uid_t saved = 0;
    getresuid(&real, &effective, &saved);
    std::printf("%s: %u %u %u\n", step, real, effective, saved);
}

void raise() {
    Guard const outer;
    say("raised");
    {
        Guard const inner;
        say("raised twice");
    }
    say("raised once");
    throw fdn::CError("thrown as root");
}

void tryToRaise() {
    say("before");
    try {
        raise();
    } catch (fdn::CError const& e) {
        std::puts(e.getMessage().toUTF8().c_str());
    }
    say("after");
}

} // namespace

int main() {
    tryToRaise();
    if (seteuid(getuid()) != 0)
        return 1;
    tryToRaise();
}
