// `dmnctl boot` on machines of every kind, as far as files tell. tests/system boots them.

#include "support/InitLayout.h"
#include "support/Obstacles.h"
#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/TemporaryFolder.h"
#include "support/await.h"
#include "support/fileInfo.h"

#include <dmn/CDaemonController.h>

#include <dmnctl/boot/boot.h>

#include <gmock/gmock.h>

#include <filesystem>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace fs = std::filesystem;

constexpr char kUnit[] = "/etc/systemd/system/app.service";
constexpr char kLink[] = "/etc/systemd/system/multi-user.target.wants/app.service";
constexpr char kOverride[] = "/etc/insserv/overrides/app";
constexpr char kLock[] = "/run/dmnctl.lock";

template <class Base>
class BootFixture : public InitLayoutFixture<Base> {
protected:
    void SetUp() override {
        InitLayoutFixture<Base>::SetUp();
        if (isInPrivateRoot())
            clear();
    }

    void TearDown() override {
        if (isInPrivateRoot())
            clear();
    }

    void install(std::string const& interval = "1") {
        m_info.exePath = fdn::Path("/bin/true");
        m_info.displayName = "Some App";
        m_info.params = {fdn::String::fromBytes(interval)};
        dmn::CDaemonController::install(m_info, "app", m_folder.path(), "", "", "", "");
    }

    void installForBoot() {
        m_info.startAtBoot = true;
        install();
    }

    static void uninstall() { dmn::CDaemonController("app", fdn::Path()).uninstall(); }

    static void bootByLinks() { writeFile("/etc/inittab", "id:2:initdefault:\n"); }

    static void bootBySystemd() { fs::create_directories("/run/systemd/system"); }

    static void bootByInsserv() {
        for (char const* const name : {"boot", "start", "stop"})
            writeFile(std::string("/etc/init.d/.depend.") + name, "TARGETS =\n");
    }

    /// Provides a tool of the system that notes how it is called, and then does this.
    void provide(char const* tool, std::string const& action = "") {
        writeFile(m_tools.name(tool),
                  "#!/bin/sh\necho \"${0##*/} $*\" >>" + m_tools.name("calls") + "\n" + action + "\n");
        setMode(m_tools.name(tool), 0755);
    }

    /// The calls of the tools so far.
    std::vector<std::string> calls() const {
        return fs::exists(m_tools.name("calls")) ? linesOf(readFile(m_tools.name("calls")))
                                                 : std::vector<std::string>();
    }

    Environment environment() const { return {{"PATH", m_tools.name() + ":/usr/bin:/bin"}}; }

    Outcome boot(char const* wish = nullptr, std::string const& id = "app") const {
        return test::run(command(wish, id), environment());
    }

    Outcome runInShell(std::string const& line) const {
        Environment variables = environment();
        variables["tool"] = DMN_DMNCTL;
        return test::run({"/bin/bash", "-c", line}, variables);
    }

    static std::vector<std::string> command(char const* wish, std::string const& id = "app") {
        std::vector<std::string> words{DMN_DMNCTL, "boot", id};
        if (wish != nullptr)
            words.push_back(wish);
        return words;
    }

    dmn::CDaemonInfo m_info;
    TemporaryFolder m_folder; ///< the control folder
    TemporaryFolder m_tools;

private:
    static void clear() {
        for (char const* const path : {"/run/systemd", "/etc/systemd", "/etc/insserv", "/etc/inittab", kLock})
            fs::remove_all(path);
        fs::create_directories("/etc/systemd/system");
    }
};

using BootTest = BootFixture<PrivateRootTest>;
using BootAccountsTest = BootFixture<AccountsTest>;

std::vector<std::string> linksOfApp() {
    std::vector<std::string> links;
    for (char const level : std::string("0123456")) {
        for (std::string const& name : entriesOf(std::string("/etc/rc") + level + ".d"))
            links.push_back(level + name);
    }
    return links;
}

bool isThere(char const* path) {
    return fs::exists(fs::symlink_status(path));
}

