#include <fdn/Path.h>

#include <benchmark/benchmark.h>

#include <filesystem>

namespace {

constexpr char kUntidy[] = "/srv/./www//example.org/htdocs/../logs/access/";
constexpr char kFolder[] = "/var/lib/heartbeat";
constexpr char kName[] = "heartbeat.pid";

void normalisePath(benchmark::State& state) {
    fdn::Path const path(kUntidy);
    for (auto _ : state)
        benchmark::DoNotOptimize(path.toNormalized(false, fdn::Path()));
}

void normaliseStandardPath(benchmark::State& state) {
    std::filesystem::path const path(kUntidy);
    for (auto _ : state)
        benchmark::DoNotOptimize(path.lexically_normal());
}

void joinPaths(benchmark::State& state) {
    fdn::Path const folder(kFolder);
    fdn::Path const name(kName);
    for (auto _ : state)
        benchmark::DoNotOptimize(folder << name);
}

void joinStandardPaths(benchmark::State& state) {
    std::filesystem::path const folder(kFolder);
    std::filesystem::path const name(kName);
    for (auto _ : state)
        benchmark::DoNotOptimize(folder / name);
}

BENCHMARK(normalisePath)->Name("normalise a path/fdn::Path");
BENCHMARK(normaliseStandardPath)->Name("normalise a path/std::filesystem::path");
BENCHMARK(joinPaths)->Name("join two paths/fdn::Path");
BENCHMARK(joinStandardPaths)->Name("join two paths/std::filesystem::path");

} // namespace
