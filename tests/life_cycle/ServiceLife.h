#pragma once

#include "support/CapturedLog.h"
#include "support/InitLayout.h"
#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/TemporaryFolder.h"
#include "support/await.h"
#include "support/fileInfo.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace test {

using Words = std::vector<std::string>;

/// The base of tests that use the service "clock" (service.cpp) as an administrator does. Each begins with an
/// empty init layout and an empty log. A service that it leaves behind is ended by force.
template <class Base>
class ServiceFixture : public InitLayoutFixture<Base> {
protected:
    ServiceFixture() { setMode(m_folder.name(), 0755); }

    void TearDown() override {
        if (isInPrivateRoot())
            run({DMN_SERVICE, "--controlFolder=" + m_controlFolder, "--kill", "--timeout=0", "stop"});
    }

    static std::string script() { return "/etc/init.d/clock"; }

    std::string pidFile() const { return m_controlFolder + "/clock.pid"; }

    Words clock(Words const& words) const {
        Words command{DMN_SERVICE};
        command.insert(command.end(), words.begin(), words.end());
        return command;
    }

    Outcome runClock(Words const& words, Environment const& environment = {}) const {
        return test::run(clock(words), environment);
    }

    Words here(Words words) const {
        words.push_back("--controlFolder=" + m_controlFolder);
        return words;
    }

    void install(Words words = {}) const {
        words.push_back("install");
        Outcome const outcome = runClock(here(words));
        ASSERT_EQ(0, outcome.status) << outcome.output;
    }

    void start(Environment const& environment = {}) const {
        Outcome const outcome = runClock({"start"}, environment);
        ASSERT_EQ(0, outcome.status) << outcome.output;
    }

    /// Installs the service and starts it.
    void bringUp(Environment const& environment = {}) const {
        install();
        start(environment);
    }

    int status() const { return runClock({"status"}).status; }

    /// The process that the PID file names, or 0.
    pid_t servicePID() const {
        pid_t pid = 0;
        std::ifstream(pidFile()) >> pid;
        return pid;
    }

    bool awaitUp() const {
        return await([this] { return servicePID() != 0; });
    }

    /// Whether the log holds an entry with this text in it.
    bool hasLogged(std::string const& text) const {
        for (std::string const& entry : m_log.entries()) {
            if (entry.find(text) != std::string::npos)
                return true;
        }
        return false;
    }

    /// Whether the process has ended, whoever may still have to reap it.
    static bool hasEnded(pid_t pid) {
        std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
        std::string stat;
        std::getline(file, stat);
        return stat.empty() || stat.find(") Z ") != std::string::npos;
    }

    static std::string process(pid_t pid) { return "(process " + std::to_string(pid) + ")"; }

    TemporaryFolder m_folder;
    CapturedLog m_log;
    std::string m_controlFolder = m_folder.name("control");
};

} // namespace test