TEST_F(BootTest, OnMakesTheMissingStartLinksAndNamesThem) {
    install();
    bootByLinks();
    fs::create_symlink("../init.d/app", "/etc/rc3.d/S01app");

    Outcome const outcome = boot("on");

    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_EQ("Made the link /etc/rc2.d/S90app.\n"
              "Made the link /etc/rc4.d/S90app.\n"
              "Made the link /etc/rc5.d/S90app.\n"
              "app starts at boot (links in their order).\n",
              outcome.output);
    EXPECT_THAT(linksOfApp(), ElementsAre("0K10app", "2S90app", "3S01app", "4S90app", "5S90app", "6K10app"));
    EXPECT_EQ("/etc/init.d/app", targetOf("/etc/rc2.d/S90app"));
}

TEST_F(BootTest, OnReplacesLinksThatLeadNowhere) {
    install();
    bootByLinks();
    fs::create_symlink("/gone/app", "/etc/rc2.d/S90app");

    EXPECT_EQ(0, boot("on").status);

    EXPECT_EQ("/etc/init.d/app", targetOf("/etc/rc2.d/S90app"));
}

TEST_F(BootTest, OnThatCannotMakeALinkLeavesNone) {
    install();
    bootByLinks();
    FullFolder const mounted("/etc/rc5.d");
    ReadOnlyFolder const obstacle("/etc/rc5.d");

    Outcome const outcome = boot("on");

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("/etc/rc5.d/S90app"));
    EXPECT_EQ("", outcome.output);
    EXPECT_THAT(linksOfApp(), ElementsAre("0K10app", "5full", "6K10app"));
}

TEST_F(BootTest, OffRemovesExactlyTheStartLinks) {
    installForBoot();
    bootByLinks();
    fs::rename("/etc/rc3.d/S90app", "/etc/rc3.d/S04app");
    fs::create_symlink("../init.d/app", "/etc/rc2.d/S90otherapp");

    Outcome const outcome = boot("off");

    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_THAT(outcome.output, HasSubstr("Removed the link /etc/rc3.d/S04app.\n"));
    EXPECT_THAT(outcome.output, HasSubstr("app does not start at boot (links in their order).\n"));
    EXPECT_THAT(linksOfApp(), ElementsAre("0K10app", "2S90otherapp", "6K10app"));
}

TEST_F(BootTest, ShowTellsByItsStatusWhetherTheDaemonStarts) {
    bootByLinks();
    install();
    EXPECT_EQ(3, boot().status);
    EXPECT_EQ("app does not start at boot (links in their order).\n", boot().output);

    installForBoot();

    EXPECT_EQ(0, boot().status);
    EXPECT_EQ("app starts at boot (links in their order).\n", boot().output);
}

TEST_F(BootTest, WhereNothingStartsDaemonsOnFailsAndSaysSo) {
    installForBoot();
    NoExecFolder const noInit("/sbin");

    Outcome const outcome = boot("on");

    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ("dmnctl: Nothing starts daemons at boot on this machine: it has no init that does, like most "
              "containers.\n",
              outcome.errors);
    EXPECT_EQ(3, boot().status);
}

TEST_F(BootTest, OfADaemonThatIsNotInstalledIsAnError) {
    bootBySystemd();

    for (char const* const wish : {static_cast<char const*>(nullptr), "on", "off"}) {
        for (std::string const id : {"app", "../app", "", "."}) {
            Outcome const outcome = boot(wish, id);
            EXPECT_EQ(2, outcome.status) << id;
            EXPECT_THAT(outcome.errors, HasSubstr("dmnctl: ")) << id;
        }
    }
    EXPECT_THAT(entriesOf("/etc/systemd/system"), IsEmpty());
}

TEST_F(BootAccountsTest, OnlyRootChangesAnything) {
    installForBoot();
    bootByLinks();

    for (char const* const wish : {"on", "off"}) {
        Outcome const outcome = test::run(asUser("dmnuser", command(wish)), environment());
        EXPECT_EQ(2, outcome.status);
        EXPECT_EQ("dmnctl: Only root can change what starts at boot.\n", outcome.errors);
    }
    EXPECT_EQ(0, test::run(asUser("dmnuser", command(nullptr)), environment()).status);
}

