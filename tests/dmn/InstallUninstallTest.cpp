#include "ControllerTest.h"

#include "support/Obstacles.h"
#include "support/Program.h"
#include "support/await.h"
#include "support/errors.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <functional>

#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace test {

namespace {

using dmn::CDaemonController;
using testing::HasSubstr;

using Names = std::vector<std::string>;

constexpr char kNoRights[] = "The process does not have the necessary root privileges for this operation.";

bool isScriptThere() {
    return std::filesystem::exists("/etc/init.d/app");
}

/// The run levels that have a link of the daemon.
std::string linkedLevels() {
    std::string levels;
    for (char level = '0'; level <= '6'; ++level) {
        Names const names = entriesOf(std::string("/etc/rc") + level + ".d");
        if (names == Names{"S90app"} || names == Names{"K10app"})
            levels += level;
    }
    return levels;
}

std::vector<std::string> filesBelow(std::string const& folder) {
    std::vector<std::string> files;
    for (auto const& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (std::filesystem::is_regular_file(entry.symlink_status()))
            files.push_back(entry.path().string());
    }
    return files;
}

template <class Base>
class InstallationFixture : public ControllerFixture<Base> {
protected:
    CDaemonController controller() const { return CDaemonController("app", this->m_folder.path()); }

    void uninstall() const { controller().uninstall(); }
};

class Install : public InstallationFixture<PrivateRootTest> {};

class Uninstall : public InstallationFixture<PrivateRootTest> {};

class RootPrivileges : public InstallationFixture<AccountsTest> {
protected:
    void TearDown() override { EXPECT_EQ(0, seteuid(0)); }

    /// The output of the guard program when this user runs it from a file with this mode.
    std::string runGuard(unsigned mode) const {
        std::string const program = m_folder.name("root_guard");
        std::filesystem::copy_file(DMN_ROOT_GUARD, program);
        setMode(m_folder.name(), 0755);
        setMode(program, mode);
        // The leak check cannot look into a set-user-ID program.
        return run(asUser("dmnuser", {program}), {{"ASAN_OPTIONS", "detect_leaks=0"}}).output;
    }
};

} // namespace

TEST_F(Install, MakesTheDaemonInstalledAndTellsTheLog) {
    install();

    EXPECT_TRUE(controller().isInstalled());
    EXPECT_EQ("06", linkedLevels());
    EXPECT_EQ(0755U, modeOf("/etc/init.d/app"));
    EXPECT_EQ((Names{"Installing daemon 'app'...", "Done installing daemon 'app'."}), m_log.entries());
}

TEST_F(Install, NeitherStartsNorChecksAnything) {
    m_info.exePath = fdn::Path("/no/such/program");

    CDaemonController::install(m_info, "app", m_folder / "control", "no such user", "", "no/app",
                               "no such group");

    EXPECT_EQ("no such user", CDaemonController::getDaemonRunAs("app").toUTF8());
    EXPECT_EQ("no/app", CDaemonController::getDaemonTransientFolderAppID("app").toUTF8());
    EXPECT_EQ(Names{}, entriesOf(m_folder.name()));
}

TEST_F(Install, WritesThePasswordNowhere) {
    CDaemonController::install(m_info, "app", m_folder.path(), "root", "open sesame", "", "");

    for (std::string const folder : {"/etc", "/run", "/var/log"}) {
        for (std::string const& file : filesBelow(folder))
            EXPECT_THAT(readFile(file), Not(HasSubstr("sesame"))) << file;
    }
    EXPECT_THAT(m_log.entries(), Each(Not(HasSubstr("sesame"))));
}

TEST_F(Install, LeavesNoScriptThatCannotBeRunWhereItIsKilledBeforeItSetsTheMode) {
    mode_t const mask = umask(022);

    for (int installation = 1; installation <= 2; ++installation) {
        Outcome const outcome = runInChild([this] {
            endAtSystemCall(kChmodCall);
            install();
        });

        EXPECT_EQ(SIGSYS, outcome.signal);
        EXPECT_EQ(0755U, modeOf("/etc/init.d/app"));
        umask(077);
    }
    umask(mask);
}

