#pragma once

#include "ProgramLife.h"

namespace test {

/// The environment of a program that the system starts at boot.
inline Environment const bootEnvironment{{"LC_ALL", ""}, {"LANG", ""}};

/// The base of tests that use the example "heartbeat" as an administrator does. A daemon that it
/// leaves behind is uninstalled in the end.
template <class Base>
class LifeCycleFixture : public ProgramLifeFixture<Base> {
protected:
    LifeCycleFixture() : ProgramLifeFixture<Base>("heartbeat") {}

    void TearDown() override {
        if (isInPrivateRoot())
            runHeartbeat({"uninstall"});
    }

    std::string controlFolder() const { return this->m_controlFolder; }

    Words heartbeat(Words const& words) const {
        Words command{DMN_HEARTBEAT, "--controlFolder=" + controlFolder()};
        command.insert(command.end(), words.begin(), words.end());
        return command;
    }

    Outcome runHeartbeat(Words const& words) const { return run(heartbeat(words)); }

    Outcome runScript(Words const& verbs, Environment const& environment = {}) const {
        Words command{this->script()};
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
            for (std::string const& entry : this->m_log.entries()) {
                if (entry.rfind("error: ", 0) == 0 && entry.find(culprit) != std::string::npos)
                    return true;
            }
            return false;
        });
    }

    /// The lines that the daemon has written, without their times.
    Words beats() const {
        Words texts;
        std::ifstream file(controlFolder() + "/heartbeat.txt");
        for (std::string line; std::getline(file, line);)
            texts.push_back(line.substr(std::string("YYYY-MM-DD hh:mm:ss ").size()));
        return texts;
    }
};

} // namespace test
