#include "ControllerTest.h"

#include "support/CurrentFolder.h"
#include "support/Obstacles.h"
#include "support/Program.h"
#include "support/Supervisor.h"
#include "support/await.h"
#include "support/errors.h"
#include "support/processInfo.h"

#include <fdn/system/Descriptor.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace test {

namespace {

using dmn::CDaemonController;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAre;

using Names = std::vector<std::string>;

constexpr char kBegun[] = "Starting daemon 'app'...";
constexpr char kUnfinished[] = "/run/.folder.new";
constexpr char kDone[] = "Done starting daemon 'app'.";

/// The texts of a file in /proc in which a zero ends each of them.
Names zeroTerminated(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    Names texts;
    for (std::string text; std::getline(file, text, '\0');)
        texts.push_back(text);
    return texts;
}

void limitDescriptors(rlim_t number) {
    rlimit limit = {};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = number;
    require(setrlimit(RLIMIT_NOFILE, &limit) == 0, "cannot limit the descriptors");
}

/// Leaves this process, a child of the test, hardly more descriptors than one reading of a setting takes.
void leaveRoomForOneReading() {
    constexpr rlim_t kOthers = 4; // that the launch of the daemon takes more than a reading
    rlim_t number = 3;
    for (bool hasRead = false; !hasRead; ++number)
        try {
            limitDescriptors(number);
            CDaemonController::getDaemonParams("app");
            hasRead = true;
        } catch (fdn::CError const&) {
        }
    limitDescriptors(number - 1 + kOthers);
}

/// The base of tests that start the daemon "app", whose executable does nothing until a signal ends it.
template <class Base>
class StartFixture : public ControllerFixture<Base> {
protected:
    void SetUp() override {
        ControllerFixture<Base>::SetUp();
        std::filesystem::copy_file(DMN_IDLE, m_program);
        setMode(this->m_folder.name(), 0777);
        setMode(m_program, 0755);
        this->m_info.exePath = fdn::Path(fdn::String::fromBytes(m_program));
    }

    void TearDown() override {
        if (isInPrivateRoot())
            endDaemons();
    }

    void endDaemons() const {
        for (pid_t const daemon : daemons())
            kill(daemon, SIGKILL);
        EXPECT_TRUE(await([this] { return daemons().empty(); }));
        std::filesystem::remove_all("/run/appid");
    }

    /// The processes that run the executable.
    std::vector<pid_t> daemons() const {
        std::vector<pid_t> processes;
        for (auto const& folder : std::filesystem::directory_iterator("/proc")) {
            std::error_code gone;
            if (std::filesystem::read_symlink(folder.path() / "exe", gone) == m_program)
                processes.push_back(std::stoi(folder.path().filename().string()));
        }
        return processes;
    }

    CDaemonController controller() const { return CDaemonController("app", this->m_folder.path()); }

    /// Installs and starts the daemon. Returns its process, which already runs the executable.
    pid_t start(fdn::String const& runAs = "", fdn::String const& appID = "", fdn::String const& group = "") {
        this->install(runAs, appID, group);
        this->m_log.clear();
        controller().start();
        return daemon();
    }

    pid_t daemon() const {
        std::vector<pid_t> const processes = daemons();
        EXPECT_EQ(1U, processes.size());
        return processes.empty() ? getpid() : processes[0];
    }

    Names argumentsOf(pid_t process) const {
        return zeroTerminated("/proc/" + std::to_string(process) + "/cmdline");
    }

    /// The arguments that the executable gets: the fixed ones, then its own.
    Names daemonArguments(Names const& own) const {
        Names arguments{m_program, "--id=app", "--controlFolder=" + this->m_folder.name(), "daemon"};
        arguments.insert(arguments.end(), own.begin(), own.end());
        return arguments;
    }

    /// Expects that the start fails and the daemon does not run. Returns the error.
    fdn::CError failToStart(fdn::String const& runAs = "", fdn::String const& appID = "",
                            fdn::String const& group = "") {
        this->install(runAs, appID, group);
        this->m_log.clear();
        fdn::CError const error = errorOf([this] { controller().start(); });
        EXPECT_EQ(std::vector<pid_t>{}, daemons());
        EXPECT_EQ(Names{kBegun}, this->m_log.entries());
        return error;
    }

