#pragma once

#include "life_cycle/ServiceLife.h"

#include <filesystem>
#include <string>

namespace test {

/// The base of tests that run the program among installed daemons: "clock", which has the front end for
/// services, and "testd" (test_daemon.cpp), which has the plain one. The machine boots System V init in the
/// order of the links. What a test leaves behind is ended by force.
template <class Base>
class ToolFixture : public ServiceFixture<Base> {
protected:
    void SetUp() override {
        ServiceFixture<Base>::SetUp();
        if (isInPrivateRoot())
            writeFile("/etc/inittab", "id:2:initdefault:\n");
    }

    void TearDown() override {
        ServiceFixture<Base>::TearDown();
        if (!isInPrivateRoot())
            return;
        tool({"stop", "testd", "--kill", "--timeout=0"});
        for (char const* const path : {"/etc/inittab", "/etc/systemd", "/run/systemd"})
            std::filesystem::remove_all(path);
    }

    static Words command(Words const& words) {
        Words command{DMN_DMNCTL};
        command.insert(command.end(), words.begin(), words.end());
        return command;
    }

    static Outcome tool(Words const& words, Environment const& environment = {}) {
        return test::run(command(words), environment);
    }

    std::string plainPIDFile() const { return this->m_controlFolder + "/testd.pid"; }

    void installPlain() const {
        Outcome const outcome =
            test::run({DMN_TEST_DAEMON, "--controlFolder=" + this->m_controlFolder, "install"});
        ASSERT_EQ(0, outcome.status) << outcome.output;
    }

    void installBoth() const {
        this->install();
        installPlain();
    }

    std::string running() const { return "clock is running " + this->process(this->servicePID()) + ".\n"; }
};

class ToolTest : public ToolFixture<PrivateRootTest> {};

/// The same, for tests with other accounts.
class ToolAccountsTest : public ToolFixture<AccountsTest> {};

} // namespace test
