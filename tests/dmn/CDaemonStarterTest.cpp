#include "ControllerTest.h"

#include "support/Obstacles.h"
#include "support/Program.h"
#include "support/SignalTreatment.h"
#include "support/await.h"
#include "support/errors.h"
#include "support/processInfo.h"
#include "support/sanitizer.h"

#include <dmn/CDaemonStarter.h>
#include <dmn/CDaemonStopper.h>

#include <fdn/CPIDFile.h>
#include <fdn/notify.h>
#include <fdn/system/Descriptor.h>

#include <gmock/gmock.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

using dmn::CDaemonStarter;
using dmn::CDaemonStopper;
using Result = CDaemonStarter::Outcome;
using testing::AllOf;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using Names = std::vector<std::string>;

constexpr int kLong = 30000;
constexpr int kShort = 300;

/// The base of tests that start the program started_daemon, which comes up as they say or fails to.
template <class Base>
class StarterFixture : public ControllerFixture<Base> {
protected:
    void SetUp() override {
        ControllerFixture<Base>::SetUp();
        setMode(this->m_folder.name(), 0777);
    }

    void TearDown() override {
        if (isInPrivateRoot())
            endDaemons();
    }

    // One that has not come up may hold no PID file, but is a child of the test. One that a process has left
    // behind is that of the system's first process if it was ready before that one had ended.
    void endDaemons() const {
        for (pid_t child = childOf(getpid()); child > 0; child = childOf(getpid())) {
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
        }
        if (int const process = holder()) {
            kill(process, SIGKILL);
            EXPECT_TRUE(await([this] { return holder() == 0; }));
        }
    }

    void install(std::string const& way, fdn::String const& runAs = "") {
        this->m_info.exePath = fdn::Path(DMN_STARTED_DAEMON);
        this->m_info.params = {fdn::String::fromBytes(way)};
        ControllerFixture<Base>::install(runAs);
        this->m_log.clear();
    }

    /// Installs a shell script as the daemon, in which $1 is the control folder's option.
    void installScript(std::string const& text) {
        std::string const script = this->m_folder.name("script");
        writeFile(script, "#!/bin/sh\ndaemon=" DMN_STARTED_DAEMON "\n" + text);
        setMode(script, 0755);
        install("serve");
        this->m_info.exePath = fdn::Path(fdn::String::fromBytes(script));
        ControllerFixture<Base>::install();
        this->m_log.clear();
    }

    Result start(std::string const& way, int timeoutMs = kLong) {
        install(way);
        return m_starter.start(timeoutMs);
    }

    /// Starts in this way, which fails. Returns the message; the number of the process is N in it.
    std::string failToStart(std::string const& way, int timeoutMs = kLong) {
        install(way);
        return failToStart(timeoutMs);
    }

    std::string failToStart(int timeoutMs = kLong) {
        std::string text = messageOf([&] { m_starter.start(timeoutMs); });
        std::size_t const found = text.find("process ");
        if (found == std::string::npos)
            return text;
        std::size_t const number = found + std::string("process ").size();
        return text.replace(number, text.find_first_not_of("0123456789", number) - number, "N");
    }

    /// The process that holds the PID file, as soon as there is one.
    int awaitHolder() const {
        EXPECT_TRUE(await([this] { return holder() > 0; }));
        return holder();
    }

    int holder() const { return fdn::CPIDFile::getActivePID(this->m_folder / "app.pid"); }

    CDaemonStarter m_starter{"app", fdn::Path()};
};

bool adoptsOrphans() {
    int isOn = -1;
    EXPECT_EQ(0, prctl(PR_GET_CHILD_SUBREAPER, &isOn));
    return isOn == 1;
}

class Starter : public StarterFixture<PrivateRootTest> {};