    std::string const m_program = this->m_folder.name("program");
};

class Start : public StartFixture<PrivateRootTest> {};

class StartAs : public StartFixture<AccountsTest> {};

} // namespace

TEST_F(Start, RunsTheProgramAndTellsTheLog) {
    start();

    EXPECT_EQ(1U, daemons().size());
    EXPECT_EQ((Names{kBegun, kDone}), m_log.entries());
}

TEST_F(Start, GivesTheProgramItsArgumentsInOrder) {
    m_info.params = {"--level=3", "al pha", "-n", ""};

    EXPECT_EQ(daemonArguments({"--level=3", "al pha", "-n"}), argumentsOf(start()));
}

TEST_F(Start, GivesTheProgramNoArgumentsOfItsOwnForAnEmptyParameterLine) {
    EXPECT_EQ(daemonArguments({}), argumentsOf(start()));
}

TEST_F(Start, GivesTheProgramAnyParameterUnchanged) {
    std::wstring characters;
    for (wchar_t character = 1; character < 0x300; ++character)
        characters += character;
    fdn::String const everything(characters.c_str());
    m_info.params = {"-n", everything, "$(reboot)", "%41", "a  b", everything};

    EXPECT_EQ(daemonArguments({"-n", everything.toUTF8(), "$(reboot)", "%41", "a  b", everything.toUTF8()}),
              argumentsOf(start()));
}

TEST_F(Start, SplitsTheParameterLineAtAnyWhiteSpace) {
    for (std::string const line :
         {"alpha%20beta  gamma", R"(  alpha%20beta\tgamma )", R"(alpha%20beta \r\n\t gamma\r\n)"}) {
        writeInitScript("#!/bin/sh\n[ $1 = printParams ] && printf %b '" + line +
                        "'\n[ $1 = printExePath ] && echo " + m_program + "\necho\n");

        controller().start();

        EXPECT_EQ(daemonArguments({"alpha beta", "gamma"}), argumentsOf(daemon())) << line;
        endDaemons();
    }
}

TEST_F(Start, ReadsEachSettingFromTheScriptOnce) {
    std::string const calls = m_folder.name("calls");
    writeInitScript("#!/bin/sh\necho $1 >>" + calls + "\n[ $1 = printExePath ] && echo " + m_program +
                    "\n[ $1 = printControlFolder ] && echo " + m_folder.name() + "\necho\n");

    CDaemonController("app", fdn::Path()).start();

    EXPECT_THAT(linesOf(readFile(calls)), UnorderedElementsAre("printControlFolder", "printParams",
                                                               "printRunAs", "printTransientFolderAppID",
                                                               "printTransientFolderGroup", "printExePath"));
    EXPECT_EQ(daemonArguments({}), argumentsOf(daemon()));
}

TEST_F(Start, ReadsTheSettingsSideBySide) {
    std::string const last = m_folder.name("last");
    ASSERT_EQ(0, mkfifo(last.c_str(), 0600));
    writeInitScript("#!/bin/sh\n[ $1 = printParams ] && read word <" + last +
                    "\n[ $1 = printExePath ] && echo " + m_program + " && echo done >" + last + "\necho\n");

    controller().start();

    EXPECT_EQ(daemonArguments({}), argumentsOf(daemon()));
}

TEST_F(Start, FailsForTheFirstSettingThatCannotBeRead) {
    writeInitScript(
        "#!/bin/sh\n[ $1 = printRunAs ] && sleep 0.1 && exit\n[ $1 = printExePath ] && exit\necho\n");

    EXPECT_EQ("The init script '/etc/init.d/app' has printed nothing for the setting 'RunAs'.",
              errorOf([this] { controller().start(); }).getMessage().toUTF8());
    EXPECT_FALSE(hasChild());
}

TEST_F(Start, ReadsTheSettingsOneByOneWithFewDescriptors) {
    install();

    Outcome const outcome = runInChild([this] {
        leaveRoomForOneReading();
        controller().start();
    });

    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_EQ(daemonArguments({}), argumentsOf(daemon()));
}

TEST_F(Start, KeepsTheControlFolderThatItHasRead) {
    install();
    CDaemonController controller("app", fdn::Path());
    controller.start();
    std::filesystem::remove("/etc/init.d/app");

    EXPECT_EQ(m_folder.name(), controller.getControlFolder().getText().toUTF8());
}

