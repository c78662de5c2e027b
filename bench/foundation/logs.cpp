#include "Comparison.h"

#include <fdn/CXMLLog.h>
#include <fdn/log.h>

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <chrono>
#include <cstdlib>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr char kText[] = "Performing command 'start', controlFolder='/var/lib/heartbeat'.";
constexpr int kProcesses = 4;
constexpr int kEntriesOfEach = 2000;

std::shared_ptr<spdlog::logger> makeSpdlog() {
    auto const sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(std::string(std::getenv("TMPDIR")) +
                                                                          "/spdlog.log");
    auto const log = std::make_shared<spdlog::logger>("spdlog", sink);
    // The same entry as ours.
    log->set_pattern(R"(<entry time="%Y-%m-%dT%H:%M:%S.%fZ" level="%l" process="%P" thread="%t">%v</entry>)",
                     spdlog::pattern_time_type::utc);
    log->flush_on(spdlog::level::info);
    return log;
}

void writeEntries(benchmark::State& state) {
    fdn::String const text(kText);
    for (auto _ : state)
        fdn::logInfo(text);
    state.SetItemsProcessed(state.iterations());
}

void writeEntriesWithSpdlog(benchmark::State& state) {
    auto const log = makeSpdlog();
    for (auto _ : state)
        log->info(kText);
    state.SetItemsProcessed(state.iterations());
}

void writeSome() {
    fdn::CXMLLog::getGlobal().close();
    fdn::String const text(kText);
    for (int i = 0; i < kEntriesOfEach; ++i)
        fdn::logInfo(text);
}

void writeSomeWithSpdlog() {
    auto const log = makeSpdlog();
    for (int i = 0; i < kEntriesOfEach; ++i)
        log->info(kText);
}

// In kProcesses processes at once; waits until all have ended.
void runInProcesses(void (*write)()) {
    for (int i = 0; i < kProcesses; ++i) {
        if (fork() == 0) {
            write();
            _exit(0);
        }
    }
    while (wait(nullptr) > 0) {
    }
}

// One iteration is one entry.
template <void (*write)()>
void writeFromProcesses(benchmark::State& state) {
    constexpr int kEntries = kProcesses * kEntriesOfEach;
    while (state.KeepRunningBatch(kEntries)) {
        auto const start = std::chrono::steady_clock::now();
        runInProcesses(write);
        std::chrono::duration<double> const duration = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(duration.count());
    }
    state.SetItemsProcessed(state.iterations());
}

constexpr char kReason[] =
    "Before each entry the library looks at the log's path, because another tool may have moved the file, "
    "and several processes share and rotate it. It asks for the process and the thread each time, because a "
    "forked process has others, and holds back the signals that a write can raise, which would end the "
    "program. Asking first whether one could come takes as long as holding them back.";

Comparison const writing("write a log entry", kReason,
                         {{"fdn::logInfo", &writeEntries}, {"spdlog", &writeEntriesWithSpdlog}});

Comparison const writingAtOnce("write a log entry, four processes at once", kReason,
                               {{"fdn::logInfo", &writeFromProcesses<&writeSome>},
                                {"spdlog", &writeFromProcesses<&writeSomeWithSpdlog>}},
                               Clock::Manual);

} // namespace