TEST_F(BootTest, OnWritesAndEnablesTheUnitAndTellsSystemd) {
    install();
    bootBySystemd();
    provide("systemctl");

    Outcome const outcome =
        test::run({"sh", "-c", "umask 077; exec " DMN_DMNCTL " boot app on"}, environment());

    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_EQ("Wrote /etc/systemd/system/app.service.\n"
              "Made the link /etc/systemd/system/multi-user.target.wants/app.service.\n"
              "app starts at boot (systemd, by /etc/systemd/system/app.service).\n",
              outcome.output);
    EXPECT_EQ(0644U, modeOf(kUnit));
    EXPECT_EQ(0755U, modeOf("/etc/systemd/system/multi-user.target.wants"));
    EXPECT_EQ(kUnit, targetOf(kLink));
    EXPECT_THAT(linesOf(readFile(kUnit)).front(), HasSubstr("# Written by dmnctl"));
    EXPECT_THAT(readFile(kUnit), HasSubstr("\nDescription=Some App\n"));
    EXPECT_THAT(calls(), ElementsAre("systemctl daemon-reload"));
    EXPECT_EQ(0, boot().status);
}

TEST_F(BootTest, OnNeedsNoSystemctlWhereSystemdDoesNotRun) {
    install();
    NoExecFolder const noInit("/sbin");
    fs::remove("/etc/rc5.d"); // so that it cannot be the links
    fs::create_symlink("/lib/systemd/systemd", "/sbin/init");
    provide("systemctl", "exit 1");

    Outcome const outcome = boot("on");

    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_TRUE(fs::exists(kLink));
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(BootTest, SystemdThatCannotBeToldIsAnError) {
    install();
    bootBySystemd();
    provide("systemctl", "echo 'Failed to connect.'; exit 1");

    Outcome const outcome = boot("on");

    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ("Failed to connect.\ndmnctl: 'systemctl daemon-reload' has failed.\n", outcome.errors);
}

TEST_F(BootTest, UnitIsOutOfDateAfterAnotherInstallAndOnRenewsIt) {
    install();
    bootBySystemd();
    provide("systemctl");
    EXPECT_EQ(0, boot("on").status);
    EXPECT_THAT(boot().output, testing::Not(HasSubstr("out of date")));

    install("another");

    EXPECT_EQ(0, boot().status);
    EXPECT_THAT(boot().output, HasSubstr("out of date"));
    EXPECT_EQ("Wrote /etc/systemd/system/app.service.\n"
              "app starts at boot (systemd, by /etc/systemd/system/app.service).\n",
              boot("on").output);
    EXPECT_THAT(readFile(kUnit), HasSubstr("another"));
    EXPECT_THAT(boot().output, testing::Not(HasSubstr("out of date")));
}

TEST_F(BootTest, OffRemovesUnitLinkAndWhatElseStartsTheDaemon) {
    installForBoot();
    bootBySystemd();
    provide("systemctl");
    EXPECT_EQ(0, boot("on").status);

    Outcome const outcome = boot("off");

    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_FALSE(isThere(kUnit));
    EXPECT_FALSE(isThere(kLink));
    EXPECT_EQ(3, boot().status);
    EXPECT_EQ("app does not start at boot (systemd).\n", boot().output);
    EXPECT_THAT(calls(), ElementsAre("systemctl daemon-reload", "systemctl daemon-reload"));
}

TEST_F(BootTest, OffCleansUpAfterAnUninstalledDaemon) {
    install();
    bootBySystemd();
    provide("systemctl");
    EXPECT_EQ(0, boot("on").status);
    uninstall();
    EXPECT_EQ(2, boot("on").status);

    EXPECT_EQ(0, boot("off").status);

    EXPECT_FALSE(isThere(kUnit));
    EXPECT_FALSE(isThere(kLink));
    EXPECT_EQ(2, boot("off").status);
}

TEST_F(BootTest, UnitThatWasChangedIsLeftAloneAndOnlyEnabledOrDisabled) {
    install();
    bootBySystemd();
    provide("systemctl");
    EXPECT_EQ(0, boot("on").status);
    writeFile(kUnit, readFile(kUnit) + "# mine\n");
    std::string const mine = readFile(kUnit);
    install("another");

    EXPECT_EQ(0, boot("on").status);
    EXPECT_EQ(mine, readFile(kUnit));
    boot("off");
    EXPECT_EQ(mine, readFile(kUnit));

    EXPECT_THAT(calls(), ElementsAre("systemctl daemon-reload", "systemctl enable -- app.service",
                                     "systemctl disable -- app.service", "systemctl daemon-reload"));
}

TEST_F(BootTest, MaskedUnitIsAnErrorThatSaysHowToUnmask) {
    install();
    bootBySystemd();
    provide("systemctl");
    fs::create_symlink("/dev/null", kUnit);

    Outcome const outcome = boot("on");

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("systemctl unmask app.service"));
    EXPECT_EQ("/dev/null", targetOf(kUnit));
    EXPECT_FALSE(isThere(kLink));
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(BootTest, OnCompletesWhatAKilledCallHasLeft) {
    install();
    bootBySystemd();
    provide("systemctl");
    fs::create_directories(fs::path(kLink).parent_path());
    fs::create_symlink(kUnit, kLink);

    EXPECT_EQ(0, boot("on").status);
    EXPECT_TRUE(fs::exists(kLink));
    fs::remove(kLink);
    EXPECT_EQ(3, boot().status);
    EXPECT_EQ(0, boot("on").status);
    EXPECT_TRUE(fs::exists(kLink));
}

TEST_F(BootTest, OnThatCannotWriteTheUnitLeavesNothing) {
    install();
    bootBySystemd();
    provide("systemctl");

    Outcome const outcome =
        test::run({"sh", "-c", "trap '' XFSZ; ulimit -f 1; exec " DMN_DMNCTL " boot app on"}, environment());

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("File too large"));
    EXPECT_THAT(entriesOf("/etc/systemd/system"), ElementsAre("multi-user.target.wants"));
    EXPECT_THAT(entriesOf("/etc/systemd/system/multi-user.target.wants"), IsEmpty());
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(BootTest, NameThatInsservTakesForAnOptionIsRefused) {
    dmn::CDaemonInfo info;
    info.exePath = fdn::Path("/bin/true");
    info.displayName = "Some App";
    dmn::CDaemonController::install(info, "-r", m_folder.path(), "", "", "", "");
    bootByInsserv();
    provide("insserv");

    Outcome const outcome = test::run({DMN_DMNCTL, "boot", "--", "-r", "on"}, environment());
    dmn::CDaemonController("-r", fdn::Path()).uninstall();

    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ("dmnctl: insserv cannot put '-r' in order: it takes the name for an option.\n", outcome.errors);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(BootTest, InsservThatFailsLeavesNothingOfWhatItWasGiven) {
    install();
    bootByInsserv();
    provide("insserv", "test -e /etc/insserv/overrides/app && echo 'There is a loop.' >&2; exit 1");

    Outcome const outcome = boot("on");

    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ("There is a loop.\ndmnctl: 'insserv app' has failed.\n", outcome.errors);
    EXPECT_FALSE(isThere(kOverride));
    EXPECT_THAT(linksOfApp(), ElementsAre("0K10app", "6K10app"));
}

TEST_F(BootTest, InsservThatIsMissingIsAnError) {
    install();
    bootByInsserv();

    Outcome const outcome = boot("on");

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("insserv: not found"));
    EXPECT_FALSE(isThere(kOverride));
}

TEST_F(BootTest, OnThatLeavesTheDaemonOutOfOrderIsAnError) {
    install();
    bootByInsserv();
    provide("insserv");

    Outcome const outcome = boot("on");

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.errors,
                HasSubstr("The machine still does not start 'app' at boot. To see why: dmnctl check app\n"));
}

