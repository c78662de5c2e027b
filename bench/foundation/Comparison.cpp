#include "Comparison.h"

#include <string>

namespace {

void choose(Clock clock, benchmark::internal::Benchmark& benchmark) {
    switch (clock) {
    case Clock::Processor:
        break;
    case Clock::Wall:
        benchmark.UseRealTime();
        break;
    case Clock::Manual:
        benchmark.UseManualTime();
        break;
    }
}

} // namespace

Comparison::Comparison(char const* operation, char const* reason, std::initializer_list<Performer> performers,
                       Clock clock) {
    benchmark::AddCustomContext(operation, reason);
    for (Performer const& performer : performers) {
        std::string const name = std::string(operation) + "/" + performer.name;
        choose(clock, *benchmark::RegisterBenchmark(name.c_str(), performer.perform));
    }
}