TEST_F(Start, ReadsAllSettingsFromTheScriptThatComesMeanwhile) {
    TemporaryFolder const other;
    m_info.params = {"new"};
    CDaemonController::install(m_info, "app", other.path(), "", "", "", "");
    std::filesystem::rename("/etc/init.d/app", "/etc/init.d/new");
    writeInitScript("#!/bin/sh\n[ $1 = printParams ] && echo old\n[ $1 = printControlFolder ] && echo " +
                    m_folder.name() +
                    "\n[ $1 = printTransientFolderGroup ] && mv /etc/init.d/new $0\necho\n");

    CDaemonController controller("app", fdn::Path());
    controller.start();

    EXPECT_EQ((Names{m_program, "--id=app", "--controlFolder=" + other.name(), "daemon", "new"}),
              argumentsOf(daemon()));
    EXPECT_EQ(other.name(), controller.getControlFolder().getText().toUTF8());
}

TEST_F(Start, GivesUpOnAScriptThatChangesEachTime) {
    std::string const calls = m_folder.name("calls");
    writeInitScript("#!/bin/sh\necho $1 >>" + calls + "\n[ $1 = printExePath ] && touch $0\necho\n");

    fdn::CError const error = errorOf([this] { controller().start(); });

    EXPECT_EQ("The init script '/etc/init.d/app' was changed each time that it was read.",
              error.getMessage().toUTF8());
    EXPECT_EQ(std::vector<pid_t>{}, daemons());
    std::string const text = readFile(calls);
    EXPECT_EQ(50, std::count(text.begin(), text.end(), '\n'));
}

TEST_F(Start, PrefersTheControlFolderThatItWasGiven) {
    TemporaryFolder const given;
    install();

    CDaemonController("app", given.path()).start();

    EXPECT_EQ("--controlFolder=" + given.name(), argumentsOf(daemon()).at(2));
    EXPECT_EQ(given.name(), currentFolderOf(daemon()));
}

TEST_F(Start, PassesTheControlFolderInNormalForm) {
    install();
    std::filesystem::create_directory(m_folder.name("x"));

    CDaemonController("app", m_folder / "x/.././").start();

    EXPECT_EQ("--controlFolder=" + m_folder.name(), argumentsOf(daemon()).at(2));
}

TEST_F(Start, RunsTheProgramInTheControlFolderThatTheSystemFinds) {
    TemporaryFolder const other;
    install();
    std::filesystem::create_directory(other.name("folder"));
    std::filesystem::create_directory_symlink(other.name("folder"), m_folder.name("link"));

    CDaemonController("app", m_folder / "link/..").start();

    EXPECT_EQ(other.name(), currentFolderOf(daemon()));
}

TEST_F(Start, PassesARelativeControlFolderAsAnAbsoluteOne) {
    install();
    std::filesystem::create_directory(m_folder.name("control"));
    CurrentFolder const current(m_folder.name());

    CDaemonController("app", fdn::Path("control")).start();

    EXPECT_EQ("--controlFolder=" + m_folder.name("control"), argumentsOf(daemon()).at(2));
    EXPECT_EQ(m_folder.name("control"), currentFolderOf(daemon()));
}

TEST_F(Start, RunsTheProgramInItsStartersFolderWithoutAControlFolder) {
    CDaemonController::install(m_info, "app", fdn::Path(), "", "", "", "");
    CurrentFolder const current(m_folder.name());

    CDaemonController("app", fdn::Path()).start();

    EXPECT_EQ("--controlFolder=", argumentsOf(daemon()).at(2));
    EXPECT_EQ(m_folder.name(), currentFolderOf(daemon()));
}

TEST_F(Start, DetachesTheProgramFromItsStarter) {
    int const leaked = open("/dev/zero", O_RDONLY); // NOLINT(android-cloexec-open): nobody may inherit it

    pid_t const process = start();

    close(leaked);
    EXPECT_NE(getsid(0), getsid(process));
    EXPECT_NE(std::to_string(getpid()), statusOf(process, "PPid"));
    EXPECT_TRUE(await([&] { return descriptorsOf(process) == std::set<int>{0, 1, 2}; }));
    for (int const stream : {0, 1, 2})
        EXPECT_EQ("/dev/null", openFileOf(process, stream));
}

