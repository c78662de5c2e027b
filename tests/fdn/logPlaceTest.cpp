#include "support/CapturedLog.h"
#include "support/PrivateRoot.h"
#include "support/TemporaryFolder.h"
#include "support/await.h"
#include "support/errors.h"
#include "support/fileInfo.h"

#include <fdn/CSystemAccountManager.h>
#include <fdn/CSystemUserID.h>
#include <fdn/Path.h>
#include <fdn/log.h>
#include <fdn/programs.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <pwd.h>
#include <stdlib.h>

namespace {

namespace fs = std::filesystem;

using fdn::CSystemUserID;
using fdn::getLogFile;
using fdn::getLogFileOf;
using fdn::logInfo;
using fdn::Path;
using testing::IsEmpty;

std::string textOf(Path const& path) {
    return path.getText().toUTF8();
}

std::string ownName() {
    return fs::read_symlink("/proc/self/exe").filename();
}

std::string homeOf(char const* account) {
    return getpwnam(account)->pw_dir;
}

/// The log of this process where no variable says where it is. Its place is chosen anew.
class UnnamedLog {
public:
    UnnamedLog() { forget(); }

    UnnamedLog(UnnamedLog const&) = delete;
    UnnamedLog& operator=(UnnamedLog const&) = delete;

    ~UnnamedLog() { forget(); }

private:
    static void forget() {
        test::closeLog();
        unsetenv("FDN_LOG_FILE");
        unsetenv("XDG_STATE_HOME");
    }
};

class LogPlaceTest : public testing::Test {
protected:
    UnnamedLog m_log;
    test::TemporaryFolder m_folder;
};

TEST_F(LogPlaceTest, IsWhereTheVariableSays) {
    setenv("FDN_LOG_FILE", m_folder.name("log").c_str(), 1);

    EXPECT_EQ(textOf(getLogFile()), m_folder.name("log"));
    EXPECT_THAT(test::entriesOf(m_folder.name()), IsEmpty());
}

TEST_F(LogPlaceTest, IsAbsolute) {
    setenv("FDN_LOG_FILE", "log", 1);

    EXPECT_EQ(textOf(getLogFile()), fs::current_path() / "log");
}

TEST_F(LogPlaceTest, IsWhereTheLogHasBegun) {
    setenv("FDN_LOG_FILE", m_folder.name("log").c_str(), 1);
    logInfo("text");

    setenv("FDN_LOG_FILE", m_folder.name("other").c_str(), 1);

    EXPECT_EQ(textOf(getLogFile()), m_folder.name("log"));
}

// A private root with a file that stands for a program.
class PlaceOfLaunchedLogTest : public test::AccountsTest {
protected:
    PlaceOfLaunchedLogTest() {
        test::setMode(m_folder.name(), 0755);
        test::writeFile(m_folder.name("program"), "");
    }

    static CSystemUserID account(char const* name) {
        return fdn::CSystemAccountManager::get().getUserID(name);
    }

    std::string place(char const* name, Path const& folder = Path()) const {
        return textOf(getLogFileOf(m_folder / "program", account(name), folder));
    }

