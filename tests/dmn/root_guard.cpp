// Makes itself root, twice over, and leaves that by an exception; then again after giving its effective user
// up. Says at each step which its real, effective and saved users are.

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
