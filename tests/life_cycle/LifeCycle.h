#pragma once

#include "support/CapturedLog.h"
#include "support/InitLayout.h"
#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/TemporaryFolder.h"
#include "support/await.h"
#include "support/fileInfo.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace test {

using Words = std::vector<std::string>;

/// The environment of a program that the system starts at boot.
inline Environment const bootEnvironment{{"LC_ALL", ""}, {"LANG", ""}};

/// The base of tests that use the example "heartbeat" as an administrator does. Each begins with an empty
/// init layout and an empty log. A daemon that it leaves behind is uninstalled in the end.
template <class Base>
class LifeCycleFixture : public InitLayoutFixture<Base> {
protected:
    LifeCycleFixture() { setMode(m_folder.name(), 0755); }

    void TearDown() override {
        if (isInPrivateRoot())
            runHeartbeat({"uninstall"});
    }

    static std::string script() { return "/etc/init.d/heartbeat"; }

    std::string controlFolder() const { return m_controlFolder; }

    std::string pidFile() const { return controlFolder() + "/heartbeat.pid"; }

    Words heartbeat(Words const& words) const {
        Words command{DMN_HEARTBEAT, "--controlFolder=" + controlFolder()};
        command.insert(command.end(), words.begin(), words.end());
        return command;
    }

    Outcome runHeartbeat(Words const& words) const { return run(heartbeat(words)); }

    Outcome runScript(Words const& verbs, Environment const& environment = {}) const {
        Words command{script()};
        command.insert(command.end(), verbs.begin(), verbs.end());
        return run(command, environment);
    }

    int status() const { return runHeartbeat({"status"}).status; }

    void install(Words words = {}) const {
        words.push_back("install");
        Outcome const outcome = runHeartbeat(words);
        ASSERT_EQ(0, outcome.status) << outcome.output;
    }

    /// Starts the installed daemon and waits until it is up.
    void start() const {
        Outcome const outcome = runHeartbeat({"start"});
        ASSERT_EQ(0, outcome.status) << outcome.output;
        ASSERT_TRUE(awaitUp());
    }

    bool awaitUp() const {
        return await([this] { return status() == 0; });
    }

    /// Waits until the log holds an error that names the culprit.
    bool awaitError(std::string const& culprit) const {
        return await([&] {
            for (std::string const& entry : m_log.entries()) {
                if (entry.rfind("error: ", 0) == 0 && entry.find(culprit) != std::string::npos)
                    return true;
            }
            return false;
        });
    }

    /// The process that the PID file names.
    pid_t daemonPID() const {
        pid_t pid = 0;
        std::ifstream(pidFile()) >> pid;
        return pid;
    }

    /// The lines that the daemon has written, without their times.
    Words beats() const {
        Words texts;
        std::ifstream file(controlFolder() + "/heartbeat.txt");
        for (std::string line; std::getline(file, line);)
            texts.push_back(line.substr(std::string("YYYY-MM-DD hh:mm:ss ").size()));
        return texts;
    }

    TemporaryFolder m_folder;
    CapturedLog m_log;
    std::string m_controlFolder = m_folder.name("control");
};

} // namespace test
