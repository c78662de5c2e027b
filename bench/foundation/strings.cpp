#include <fdn/String.h>

#include <benchmark/benchmark.h>

#include <string>

namespace {

constexpr char kNarrow[] = "The process does not have the necessary root privileges for this operation.";

template <class Text>
void makeFromNarrow(benchmark::State& state) {
    for (auto _ : state) {
        Text text(kNarrow);
        benchmark::DoNotOptimize(text);
    }
}

void turnStringIntoBytes(benchmark::State& state) {
    fdn::String const text(kNarrow);
    for (auto _ : state)
        benchmark::DoNotOptimize(text.toUTF8());
}

void turnWxStringIntoBytes(benchmark::State& state) {
    wxString const text(kNarrow);
    for (auto _ : state)
        benchmark::DoNotOptimize(std::string(text.utf8_str()));
}

void copyStandardString(benchmark::State& state) {
    std::string const text(kNarrow);
    for (auto _ : state) {
        std::string copy(text);
        benchmark::DoNotOptimize(copy);
    }
}

template <class Text>
void join(benchmark::State& state) {
    Text const id("heartbeat");
    Text const folder("/var/lib/heartbeat");
    for (auto _ : state) {
        Text text = "Performing command '" + id + "', controlFolder='" + folder + "'.";
        benchmark::DoNotOptimize(text);
    }
}

BENCHMARK(makeFromNarrow<fdn::String>)->Name("make a text from narrow text/fdn::String");
BENCHMARK(makeFromNarrow<wxString>)->Name("make a text from narrow text/wxString");
BENCHMARK(makeFromNarrow<std::string>)->Name("make a text from narrow text/std::string");
BENCHMARK(turnStringIntoBytes)->Name("turn a text into UTF-8/fdn::String");
BENCHMARK(turnWxStringIntoBytes)->Name("turn a text into UTF-8/wxString");
BENCHMARK(copyStandardString)->Name("turn a text into UTF-8/std::string");
BENCHMARK(join<fdn::String>)->Name("join five texts/fdn::String");
BENCHMARK(join<wxString>)->Name("join five texts/wxString");
BENCHMARK(join<std::string>)->Name("join five texts/std::string");

} // namespace