TEST_F(BootTest, OverrideHoldsTheHeaderThatTheScriptLacks) {
    m_info.startAtBoot = true;
    install();
    bootByInsserv();
    provide("insserv", "echo 'TARGETS = app' >/etc/init.d/.depend.start");

    EXPECT_EQ(0, boot("on").status);

    EXPECT_THAT(calls(), ElementsAre("insserv app"));
    std::string const text = readFile(kOverride);
    EXPECT_THAT(text, HasSubstr("# Written by dmnctl"));
    EXPECT_THAT(text, HasSubstr("\n### BEGIN INIT INFO\n"
                                "# Provides:          app\n"
                                "# Required-Start:    $remote_fs $syslog\n"
                                "# Required-Stop:     $remote_fs $syslog\n"
                                "# Default-Start:     2 3 4 5\n"
                                "# Default-Stop:      0 6\n"
                                "# Short-Description: Some App\n"
                                "### END INIT INFO\n"));
}

TEST_F(BootTest, OverrideThatWasChangedIsLeftAlone) {
    install();
    bootByInsserv();
    provide("insserv", "echo 'TARGETS = app' >/etc/init.d/.depend.start");
    EXPECT_EQ(0, boot("on").status);
    writeFile(kOverride, readFile(kOverride) + "# mine\n");
    std::string const mine = readFile(kOverride);

    EXPECT_EQ(0, boot("on").status);
    EXPECT_EQ(mine, readFile(kOverride));
    boot("off");
    EXPECT_EQ(mine, readFile(kOverride));
}

