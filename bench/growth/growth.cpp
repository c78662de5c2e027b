// Measures how costs grow with what may become large. Prints a line "SERIES COUNT SECONDS" for each count and
// repetition. Usage, in a private root: growth SERIES LARGEST REPETITIONS

#include <dmn/CDaemonController.h>

#include <fdn/CError.h>
#include <fdn/CFdnInit.h>
#include <fdn/files.h>
#include <fdn/log.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <string>

namespace {

constexpr char kId[] = "growing";
constexpr int kSteps = 10;

using Action = std::function<void()>;

double measure(Action const& action) {
    auto const start = std::chrono::steady_clock::now();
    action();
    std::chrono::duration<double> const duration = std::chrono::steady_clock::now() - start;
    return duration.count();
}

fdn::Path const& getControlFolder() {
    static fdn::Path const folder("/run/growing");
    return folder;
}

dmn::CDaemonInfo describe(int params) {
    dmn::CDaemonInfo info;
    info.startAtBoot = true;
    info.exePath = fdn::Path("/usr/sbin/growing");
    for (int i = 0; i < params; ++i)
        info.params.push_back(fdn::String::Format("--parameter=%d of the daemon", i));
    return info;
}

void install(dmn::CDaemonInfo const& info) {
    dmn::CDaemonController::install(info, kId, getControlFolder(), "", "", "", "");
}

void uninstall() {
    dmn::CDaemonController::uninstall(kId, getControlFolder());
}

// Puts as many links of other services into the run level.
void fillRunLevel(int count) {
    std::filesystem::path const folder("/etc/rc2.d");
    std::filesystem::remove_all(folder);
    std::filesystem::create_directory(folder);
    for (int i = 0; i < count; ++i)
        std::filesystem::create_symlink("../init.d/service", folder / ("S50service" + std::to_string(i)));
}

double measureRunLevelDir(int entries) {
    constexpr int kCalls = 1000;
    fillRunLevel(entries);
    return measure([] {
        for (int i = 0; i < kCalls; ++i)
            dmn::CDaemonController::getRunLevelDir(2);
    });
}

double measureUninstall(int entries) {
    fillRunLevel(entries);
    install(describe(0));
    return measure(&uninstall);
}

double measureInstall(int params) {
    dmn::CDaemonInfo const info = describe(params);
    return measure([&info] { install(info); });
}

double measureReadingParams(int params) {
    install(describe(params));
    return measure([] { dmn::CDaemonController::getDaemonParams(kId); });
}

double measureLog(int entries) {
    fdn::String const text("Performing command 'start', controlFolder='/var/lib/heartbeat'.");
    return measure([&] {
        for (int i = 0; i < entries; ++i)
            fdn::logInfo(text);
    });
}

std::map<std::string, double (*)(int)> const allSeries = {{"getRunLevelDir", &measureRunLevelDir},
                                                          {"uninstall", &measureUninstall},
                                                          {"install", &measureInstall},
                                                          {"read-parameters", &measureReadingParams},
                                                          {"log", &measureLog}};

// Each repetition goes through all counts, so that a busy moment of the machine does not affect one count
// alone.
void run(std::string const& series, int largest, int repetitions) {
    auto const found = allSeries.find(series);
    if (found == allSeries.end())
        throw fdn::CError("There is no series '" + fdn::String::fromBytes(series) + "'.");
    for (int repetition = 0; repetition < repetitions; ++repetition)
        for (int step = 0; step <= kSteps; ++step) {
            int const count = largest / kSteps * step;
            std::printf("%s %d %.9f\n", series.c_str(), count, found->second(count));
        }
}

} // namespace

int main(int argc, char** argv) {
    try {
        if (argc != 4)
            throw fdn::CError("Usage: growth SERIES LARGEST REPETITIONS");
        fdn::CFdnInit const foundation(true);
        run(argv[1], std::atoi(argv[2]), std::atoi(argv[3]));
        return 0;
    } catch (std::exception const& error) {
        std::fprintf(stderr, "growth: %s\n", error.what());
        return 1;
    }
}
