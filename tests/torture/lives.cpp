// Takes the victim through its whole life many times, all from within one process: install, start, stop,
// uninstall. The files, links, processes and descriptors, this process's memory and the disk space must be
// the same after the last round as after the first ones.
//
// Usage: lives --program VICTIM [--long]

#include "report.h"

#include <dmn/dmn.h>

#include <fdn/CFdnInit.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using torture::require;

constexpr int kSkipped = 77;
constexpr int kShortRun = 60;
constexpr int kLongRun = 2000;
constexpr int kWarmUpRounds = 20;
constexpr int kPatienceMs = 30000;
constexpr long kToleratedGrowth = 64; // KiB, because a few pages may still be touched for the first time

/// What must not grow.
struct Possessions {
    std::set<std::string> files; // with folders, links and everything else that has a name
    std::uintmax_t bytes = 0;
    std::set<std::string> processes;
    std::size_t descriptors = 0;
};

long readPrivateMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.compare(0, 8, "RssAnon:") == 0)
            return std::stol(line.substr(8));
    throw std::runtime_error("/proc/self/status has no line RssAnon");
}

void countFiles(std::string const& folder, Possessions& possessions) {
    for (auto const& entry : fs::recursive_directory_iterator(folder)) {
        possessions.files.insert(entry.path().string());
        if (entry.is_regular_file() && !entry.is_symlink())
            possessions.bytes += entry.file_size();
    }
}

bool isProcess(fs::path const& name) {
    return name.string().find_first_not_of("0123456789") == std::string::npos;
}

Possessions examine() {
    Possessions possessions;
    for (char const* const folder : {"/etc", "/run", "/var/log"})
        countFiles(folder, possessions);
    for (auto const& entry : fs::directory_iterator("/proc"))
        if (isProcess(entry.path().filename()))
            possessions.processes.insert(entry.path().filename().string());
    fs::directory_iterator const descriptors("/proc/self/fd");
    possessions.descriptors = static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
    return possessions;
}

void compare(Possessions const& first, Possessions const& last) {
    std::printf(
        "files, folders and links %zu, %zu; bytes %ju, %ju; processes %zu, %zu; descriptors %zu, %zu\n",
        first.files.size(), last.files.size(), first.bytes, last.bytes, first.processes.size(),
        last.processes.size(), first.descriptors, last.descriptors);
    require(first.files == last.files, "a file, folder or link has been left behind or is gone");
    require(first.bytes == last.bytes, "files have grown");
    require(first.processes == last.processes, "a process has been left behind or is gone");
    require(first.descriptors == last.descriptors, "the number of open descriptors has changed");
}

void compareMemory(long first, long last) {
    std::printf("private memory %ld KiB, %ld KiB\n", first, last);
    require(last <= first + kToleratedGrowth, "the memory has grown");
}

// The daemon becomes a child of this process when its starter ends.
void reapDaemon() {
    require(waitpid(-1, nullptr, 0) > 0, "there is no daemon to wait for");
}

void live(dmn::CDaemonInfo const& info, fdn::Path const& controlFolder) {
    dmn::CDaemonController controller("victim", controlFolder);
    dmn::CDaemonController::install(info, "victim", controlFolder, "dmnuser", "", "", "");
    require(controller.waitInstalled(kPatienceMs), "the victim is not installed");
    controller.start();
    require(controller.waitRunningAndReady(kPatienceMs) == -1, "the victim does not run");
    controller.stop();
    require(controller.waitStopped(kPatienceMs), "the victim does not stop");
    reapDaemon();
    controller.uninstall();
    require(controller.waitUninstalled(kPatienceMs), "the victim is not uninstalled");
}

void liveManyTimes(std::string const& program, int rounds) {
    fs::path const controlFolder = fs::temp_directory_path() / "control";
    fs::create_directory(controlFolder);
    fs::permissions(controlFolder, fs::perms::all);
    require(prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) == 0, "prctl");
    dmn::CDaemonInfo info;
    info.displayName = "Victim";
    info.startAtBoot = true;
    info.exePath = fdn::Path(fdn::String::fromBytes(program));

    Possessions first;
    long firstMemory = 0;
    for (int round = 0; round < rounds; ++round) {
        live(info, fdn::Path(fdn::String::fromBytes(controlFolder.string())));
        if (round == kWarmUpRounds) {
            first = examine();
            firstMemory = readPrivateMemory(); // after examine(), which needs memory itself
        }
    }
    compareMemory(firstMemory, readPrivateMemory());
    compare(first, examine());
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3)
        return 2;
    if (std::getenv("DMN_PRIVATE_ROOT") == nullptr)
        return kSkipped; // /etc is the machine's own, which nobody may touch
    int const rounds = argc > 3 ? kLongRun : kShortRun;
    fdn::CFdnInit const foundation(true);
    setenv("FDN_LOG_FILE", "/dev/null", 1);
    return torture::report([&] {
        liveManyTimes(argv[2], rounds);
        std::printf("%d lives\n", rounds);
    });
}