TEST_F(Install, RefusesARunParameterThatNoProgramCanBeGivenAndKeepsTheOldInstallation) {
    install("old");
    std::string const script = readFile("/etc/init.d/app");
    fdn::String parameter("alpha");
    parameter.append(1, L'\0');
    m_info.params = {"", "beta", parameter};

    fdn::CError const error = errorOf([this] { install("new"); });

    EXPECT_EQ("Invalid run parameter 3: it holds the character NUL.", error.getMessage().toUTF8());
    EXPECT_TRUE(isPlain(error));
    EXPECT_EQ(script, readFile("/etc/init.d/app"));
    EXPECT_EQ("06", linkedLevels());
}

TEST_F(Install, ReplacesAnInstallation) {
    install("old", "old", "old");

    install("new");

    EXPECT_EQ("new", CDaemonController::getDaemonRunAs("app").toUTF8());
    EXPECT_EQ("", CDaemonController::getDaemonTransientFolderAppID("app").toUTF8());
    EXPECT_EQ("06", linkedLevels());
}

TEST_F(Install, LeavesOtherDaemonsAlone) {
    CDaemonController::install(m_info, "myapp", m_folder.path(), "other", "", "", "");

    install();
    uninstall();

    EXPECT_EQ(Names{"myapp"}, entriesOf("/etc/init.d"));
    EXPECT_EQ(Names{"K10myapp"}, entriesOf("/etc/rc0.d"));
    EXPECT_EQ("other", CDaemonController::getDaemonRunAs("myapp").toUTF8());
}

TEST_F(Install, WritesNothingWithoutAnInitDirectory) {
    std::filesystem::remove("/etc/init.d");

    EXPECT_EQ("Unknown Linux flavor (cannot locate init.d directory).", messageOf([this] { install(); }));
    EXPECT_EQ("", linkedLevels());
    EXPECT_EQ(Names{"Installing daemon 'app'..."}, m_log.entries());
}

TEST_F(Install, WithoutTheFolderOfLevelSixFailsAndLeavesTheScriptAlone) {
    std::filesystem::remove("/etc/rc6.d");
    m_info.startAtBoot = true;

    fdn::CError const error = errorOf([this] { install(); });

    EXPECT_EQ("Unknown Linux flavor (cannot locate rc6.d directory).", error.getMessage().toUTF8());
    EXPECT_TRUE(isPlain(error));
    EXPECT_EQ("", linkedLevels());
    EXPECT_TRUE(isScriptThere());
    EXPECT_EQ(Names{"Installing daemon 'app'..."}, m_log.entries());
}

TEST_F(Install, WithoutTheFolderOfAMiddleLevelFailsAndKeepsTheEarlierLinksOfHigherLevels) {
    m_info.startAtBoot = true;
    install();
    std::filesystem::remove_all("/etc/rc3.d");

    EXPECT_EQ("Unknown Linux flavor (cannot locate rc3.d directory).", messageOf([this] { install(); }));
    EXPECT_EQ("456", linkedLevels());
    EXPECT_TRUE(isScriptThere());
}

TEST_F(Install, NeedsNoFolderOfALevelThatItDoesNotLink) {
    for (std::string const level : {"1", "2", "3", "4", "5"})
        std::filesystem::remove("/etc/rc" + level + ".d");

    install();

    EXPECT_EQ("06", linkedLevels());
}

TEST_F(Install, StopsTheDaemonOfAnEarlierInstallationWhenItFails) {
    install();
    std::filesystem::remove_all("/etc/rc6.d");
    Program daemon({"sleep", "1000"});
    writePIDFile(daemon.pid());

    EXPECT_THROW(install(), fdn::CError);
    EXPECT_EQ(SIGTERM, daemon.wait().signal);
}

TEST_F(Install, UninstallsAnEarlierInstallationWhenItFailsAndThrowsItsOwnError) {
    install();

    EXPECT_THROW(CDaemonController::install(m_info, "app", fdn::Path("/../x"), "", "", "", ""),
                 fdn::CBadPathError);
    EXPECT_FALSE(isScriptThere());
    EXPECT_EQ("", linkedLevels());
}

