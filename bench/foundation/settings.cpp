#include <dmn/CDaemonController.h>

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {

constexpr char kId[] = "benchmarked";

void installSomething() {
    dmn::CDaemonInfo info;
    info.exePath = fdn::Path("/usr/sbin/benchmarked");
    dmn::CDaemonController::install(info, kId, fdn::Path("/var/lib/benchmarked"), "", "", "", "");
}

// Waiting for another process is no processor time of this one.
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
            state.SkipWithError("the shell cannot be run");
        pclose(shell);
    }
}

BENCHMARK(readSetting)->Name("read a setting back/getDaemonExePath")->UseRealTime();
BENCHMARK(runShell)->Name("read a setting back/sh -c echo")->UseRealTime();

} // namespace
