#include "Comparison.h"

#include <fdn/String.h>

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

constexpr char kReason[] =
    "Characters are wide, as in wxString, so there are four times as many bytes to copy, on the heap.";

Comparison const making("make a text from narrow text", kReason,
                        {{"fdn::String", &makeFromNarrow<fdn::String>},
                         {"wxString", &makeFromNarrow<wxString>},
                         {"std::string", &makeFromNarrow<std::string>}});

Comparison const converting("turn a text into UTF-8", kReason,
                            {{"fdn::String", &turnStringIntoBytes},
                             {"wxString", &turnWxStringIntoBytes},
                             {"std::string", &copyStandardString}});

Comparison const joining("join five texts", kReason,
                         {{"fdn::String", &join<fdn::String>},
                          {"wxString", &join<wxString>},
                          {"std::string", &join<std::string>}});

} // namespace