/// Somebody who has found out where the starter listens, and sends whatever fits into its socket.
class StrangerToTheStarter : public Starter {
protected:
    /// Starts the daemon, whose way is to fail, amid lies. Returns the message.
    std::string failFlooded(std::string const& way, int timeoutMs) {
        std::string const address = m_folder.name("address");
        std::string const go = m_folder.name("go");
        installScript("printf %s \"$NOTIFY_SOCKET\" >" + address + ".new\nmv " + address + ".new " + address +
                      "\nwhile [ ! -e " + go + " ]; do sleep 0.01; done\nexec $daemon $1 $2 $3 " + way +
                      "\n");
        Program starting([&] { m_starter.start(timeoutMs); });
        Program const lying([&] {
            await([&] { return std::filesystem::exists(address); });
            setenv("NOTIFY_SOCKET", readFile(address).c_str(), 1);
            for (int count = 0;; ++count) {
                fdn::notifySupervisor("READY=1");
                fdn::notifySupervisor("STATUS=a lie");
                if (count == kManyLies)
                    writeFile(go, "");
            }
        });
        std::string const message = starting.wait().errors;
        std::filesystem::remove(go);
        std::filesystem::remove(address);
        return message;
    }

private:
    static constexpr int kManyLies = 1000;
};

void mountProc() {
    require(unshare(CLONE_NEWNS) == 0 && mount("proc", "/proc", "proc", 0, nullptr) == 0, "no /proc");
}

/// Starts test_daemon, which has the library's own front end and acts at its hooks as it is told to.
class StarterOfTheLibrary : public Starter {
protected:
    void installDaemon(std::string const& script) {
        setenv("TEST_DAEMON", script.c_str(), 1);
        m_info.exePath = fdn::Path(DMN_TEST_DAEMON);
        ControllerTest::install();
    }

    std::string failWith(std::string const& script) {
        installDaemon(script);
        return failToStart();
    }
};

class StarterAs : public StarterFixture<AccountsTest> {};

} // namespace

TEST_F(Starter, ReturnsWhenTheDaemonIsReady) {
    EXPECT_EQ(Result::Started, start("serve"));

    EXPECT_LT(0, m_starter.getProcess());
    EXPECT_EQ(holder(), m_starter.getProcess());
    EXPECT_EQ((Names{"Starting daemon 'app'...", "Done starting daemon 'app'."}), m_log.entries());
}

TEST_F(Starter, TellsEachNewStepOfTheInitialization) {
    Names steps;
    m_starter.setProgress([&](fdn::String const& step) { steps.push_back(step.toUTF8()); });

    start("serve");

    EXPECT_EQ((Names{"Claiming the PID file", "Initializing", "Initializing: 1 steps done"}), steps);
}

TEST_F(Starter, TellsOfAStepWhileItLasts) {
    install("hang");
    m_starter.setProgress([](fdn::String const& step) {
        if (step == "Initializing")
            throw fdn::CError("Seen.");
    });

    EXPECT_THAT(failToStart(INT_MAX), HasSubstr("it is unknown whether it is ready: Seen."));
}

TEST_F(Starter, TellsTheReasonOfAFailureOnlyInTheError) {
    Names steps;
    m_starter.setProgress([&](fdn::String const& step) { steps.push_back(step.toUTF8()); });

    EXPECT_THAT(failToStart("fail"), HasSubstr("The disk is on fire."));
    EXPECT_EQ(Names{"Claiming the PID file"}, steps);
}

TEST_F(Starter, TakesAStepOfTheLibraryForNoReason) {
    EXPECT_THAT(failToStart("exit-3-in-init"),
                StartsWith("The daemon 'app' has not come up (Initializing: 2 steps done). Its process N has "
                           "ended with status 3. "));
}

TEST_F(Starter, WaitsForALateDaemon) {
    EXPECT_EQ(Result::Started, start("late"));
    EXPECT_EQ(holder(), m_starter.getProcess());
}

TEST_F(Starter, StartsADaemonThatIsBusyFromTheBeginning) {
    EXPECT_EQ(Result::Started, start("be-busy"));
}

