#include "Comparison.h"

#include <fdn/Path.h>

#include <filesystem>

namespace {

constexpr char kUntidy[] = "/srv/./www//example.org/htdocs/../logs/access/";
constexpr char kFolder[] = "/var/lib/heartbeat";
constexpr char kName[] = "heartbeat.pid";

void normalizePath(benchmark::State& state) {
    fdn::Path const path(kUntidy);
    for (auto _ : state)
        benchmark::DoNotOptimize(path.toNormalized(false, fdn::Path()));
}

void normalizeStandardPath(benchmark::State& state) {
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

constexpr char kReasonOfNormalizing[] =
    "The library puts the names together in one text. The standard path makes a path of each name.";

Comparison const normalizing("normalize a path", kReasonOfNormalizing,
                             {{"fdn::Path", &normalizePath},
                              {"std::filesystem::path", &normalizeStandardPath}});

constexpr char kReasonOfJoining[] =
    "The library puts one text after the other. The standard path also keeps a list of its names.";

Comparison const joining("join two paths", kReasonOfJoining,
                         {{"fdn::Path", &joinPaths}, {"std::filesystem::path", &joinStandardPaths}});

} // namespace