TEST_F(Install, ChangesNothingInAReadOnlyEtcAndNamesTheScript) {
    install("old");
    ReadOnlyFolder const etc("/etc");

    EXPECT_THAT(messageOf([this] { install("new"); }),
                AllOf(HasSubstr("'/etc/init.d/app'"), HasSubstr("Read-only file system")));
    EXPECT_EQ("old", CDaemonController::getDaemonRunAs("app").toUTF8());
    EXPECT_EQ("06", linkedLevels());
}

TEST_F(Install, LeavesNothingOnAFullDiskAndNamesTheScript) {
    FullFolder const folder("/etc/init.d");

    EXPECT_THAT(messageOf([this] { install(); }),
                AllOf(HasSubstr("'/etc/init.d/app'"), HasSubstr("No space left on device")));
    EXPECT_EQ(Names{"full"}, entriesOf("/etc/init.d"));
    EXPECT_EQ("", linkedLevels());
    EXPECT_EQ(Names{"Installing daemon 'app'..."}, m_log.entries());
}

TEST_F(Install, ReportsThatTheScriptCannotBeMadeExecutableRatherThanWhatItsCleanUpMeets) {
    std::filesystem::remove("/etc/rc6.d");

    Outcome const outcome = runInChild([this] {
        refuseSystemCall(kChmodCall, EPERM);
        std::fputs(detailsOf(errorOf([this] { install(); })).c_str(), stdout);
    });

    EXPECT_EQ("action=CDaemonController::createInitScript func=chmod path=/etc/init.d/app code=1",
              outcome.output);
    EXPECT_TRUE(isScriptThere());
    EXPECT_EQ("", linkedLevels());
}

TEST_F(Install, LeavesNoLinksWhereTheFolderOfAMiddleLevelIsMissing) {
    std::filesystem::remove("/etc/rc3.d");
    m_info.startAtBoot = true;

    EXPECT_EQ("Unknown Linux flavor (cannot locate rc3.d directory).", messageOf([this] { install(); }));

    EXPECT_EQ("", linkedLevels());
}

TEST_F(Install, RemovesTheScriptThatCannotBeMadeExecutable) {
    Outcome const outcome = runInChild([this] {
        refuseSystemCall(kChmodCall, EPERM);
        install();
    });

    EXPECT_THAT(outcome.errors, HasSubstr("chmod failed for '/etc/init.d/app'"));
    EXPECT_FALSE(isScriptThere());
}

TEST_F(Uninstall, RemovesLinksAndScriptAndTellsTheLog) {
    m_info.startAtBoot = true;
    install();
    m_log.clear();

    uninstall();

    EXPECT_EQ("", linkedLevels());
    EXPECT_FALSE(isScriptThere());
    EXPECT_FALSE(controller().isInstalled());
    EXPECT_EQ((Names{"Uninstalling daemon 'app'...", "Finished uninstalling daemon."}), m_log.entries());
}

TEST_F(Uninstall, DoesNothingForADaemonThatIsNotInstalled) {
    std::filesystem::create_symlink("/nowhere", "/etc/rc0.d/K10app");

    uninstall();

    EXPECT_EQ("0", linkedLevels());
    EXPECT_EQ((Names{"Uninstalling daemon 'app'...", "Nothing to do. Daemon not installed."}),
              m_log.entries());
}

TEST_F(Uninstall, OfAnIDRemovesLinksWithoutAScriptAndLogsNothing) {
    std::filesystem::create_symlink("/nowhere", "/etc/rc0.d/K10app");

    CDaemonController::uninstall("app", m_folder.path());

    EXPECT_EQ("", linkedLevels());
    EXPECT_EQ(Names{}, m_log.entries());
}

TEST_F(Uninstall, OfAnIDWithoutControlFolderAndScriptFailsAndKeepsTheLinks) {
    std::filesystem::create_symlink("/nowhere", "/etc/rc0.d/K10app");

    EXPECT_EQ(ENOENT, errorOf([] { CDaemonController::uninstall("app", fdn::Path()); }).getCode());
    EXPECT_EQ("0", linkedLevels());
}