TEST_F(Starter, FindsADaemonThatRunsAlready) {
    install("serve");
    fdn::CPIDFile const file(m_folder / "app.pid");

    EXPECT_EQ(Result::RunningAlready, m_starter.start(kLong));
    EXPECT_EQ(getpid(), m_starter.getProcess());
    EXPECT_EQ(0, childOf(getpid()));
}

TEST_F(Starter, SaysWhatADaemonHasSaidThatFails) {
    EXPECT_EQ("The daemon 'app' has not come up: The disk is on fire. Its process N has ended with status 2. "
              "Its log: " +
                  m_log.path(),
              failToStart("fail"));
    EXPECT_EQ(0, m_starter.getProcess());
    EXPECT_EQ(Names{"Starting daemon 'app'..."}, m_log.entries());
}

TEST_F(Starter, SaysHowADaemonHasEnded) {
    std::string const begin = "The daemon 'app' has not come up. Its process N ";

    EXPECT_THAT(failToStart("exit-3"), StartsWith(begin + "has ended with status 3. "));
    EXPECT_THAT(failToStart("exit-0"), StartsWith(begin + "has ended with status 0. "));
    EXPECT_THAT(failToStart("crash"), StartsWith(begin + "was ended by signal 11 (SIGSEGV). "));
    EXPECT_THAT(failToStart("abort"), StartsWith(begin + "was ended by signal 6 (SIGABRT). "));
    EXPECT_FALSE(hasChild());
}

TEST_F(Starter, TakesAStepThatWasUnderWayForNoReason) {
    std::string const begin = "The daemon 'app' has not come up (Reading the map). Its process N ";

    EXPECT_THAT(failToStart("crash-in-a-step"), StartsWith(begin + "was ended by signal 11 (SIGSEGV). "));
    EXPECT_THAT(failToStart("exit-0-in-a-step"), StartsWith(begin + "has ended with status 0. "));
}

TEST_F(Starter, NoticesADaemonThatFailsAsSoonAsItRuns) {
    EXPECT_THAT(failToStart("fail-in-run"), HasSubstr("has not come up: Thrown in run. Its process N has "
                                                      "ended with status 2."));
    EXPECT_THAT(failToStart("crash-in-run"), HasSubstr("has not come up. Its process N was ended by signal "
                                                       "11 (SIGSEGV)."));
    EXPECT_THAT(failToStart("return-from-run"), HasSubstr("has not come up. Its process N has ended with "
                                                          "status 0."));
}

TEST_F(Starter, ReadsAllThatWaitsBeforeItJudgesAnEnd) {
    EXPECT_THAT(failToStart("noise-then-fail"), HasSubstr("has not come up: The disk is on fire. "));
}

TEST_F(Starter, ShowsNoControlCharactersAndNoEndlessText) {
    std::string const message = failToStart("control-characters");

    EXPECT_THAT(message, HasSubstr("has not come up:  [31mred  alert!!!"));
    EXPECT_GT(1000U, message.size());
}

TEST_F(Starter, LeavesADaemonAloneThatIsLate) {
    EXPECT_EQ("The daemon 'app' was not ready after 300 milliseconds (Initializing). Its process N goes on. "
              "Its log: " +
                  m_log.path(),
              failToStart("hang", kShort));

    EXPECT_LT(0, holder());
}

TEST_F(Starter, AsksOnceWithATimeoutOfZero) {
    EXPECT_THAT(failToStart("hang", 0), HasSubstr("was not ready after 0 seconds"));
    EXPECT_LT(0, childOf(getpid()));
}

TEST_F(Starter, MarksALateDaemonByTheErrorsCode) {
    install("hang");
    EXPECT_EQ(ETIMEDOUT, errorOf([this] { m_starter.start(0); }).getCode());
    endDaemons();

    install("fail");
    EXPECT_EQ(-1, errorOf([this] { m_starter.start(kLong); }).getCode());
}

TEST_F(Starter, WaitsAsLongAsANumberCanSay) {
    EXPECT_EQ(Result::Started, start("late", INT_MAX));
}

