#include "BareEntry.h"
#include "ObservedManager.h"
#include "TestDaemonTest.h"

#include "support/BackgroundCall.h"
#include "support/Supervisor.h"
#include "support/await.h"
#include "support/fileInfo.h"

#include <fdn/CError.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <mutex>

#include <signal.h>
#include <sys/stat.h>

namespace {

using Status = dmn::CDaemonManager::Status;
using test::BareEntry;
using test::finished;
using test::ObservedManager;
using test::Outcome;
using test::Program;
using test::ScriptedDaemon;
using testing::ElementsAre;
using testing::EndsWith;

// The front end's own operations

class CDaemonEntryTest : public testing::Test {
protected:
    CDaemonEntryTest() {
        m_entry->m_signalHandler = fdn::newObj<dmn::CDaemonEntry::CSignalHandler>();
        m_entry->makeDaemon = [this](auto const&, auto const&) { return m_daemon; };
    }

    void signal() { m_entry->m_signalHandler->handleSystemSignal(fdn::SysSignal::Terminate); }

    /// Runs the daemon and returns whether it had been asked to stop when its init() was called.
    bool runsIntoStop() {
        bool asked = false;
        m_daemon->onInit = [&] { asked = m_daemon->shouldStop(); };
        m_entry->getDaemonManager()->runDaemon(m_daemon.get());
        return asked;
    }

    /// Whether the entry knows a manager while the action waits until the signal handler has forwarded to
    /// this one.
    bool knowsAManagerDuring(std::function<void()> const& action, ObservedManager& forwardedTo) {
        std::unique_lock<fdn::IMutex> forwarding(forwardedTo.mutex());
        test::BackgroundCall const signalling([this] { signal(); });
        EXPECT_TRUE(signalling.getsBlocked());
        test::BackgroundCall const acting(action);
        EXPECT_TRUE(acting.getsBlocked());
        bool const isKnown = static_cast<bool>(m_entry->getDaemonManager());
        forwarding.unlock(); // before the destructors wait for the calls
        return isKnown;
    }

