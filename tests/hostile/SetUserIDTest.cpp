#include "life_cycle/LifeCycle.h"

#include "support/Supervisor.h"
#include "support/processInfo.h"

#include <filesystem>

#include <sys/mount.h>

namespace {

using test::asUser;
using test::Environment;
using test::Outcome;

constexpr char kRootsLog[] = "/var/log/heartbeat/heartbeat.log";

/// An ordinary user calls a set-user-ID copy of heartbeat with variables that try to mislead it.
class SetUserIDTest : public test::LifeCycleFixture<test::AccountsTest> {
protected:
    void SetUp() override {
        LifeCycleFixture::SetUp();
        if (!test::hasOtherAccounts())
            return;
        std::filesystem::create_directory(trap());
        test::setOwner(trap(), test::kUser, test::kUser);
        for (char const* const program : {"sh", "echo", "sleep", "test", "true"})
            layTrap(program);
        layTrap("sourced");
        std::filesystem::copy_file(DMN_INTRUDER, trap() + "/libdmn.so.1");
        std::filesystem::copy_file(DMN_HEARTBEAT, executable());
        test::setMode(executable(), 04755);
        m_traps = test::entriesOf(trap());
    }

    /// The user's folder, which contains nothing but traps.
    std::string trap() const { return m_folder.name("trap"); }

    /// A file that exists as soon as somebody has walked into a trap.
    std::string mark() const { return m_folder.name("mark"); }

    std::string executable() const { return m_folder.name("heartbeat"); }

    void layTrap(char const* program) const {
        std::string const file = trap() + "/" + program;
        test::writeFile(file, "#!/bin/dash\n: >" + mark() + "\nexec /bin/" + program + " \"$@\"\n");
        test::setMode(file, 0755);
    }

    Environment misleadingEnvironment() const {
        std::string const folder = trap();
        return {
            {"PATH", folder},
            {"IFS", "/"},
            {"CDPATH", folder},
            {"ENV", folder + "/sourced"},
            {"BASH_ENV", folder + "/sourced"},
            {"SHELLOPTS", "xtrace:allexport"},
            {"PS4", "$(: >" + mark() + ")"},
            {"BASH_FUNC_echo%%", "() { : >" + mark() + "; }"},
            {"BASH_FUNC_case%%", "() { : >" + mark() + "; }"},
            {"POSIXLY_CORRECT", "1"},
            {"LD_PRELOAD", DMN_INTRUDER},
            {"LD_AUDIT", DMN_INTRUDER},
            {"LD_LIBRARY_PATH", folder},
            {"LD_DEBUG", "all"},
            {"LD_DEBUG_OUTPUT", folder + "/debug"},
            {"DMN_INTRUDERS_MARK", mark()},
            {"FDN_LOG_FILE", folder + "/log"},
            {"XDG_STATE_HOME", folder},
            {"XDG_CONFIG_HOME", folder},
            {"HOME", folder},
            {"TMPDIR", folder},
            {"LOCPATH", folder},
            {"NLSPATH", folder + "/%N"},
            {"LANGUAGE", "../../../../.." + folder},
            {"LC_ALL", "../../../../.." + folder},
            {"GCONV_PATH", folder},
            {"OUTPUT_CHARSET", "UTF-7"},
            {"TZ", ":" + folder + "/log"},
            {"MALLOC_TRACE", folder + "/malloc"},
            {"GLIBC_TUNABLES", "glibc.malloc.check=3"},
            {"WXTRACE", "all"},
            {"WXPREFIX", folder},
            {"DISPLAYNAME", "$(: >" + mark() + ")"},
            {"RUNAS", "dmnother"},
            {"EXEPATH", folder + "/sh"},
            {"CONTROLFOLDER", folder},
            {"RUNPARAMS", "--message=misled"},
            {"ASAN_OPTIONS", "detect_leaks=0"}, // the leak check cannot look into a set-user-ID program
        };
    }