TEST_F(Starter, BelievesNoReadinessWithoutThePIDFile) {
    EXPECT_THAT(failToStart("lie", kShort), HasSubstr("was not ready after 300 milliseconds"));
}

TEST_F(Starter, SaysWhatItCannotKnowWhereSIGCHLDIsIgnored) {
    SignalTreatment const ignored(SIGCHLD, SIG_IGN);

    EXPECT_THAT(failToStart("exit-3"), HasSubstr("Its process N has ended; how is not known."));
}

TEST_F(Starter, WaitsWhereSIGCHLDIsIgnored) {
    SignalTreatment const ignored(SIGCHLD, SIG_IGN);

    EXPECT_EQ(Result::Started, start("fork-late"));
    EXPECT_EQ(holder(), m_starter.getProcess());
}

TEST_F(Starter, NeedsNoHandlesOnProcesses) {
    install("fail");

    Outcome const outcome = runInChild([this] {
        refuseSystemCall(SYS_pidfd_open, ENOSYS);
        m_starter.start(kLong);
    });

    EXPECT_THAT(outcome.errors, HasSubstr("The disk is on fire."));
    EXPECT_THAT(outcome.errors, HasSubstr("has ended with status 2."));
}

TEST_F(Starter, NeedsNoAdoptedChildren) {
    install("fail");

    Outcome const outcome = runInChild([this] {
        refuseSystemCall(SYS_prctl, EPERM);
        m_starter.start(kLong);
    });

    EXPECT_THAT(outcome.errors, HasSubstr("The disk is on fire."));
    EXPECT_THAT(outcome.errors, HasSubstr("has ended; how is not known."));
}

TEST_F(Starter, LeavesThisProcessAsItWas) {
    failToStart("fail"); // opens the log
    std::set<int> const descriptors = descriptorsOf(getpid());

    start("serve");
    endDaemons();
    failToStart("hang", 0);

    EXPECT_EQ(descriptors, descriptorsOf(getpid()));
    EXPECT_FALSE(adoptsOrphans());
}

TEST_F(Starter, GoesOnAdoptingOrphansInAProcessThatDoes) {
    ASSERT_EQ(0, prctl(PR_SET_CHILD_SUBREAPER, 1UL));

    failToStart("fail");

    EXPECT_TRUE(adoptsOrphans());
}

TEST_F(Starter, ReapsNobodyElsesChild) {
    Program other({"true"});
    ASSERT_TRUE(awaitSleep(other.pid()));

    failToStart("fail");

    EXPECT_EQ(0, other.wait().status);
}

TEST_F(Starter, TakesNoOtherChildForTheDaemon) {
    Program const other({"sleep", "1000"});
    auto const isOver = std::chrono::steady_clock::now() + std::chrono::milliseconds(20);
    ASSERT_TRUE(await([&] { return std::chrono::steady_clock::now() > isOver; })); // its clock tick

    EXPECT_THAT(failToStart("exit-0", INT_MAX), HasSubstr("has ended with status 0."));
    EXPECT_THAT(failToStart("fork-and-vanish", INT_MAX), HasSubstr("has ended with status 0."));
}

TEST_F(Starter, WaitsForEveryChildWhereItCannotSeeItsOwn) {
    install("fork-late");

    Outcome const outcome = runInChild([this] {
        require(unshare(CLONE_NEWPID) == 0, "no namespace");
        Outcome const inside = runInChild([this] { // with the /proc of the namespace outside
            require(m_starter.start(kLong) == Result::Started, "it was not started");
        });
        std::fputs(inside.errors.c_str(), stderr);
    });

    EXPECT_EQ("", outcome.errors);
}

TEST_F(Starter, AwaitsAScriptThatBecomesTheDaemon) {
    installScript("exec $daemon \"$@\"\n");

    EXPECT_EQ(Result::Started, m_starter.start(kLong));
    EXPECT_EQ(holder(), m_starter.getProcess());
}

