#include "ControllerTest.h"

#include "support/Program.h"

#include <dmn/bootSequence.h>

#include <fdn/CError.h>

#include <gtest/gtest.h>

#include <filesystem>

namespace test {

namespace {

using dmn::BootSequence;
using dmn::composeBootCommand;
using dmn::detectBootSequence;
using dmn::selectStartedAtBoot;
using dmn::startsAtBoot;

constexpr char kGenerator[] = "/etc/systemd/system-generators/systemd-sysv-generator";

class BootSequenceTest : public ControllerTest {
protected:
    void TearDown() override {
        if (!isInPrivateRoot())
            return;
        for (char const* const path : {"/run/systemd", "/etc/systemd", "/etc/inittab"})
            std::filesystem::remove_all(path);
    }

    void installForBoot() {
        m_info.startAtBoot = true;
        install();
    }

    /// Lets init enter this run level at boot.
    static void setDefaultRunLevel(std::string const& level) {
        writeFile("/etc/inittab",
                  "# id:5:initdefault:\nid:" + level + ":initdefault:\nsi::sysinit:/bin/true\n");
    }

    /// Writes the order that insserv has computed, with these scripts in it.
    static void writeOrder(std::string const& scripts) {
        writeFile("/etc/init.d/.depend.boot", "TARGETS = app\n");
        writeFile("/etc/init.d/.depend.stop", "TARGETS = app\n");
        writeFile("/etc/init.d/.depend.start", "TARGETS = " + scripts + "\nINTERACTIVE = \nother: app\n");
    }

    static void runSystemd() { std::filesystem::create_directories("/run/systemd/system"); }

    /// Makes a generator, which reads init scripts, or a file that is none and takes its place.
    static void writeGenerator(unsigned mode) {
        std::filesystem::create_directories("/etc/systemd/system-generators");
        writeFile(kGenerator, "");
        setMode(kGenerator, mode);
    }

    static void writeUnit() {
        std::filesystem::create_directories("/etc/systemd/system/multi-user.target.wants");
        writeFile("/etc/systemd/system/app.service", "");
    }