    test::TemporaryFolder m_folder;
    fdn::P<BareEntry> m_entry = fdn::newObj<BareEntry>();
    fdn::P<ScriptedDaemon> m_daemon = fdn::newObj<ScriptedDaemon>(m_folder.path());
};

TEST_F(CDaemonEntryTest, BeginsWithEmptyFieldsAndATimeoutOfAMinute) {
    auto const entry = fdn::newObj<BareEntry>();

    EXPECT_FALSE(entry->m_stopRequested);
    EXPECT_FALSE(entry->m_signalHandler);
    EXPECT_FALSE(entry->m_daemonInfo);
    EXPECT_FALSE(entry->m_controller);
    EXPECT_FALSE(entry->m_daemonManager);
    EXPECT_EQ(60000, entry->m_timeoutMs);
    EXPECT_EQ("", entry->m_controlFolder.getText() + entry->m_exePath.getText() + entry->m_idOption +
                      entry->m_daemonId + entry->m_command + entry->m_runAs + entry->m_runAsPassword +
                      entry->m_transientFolderAppID + entry->m_transientFolderGroup);
}

TEST_F(CDaemonEntryTest, HasNoManagerOutsideRun) {
    EXPECT_FALSE(m_entry->getDaemonManager());
}

TEST_F(CDaemonEntryTest, CreateDaemonManagerAttachesOneUntilItIsDestroyed) {
    m_entry->createDaemonManager();
    EXPECT_TRUE(m_entry->getDaemonManager());

    m_entry->destroyDaemonManager();

    EXPECT_FALSE(m_entry->getDaemonManager());
}

TEST_F(CDaemonEntryTest, SignalReachesTheManagerThatCreateDaemonManagerAttaches) {
    m_entry->createDaemonManager();

    signal();

    EXPECT_TRUE(runsIntoStop());
}

TEST_F(CDaemonEntryTest, SignalBeforeCreateDaemonManagerStopsTheNewManager) {
    signal();

    m_entry->createDaemonManager();

    EXPECT_TRUE(runsIntoStop());
}

TEST_F(CDaemonEntryTest, SignalStopReachesTheAttachedManager) {
    m_entry->createDaemonManager();

    m_entry->signalStop();

    EXPECT_TRUE(runsIntoStop());
}

TEST_F(CDaemonEntryTest, SignalStopBeforeThereIsAManagerIsRecordedAndStopsNothing) {
    m_entry->signalStop();

    m_entry->createDaemonManager();

    EXPECT_TRUE(m_entry->m_stopRequested);
    EXPECT_FALSE(runsIntoStop());
}

TEST_F(CDaemonEntryTest, SignalAfterDestroyDaemonManagerDoesNotReachTheManager) {
    m_entry->createDaemonManager();
    auto const manager = m_entry->getDaemonManager();
    m_entry->destroyDaemonManager();

    signal();

    bool asked = false;
    m_daemon->onInit = [&] { asked = m_daemon->shouldStop(); };
    manager->runDaemon(m_daemon.get());
    EXPECT_FALSE(asked);
}

TEST_F(CDaemonEntryTest, HoldsItsManagerUntilAnotherOneIsSet) {
    bool deleted = false;
    auto manager = fdn::newObj<ObservedManager>();
    manager->onDelete = [&] { deleted = true; };
    m_entry->setDaemonManager(manager.get());
    manager.reset();
    EXPECT_FALSE(deleted);

    m_entry->setDaemonManager(nullptr);

    EXPECT_TRUE(deleted);
}

TEST_F(CDaemonEntryTest, DetachingWaitsUntilSignalStopHasBeenForwarded) {
    auto const manager = fdn::newObj<ObservedManager>();
    m_entry->setDaemonManager(manager.get());
    std::unique_lock<fdn::IMutex> forwarding(manager->mutex());
    test::BackgroundCall const stopping([this] { m_entry->signalStop(); });
    ASSERT_TRUE(stopping.getsBlocked());
    test::BackgroundCall const detaching([this] { m_entry->setDaemonManager(nullptr); });

    bool const waits = detaching.getsBlocked();
    forwarding.unlock();

    EXPECT_TRUE(waits);
}

TEST_F(CDaemonEntryTest, CanBeAskedForItsManagerWhileASignalIsBeingForwarded) {
    auto const manager = fdn::newObj<ObservedManager>();
    m_entry->setDaemonManager(manager.get());
    m_entry->m_signalHandler->setDaemonManager(manager.get());
    std::unique_lock<fdn::IMutex> forwarding(manager->mutex());
    test::BackgroundCall const signalling([this] { signal(); });
    ASSERT_TRUE(signalling.getsBlocked());
    test::BackgroundCall const asking([this] { m_entry->getDaemonManager(); });

    bool const waits = asking.getsBlocked();
    forwarding.unlock();

    EXPECT_FALSE(waits);
}

TEST_F(CDaemonEntryTest, KnowsItsManagerBeforeTheSignalHandlerDoes) {
    auto const other = fdn::newObj<ObservedManager>();
    m_entry->m_signalHandler->setDaemonManager(other.get());

    EXPECT_TRUE(knowsAManagerDuring([this] { m_entry->createDaemonManager(); }, *other));
}

TEST_F(CDaemonEntryTest, KnowsItsManagerUntilTheSignalHandlerDoesNoLonger) {
    auto const manager = fdn::newObj<ObservedManager>();
    m_entry->setDaemonManager(manager.get());
    m_entry->m_signalHandler->setDaemonManager(manager.get());

    EXPECT_TRUE(knowsAManagerDuring([this] { m_entry->destroyDaemonManager(); }, *manager));
}

TEST_F(CDaemonEntryTest, SignalsAndStopRequestsOfManyThreadsMeetManagersThatComeAndGo) {
    std::atomic<bool> done{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            while (!done)
                signal();
        });
        threads.emplace_back([&] {
            while (!done)
                m_entry->signalStop();
        });
    }
    for (int i = 0; i < 200; ++i) {
        m_entry->createDaemonManager();
        m_entry->destroyDaemonManager();
    }

    done = true;

    for (std::thread& thread : threads)
        thread.join();
    EXPECT_FALSE(m_entry->getDaemonManager());
}