TEST_F(BootTest, TwoAtOnceTakeTurns) {
    install();
    bootBySystemd();
    provide("systemctl");
    int const lock = open(kLock, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_NE(-1, lock);
    ASSERT_EQ(0, flock(lock, LOCK_EX));
    Program on(command("on"), environment());
    ASSERT_TRUE(awaitSleep(on.pid()));
    EXPECT_FALSE(isThere(kUnit));

    close(lock);

    EXPECT_EQ(0, on.wait().status);
    EXPECT_TRUE(isThere(kUnit));
}

TEST_F(BootTest, ChangeIsMadeWhetherOrNotAnybodyReads) {
    install();
    bootBySystemd();
    provide("systemctl");

    EXPECT_EQ("0\n", runInShell("exec 3> >(true); wait $!; $tool boot app on >&3; echo $? >&2").errors);
    EXPECT_TRUE(isThere(kUnit));
    EXPECT_TRUE(isThere(kLink));

    Outcome const outcome = runInShell("$tool boot app off >/dev/full");
    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("No space left"));
    EXPECT_FALSE(isThere(kUnit));
    EXPECT_FALSE(isThere(kLink));
    EXPECT_THAT(calls(), ElementsAre("systemctl daemon-reload", "systemctl daemon-reload"));
}

TEST_F(BootTest, LockIsRootsAlone) {
    install();
    bootByLinks();

    EXPECT_EQ(0, boot("on").status);

    EXPECT_EQ(0600U, modeOf(kLock));
}

TEST_F(BootTest, NamesThatNoUnitCanHaveAreRefused) {
    bootBySystemd();
    m_info.exePath = fdn::Path("/bin/true");
    for (char const* const id : {"app@home", "app\xc3\xbc"}) {
        dmn::CDaemonController::install(m_info, fdn::String::fromBytes(id), m_folder.path(), "", "", "", "");

        Outcome const outcome = boot("on", id);

        EXPECT_EQ(2, outcome.status) << id;
        EXPECT_EQ(std::string("dmnctl: No systemd unit can have the name '") + id + "'.\n", outcome.errors);
    }
    EXPECT_THAT(entriesOf("/etc/systemd/system"), IsEmpty());
}

TEST_F(BootTest, DaemonIsRunBySystemdWhereItRunsAndHasAUnit) {
    EXPECT_FALSE(dmnctl::isRunBySystemd("app"));
    writeFile(kUnit, "");
    EXPECT_FALSE(dmnctl::isRunBySystemd("app"));

    bootBySystemd();

    EXPECT_TRUE(dmnctl::isRunBySystemd("app"));
    EXPECT_FALSE(dmnctl::isRunBySystemd("other"));
    EXPECT_FALSE(dmnctl::isRunBySystemd("../system/app"));
}

} // namespace

} // namespace test