TEST_F(Starter, AwaitsTheDaemonThatAScriptLeavesBehind) {
    installScript("$daemon \"$@\" &\n");

    EXPECT_EQ(Result::Started, m_starter.start(kLong));
    EXPECT_EQ(holder(), m_starter.getProcess());
}

TEST_F(Starter, AwaitsTheDaemonOfAScriptThatStays) {
    installScript("$daemon \"$@\"\nexit 1\n");

    EXPECT_EQ(Result::Started, m_starter.start(kLong));
    EXPECT_EQ(holder(), m_starter.getProcess());
}

TEST_F(Starter, AwaitsTheDaemonThatAProcessLeavesBehind) {
    for (std::string const way : {"fork", "fork-late", "fork-twice"}) {
        EXPECT_EQ(Result::Started, start(way)) << way;
        EXPECT_EQ(holder(), m_starter.getProcess()) << way;
        endDaemons();
    }
}

TEST_F(Starter, SaysHowTheDaemonHasFailedThatAProcessLeavesBehind) {
    // It may have failed before the process that has left it behind has ended.
    EXPECT_THAT(failToStart("fork-and-fail"),
                AllOf(HasSubstr("has not come up: The disk is on fire. Its process N has ended"),
                      AnyOf(HasSubstr("with status 2."), HasSubstr("how is not known."))));
    for (std::string const way : {"fork-and-fail-without-a-claim", "fork-and-fail-first"}) {
        EXPECT_THAT(failToStart(way),
                    HasSubstr("has not come up: The disk is on fire. Its process N has ended with status 5."))
            << way;
    }
}

TEST_F(Starter, FindsADaemonThatWasFaster) {
    std::string const script = m_folder.name("script");
    // Another daemon claims the file between the look and the launch.
    installScript("if [ ! -e " + m_folder.name("other") + " ]; then\n: >" + m_folder.name("other") +
                  "\nenv -u NOTIFY_SOCKET setsid $daemon \"$@\" &\n"
                  "while [ ! -s " +
                  m_folder.name("app.pid") +
                  " ]; do sleep 0.01; done\nfi\n"
                  "exec $daemon \"$@\"\n");

    EXPECT_EQ(Result::RunningAlready, m_starter.start(kLong));
    EXPECT_EQ(holder(), m_starter.getProcess());
}

// It has ended by the time that the loser's end is judged.
TEST_F(Starter, FindsADaemonThatWasFasterAndIsGone) {
    EXPECT_EQ(Result::RunningAlready, start("lose"));
    EXPECT_EQ(4711, m_starter.getProcess());
}

// As when it is being stopped: it has given its file up, and ends in a moment.
TEST_F(Starter, FindsADaemonThatWasFasterAndIsAboutToEnd) {
    EXPECT_EQ(Result::RunningAlready, start("lose-to-the-living"));
    EXPECT_EQ(1, m_starter.getProcess());
}

// The same folder has other names.
TEST_F(Starter, FindsADaemonThatWasFasterByAnyNameOfItsFolder) {
    install("lose");
    CDaemonStarter starter("app", m_folder / "../." << fdn::Path(m_folder.path().getText().AfterLast('/')));

    EXPECT_EQ(Result::RunningAlready, starter.start(kLong));
}

TEST_F(Starter, TakesTheHolderOfAnotherFileForNoDaemon) {
    EXPECT_THAT(failToStart("lose-another-file"),
                HasSubstr("has not come up: The PID file '/run/device.pid' is held by process N."));
    EXPECT_EQ(0, m_starter.getProcess());
}

TEST_F(Starter, StartsOneDaemonHoweverManyStartAtOnce) {
    constexpr int kStarters = 200;
    install("serve");
    std::vector<std::unique_ptr<Program>> starters;
    for (int count = 0; count < kStarters; ++count)
        starters.push_back(std::make_unique<Program>([this] {
            bool const isStarted = m_starter.start(INT_MAX) == Result::Started;
            std::printf("%s %d", isStarted ? "started" : "runs already", m_starter.getProcess());
        }));

    int started = 0;
    std::string const process = std::to_string(awaitHolder());
    for (auto const& starter : starters) {
        Outcome const outcome = starter->wait();
        EXPECT_THAT(outcome.output, AnyOf("started " + process, "runs already " + process)) << outcome.errors;
        started += outcome.output == "started " + process ? 1 : 0;
    }
    EXPECT_EQ(1, started);
}

