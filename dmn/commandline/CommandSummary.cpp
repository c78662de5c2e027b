#include <dmn/commandline/CommandSummary.h>

#include <cstdio>

namespace dmn {

namespace {

constexpr char kCommandSummary[] = "\nCOMMAND can be either of the following:\n"
                                   "    run       run in normal console mode\n"
                                   "    daemon    run in daemon mode\n"
                                   "    install   install the daemon\n"
                                   "    uninstall uninstall the daemon\n"
                                   "    start     starts the daemon (if it is not already running)\n"
                                   "    stop      stops the daemon\n\n";

} // namespace

void printCommandSummary() {
    std::puts(kCommandSummary);
}

} // namespace dmn