TEST_F(CDaemonEntryTest, DoDaemonDoesWhatAnOverriddenDoRunDoes) {
    struct Entry : BareEntry {
        void doRun() override { ++runs; }

        int runs = 0;
    };

    auto const entry = fdn::newObj<Entry>();

    entry->doDaemon();

    EXPECT_EQ(1, entry->runs);
}

TEST_F(CDaemonEntryTest, DoRunMakesTheDaemonForItsIdAndControlFolder) {
    m_entry->m_daemonId = "name";
    m_entry->m_controlFolder = fdn::Path("folder/../x");
    std::string made;
    m_entry->makeDaemon = [&](auto const& id, auto const& folder) {
        made = id.toUTF8() + " " + folder.getText().toUTF8();
        return m_daemon;
    };

    m_entry->doRun();

    EXPECT_EQ("name folder/../x", made);
}

TEST_F(CDaemonEntryTest, DoRunHasAManagerWhileTheDaemonRunsAndNoneAfterwards) {
    bool hadManager = false;
    m_daemon->onRun = [&] { hadManager = static_cast<bool>(m_entry->getDaemonManager()); };

    m_entry->doRun();

    EXPECT_TRUE(hadManager);
    EXPECT_FALSE(m_entry->getDaemonManager());
}

TEST_F(CDaemonEntryTest, DoRunHasAManagerFromTheMakingOfTheDaemonToItsRelease) {
    bool hadManagerAtFirst = false;
    bool hadManagerAtLast = false;
    m_entry->makeDaemon = [&](auto const&, auto const& folder) {
        hadManagerAtFirst = static_cast<bool>(m_entry->getDaemonManager());
        auto const daemon = fdn::newObj<ScriptedDaemon>(folder);
        daemon->onDelete = [&] { hadManagerAtLast = static_cast<bool>(m_entry->getDaemonManager()); };
        return daemon;
    };
    m_entry->m_controlFolder = m_folder.path();

    m_entry->doRun();

    EXPECT_TRUE(hadManagerAtFirst);
    EXPECT_TRUE(hadManagerAtLast);
}

TEST_F(CDaemonEntryTest, DoRunLeavesTheManagerAttachedWhenTheDaemonThrows) {
    m_daemon->onRun = [] { throw fdn::CError("Broken."); };

    EXPECT_THROW(m_entry->doRun(), fdn::CError);

    EXPECT_TRUE(m_entry->getDaemonManager());
}

TEST_F(CDaemonEntryTest, DisposeDropsTheCallersReference) {
    bool deleted = false;
    auto* const entry = new BareEntry();
    entry->onDelete = [&] { deleted = true; };
    fdn::P<BareEntry> other(entry);

    entry->dispose();
    EXPECT_FALSE(deleted);
    other.reset();

    EXPECT_TRUE(deleted);
}

TEST_F(CDaemonEntryTest, HostDisposesOfItThroughTheInterface) {
    bool deleted = false;
    auto* const entry = new BareEntry();
    entry->onDelete = [&] { deleted = true; };
    dmnm::IDaemonEntry* const interface = entry;

    interface->signalStop();
    interface->dispose();

    EXPECT_TRUE(deleted);
}

// The whole run, in its own process

class EntryTest : public test::TestDaemonFixture<testing::Test> {
protected:
    void expectFailure(Outcome const& outcome, std::string const& message) const {
        EXPECT_EQ(2, outcome.status);
        EXPECT_EQ(fatal(message), outcome.output);
        EXPECT_EQ("", outcome.errors);
    }
};

TEST_F(EntryTest, CallsTheHooksInTheirOrderAndReleasesEverything) {
    Outcome const outcome = run(in({"run"}), "every=say daemon.run=return");

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("init\naddCommandLineOptions\nverifyCommandParams\nhandleCommandParams\nonCommandLineParsed\n"
              "createDaemonInfo\ndoCommand\ncreateDaemon\ndaemon.init\ndaemon.run\n~daemon\n~entry\n",
              outcome.output);
    EXPECT_EQ("", outcome.errors);
}

