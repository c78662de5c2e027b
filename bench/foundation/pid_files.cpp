#include <fdn/CPIDFile.h>

#include <benchmark/benchmark.h>
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

// Its only way to ask is to claim: that fails, and names the holder.
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

BENCHMARK(claim)->Name("claim a PID file and give it up/fdn::CPIDFile");
BENCHMARK(claimWithLibbsd)->Name("claim a PID file and give it up/libbsd");
BENCHMARK(query)->Name("ask who holds a PID file/fdn::CPIDFile");
BENCHMARK(queryWithLibbsd)->Name("ask who holds a PID file/libbsd");

} // namespace
