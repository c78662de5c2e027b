#pragma once

#include <benchmark/benchmark.h>

#include <initializer_list>

// Whoever performs an operation, and the benchmark of it.
struct Performer {
    char const* name;
    void (*perform)(benchmark::State&);
};

// Which time counts: what the processor works, what passes, or what the benchmark itself has measured.
enum class Clock { Processor, Wall, Manual };

// An operation that the library performs, beside what else a program could use for it. Ours comes first:
//
//     Comparison const joining("join two paths", "Ours puts one text after the other ...",
//                              {{"fdn::Path", &joinPaths}, {"std::filesystem::path", &joinStandardPaths}});
//
// The reason explains the result: it says what one of them does and another does not. It has no measured
// figures, because those are different in each run.
class Comparison {
public:
    // Registers a benchmark "OPERATION/PERFORMER" for each performer, and adds the reason to the context of
    // the results under the operation's name. The strings are copied.
    Comparison(char const* operation, char const* reason, std::initializer_list<Performer> performers,
               Clock clock = Clock::Processor);
};