TEST_F(EntryTest, DaemonThatReturnsByItselfEndsInStatus0AndSaysNothing) {
    Outcome const outcome = run(in({"run"}), "daemon.run=return");

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("", outcome.output);
    EXPECT_EQ("", outcome.errors);
    EXPECT_THAT(m_log.entries(), ElementsAre(performing("run"), finished));
}

TEST_F(EntryTest, CommandDaemonRunsTheDaemonAsRunDoes) {
    Outcome const outcome = run(in({"daemon"}), "daemon.run=return");

    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(m_log.entries(), ElementsAre(performing("daemon"), finished));
}

TEST_F(EntryTest, PIDFileOfTheDefaultIdHoldsTheProcessWhileItRunsAndSIGTERMEndsItWithStatus0) {
    Program daemon = start(in({"run"}));
    ASSERT_TRUE(test::await([this] { return std::filesystem::exists(pidFile()); }));
    std::string const content = test::readFile(pidFile());

    daemon.sendSignal(SIGTERM);

    EXPECT_EQ(0, daemon.wait().status);
    EXPECT_EQ(std::to_string(daemon.pid()), content.substr(0, content.find('\n')));
    EXPECT_FALSE(std::filesystem::exists(pidFile()));
    EXPECT_THAT(m_log.entries(), ElementsAre(performing("run"), finished));
}

TEST_F(EntryTest, OptionIdNamesTheDaemonInsteadOfTheDefault) {
    Program const daemon = start(in({"--id=other", "run"}));

    EXPECT_TRUE(test::await([this] { return std::filesystem::exists(controlFolder() + "/other.pid"); }));
}

TEST_F(EntryTest, EmptyOptionIdMeansTheDefault) {
    Program const daemon = start(in({"--id=", "run"}));

    EXPECT_TRUE(test::await([this] { return std::filesystem::exists(pidFile()); }));
}

TEST_F(EntryTest, SecondRunOfTheSameDaemonFailsAndLeavesTheFirstAlone) {
    Program first = start(in({"run"}));
    ASSERT_TRUE(test::await([this] { return std::filesystem::exists(pidFile()); }));
    std::string const content = test::readFile(pidFile());

    Outcome const second = run(in({"run"}));

    EXPECT_EQ(2, second.status);
    EXPECT_EQ(content, test::readFile(pidFile()));
    first.sendSignal(SIGTERM);
    EXPECT_EQ(0, first.wait().status);
}

TEST_F(EntryTest, SignalWhileTheCommandIsBeingPreparedStopsTheDaemonBeforeItsInit) {
    Outcome const outcome = run(in({"run"}), "every=say createDaemonInfo=terminate");

    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.output, EndsWith("createDaemon\nasked to stop before daemon.init\ndaemon.init\n"
                                         "asked to stop before daemon.run\ndaemon.run\n~daemon\n~entry\n"));
    EXPECT_THAT(m_log.entries(), ElementsAre(performing("run"), finished));
}

TEST_F(EntryTest, SignalFromOutsideBeforeTheManagerExistsStopsTheDaemon) {
    Program daemon = start(in({"run"}), "createDaemonInfo=pause");
    ASSERT_TRUE(test::awaitOutput(daemon, "createDaemonInfo\n"));

    daemon.sendSignal(SIGTERM);
    go();

    EXPECT_EQ(0, daemon.wait().status);
}

TEST_F(EntryTest, SignalDuringInitStopsTheDaemonInRun) {
    Outcome const outcome = run(in({"run"}), "every=say daemon.init=terminate");

    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.output,
                EndsWith("daemon.init\nasked to stop before daemon.run\ndaemon.run\n~daemon\n~entry\n"));
}

TEST_F(EntryTest, SeveralSignalsStopTheDaemonAsOneDoes) {
    Program daemon = start(in({"run"}), "daemon.run=pause");
    ASSERT_TRUE(test::awaitOutput(daemon, "daemon.run\n"));

    daemon.sendSignal(SIGTERM);
    daemon.sendSignal(SIGTERM);
    go();

    EXPECT_EQ(0, daemon.wait().status);
    EXPECT_THAT(m_log.entries(), ElementsAre(performing("run"), finished));
}