    /// Returns the command line that runs another one with these variables and no others.
    static test::Words with(Environment const& environment, test::Words const& words) {
        test::Words command{"/usr/bin/env", "-i"};
        for (auto const& [name, value] : environment)
            command.push_back(std::string(name).append("=").append(value));
        command.insert(command.end(), words.begin(), words.end());
        return command;
    }

    int callMisled(char const* word) const {
        Outcome const outcome =
            test::run(asUser("dmnuser", with(misleadingEnvironment(),
                                             {executable(), "--controlFolder=" + controlFolder(), word})));
        EXPECT_EQ("", outcome.errors);
        return outcome.status;
    }

    void expectNoTrapSprung() const {
        EXPECT_FALSE(std::filesystem::exists(mark()));
        EXPECT_EQ(m_traps, test::entriesOf(trap()));
    }

    test::Words m_traps;
};

TEST_F(SetUserIDTest, TrapsCatchProgramsThatAreNotOnTheirGuard) {
    test::Words const victims[] = {
        {"/bin/true"}, {"/bin/sh", "-c", "true; sleep 0"}, {"/bin/bash", "-c", "echo"}};
    for (test::Words const& victim : victims) {
        test::run(with(misleadingEnvironment(), victim));

        EXPECT_TRUE(std::filesystem::remove(mark())) << victim.back();
    }
}

/// Runs the tests with this program as /bin/sh.
class MisledSetUserIDTest : public SetUserIDTest, public testing::WithParamInterface<char const*> {
protected:
    void SetUp() override {
        SetUserIDTest::SetUp();
        if (!test::hasOtherAccounts())
            return;
        std::string const shell = std::filesystem::canonical("/bin/sh");
        ASSERT_EQ(0, mount(GetParam(), shell.c_str(), nullptr, MS_BIND, nullptr));
    }
};

TEST_P(MisledSetUserIDTest, InstallsAsInACleanEnvironment) {
    ASSERT_EQ(0, test::run({executable(), "--controlFolder=" + controlFolder(), "install"}).status);
    std::string const cleanScript = test::readFile(script());
    ASSERT_EQ(0, test::run({executable(), "uninstall"}).status);

    EXPECT_EQ(0, callMisled("install"));

    EXPECT_EQ(cleanScript, test::readFile(script()));
    EXPECT_EQ(0U, test::ownerOf(script()));
    EXPECT_EQ(script(), test::targetOf("/etc/rc3.d/S90heartbeat"));
    EXPECT_EQ("Performing command 'install'", test::readLog(kRootsLog).front().substr(0, 28));
    expectNoTrapSprung();
}

TEST_P(MisledSetUserIDTest, StartsTheDaemonWithNoneOfTheVariablesAndStopsIt) {
    ASSERT_EQ(0, callMisled("install"));

    EXPECT_EQ(0, callMisled("start"));

    ASSERT_TRUE(awaitUp());
    std::string const path =
        std::string("PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin") + '\0';
    std::string const environment = test::readFile("/proc/" + std::to_string(daemonPID()) + "/environ");
    EXPECT_EQ(0U, environment.find(path + "NOTIFY_SOCKET=@"));
    EXPECT_EQ(environment.size() - 1, environment.find('\0', path.size()));
    EXPECT_EQ(0, callMisled("stop"));
    EXPECT_EQ(3, status());
    EXPECT_EQ(0, callMisled("uninstall"));
    EXPECT_FALSE(std::filesystem::exists(script()));
    expectNoTrapSprung();
}

INSTANTIATE_TEST_SUITE_P(Shells, MisledSetUserIDTest, testing::Values("/usr/bin/dash", "/usr/bin/bash"));

TEST_F(SetUserIDTest, TellsNothingToASupervisorThatItsUserNames) {
    test::Supervisor const supervisor;
    test::Words const command = asUser("dmnuser", {executable(), "--controlFolder=/dev/null", "run"});

    EXPECT_EQ(2, test::run(command).status);
    EXPECT_EQ("(none)", supervisor.take());

    test::setMode(executable(), 0755);
    EXPECT_EQ(2, test::run(command).status);
    EXPECT_NE("(none)", supervisor.take());
}

} // namespace
