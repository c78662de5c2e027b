// The foundation's operations beside what else a program could use for them. The name of each benchmark is
// "OPERATION/WHO DOES IT"; ours comes first.

#include <fdn/CFdnInit.h>
#include <fdn/CSystemSignalReceiver.h>

#include <benchmark/benchmark.h>

int main(int argc, char** argv) {
    fdn::CFdnInit const foundation(true);
    // Starts its thread, which every daemon has: without a second one, std::shared_ptr counts without atomic
    // operations.
    fdn::CSystemSignalReceiver::get();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