TEST_F(Uninstall, AsksTheDaemonToStopWithoutWaitingForIt) {
    install();
    Program daemon({"sh", "-c", "trap 'echo asked' TERM; echo ready; while :; do sleep 0.01; done"});
    writePIDFile(daemon.pid());
    ASSERT_TRUE(awaitOutput(daemon, "ready\n"));

    uninstall();

    EXPECT_FALSE(isScriptThere());
    EXPECT_TRUE(awaitOutput(daemon, "ready\nasked\n"));
}

TEST_F(Uninstall, TakesTheControlFolderFromTheScript) {
    install();
    Program daemon({"sleep", "1000"});
    writePIDFile(daemon.pid());

    CDaemonController("app", fdn::Path()).uninstall();

    EXPECT_EQ(SIGTERM, daemon.wait().signal);
    EXPECT_FALSE(isScriptThere());
}

TEST_F(Uninstall, OfAnIDTakesTheControlFolderFromTheScript) {
    install();
    Program daemon({"sleep", "1000"});
    writePIDFile(daemon.pid());

    CDaemonController::uninstall("app", fdn::Path());

    EXPECT_EQ(SIGTERM, daemon.wait().signal);
    EXPECT_FALSE(isScriptThere());
}

TEST_F(Uninstall, PrefersTheControlFolderThatItWasGiven) {
    install();
    TemporaryFolder const given;
    Program daemon({"sleep", "1000"});
    writeFile(given.name("app.pid"), std::to_string(daemon.pid()) + "\n");

    CDaemonController("app", given.path()).uninstall();

    EXPECT_EQ(SIGTERM, daemon.wait().signal);
}

TEST_F(Uninstall, KeepsLinksAndScriptWhenTheStopFails) {
    install();
    fdn::String impossible("/no");
    impossible.append(1, L'\0');

    EXPECT_THROW(CDaemonController::uninstall("app", fdn::Path(impossible)), fdn::CError);
    EXPECT_EQ("06", linkedLevels());
    EXPECT_TRUE(isScriptThere());
}

TEST_F(Uninstall, EndsAtAMissingRunLevelAndKeepsTheScript) {
    m_info.startAtBoot = true;
    install();
    std::filesystem::remove_all("/etc/rc3.d");
    m_log.clear();

    EXPECT_EQ("Unknown Linux flavor (cannot locate rc3.d directory).", messageOf([this] { uninstall(); }));
    EXPECT_EQ("456", linkedLevels());
    EXPECT_TRUE(isScriptThere());
    EXPECT_EQ(Names{"Uninstalling daemon 'app'..."}, m_log.entries());
}

TEST_F(Uninstall, ChangesNothingInAReadOnlyEtc) {
    install();
    ReadOnlyFolder const etc("/etc");

    EXPECT_THAT(messageOf([this] { uninstall(); }),
                AllOf(HasSubstr("'/etc/rc0.d/K10app'"), HasSubstr("Read-only file system")));
    EXPECT_TRUE(isScriptThere());
    EXPECT_EQ("06", linkedLevels());
}

TEST_F(RootPrivileges, AreMissingForAnOrdinaryUsersInstallationWhichChangesNothing) {
    Outcome const outcome = runInChild([this] {
        becomeUser();
        install();
    });

    EXPECT_EQ(kNoRights, outcome.errors);
    EXPECT_EQ(Names{}, entriesOf("/etc/init.d"));
    EXPECT_EQ("", linkedLevels());
    EXPECT_EQ(Names{"Installing daemon 'app'..."}, m_log.entries());
}

TEST_F(RootPrivileges, AreMissingForAnOrdinaryUsersUninstallationWhichChangesNothing) {
    install();
    m_log.clear();

    Outcome const outcome = runInChild([] {
        becomeUser();
        CDaemonController("app", fdn::Path()).uninstall();
    });

    EXPECT_EQ(kNoRights, outcome.errors);
    EXPECT_TRUE(isScriptThere());
    EXPECT_EQ("06", linkedLevels());
    EXPECT_EQ(Names{"Uninstalling daemon 'app'..."}, m_log.entries());
}