    static void enableUnit() {
        std::filesystem::create_symlink("../app.service",
                                        "/etc/systemd/system/multi-user.target.wants/app.service");
    }
};

using Names = std::vector<std::string>;

Names textsOf(fdn::TArray<fdn::Path> const& paths) {
    Names texts;
    for (fdn::Path const& path : paths)
        texts.push_back(path.getText().toUTF8());
    return texts;
}

std::string command(char const* id, BootSequence sequence) {
    return composeBootCommand(id, sequence).toUTF8();
}

} // namespace

TEST_F(BootSequenceTest, IsSystemdsWhereSystemdRuns) {
    writeOrder("app");
    runSystemd();

    EXPECT_EQ(BootSequence::Systemd, detectBootSequence());
}

TEST_F(BootSequenceTest, IsThatOfInsservWhereItsFilesAre) {
    setDefaultRunLevel("2");
    writeOrder("");

    EXPECT_EQ(BootSequence::DependencyOrder, detectBootSequence());
}

TEST_F(BootSequenceTest, IsThatOfTheLinksWhereAFileOfInsservIsMissing) {
    setDefaultRunLevel("2");
    for (char const* const name : {"boot", "start", "stop"}) {
        writeOrder("app");
        std::filesystem::remove(std::string("/etc/init.d/.depend.") + name);

        EXPECT_EQ(BootSequence::LinkOrder, detectBootSequence()) << name;
    }
}

TEST_F(BootSequenceTest, IsThatOfTheLinksWhereTheAdministratorWantsIt) {
    setDefaultRunLevel("2");
    writeOrder("app");
    writeFile("/etc/init.d/.legacy-bootordering", "");

    EXPECT_EQ(BootSequence::LinkOrder, detectBootSequence());
}

TEST_F(BootSequenceTest, IsNotThatOfTheLinksWithoutTheirFolders) {
    setDefaultRunLevel("2");
    std::filesystem::remove("/etc/rc5.d");

    EXPECT_NE(BootSequence::LinkOrder, detectBootSequence());
}

TEST_F(BootSequenceTest, OfTheLinksStartsWhatTheDefaultRunLevelLinks) {
    installForBoot();
    std::filesystem::remove("/etc/rc3.d/S90app");

    for (char const* const level : {"2", "4", "5"}) {
        setDefaultRunLevel(level);
        EXPECT_TRUE(startsAtBoot("app", BootSequence::LinkOrder)) << level;
    }
    for (char const* const level : {"1", "3", "6"}) {
        setDefaultRunLevel(level);
        EXPECT_FALSE(startsAtBoot("app", BootSequence::LinkOrder)) << level;
    }
}

TEST_F(BootSequenceTest, TellsOfManyDaemonsWhichOfThemStart) {
    installForBoot();
    setDefaultRunLevel("2");
    std::filesystem::create_symlink("/etc/init.d/app", "/etc/rc2.d/S01other");
    std::filesystem::create_symlink("/etc/init.d/gone", "/etc/rc2.d/S01dangling");
    std::filesystem::create_symlink("/etc/init.d/app", "/etc/rc2.d/K01killed");
    std::filesystem::create_symlink("/etc/init.d/app", "/etc/rc2.d/S01\xff");
    writeOrder("other");
    fdn::TList<fdn::String> const ids{"other", "killed", "dangling", "no/id", "app"};

    using Ids = fdn::TList<fdn::String>;
    EXPECT_EQ((Ids{"other", "app"}), selectStartedAtBoot(ids, BootSequence::LinkOrder));
    EXPECT_EQ(Ids{"other"}, selectStartedAtBoot(ids, BootSequence::DependencyOrder));
    EXPECT_EQ(Ids(), selectStartedAtBoot(ids, BootSequence::None));
}

TEST_F(BootSequenceTest, OfTheLinksStartsARenumberedLinkAndWithoutAnInittabAnyLevels) {
    installForBoot();
    for (int const level : {2, 3, 4, 5})
        std::filesystem::remove("/etc/rc" + std::to_string(level) + ".d/S90app");
    EXPECT_FALSE(startsAtBoot("app", BootSequence::LinkOrder));

    std::filesystem::create_symlink("../init.d/app", "/etc/rc4.d/S01app");

    EXPECT_TRUE(startsAtBoot("app", BootSequence::LinkOrder));
}

TEST_F(BootSequenceTest, StartsNothingByADanglingLink) {
    installForBoot();
    std::filesystem::remove("/etc/init.d/app");

    EXPECT_FALSE(startsAtBoot("app", BootSequence::LinkOrder));
}

TEST_F(BootSequenceTest, StartsNothingByAKillLink) {
    install();
    std::filesystem::create_symlink("../init.d/app", "/etc/rc2.d/K01app");

    EXPECT_FALSE(startsAtBoot("app", BootSequence::LinkOrder));
}

TEST_F(BootSequenceTest, OfInsservStartsOnlyWhatIsInItsOrder) {
    installForBoot();
    writeOrder("other application myapp");
    EXPECT_FALSE(startsAtBoot("app", BootSequence::DependencyOrder));
    EXPECT_EQ("update-rc.d app defaults", command("app", BootSequence::DependencyOrder));

    writeOrder("other app");

    EXPECT_TRUE(startsAtBoot("app", BootSequence::DependencyOrder));
    EXPECT_EQ("", command("app", BootSequence::DependencyOrder));
}

TEST_F(BootSequenceTest, OfInsservNeedsStartLinksToo) {
    install();
    writeOrder("app");
    EXPECT_FALSE(startsAtBoot("app", BootSequence::DependencyOrder));

    writeOrder("");

    EXPECT_EQ("", command("app", BootSequence::DependencyOrder));
}

TEST_F(BootSequenceTest, OfSystemdStartsWhatItsGeneratorReads) {
    installForBoot();
    writeGenerator(0755);

    EXPECT_TRUE(startsAtBoot("app", BootSequence::Systemd));
    EXPECT_EQ("systemctl daemon-reload", command("app", BootSequence::Systemd));
}

TEST_F(BootSequenceTest, OfSystemdNeedsNoReloadForAUnitThatIsThere) {
    installForBoot();
    writeGenerator(0755);
    std::filesystem::create_directories("/run/systemd/generator.late");
    writeFile("/run/systemd/generator.late/app.service", "");

    EXPECT_EQ("", command("app", BootSequence::Systemd));
}

TEST_F(BootSequenceTest, OfSystemdStartsNoScriptWithoutStartLinksOrGenerator) {
    install();
    writeGenerator(0755);
    EXPECT_FALSE(startsAtBoot("app", BootSequence::Systemd));

    installForBoot();
    writeGenerator(0644);

    EXPECT_FALSE(startsAtBoot("app", BootSequence::Systemd));
    EXPECT_EQ("", command("app", BootSequence::Systemd));
}

TEST_F(BootSequenceTest, OfSystemdStartsAUnitOfTheDaemonsOwnOnceItIsEnabled) {
    installForBoot();
    writeGenerator(0755);
    writeUnit();
    EXPECT_FALSE(startsAtBoot("app", BootSequence::Systemd));
    EXPECT_EQ("systemctl enable app", command("app", BootSequence::Systemd));

    enableUnit();

    EXPECT_TRUE(startsAtBoot("app", BootSequence::Systemd));
    EXPECT_EQ("", command("app", BootSequence::Systemd));
}

TEST_F(BootSequenceTest, OfSystemdStartsNoMaskedUnit) {
    installForBoot();
    writeGenerator(0755);
    writeUnit();
    enableUnit();
    std::filesystem::remove("/etc/systemd/system/app.service");
    std::filesystem::create_symlink("/dev/null", "/etc/systemd/system/app.service");

    EXPECT_FALSE(startsAtBoot("app", BootSequence::Systemd));
}

TEST_F(BootSequenceTest, OfNothingStartsNothing) {
    installForBoot();
    writeOrder("app");

    EXPECT_FALSE(startsAtBoot("app", BootSequence::None));
    EXPECT_EQ("", command("app", BootSequence::None));
}

TEST_F(BootSequenceTest, StartsNothingForAnIdThatCanNameNoDaemon) {
    for (char const* const id : {"", "..", "a/b"}) {
        for (BootSequence const sequence : {BootSequence::LinkOrder, BootSequence::DependencyOrder,
                                            BootSequence::Systemd, BootSequence::None}) {
            EXPECT_FALSE(startsAtBoot(id, sequence));
            EXPECT_EQ("", command(id, sequence));
        }
    }
}

TEST_F(BootSequenceTest, IsLookedAtWithoutRootsRightsToo) {
    if (!hasOtherAccounts())
        DMN_SKIP_TEST("needs a private root that was made by root");
    installForBoot();
    setDefaultRunLevel("2");

    Outcome const outcome = runInChild([] {
        becomeUser();
        require(detectBootSequence() == BootSequence::LinkOrder, "another sequence");
        require(startsAtBoot("app", BootSequence::LinkOrder), "not started");
    });

    EXPECT_EQ(0, outcome.status) << outcome.errors;
}

TEST_F(BootSequenceTest, StartLinksAreMadeWhereTheyAreMissingAndReturned) {
    install();
    std::filesystem::create_symlink("../init.d/app", "/etc/rc2.d/S01app");
    std::filesystem::create_symlink("/gone", "/etc/rc4.d/S90app");

    fdn::TArray<fdn::Path> const links = dmn::createStartLinks("app");

    EXPECT_EQ((Names{"/etc/rc3.d/S90app", "/etc/rc4.d/S90app", "/etc/rc5.d/S90app"}), textsOf(links));
    EXPECT_EQ(Names{"S01app"}, entriesOf("/etc/rc2.d"));
    EXPECT_EQ("/etc/init.d/app", targetOf("/etc/rc4.d/S90app"));
    EXPECT_EQ(Names{}, textsOf(dmn::createStartLinks("app")));
}

TEST_F(BootSequenceTest, StartLinksThatCannotAllBeMadeAreNotMade) {
    install();
    std::filesystem::remove("/etc/rc5.d");

    EXPECT_THROW(dmn::createStartLinks("app"), fdn::CError);

    for (char const* const folder : {"/etc/rc2.d", "/etc/rc3.d", "/etc/rc4.d"})
        EXPECT_EQ(Names{}, entriesOf(folder));
}

TEST_F(BootSequenceTest, StartLinksAreRemovedWhateverTheirNumbersAndOtherLinksStay) {
    installForBoot();
    std::filesystem::rename("/etc/rc3.d/S90app", "/etc/rc3.d/S04app");
    std::filesystem::create_symlink("../init.d/app", "/etc/rc2.d/K04app");
    std::filesystem::create_symlink("../init.d/my-app", "/etc/rc2.d/S04my-app");

    EXPECT_EQ((Names{"/etc/rc2.d/S90app", "/etc/rc3.d/S04app", "/etc/rc4.d/S90app", "/etc/rc5.d/S90app"}),
              textsOf(dmn::removeStartLinks("app")));

    EXPECT_EQ((Names{"K04app", "S04my-app"}), entriesOf("/etc/rc2.d"));
    EXPECT_EQ(Names{"K10app"}, entriesOf("/etc/rc6.d"));
}

TEST_F(BootSequenceTest, KillLinksAreMadeWhereTheyAreMissing) {
    installForBoot();
    std::filesystem::remove("/etc/rc0.d/K10app");

    EXPECT_EQ(Names{"/etc/rc0.d/K10app"}, textsOf(dmn::createKillLinks("app")));

    EXPECT_EQ(Names{"K10app"}, entriesOf("/etc/rc6.d"));
}

TEST_F(BootSequenceTest, LinksOfAnIdThatCanNameNoDaemonAreRefused) {
    EXPECT_THROW(dmn::createStartLinks("../app"), fdn::CError);
    EXPECT_THROW(dmn::createKillLinks(""), fdn::CError);
    EXPECT_THROW(dmn::removeStartLinks("../app"), fdn::CError);
}

TEST_F(BootSequenceTest, UnitIsFoundWhereSystemdFindsItFirst) {
    EXPECT_EQ("", dmn::findSystemdUnit("app").getText());
    runSystemd();
    writeFile("/run/systemd/system/app.service", "");
    EXPECT_EQ("/run/systemd/system/app.service", dmn::findSystemdUnit("app").getText());
    writeUnit();
    EXPECT_EQ("/etc/systemd/system/app.service", dmn::findSystemdUnit("app").getText());
    EXPECT_EQ("", dmn::findSystemdUnit("../system/app").getText());
}

TEST_F(BootSequenceTest, SystemdRunsWhereItsFolderIs) {
    EXPECT_FALSE(dmn::isSystemdRunning());
    runSystemd();
    EXPECT_TRUE(dmn::isSystemdRunning());
}

} // namespace test