TEST_F(StrangerToTheStarter, DoesNotDeceiveIt) {
    EXPECT_THAT(failFlooded("hang", kShort),
                AllOf(HasSubstr("was not ready after 300 milliseconds"), Not(HasSubstr("lie"))));
}

TEST_F(StrangerToTheStarter, DoesNotDelayIt) {
    EXPECT_THAT(failFlooded("exit-3", INT_MAX),
                AllOf(HasSubstr("has ended with status 3."), Not(HasSubstr("lie"))));
    EXPECT_THAT(failFlooded("exit-0", INT_MAX),
                AllOf(HasSubstr("has ended with status 0."), Not(HasSubstr("lie"))));
}

TEST_F(Starter, StartsADaemonInAPIDNamespaceOfItsOwn) {
    installScript("exec unshare --pid --fork $daemon \"$@\"\n");

    EXPECT_EQ(Result::Started, m_starter.start(kLong));
    EXPECT_EQ(holder(), m_starter.getProcess());
}

TEST_F(Starter, WorksInsideAPIDNamespace) {
    install("serve");

    Outcome const outcome = runInChild([this] {
        require(unshare(CLONE_NEWPID) == 0, "no namespace");
        Outcome const inside = runInChild([this] {
            mountProc();
            require(m_starter.start(kLong) == Result::Started, "it was not started");
            std::printf("%d %d", getpid(), m_starter.getProcess() == holder() ? 1 : 0);
        });
        std::fputs((inside.output + inside.errors).c_str(), stdout);
    });

    EXPECT_EQ("1 1", outcome.output) << outcome.errors; // and with process 1, all others there have ended
}

TEST_F(Starter, FailsForAProgramThatCannotBeRun) {
    install("serve");
    m_info.exePath = m_folder / "missing";
    ControllerTest::install();

    EXPECT_THAT(failToStart(), HasSubstr("'" + m_folder.name("missing") + "'"));
}

TEST_F(Starter, FailsWhenItIsNotInstalled) {
    EXPECT_THAT(failToStart(), HasSubstr("'/etc/init.d/app'"));
}

TEST_F(Starter, FailsWithoutAnyControlFolder) {
    dmn::CDaemonController::install(m_info, "app", fdn::Path(), "", "", "", "");

    EXPECT_THAT(failToStart(), HasSubstr("has no control folder"));
}

TEST_F(Starter, TakesTheControlFolderThatItWasGiven) {
    TemporaryFolder const other;
    install("serve");

    EXPECT_EQ(Result::Started, CDaemonStarter("app", other.path()).start(kLong));
    EXPECT_LT(0, fdn::CPIDFile::getActivePID(other / "app.pid"));
}

// One in /run is gone after each boot.
TEST_F(Starter, MakesAMissingControlFolder) {
    install("serve");
    fdn::Path const missing = m_folder.path() << fdn::Path("of/this/boot");

    EXPECT_EQ(Result::Started, CDaemonStarter("app", missing).start(kLong));
    EXPECT_LT(0, fdn::CPIDFile::getActivePID(missing << fdn::Path("app.pid")));
    CDaemonStopper("app", missing).stop(kLong, CDaemonStopper::Force::No);
}

TEST_F(Starter, LeavesADaemonToItselfWhenItsProgressIsRefused) {
    install("serve");
    m_starter.setProgress([](fdn::String const&) { throw fdn::CError("No more."); });

    EXPECT_THAT(failToStart(), StartsWith("The daemon 'app' was started (process N), but it is unknown "
                                          "whether it is ready: No more. Its log: "));
    EXPECT_TRUE(await([this] { return holder() > 0; }));
    EXPECT_FALSE(adoptsOrphans());
}