    UnnamedLog m_log;
    test::TemporaryFolder m_folder;
};

TEST_F(PlaceOfLaunchedLogTest, OfRootIsInVarLog) {
    EXPECT_EQ(place("root"), "/var/log/program/program.log");
    EXPECT_FALSE(fs::exists("/var/log/program"));
}

TEST_F(PlaceOfLaunchedLogTest, OfThisProcessIsInVarLogToo) {
    EXPECT_EQ(textOf(getLogFile()), "/var/log/" + ownName() + "/" + ownName() + ".log");
}

TEST_F(PlaceOfLaunchedLogTest, OfAnAccountIsInItsHomeFolder) {
    setenv("HOME", m_folder.name().c_str(), 1);

    EXPECT_EQ(place("dmnuser"), homeOf("dmnuser") + "/.local/state/program/program.log");
}

TEST_F(PlaceOfLaunchedLogTest, FollowsTheStateFolderThatTheProgramWouldInherit) {
    setenv("XDG_STATE_HOME", m_folder.name("state").c_str(), 1);

    EXPECT_EQ(place("dmnuser"), m_folder.name("state/program/program.log"));
}

TEST_F(PlaceOfLaunchedLogTest, IsWhereTheVariableSaysThatTheProgramWouldInherit) {
    setenv("FDN_LOG_FILE", m_folder.name("log").c_str(), 1);

    EXPECT_EQ(place("dmnuser"), m_folder.name("log"));
    EXPECT_EQ(place("root"), m_folder.name("log"));
}

TEST_F(PlaceOfLaunchedLogTest, CountsFromTheFolderOfTheProgram) {
    setenv("FDN_LOG_FILE", "log", 1);

    EXPECT_EQ(place("root", m_folder.path()), m_folder.name("log"));
    EXPECT_EQ(place("root"), fs::current_path() / "log");
}

TEST_F(PlaceOfLaunchedLogTest, IsTheNullDeviceWhereStandardStreamsAre) {
    for (char const* const name : {"/dev/stdout", "/dev/stderr", "/dev/fd/2", "/proc/self/fd/1"}) {
        setenv("FDN_LOG_FILE", name, 1);
        EXPECT_EQ(place("root"), "/dev/null") << name;
    }
}

TEST_F(PlaceOfLaunchedLogTest, IsNowhereWhereTheProgramHasNoSuchDescriptor) {
    setenv("FDN_LOG_FILE", "/dev/fd/3", 1);

    EXPECT_EQ(place("root"), "");
}

TEST_F(PlaceOfLaunchedLogTest, GoesByTheNameOfTheFileThatALinkLeadsTo) {
    fs::create_symlink("program", m_folder.name("link"));

    EXPECT_EQ(textOf(getLogFileOf(m_folder / "link", account("root"))), "/var/log/program/program.log");
}

TEST_F(PlaceOfLaunchedLogTest, GoesByTheNameOfAProgramThatIsMissing) {
    EXPECT_EQ(textOf(getLogFileOf(m_folder / "missing", account("root"))), "/var/log/missing/missing.log");
}

TEST_F(PlaceOfLaunchedLogTest, OfASetUserIDProgramIsItsOwners) {
    setenv("FDN_LOG_FILE", m_folder.name("log").c_str(), 1);
    test::setMode(m_folder.name("program"), 04755);

    EXPECT_EQ(place("dmnuser"), "/var/log/program/program.log");
    EXPECT_EQ(place("root"), m_folder.name("log"));
}

TEST_F(PlaceOfLaunchedLogTest, NeedsAnAccount) {
    EXPECT_EQ(
        test::messageOf([&] { getLogFileOf(m_folder / "program", CSystemUserID(4711, "nobody-knows")); }),
        "Unknown user: 'nobody-knows'.");
}

// What is said about other programs must be what they do.
TEST_F(PlaceOfLaunchedLogTest, IsWhereTheProgramLogs) {
    test::setMode(m_folder.name(), 0777);
    std::string const program = m_folder.name("logger");
    fs::copy(DMN_LOGGER, program);
    CSystemUserID const user = account("dmnuser");
    setenv("XDG_STATE_HOME", m_folder.name("state").c_str(), 1);
    fdn::CImpersonateInfo impersonate(user);

    fdn::forkAndExec(fdn::CExecCommand(m_folder / "logger", {}), &impersonate, fdn::ForkExecLevel::Detached,
                     Path(), nullptr, nullptr, nullptr, nullptr);

    std::string const log = textOf(getLogFileOf(m_folder / "logger", user));
    EXPECT_TRUE(test::await([&] { return fs::exists(log) && fs::file_size(log) > 0; }));
}

} // namespace