TEST_F(Start, ReturnsWhileTheProgramGoesOnAfterItsStartersEnd) {
    install();

    Outcome const outcome = runInChild([this] { controller().start(); });

    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_EQ(1U, daemons().size());
}

TEST_F(Start, DoesNotHandTheStartersSupervisorOn) {
    SupervisorAddress const address("@supervisor-of-the-starter");

    pid_t const process = start();

    EXPECT_THAT(zeroTerminated("/proc/" + std::to_string(process) + "/environ"),
                Not(Contains(HasSubstr("NOTIFY_SOCKET"))));
}

TEST_F(Start, HandsTheEnvironmentOnAndKeepsTheStartersAccount) {
    setenv("DMN_TEST_VARIABLE", "a value", 1);

    pid_t const process = start();

    unsetenv("DMN_TEST_VARIABLE");
    EXPECT_THAT(zeroTerminated("/proc/" + std::to_string(process) + "/environ"),
                Contains("DMN_TEST_VARIABLE=a value"));
    EXPECT_EQ("0 0 0 0", statusOf(process, "Uid"));
    EXPECT_EQ("0 0 0 0", statusOf(process, "Gid"));
}

TEST_F(Start, StartsARunningDaemonOnceMore) {
    start();

    controller().start();

    EXPECT_EQ(2U, daemons().size());
}

TEST_F(Start, MakesTheTransientFolderWhateverTheUmask) {
    for (mode_t const mask : {0000U, 0022U, 0077U, 0777U}) {
        mode_t const before = umask(mask);

        start("", "appid");

        umask(before);
        EXPECT_EQ(0750U, modeOf("/run/appid"));
        EXPECT_EQ(0U, ownerOf("/run/appid"));
        EXPECT_EQ(0U, groupOf("/run/appid"));
        endDaemons();
    }
}

TEST_F(Start, MakesATransientFolderWithANameOfTheGreatestLength) {
    std::string const name(255, 'x');

    start("", fdn::String::fromBytes(name));

    EXPECT_EQ(0750U, modeOf("/run/" + name));
    std::filesystem::remove("/run/" + name);
}

TEST_F(Start, KeepsTheSetGroupIDBitThatANewTransientFolderInherits) {
    unsigned const before = modeOf("/run");
    setMode("/run", 02755);

    start("", "appid");

    setMode("/run", before);
    EXPECT_EQ(02750U, modeOf("/run/appid"));
}

TEST_F(Start, LeavesAnExistingTransientFolderAsItIs) {
    std::filesystem::create_directory("/run/appid");
    setMode("/run/appid", 0777);

    start("", "appid", "no such group");

    EXPECT_EQ(0777U, modeOf("/run/appid"));
}

TEST_F(Start, MakesNoTransientFolderWithoutAnApplicationID) {
    Names const before = entriesOf("/run");

    start("", "", "no such group");

    EXPECT_EQ(before, entriesOf("/run"));
}

TEST_F(Start, RefusesAnApplicationIDWithASlashBeforeAnythingIsMade) {
    fdn::CError const error = failToStart("", "appid/y");

    EXPECT_EQ("Invalid transient folder app id: 'appid/y'.", error.getMessage().toUTF8());
    EXPECT_TRUE(isPlain(error));
    EXPECT_FALSE(std::filesystem::exists("/run/appid"));
}

TEST_F(Start, RefusesAnApplicationIDThatIsNoFolderName) {
    EXPECT_THAT(failToStart("", "..").getMessage().toUTF8(), HasSubstr("'..'"));
    EXPECT_THAT(failToStart("", ".").getMessage().toUTF8(), HasSubstr("'.'"));
}

TEST_F(Start, FailsForATransientFolderThatIsAFile) {
    writeFile("/run/appid", "");

    EXPECT_THAT(failToStart("", "appid").getMessage().toUTF8(), HasSubstr("'/run/appid'"));
}

TEST_F(Start, FailsForAnUnknownGroupBeforeTheFolderIsMade) {
    EXPECT_THAT(failToStart("", "appid", "nogroupatall").getMessage().toUTF8(), HasSubstr("'nogroupatall'"));
    EXPECT_FALSE(std::filesystem::exists("/run/appid"));
}