TEST_F(EntryTest, OtherSignalsAreLeftToTheSystem) {
    for (int const signal : {SIGHUP, SIGINT, SIGUSR1}) {
        Program daemon = start(in({"run"}), "daemon.run=say");
        ASSERT_TRUE(test::awaitOutput(daemon, "daemon.run\n"));

        daemon.sendSignal(signal);

        EXPECT_EQ(signal, daemon.wait().signal);
    }
}

TEST_F(EntryTest, SignalHandlerStaysRegisteredAfterEntry) {
    Outcome const outcome = run(in({"nothing"}), "afterwards=terminate");

    EXPECT_EQ(0, outcome.signal);
    EXPECT_EQ(0, outcome.status);
}

TEST_F(EntryTest, LogIsClosedAfterwards) {
    Outcome const outcome = run(in({"nothing"}), "afterwards=look-at-log");

    EXPECT_EQ("log closed\n", outcome.output);
}

TEST_F(EntryTest, LogIsClosedAfterAFatalErrorToo) {
    Outcome const outcome = run(in({"nothing"}), "doCommand=throw afterwards=look-at-log");

    EXPECT_THAT(outcome.output, EndsWith("log closed\n"));
}

TEST_F(EntryTest, SecondCallWorksLikeTheFirst) {
    Outcome const outcome = run(in({"run"}), "daemon.run=return", "twice");

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("first call: 0\n", outcome.output);
    EXPECT_THAT(m_log.entries(), ElementsAre(performing("run"), finished, performing("run"), finished));
}

TEST_F(EntryTest, SecondCallAsksForTheDaemonsDescriptionAgain) {
    Outcome const outcome = run({"nothing"}, "createDaemonInfo=say", "twice");

    EXPECT_EQ("createDaemonInfo\nfirst call: 0\ncreateDaemonInfo\n", outcome.output);
}

TEST_F(EntryTest, SignalDuringTheApplicationsInitIsLeftToTheSystem) {
    Program daemon = start(in({"run"}), "init=pause");
    ASSERT_TRUE(test::awaitOutput(daemon, "init\n"));

    daemon.sendSignal(SIGTERM);

    EXPECT_EQ(SIGTERM, daemon.wait().signal);
}

TEST_F(EntryTest, SignalOfAnEarlierCallIsForgottenInTheNext) {
    Outcome const outcome = run(in({"nothing"}), "every=say createDaemonInfo=terminate", "twice");

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("", outcome.errors);
}

TEST_F(EntryTest, UnknownCommandIsAFatalError) {
    Outcome const outcome = run(in({"restart"}));

    expectFailure(outcome, "Unknown command: restart");
    EXPECT_THAT(m_log.entries(), ElementsAre(performing("restart"), escaped("Unknown command: restart")));
}

class EntryCommandTest : public EntryTest, public testing::WithParamInterface<char const*> {};

TEST_P(EntryCommandTest, CommandWordsAreComparedExactly) {
    std::string const command = GetParam();

    Outcome const outcome = run(in({command}));

    expectFailure(outcome, "Unknown command: " + command);
}

INSTANTIATE_TEST_SUITE_P(Variants, EntryCommandTest,
                         testing::Values("Run", "RUN", "Daemon", "Install", "UNINSTALL", "Start", "Stop",
                                         "run ", " run", "runs", ""));

class EntryHookTest : public EntryTest, public testing::WithParamInterface<char const*> {
protected:
    std::string const hook = GetParam();
    bool const isBeforeTheCommand =
        hook.rfind("daemon.", 0) != 0 && hook != "doCommand" && hook != "createDaemon";
};

TEST_P(EntryHookTest, ErrorIsLoggedAndPrintedOnceAndGivesStatus2) {
    std::string const message = "Thrown in " + hook + ".";

    Outcome const outcome = run(in({"run"}), hook + "=throw");

    expectFailure(outcome, message);
    std::vector<std::string> expected;
    if (!isBeforeTheCommand)
        expected.push_back(performing("run"));
    if (hook.rfind("daemon.", 0) == 0)
        expected.push_back("error: <where>CDaemonManager - running daemon</where><what>" + message +
                           "</what><code>-1</code>");
    expected.push_back(escaped(message));
    EXPECT_THAT(m_log.entries(), testing::ElementsAreArray(expected));
    EXPECT_FALSE(std::filesystem::exists(pidFile()));
}

