// Sends SIGTERM to the victim at moments that sweep over its whole life, from its first instruction on: while
// it runs until it is told to stop, while it ends by itself, and a second time while it stops.
//
// Once it has registered its handler, it must end with status 0 after run() has returned, and its PID file
// must be gone. Before that, the signal may end it, and there must be no PID file. It must never hang.
//
// Usage: terminated --program VICTIM [--long]

#include "Marks.h"
#include "report.h"

#include <fdn/system/Descriptor.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;
using torture::require;

constexpr int kPatienceMs = 30000;
constexpr int kRoundsToMeasure = 20;
constexpr int kShortRun = 300;
constexpr int kLongRun = 12000;

/// The control folder of the victims, and the file of their marks.
class Scene {
public:
    Scene() {
        std::string name = (std::filesystem::temp_directory_path() / "dmn-torture-XXXXXX").string();
        require(mkdtemp(name.data()) != nullptr, "mkdtemp failed for " + name);
        m_folder = name;
        fdn::Descriptor const file(open(marksFile().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        require(ftruncate(file.get(), sizeof(torture::Marks)) == 0, "ftruncate");
        m_marks = torture::mapMarks(marksFile());
    }

    Scene(Scene const&) = delete;
    Scene& operator=(Scene const&) = delete;

    ~Scene() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    std::string marksFile() const { return m_folder + "/marks"; }

    std::string logFile() const { return m_folder + "/log"; }

    std::string controlFolder() const { return m_folder + "/control"; }

    torture::Marks& marks() const { return *m_marks; }

    /// What a victim that has ended leaves in its control folder, besides what it has written itself.
    std::vector<std::string> leftovers() const {
        std::vector<std::string> names;
        std::error_code notMadeYet;
        for (auto const& entry : std::filesystem::directory_iterator(controlFolder(), notMadeYet))
            if (entry.path().filename() != "victim.txt")
                names.push_back(entry.path().filename().string());
        return names;
    }

private:
    std::string m_folder;
    torture::Marks* m_marks = nullptr;
};

/// A victim that runs from its construction on.
class Victim {
public:
    Victim(std::string const& program, Scene const& scene, bool isBrief) {
        std::vector<std::string> texts{program,
                                       "--controlFolder=" + scene.controlFolder(),
                                       "daemon",
                                       "VICTIM_MARKS=" + scene.marksFile(),
                                       "FDN_LOG_FILE=" + scene.logFile(),
                                       isBrief ? "VICTIM_RUN=brief" : "VICTIM_RUN="};
        char* arguments[] = {texts[0].data(), texts[1].data(), texts[2].data(), nullptr};
        char* environment[] = {texts[3].data(), texts[4].data(), texts[5].data(), nullptr};
        require(posix_spawn(&m_pid, program.c_str(), nullptr, nullptr, arguments, environment) == 0, program);
    }

    Victim(Victim const&) = delete;
    Victim& operator=(Victim const&) = delete;

    ~Victim() {
        if (m_isReaped)
            return;
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }

    void terminate() const { kill(m_pid, SIGTERM); }

    /// Waits for the end of the victim and returns its state as waitpid() reports it. Throws when it hangs.
    int wait() {
        fdn::Descriptor const handle(static_cast<int>(syscall(SYS_pidfd_open, m_pid, 0)));
        pollfd end = {handle.get(), POLLIN, 0};
        require(fdn::uninterrupted([&] { return poll(&end, 1, kPatienceMs); }) == 1, "the victim hangs");
        int state = 0;
        waitpid(m_pid, &state, 0);
        m_isReaped = true;
        return state;
    }

private:
    pid_t m_pid = -1;
    bool m_isReaped = false;
};

/// How a number of victims ended.
struct Counts {
    int goneBySignal = 0; // ended by the signal, before the handler was registered
    int stopped = 0;      // stopped by the handler
    int endedBefore = 0;  // ended before the signal came
};

void clear(torture::Marks& marks) {
    marks.inMain = marks.registered = marks.running = marks.returned = false;
    marks.left = 0;
}

// Does not sleep, which would be too coarse.
void waitUntil(Clock::time_point moment) {
    while (Clock::now() < moment)
        std::this_thread::yield();
}

void checkEnd(Scene const& scene, int state, Counts& counts, bool hadEndedBefore) {
    require(scene.leftovers().empty(),
            "the victim has left " + (scene.leftovers().empty() ? "" : scene.leftovers()[0]));
    torture::Marks const& marks = scene.marks();
    if (WIFSIGNALED(state)) {
        require(WTERMSIG(state) == SIGTERM,
                "the victim was ended by signal " + std::to_string(WTERMSIG(state)));
        require(!marks.registered, "the signal has ended the victim although its handler was registered");
        ++counts.goneBySignal;
        return;
    }
    require(WEXITSTATUS(state) == 0,
            "the victim has ended with status " + std::to_string(WEXITSTATUS(state)));
    require(marks.running && marks.returned && marks.left != 0, "the victim has ended without run()");
    ++(hadEndedBefore ? counts.endedBefore : counts.stopped);
}

/// Measures how long a victim lives that ends by itself.
microseconds measureLife(std::string const& program, Scene const& scene) {
    std::vector<Clock::duration> durations;
    for (int i = 0; i < kRoundsToMeasure; ++i) {
        auto const start = Clock::now();
        Victim(program, scene, true).wait();
        durations.push_back(Clock::now() - start);
    }
    std::sort(durations.begin(), durations.end());
    return std::chrono::duration_cast<microseconds>(durations[kRoundsToMeasure / 2]);
}

/// Runs one victim and sends it the signal after the delay.
void terminateAfter(std::string const& program, Scene const& scene, microseconds delay, bool isBrief,
                    Counts& counts) {
    clear(scene.marks());
    auto const start = Clock::now();
    Victim victim(program, scene, isBrief);
    waitUntil(start + delay);
    bool const hadEnded = scene.marks().returned && isBrief;
    victim.terminate();
    checkEnd(scene, victim.wait(), counts, hadEnded);
}

/// Runs one victim and sends it the signal while it runs, and again after the delay.
void terminateTwice(std::string const& program, Scene const& scene, microseconds delay, Counts& counts) {
    clear(scene.marks());
    Victim victim(program, scene, false);
    auto const deadline = Clock::now() + std::chrono::milliseconds(kPatienceMs);
    while (!scene.marks().running)
        require(Clock::now() < deadline, "the victim does not begin to run");
    auto const start = Clock::now();
    victim.terminate();
    waitUntil(start + delay);
    victim.terminate();
    checkEnd(scene, victim.wait(), counts, false);
}

void print(char const* what, Counts const& counts) {
    std::printf("%s: %d gone by the signal, %d stopped, %d at their end already\n", what, counts.goneBySignal,
                counts.stopped, counts.endedBefore);
    std::fflush(stdout);
}

void sweep(std::string const& program, int rounds) {
    Scene const scene;
    microseconds const life = measureLife(program, scene);
    std::printf("a life of %lld us\n", static_cast<long long>(life.count()));
    Counts running;
    Counts brief;
    Counts twice;
    for (int i = 0; i < rounds; ++i) {
        // Sweeps a fifth beyond the end, because lives differ.
        microseconds const delay = life * 6 * (i / 3) / (5 * (rounds / 3));
        try {
            if (i % 3 == 0)
                terminateAfter(program, scene, delay, false, running);
            else if (i % 3 == 1)
                terminateAfter(program, scene, delay, true, brief);
            else
                terminateTwice(program, scene, delay / 4, twice);
        } catch (std::runtime_error const& error) {
            throw std::runtime_error("round " + std::to_string(i) + ", SIGTERM after " +
                                     std::to_string(delay.count()) + " us: " + error.what());
        }
    }
    print("running until it is stopped", running);
    print("ending by itself", brief);
    print("a second signal while it stops", twice);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3)
        return 2;
    int const rounds = argc > 3 ? kLongRun : kShortRun;
    return torture::report([&] {
        sweep(argv[2], rounds);
        std::printf("%d victims terminated\n", rounds);
    });
}