TEST_F(Start, FailsForAnUnknownAccountBeforeTheFolderIsMade) {
    EXPECT_THAT(failToStart("nobodyatall", "appid").getMessage().toUTF8(), HasSubstr("'nobodyatall'"));
    EXPECT_FALSE(std::filesystem::exists("/run/appid"));
}

TEST_F(Start, FailsForAMissingProgramAndLeavesTheTransientFolder) {
    m_info.exePath = m_folder / "missing";

    fdn::CError const error = failToStart("", "appid");

    EXPECT_THAT(error.getMessage().toUTF8(), HasSubstr("'" + m_folder.name("missing") + "'"));
    EXPECT_EQ(ENOENT, error.getCode());
    EXPECT_EQ(0750U, modeOf("/run/appid"));
}

TEST_F(Start, FailsForAProgramThatIsNotExecutable) {
    setMode(m_program, 0644);

    fdn::CError const error = failToStart();

    EXPECT_THAT(error.getMessage().toUTF8(), HasSubstr("'" + m_program + "'"));
    EXPECT_EQ(EACCES, error.getCode());
}

TEST_F(Start, FailsForAControlFolderThatIsMissingOrAFile) {
    writeFile(m_folder.name("file"), "");
    install();

    for (char const* const name : {"missing", "file"}) {
        CDaemonController controller("app", m_folder / name);

        EXPECT_THAT(messageOf([&] { controller.start(); }), HasSubstr("'" + m_folder.name(name) + "'"));
        EXPECT_EQ(std::vector<pid_t>{}, daemons());
    }
}

TEST_F(Start, FailsForADaemonThatIsNotInstalled) {
    EXPECT_THAT(messageOf([this] { controller().start(); }), HasSubstr("'/etc/init.d/app'"));
    EXPECT_EQ(Names{kBegun}, m_log.entries());
}

TEST_F(StartAs, RunsTheProgramUnderTheAccountForGood) {
    pid_t const process = start("dmnuser");

    EXPECT_EQ("61001 61001 61001 61001", statusOf(process, "Uid"));
    EXPECT_EQ("61001 61001 61001 61001", statusOf(process, "Gid"));
    EXPECT_EQ("61001 61003", statusOf(process, "Groups"));
    EXPECT_THAT(zeroTerminated("/proc/" + std::to_string(process) + "/environ"), Contains("USER=dmnuser"));
    EXPECT_EQ((Names{kBegun, kDone}), m_log.entries());
    EXPECT_EQ(0U, geteuid());
}

TEST_F(StartAs, MakesTheTransientFolderForTheAccountAndTheGroupOfItsName) {
    start("dmnuser", "appid");

    EXPECT_EQ(kUser, ownerOf("/run/appid"));
    EXPECT_EQ(kUser, groupOf("/run/appid"));
    EXPECT_EQ(0750U, modeOf("/run/appid"));
}

TEST_F(StartAs, MakesTheTransientFolderForTheGroupThatIsSet) {
    start("dmnuser", "appid", "dmnextra");

    EXPECT_EQ(kUser, ownerOf("/run/appid"));
    EXPECT_EQ(kExtraGroup, groupOf("/run/appid"));
}

TEST_F(StartAs, MakesTheTransientFolderForRootAndTheGroupThatIsSet) {
    start("", "appid", "dmnextra");

    EXPECT_EQ(0U, ownerOf("/run/appid"));
    EXPECT_EQ(kExtraGroup, groupOf("/run/appid"));
}

TEST_F(StartAs, LeavesNoTransientFolderThatItCannotGiveToTheAccount) {
    this->install("dmnuser", "appid");

    Outcome const outcome = runInChild([this] {
        refuseSystemCall(kLchownCall, EPERM);
        controller().start();
    });

    EXPECT_THAT(outcome.errors, HasSubstr("lchown failed"));
    EXPECT_THAT(entriesOf("/run"), Not(Contains(HasSubstr("appid"))));
}

TEST_F(StartAs, TidiesUpAfterAStartThatWasKilledWhileItMadeTheTransientFolder) {
    std::filesystem::create_directory(kUnfinished);
    setOwner(kUnfinished, kUser, kUser);

    start("", "appid");

    EXPECT_EQ(0U, ownerOf("/run/appid"));
    EXPECT_FALSE(std::filesystem::exists(kUnfinished));
}