TEST_F(RootPrivileges, AreNotNeededToUninstallADaemonThatIsNotInstalled) {
    Outcome const outcome = runInChild([this] {
        becomeUser();
        uninstall();
    });

    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_EQ((Names{"Uninstalling daemon 'app'...", "Nothing to do. Daemon not installed."}),
              m_log.entries());
}

TEST_F(RootPrivileges, AreNotNeededToLookAtADaemon) {
    install("svc");

    Outcome const outcome = runInChild([] {
        becomeUser();
        CDaemonController controller("app", fdn::Path("/nowhere"));
        std::printf("%s %s %s", controller.isInstalled() ? "installed" : "",
                    controller.isStopped() ? "stopped" : "",
                    CDaemonController::getDaemonRunAs("app").toUTF8().c_str());
    });

    EXPECT_EQ("installed stopped svc", outcome.output) << outcome.errors;
}

TEST_F(RootPrivileges, AreReportedWithTheSystemCallWhenTheSystemRefusesThemForAnotherReason) {
    Outcome const outcome = runInChild([this] {
        refuseSystemCall(kSetreuidCall, EAGAIN);
        std::fputs(detailsOf(errorOf([this] { install(); })).c_str(), stdout);
    });

    EXPECT_EQ("action=CDaemonController::CMakeRoot constructor func=setreuid code=11", outcome.output);
    EXPECT_FALSE(isScriptThere());
}

TEST_F(RootPrivileges, AreTakenNestedAndGivenBackInASetUserIDProgram) {
    EXPECT_EQ("before: 61001 0 0\nraised: 61001 0 0\nraised twice: 61001 0 0\nraised once: 61001 0 0\n"
              "thrown as root\nafter: 61001 0 0\n"
              "before: 61001 61001 0\nraised: 61001 0 0\nraised twice: 61001 0 0\nraised once: 61001 0 0\n"
              "thrown as root\nafter: 61001 61001 0\n",
              runGuard(04755));
}

TEST_F(RootPrivileges, AreRefusedInAnOrdinaryProgramOfAnOrdinaryUser) {
    std::string const refused =
        std::string("before: 61001 61001 61001\n") + kNoRights + "\nafter: 61001 61001 61001\n";

    EXPECT_EQ(refused + refused, runGuard(0755));
}

TEST_F(RootPrivileges, AreRefusedWithAnErrorThatHasNothingButItsMessage) {
    Outcome const outcome = runInChild([] {
        becomeUser();
        fdn::CError const error = errorOf([] { CDaemonController::CMakeRoot const root; });
        std::fputs(isPlain(error) ? error.what() : "with details", stdout);
    });

    EXPECT_EQ(kNoRights, outcome.output);
}

TEST_F(RootPrivileges, AreGivenBackAfterEveryOperationThatSucceeds) {
    m_info.exePath = fdn::Path("/bin/true");
    ASSERT_EQ(0, seteuid(kUser));

    for (std::function<void()> const& operation : {std::function<void()>([&] { install(); }),
                                                   {[&] { controller().start(); }},
                                                   {[&] { controller().stop(); }},
                                                   {[&] { uninstall(); }}}) {
        operation();

        EXPECT_EQ(kUser, geteuid());
    }
}

TEST_F(RootPrivileges, AreGivenBackAfterEveryOperationThatFails) {
    install("no such user");
    std::filesystem::remove("/etc/rc4.d");
    m_info.startAtBoot = true;
    fdn::String impossible("/no");
    impossible.append(1, L'\0');
    ASSERT_EQ(0, seteuid(kUser));

    for (std::function<void()> const& operation :
         {std::function<void()>([&] { controller().start(); }),
          {[&] { uninstall(); }},
          {[&] { install(); }},
          {[&] { CDaemonController::stop(fdn::Path(impossible), "app"); }}}) {
        EXPECT_THROW(operation(), fdn::CError);

        EXPECT_EQ(kUser, geteuid());
    }
}

} // namespace test
