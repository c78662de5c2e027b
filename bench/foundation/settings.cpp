#include "Comparison.h"

#include <dmn/CDaemonController.h>

#include <cstdio>

namespace {

constexpr char kId[] = "benchmarked";

void installSomething() {
    dmn::CDaemonInfo info;
    info.exePath = fdn::Path("/usr/sbin/benchmarked");
    dmn::CDaemonController::install(info, kId, fdn::Path("/var/lib/benchmarked"), "", "", "", "");
}

void readSetting(benchmark::State& state) {
    installSomething();
    for (auto _ : state)
        benchmark::DoNotOptimize(dmn::CDaemonController::getDaemonExePath(kId));
    dmn::CDaemonController::uninstall(kId, fdn::Path());
}

// popen() runs its command with "/bin/sh -c".
void runShell(benchmark::State& state) {
    char line[256];
    for (auto _ : state) {
        std::FILE* const shell = popen("echo /usr/sbin/benchmarked", "r");
        if (shell == nullptr || std::fgets(line, sizeof line, shell) == nullptr)
            state.SkipWithError("the shell could not be run");
        pclose(shell);
    }
}

// The wall clock counts, because this process uses no processor time while it waits for another.
Comparison const
    reading("read a setting back",
            "The shell reads the whole init script to print one setting, so that the answer is right "
            "whoever has changed the script. Starting the shell with the script, rather than the script, "
            "changes nothing.",
            {{"getDaemonExePath", &readSetting}, {"sh -c echo", &runShell}}, Clock::Wall);

} // namespace