TEST_P(EntryHookTest, ErrorIsToldToTheSupervisorOnce) {
    test::Supervisor const supervisor;

    run(in({"daemon"}), hook + "=throw");

    std::string const failure = "STATUS=Thrown in " + hook + ".";
    std::vector<std::string> const messages = supervisor.messages();
    EXPECT_EQ(1, std::count(messages.begin(), messages.end(), failure));
    EXPECT_EQ(failure, messages.back());
}

TEST_P(EntryHookTest, ErrorOfAnotherCommandIsNotToldToTheSupervisor) {
    test::Supervisor const supervisor;

    run(in({"nothing"}), hook + "=throw");

    EXPECT_EQ("(none)", supervisor.take());
}

// What the runtime says about an uncaught exception comes after everything that belongs to this program.
TEST_P(EntryHookTest, OtherThrownTypesLeaveEntryUnreportedWithoutAPIDFile) {
    Outcome const outcome = run(in({"run"}), hook + "=throw-number");

    EXPECT_EQ(SIGABRT, outcome.signal);
    EXPECT_EQ("", outcome.output);
    std::vector<std::string> expected;
    if (!isBeforeTheCommand)
        expected.push_back(performing("run"));
    EXPECT_THAT(m_log.entries(), testing::ElementsAreArray(expected));
    EXPECT_FALSE(std::filesystem::exists(pidFile()));
}

INSTANTIATE_TEST_SUITE_P(Hooks, EntryHookTest,
                         testing::Values("init", "addCommandLineOptions", "verifyCommandParams",
                                         "handleCommandParams", "onCommandLineParsed", "createDaemonInfo",
                                         "doCommand", "createDaemon", "daemon.init", "daemon.run"));

TEST_F(EntryTest, StandardExceptionsAreReportedToo) {
    Outcome const outcome = run(in({"nothing"}), "createDaemonInfo=throw-standard");

    expectFailure(outcome, "Thrown in createDaemonInfo.");
    EXPECT_THAT(
        m_log.entries(),
        ElementsAre("error: <text>exception in entry function</text><where>CDaemonEntry::entry</where>"
                    "<what>Thrown in createDaemonInfo.</what>"));
}

TEST_F(EntryTest, FatalErrorWithAnUmlautIsPrintedInTheLocalesEncoding) {
    Outcome const outcome = run(in({"nothing"}), "createDaemonInfo=throw-umlaut");

    expectFailure(outcome, "Thr\xC3\xB6wn.");
}

TEST_F(EntryTest, MissingDaemonInfoIsAnError) {
    Outcome const outcome = run(in({"nothing"}), "createDaemonInfo=null");

    expectFailure(outcome, "The application gave no description of its daemon.");
}

TEST_F(EntryTest, MissingDaemonIsAnError) {
    Outcome const outcome = run(in({"run"}), "createDaemon=null");

    expectFailure(outcome, "There is no daemon to run.");
}

TEST_F(EntryTest, ExitDuringRunKeepsItsStatusAndLogsNoEnd) {
    Outcome const outcome = run(in({"run"}), "daemon.run=exit");

    EXPECT_EQ(7, outcome.status);
    EXPECT_EQ("", outcome.errors);
    EXPECT_THAT(m_log.entries(), ElementsAre(performing("run")));
}

TEST_F(EntryTest, PIDFileOfADaemonThatExitedDuringRunDoesNotHinderTheNext) {
    run(in({"run"}), "daemon.run=exit");

    Outcome const outcome = run(in({"run"}), "daemon.run=return");

    EXPECT_EQ(0, outcome.status);
    EXPECT_FALSE(std::filesystem::exists(pidFile()));
}

TEST_F(EntryTest, ControlFolderIsCreatedWithItsParentsWhateverTheCommand) {
    mode_t const previous = umask(002);

    Outcome const outcome = run({"--controlFolder=" + m_folder.name("new/folder"), "nothing"});

    umask(previous);
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ(0775U, test::modeOf(m_folder.name("new/folder")));
}

