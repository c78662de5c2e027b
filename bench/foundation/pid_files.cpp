#include "Comparison.h"

#include <fdn/CPIDFile.h>

#include <bsd/libutil.h>

#include <cstdlib>
#include <string>

namespace {

std::string nameInTemporaryFolder(char const* name) {
    return std::string(std::getenv("TMPDIR")) + "/" + name;
}

void claim(benchmark::State& state) {
    fdn::Path const path(fdn::String::fromBytes(nameInTemporaryFolder("fdn.pid")));
    for (auto _ : state)
        fdn::CPIDFile const file(path);
}

void claimWithLibbsd(benchmark::State& state) {
    std::string const path = nameInTemporaryFolder("libbsd.pid");
    for (auto _ : state) {
        pidfh* const file = pidfile_open(path.c_str(), 0644, nullptr);
        pidfile_write(file);
        pidfile_remove(file);
    }
}

void query(benchmark::State& state) {
    fdn::Path const path(fdn::String::fromBytes(nameInTemporaryFolder("fdn.pid")));
    fdn::CPIDFile const file(path);
    for (auto _ : state)
        benchmark::DoNotOptimize(fdn::CPIDFile::getActivePID(path));
}

// libbsd can only ask by claiming: that fails and names the holder.
void queryWithLibbsd(benchmark::State& state) {
    std::string const path = nameInTemporaryFolder("libbsd.pid");
    pidfh* const file = pidfile_open(path.c_str(), 0644, nullptr);
    pidfile_write(file);
    for (auto _ : state) {
        pid_t holder = 0;
        benchmark::DoNotOptimize(pidfile_open(path.c_str(), 0644, &holder));
        if (holder < 1)
            state.SkipWithError("libbsd names no holder");
    }
    pidfile_remove(file);
}

constexpr char kReasonOfClaiming[] =
    "Both lock the file and write the number of the process. The library also reads what tells the process "
    "from a later one with the same number, from two files of the system, and that is most of the "
    "difference; the rest is making the file whole under another name first. Keeping what was read would "
    "only help a second claim, and a daemon makes one.";

Comparison const claiming("claim a PID file and give it up", kReasonOfClaiming,
                          {{"fdn::CPIDFile", &claim}, {"libbsd", &claimWithLibbsd}});

constexpr char kReasonOfAsking[] =
    "The peer only asks for the lock, which a forked process inherits. The library believes a PID file only "
    "when its process is alive and was started at the time and the boot that the file says.";

Comparison const asking("ask who holds a PID file", kReasonOfAsking,
                        {{"fdn::CPIDFile", &query}, {"libbsd", &queryWithLibbsd}});

} // namespace
