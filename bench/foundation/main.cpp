// Measures the foundation's operations beside what else a program could use for them. Each file of this
// folder compares those of one concept.

#include <fdn/CFdnInit.h>
#include <fdn/CSystemSignalReceiver.h>

#include <benchmark/benchmark.h>

int main(int argc, char** argv) {
    fdn::CFdnInit const foundation(true);
    // Starts a second thread, as every daemon has one. In a process with a single thread, std::shared_ptr
    // would count without atomic operations.
    fdn::CSystemSignalReceiver::get();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