TEST_F(StartAs, MakesTheTransientFolderBesideAnUnfinishedOneThatIsNotEmpty) {
    std::filesystem::create_directory(kUnfinished);
    writeFile(std::string(kUnfinished) + "/file", "");

    start("dmnuser", "appid");

    EXPECT_EQ(kUser, ownerOf("/run/appid"));
    EXPECT_EQ(Names{}, entriesOf("/run/appid"));
    std::filesystem::remove_all(kUnfinished);
}

TEST_F(StartAs, LeavesTheUnfinishedFolderOfAnotherStartAlone) {
    fdn::Descriptor const locked(open("/run", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(0, flock(locked.get(), LOCK_EX));
    std::filesystem::create_directory(kUnfinished);
    Names const before = entriesOf("/run");

    start("dmnuser", "appid");

    EXPECT_EQ(kUser, ownerOf("/run/appid"));
    EXPECT_TRUE(std::filesystem::remove(kUnfinished));
    EXPECT_EQ(before.size(), entriesOf("/run").size());
}

TEST_F(StartAs, KeepsTheTransientFolderThatAnotherStartHasMadeMeanwhile) {
    this->install("dmnuser", "appid");
    Names const before = entriesOf("/run");
    Program starting([this] {
        awaitPerformBefore();
        controller().start();
    });

    performBefore(SYS_renameat2, starting.pid(), [] {
        std::filesystem::create_directory("/run/appid");
        setOwner("/run/appid", kUser, kExtraGroup);
    });

    EXPECT_EQ(0, starting.wait().status) << starting.errors();
    EXPECT_EQ(kExtraGroup, groupOf("/run/appid"));
    EXPECT_EQ(before.size() + 1, entriesOf("/run").size());
}

TEST_F(StartAs, MakesTheTransientFolderWhereTheSystemCannotRenameWithoutReplacing) {
    for (int const error : {EINVAL, ENOSYS}) {
        this->install("dmnuser", "appid");

        Outcome const outcome = runInChild([this, error] {
            refuseSystemCall(SYS_renameat2, error);
            controller().start();
        });

        EXPECT_EQ("", outcome.errors);
        EXPECT_EQ(kUser, ownerOf("/run/appid"));
        endDaemons();
    }
}

TEST_F(StartAs, LeavesTheOwnerOfAnExistingTransientFolder) {
    std::filesystem::create_directory("/run/appid");
    setOwner("/run/appid", kUser, kExtraGroup);

    start("", "appid");

    EXPECT_EQ(kUser, ownerOf("/run/appid"));
    EXPECT_EQ(kExtraGroup, groupOf("/run/appid"));
}

TEST_F(StartAs, FailsForAnAccountWithoutAGroupOfItsNameBeforeTheFolderIsMade) {
    std::string const accounts = readFile("/etc/passwd");
    writeFile("/etc/passwd", accounts + "dmnlonely:x:61009:61001::/:/bin/sh\n");

    std::string const message = failToStart("dmnlonely", "appid").getMessage().toUTF8();

    writeFile("/etc/passwd", accounts);
    EXPECT_THAT(message, HasSubstr("'dmnlonely'"));
    EXPECT_FALSE(std::filesystem::exists("/run/appid"));
}

TEST_F(StartAs, FailsForAControlFolderThatTheAccountMayNotEnter) {
    setMode(m_folder.name(), 0700);

    fdn::CError const error = failToStart("dmnuser");

    EXPECT_THAT(error.getMessage().toUTF8(), HasSubstr("'" + m_folder.name() + "'"));
    EXPECT_EQ(EACCES, error.getCode());
}

TEST_F(StartAs, FailsForAnOrdinaryUserBeforeAnythingIsRead) {
    Outcome const outcome = runInChild([this] {
        becomeUser();
        controller().start();
    });

    EXPECT_EQ("The process does not have the necessary root privileges for this operation.", outcome.errors);
    EXPECT_EQ(Names{kBegun}, m_log.entries());
}

TEST_F(StartAs, WorksForARootThatHasAnotherEffectiveUser) {
    install("dmnuser");
    ASSERT_EQ(0, seteuid(kUser));

    controller().start();

    EXPECT_EQ(kUser, geteuid());
    ASSERT_EQ(0, seteuid(0));
    EXPECT_EQ("61001 61001 61001 61001", statusOf(daemon(), "Uid"));
}

} // namespace test
