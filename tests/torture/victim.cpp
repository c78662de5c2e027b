// The daemon that is tortured. The environment tells it what to do:
//
//   VICTIM_MARKS   the file in which it marks how far it has got (see Marks)
//   VICTIM_PAUSE   if set, it first stops itself with SIGSTOP
//   VICTIM_USER    the effective user to run as, if the real one is root
//   VICTIM_RUN     "brief": its work is done at once; "busy": it logs an entry every 10 milliseconds
//
// Its exit status is 99 if its effective user at the end is not the one of the beginning. It writes its user,
// its group and its word to the file ID.txt in its control folder. When busy, it counts SIGHUP.

#include "Marks.h"

#include <dmn/dmn.h>

#include <fdn/log.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>

#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr int kUserNotRestored = 99;
constexpr std::chrono::milliseconds kPauseOfTheBusy(10);

torture::Marks* marks = nullptr;

// Takes the variable away, because what the victim starts must not do the same.
std::string takeVariable(char const* name) {
    char const* const value = std::getenv(name);
    std::string const text = value == nullptr ? "" : value;
    unsetenv(name);
    return text;
}

std::string runMode() {
    char const* const value = std::getenv("VICTIM_RUN");
    return value == nullptr ? "" : value;
}

class CVictim : public dmn::CDaemon {
public:
    CVictim(fdn::String const& id, fdn::Path const& controlFolder, fdn::String const& word)
        : CDaemon(id, controlFolder), m_word(word) {}

    void init(dmn::IDaemonOperationProgress*) override {
        std::ofstream file((getControlFolder() << fdn::Path(getId() + ".txt")).getText().toUTF8());
        file << getuid() << " " << getgid() << " " << m_word.toUTF8() << std::endl;
    }

    void run() override {
        marks->running = true;
        if (runMode() == "busy")
            logUntilStopped();
        else if (runMode() != "brief")
            waitUntilStopped();
        marks->returned = true;
    }

    void wakeUp() {
        std::lock_guard<std::mutex> const lock(m_mutex);
        m_wakeUp.notify_all();
    }

private:
    void logUntilStopped() {
        auto next = std::chrono::steady_clock::now();
        while (!shouldStop()) {
            fdn::logInfo(fdn::String::Format("entry %u", marks->entries.load()));
            ++marks->entries;
            next += kPauseOfTheBusy;
            std::unique_lock<std::mutex> lock(m_mutex);
            m_wakeUp.wait_until(lock, next, [this] { return shouldStop(); });
        }
    }

    void waitUntilStopped() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_wakeUp.wait(lock, [this] { return shouldStop(); });
    }

    fdn::String m_word;
    std::mutex m_mutex;
    std::condition_variable m_wakeUp;
};

class CWakingHandler : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
public:
    CWakingHandler(fdn::P<fdn::ISystemSignalHandler> const& next, fdn::P<CVictim> const& daemon)
        : m_next(next), m_daemon(daemon) {}

    void handleSystemSignal(fdn::SysSignal signal) override {
        m_next->handleSystemSignal(signal);
        m_daemon->wakeUp();
    }

private:
    fdn::P<fdn::ISystemSignalHandler> m_next;
    fdn::P<CVictim> m_daemon;
};

class CCountingHandler : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
public:
    void handleSystemSignal(fdn::SysSignal) override { ++marks->hangups; }
};

class CVictimEntry : public dmn::CDaemonEntry {
public:
    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override {
        auto info = fdn::newObj<dmn::CDaemonInfo>();
        info->defaultId = "victim";
        info->displayName = "Victim";
        info->startAtBoot = true;
        info->exePath = fdn::Path(fdn::String::fromBytes(std::filesystem::read_symlink("/proc/self/exe")));
        info->params = {"--word=" + m_word};
        return info;
    }

    fdn::P<dmn::CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override {
        auto const daemon = fdn::newObj<CVictim>(id, controlFolder, m_word);
        auto const waking = fdn::newObj<CWakingHandler>(m_signalHandler, daemon);
        fdn::CSystemSignalReceiver::get().setHandler(fdn::SysSignal::Terminate, waking.get());
        if (runMode() == "busy") {
            auto const counting = fdn::newObj<CCountingHandler>();
            fdn::CSystemSignalReceiver::get().setHandler(static_cast<fdn::SysSignal>(SIGHUP), counting.get());
        }
        return daemon;
    }

    // This is the first hook after the handler is registered.
    void addCommandLineOptions(wxCmdLineParser& parser) override {
        marks->registered = true;
        CDaemonEntry::addCommandLineOptions(parser);
        parser.AddOption("w", "word", "A word to keep.");
    }

    void handleCommandParams(wxCmdLineParser& parser) override {
        CDaemonEntry::handleCommandParams(parser);
        wxString word;
        if (parser.Found("word", &word))
            m_word = word;
    }

private:
    fdn::String m_word;
};

void becomeEffectiveUser(std::string const& user) {
    // Not by seteuid(): the library makes that system call as well, and the torturer must tell the two apart.
    if (!user.empty() && getuid() == 0 && syscall(SYS_setreuid, -1, std::stoi(user)) != 0)
        std::exit(kUserNotRestored);
}

} // namespace

int main(int argc, char** argv) {
    marks = torture::mapMarks(takeVariable("VICTIM_MARKS"));
    marks->inMain = true;
    becomeEffectiveUser(takeVariable("VICTIM_USER"));
    uid_t const user = geteuid();
    if (!takeVariable("VICTIM_PAUSE").empty())
        raise(SIGSTOP);
    int const status = fdn::newObj<CVictimEntry>()->entry(argc, argv);
    marks->left = 1;
    return geteuid() == user ? status : kUserNotRestored;
}