TEST_F(StarterOfTheLibrary, AwaitsItsDaemon) {
    Names steps;
    m_starter.setProgress([&](fdn::String const& step) { steps.push_back(step.toUTF8()); });
    installDaemon("");

    EXPECT_EQ(Result::Started, m_starter.start(kLong));
    EXPECT_EQ(holder(), m_starter.getProcess());
    EXPECT_THAT(steps, testing::Contains("Claiming the PID file"));
}

TEST_F(StarterOfTheLibrary, SaysWhatItsDaemonHasThrown) {
    for (std::string const hook : {"onCommandLineParsed", "createDaemon", "daemon.init", "daemon.run"}) {
        EXPECT_THAT(failWith(hook + "=throw"), HasSubstr("has not come up: Thrown in " + hook +
                                                         ". Its process N has ended with status 2."));
    }
}

TEST_F(StarterOfTheLibrary, SaysHowItsDaemonHasEnded) {
    std::vector<std::string> hooks{"createDaemon", "daemon.init"};
    if (!test::kHasAddressSanitizer) // a process that looks for leaks on its way out seems to have settled
                                     // down
        hooks.emplace_back("daemon.run");
    for (std::string const& hook : hooks)
        EXPECT_THAT(failWith(hook + "=exit"), HasSubstr("Its process N has ended with status 7.")) << hook;
    EXPECT_THAT(failWith("daemon.init=throw-number"), HasSubstr("was ended by signal 6 (SIGABRT)."));
    EXPECT_THAT(failWith("daemon.run=throw-number"), HasSubstr("was ended by signal 6 (SIGABRT)."));
    EXPECT_THAT(failWith("daemon.run=return"), HasSubstr("has ended with status 0."));
}

TEST_F(StarterAs, AwaitsADaemonUnderAnotherAccount) {
    install("serve", "dmnuser");

    EXPECT_EQ(Result::Started, m_starter.start(kLong));

    EXPECT_EQ("61001 61001 61001 61001", statusOf(m_starter.getProcess(), "Uid"));
}

TEST_F(StarterAs, SaysWhyADaemonUnderAnotherAccountHasFailed) {
    setMode(m_folder.name(), 0755); // where the account cannot write
    install("serve", "dmnuser");

    EXPECT_THAT(failToStart(), AllOf(HasSubstr("'" + m_folder.name()), HasSubstr("Permission denied"),
                                     HasSubstr("has ended with status 2.")));
}

// Whoever keeps a file of that account locked is not believed to be the daemon.
TEST_F(StarterAs, TakesNobodyForTheDaemonWhoOnlyKeepsTheFileLocked) {
    std::string const file = m_folder.name("app.pid");
    writeFile(file, "");
    ASSERT_EQ(0, chown(file.c_str(), 61001, 61001));
    Program const locking([&] {
        fdn::Descriptor const locked(open(file.c_str(), O_RDWR | O_CLOEXEC));
        struct flock lock = {};
        lock.l_type = F_WRLCK;
        require(fcntl(locked.get(), F_SETLK, &lock) == 0, "no lock");
        std::fputs("locked", stdout);
        std::fflush(stdout);
        pause();
    });
    ASSERT_TRUE(awaitOutput(locking, "locked"));

    EXPECT_THAT(failToStart("serve"), HasSubstr("has not come up: The PID file '" + file + "' is held by"));
    EXPECT_EQ(0, m_starter.getProcess());
}

TEST_F(StarterAs, FailsForAnOrdinaryUserBeforeAnythingHappens) {
    install("serve");

    Outcome const outcome = runInChild([this] {
        becomeUser();
        m_starter.start(kLong);
    });

    EXPECT_EQ("The process does not have the necessary root privileges for this operation.", outcome.errors);
    EXPECT_EQ(Names{"Starting daemon 'app'..."}, m_log.entries());
    EXPECT_EQ(0, holder());
}

} // namespace test
