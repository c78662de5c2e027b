#pragma once

#include "ProgramLife.h"

#include <filesystem>
#include <fstream>
#include <string>

namespace test {

/// The base of tests that use the service "clock" (service.cpp) as an administrator does. A service
/// that it leaves behind is ended by force.
template <class Base>
class ServiceFixture : public ProgramLifeFixture<Base> {
protected:
    ServiceFixture() : ProgramLifeFixture<Base>("clock") {}

    void TearDown() override {
        if (isInPrivateRoot())
            run({DMN_SERVICE, "--controlFolder=" + this->m_controlFolder, "--kill", "--timeout=0", "stop"});
    }

    Words clock(Words const& words) const {
        Words command{DMN_SERVICE};
        command.insert(command.end(), words.begin(), words.end());
        return command;
    }

    Outcome runClock(Words const& words, Environment const& environment = {}) const {
        return test::run(clock(words), environment);
    }

    Words here(Words words) const {
        words.push_back("--controlFolder=" + this->m_controlFolder);
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

    bool awaitUp() const {
        return await([this] { return this->daemonPID() != 0; });
    }

    /// Whether the process has ended, whoever may still have to reap it.
    static bool hasEnded(pid_t pid) {
        std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
        std::string stat;
        std::getline(file, stat);
        return stat.empty() || stat.find(") Z ") != std::string::npos;
    }

    static std::string process(pid_t pid) { return "(process " + std::to_string(pid) + ")"; }
};

} // namespace test