TEST_F(EntryTest, ControlFolderIsCreatedBeforeTheHookAfterParsing) {
    Outcome const outcome = run(in({"nothing"}), "onCommandLineParsed=throw");

    EXPECT_EQ(2, outcome.status);
    EXPECT_TRUE(std::filesystem::is_directory(controlFolder()));
}

TEST_F(EntryTest, ControlFolderThatIsAFileIsAFatalError) {
    test::writeFile(controlFolder(), "");

    Outcome const outcome = run(in({"nothing"}));

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.output, testing::HasSubstr("FATAL ERROR: "));
    EXPECT_THAT(outcome.output, testing::HasSubstr(controlFolder()));
    EXPECT_EQ("", outcome.errors);
}

TEST_F(EntryTest, LogNamesTheNormalFormOfHowTheProgramWasCalled) {
    std::string const folder = std::filesystem::path(program).parent_path();

    Outcome const outcome = test::run({"sh", "-c", "cd \"$0\" && ./../dmn/./test_daemon nothing", folder});

    EXPECT_EQ(0, outcome.status) << outcome.output << outcome.errors;
    EXPECT_THAT(m_log.entries(), ElementsAre(performing("nothing", ""), finished));
}

TEST_F(EntryTest, PathOfTheProgramIsKnownBeforeTheOptionsAreStored) {
    Outcome const outcome = run({"nothing"}, "handleCommandParams=say-path");

    EXPECT_EQ(program + "\n", outcome.output);
}

class EntryLocaleTest : public EntryTest, public testing::WithParamInterface<test::Environment> {};

TEST_P(EntryLocaleTest, ControlFolderWithAnUmlautIsTheOneThatWasNamed) {
    std::string const folder = m_folder.name("\xC3\xBC");

    Outcome const outcome = test::run({program, "--controlFolder=" + folder, "nothing"}, GetParam());

    EXPECT_EQ(0, outcome.status);
    EXPECT_TRUE(std::filesystem::is_directory(folder));
    EXPECT_THAT(m_log.entries(), ElementsAre(performing("nothing", folder), finished));
}

TEST_F(EntryTest, IDThatIsNoFileNameRunsNothingAndLeavesNoPIDFileAnywhere) {
    for (std::string const& id : {std::string("../x"), std::string("."), std::string(252, 'x')}) {
        for (std::string const command : {"run", "daemon"}) {
            Outcome const outcome = run(in({"--id=" + id, command}), "daemon.init=say daemon.run=return");

            expectFailure(outcome, "Invalid daemon id: '" + id + "'.");
        }
    }
    EXPECT_EQ(std::vector<std::string>{"control"}, test::entriesOf(m_folder.name()));
    EXPECT_EQ(std::vector<std::string>{}, test::entriesOf(controlFolder()));
}

TEST_F(EntryTest, ArgumentThatIsNoTextIsRefusedAndNotShown) {
    for (char const* const bytes : {"a\xe9",
                                    "a\xc0\xaf"
                                    "b",
                                    "a\xed\xa0\x80", "a\xf7\x94\x94\x94"}) {
        std::string const folder = m_folder.name("parent");
        std::filesystem::create_directory(folder);

        Outcome const outcome = run({"--controlFolder=" + folder + "/" + bytes, "nothing"});

        EXPECT_EQ(2, outcome.status);
        EXPECT_THAT(outcome.output, testing::HasSubstr("FATAL ERROR: Invalid argument: not all of its bytes "
                                                       "are text in the locale's encoding.\n"));
        EXPECT_THAT(outcome.output, testing::Not(testing::HasSubstr(folder)));
        EXPECT_THAT(test::entriesOf(folder), testing::IsEmpty());
        std::filesystem::remove_all(folder);
    }
}

INSTANTIATE_TEST_SUITE_P(Locales, EntryLocaleTest,
                         testing::Values(test::Environment{{"LC_ALL", "C.UTF-8"}},
                                         test::Environment{{"LC_ALL", "C"}},
                                         test::Environment{{"LC_ALL", ""}, {"LANG", ""}}));

} // namespace
