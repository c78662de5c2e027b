#include "support/BlockedSignal.h"
#include "support/CurrentFolder.h"
#include "support/Obstacles.h"
#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/SignalTreatment.h"
#include "support/TemporaryFolder.h"
#include "support/await.h"
#include "support/errors.h"
#include "support/fileInfo.h"
#include "support/processInfo.h"

#include <fdn/CError.h>
#include <fdn/CSystemAccountManager.h>
#include <fdn/programs.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <iostream>
#include <new>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using fdn::CError;
using fdn::CExecCommand;
using fdn::CImpersonateInfo;
using fdn::CIPCConnectionToSubProcess;
using fdn::execSyncReturnOutputAsString;
using fdn::forkAndExec;
using fdn::ForkExecLevel;
using fdn::Path;
using fdn::String;
using fdn::TArray;
using test::await;
using test::BlockedSignal;
using test::CurrentFolder;
using test::errorOf;
using test::linesOf;
using test::reap;
using test::SignalTreatment;
using test::TemporaryFolder;
using testing::Contains;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Not;
using testing::UnorderedElementsAre;

using Variables = fdn::TMap<String, String>;

constexpr char kNoSignals[] = "0000000000000000";

#ifdef SYS_vfork
constexpr long kMakeProcess = SYS_vfork;
#else
constexpr long kMakeProcess = SYS_clone;
#endif

String const kNulInside = String(wxString(L"a\0b", 3));

CExecCommand shell(char const* script, TArray<String> const& parameters = {}) {
    TArray<String> arguments = {"-c", script, "sh"};
    arguments.insert(arguments.end(), parameters.begin(), parameters.end());
    return CExecCommand(Path("/bin/sh"), arguments);
}

CExecCommand command(char const* program, TArray<String> const& arguments = {}) {
    return CExecCommand(Path(program), arguments);
}

String outputOf(CExecCommand const& command, Path const& folder = Path()) {
    return execSyncReturnOutputAsString(command, false, nullptr, folder);
}

int start(CExecCommand const& command, ForkExecLevel level, Path const& folder = Path()) {
    return forkAndExec(command, nullptr, level, folder, nullptr, nullptr, nullptr, nullptr);
}

std::string readAll(CIPCConnectionToSubProcess& connection) {
    std::string content;
    std::array<char, 100> buffer = {};
    while (std::size_t const count = connection.read(buffer.data(), buffer.size()))
        content.append(buffer.data(), count);
    return content;
}

String propertyOf(CError const& error, char const* name) {
    auto const found = error.getProps().find(name);
    return found == error.getProps().end() ? String("(missing)") : found->second;
}

// A program that runs as long as the object lives.
class RunningProgram {
public:
    explicit RunningProgram(ForkExecLevel level, Path const& folder = Path(),
                            CImpersonateInfo* account = nullptr, Variables const* environment = nullptr)
        : m_pid(forkAndExec(command("/bin/cat"), account, level, folder, &m_input, nullptr, nullptr,
                            environment)) {}

    RunningProgram(RunningProgram const&) = delete;
    RunningProgram& operator=(RunningProgram const&) = delete;

    ~RunningProgram() {
        m_input.close();
        if (waitpid(m_pid, nullptr, 0) == -1) {
            EXPECT_TRUE(await([this] { return kill(m_pid, 0) == -1; }));
        }
    }

    int pid() const { return m_pid; }

private:
    CIPCConnectionToSubProcess m_input;
    int m_pid;
};

// Awaits this state, because a program opens its libraries first.
bool hasJustStandardStreams(RunningProgram const& program) {
    return await([&] { return test::descriptorsOf(program.pid()) == std::set<int>{0, 1, 2}; });
}

// Checks that whatever a start does, the process then has no new descriptors and no child.
class LeavesNothingBehind : public testing::Test {
protected:
    void TearDown() override {
        EXPECT_EQ(test::descriptorsOf(getpid()), m_descriptors);
        EXPECT_FALSE(test::hasChild());
    }

private:
    std::set<int> const m_descriptors = test::descriptorsOf(getpid());
};

class ExecSync : public LeavesNothingBehind {};

class ForkAndExec : public LeavesNothingBehind {};

class FailingStart : public LeavesNothingBehind, public testing::WithParamInterface<ForkExecLevel> {};

TEST_F(ExecSync, ReturnsWhatTheProgramWrites) {
    EXPECT_EQ(outputOf(shell("echo one; echo two")), "one\ntwo\n");
}

TEST_F(ExecSync, HandsArgumentsOverUnchanged) {
    TArray<String> const arguments = {"a b", "", "*", "$HOME", "'\"\n\\", String(L"\u00e4\u20ac")};

    String const output = outputOf(shell("printf '<%s>' \"$@\"", arguments));

    EXPECT_EQ(output, String(L"<a b><><*><$HOME><'\"\n\\><\u00e4\u20ac>"));
}

TEST_F(ExecSync, NamesTheProgramAfterItsPath) {
    EXPECT_EQ(outputOf(command("/bin/sh", {"-c", "echo $0"})), "/bin/sh\n");
}

TEST_F(ExecSync, ReadsBytesThatAreNotUTF8AsLatin1) {
    EXPECT_EQ(outputOf(shell("printf 'a\\351'")), String(L"a\u00e9"));
}

TEST_F(ExecSync, ReturnsMoreThanAPipeHolds) {
    EXPECT_EQ(outputOf(shell("head -c 1000000 /dev/zero | tr '\\0' x")).length(), 1000000U);
}

TEST_F(ExecSync, GivesTheProgramNothingToRead) {
    EXPECT_EQ(outputOf(command("/bin/cat")), "");
    EXPECT_EQ(outputOf(shell("readlink /proc/$$/fd/0")), "/dev/null\n");
}

TEST_F(ExecSync, LeavesStandardErrorToTheCaller) {
    test::Outcome const outcome =
        test::runInChild([] { std::cout << outputOf(shell("echo out; echo err >&2")).toUTF8(); });

    EXPECT_EQ(outcome.output, "out\n");
    EXPECT_EQ(outcome.errors, "err\n");
}

TEST_F(ExecSync, IncludesStandardErrorInOrder) {
    String const output =
        execSyncReturnOutputAsString(shell("echo a; echo b >&2; echo c"), true, nullptr, Path());

    EXPECT_EQ(output, "a\nb\nc\n");
}

TEST_F(ExecSync, IgnoresTheExitStatusOfAProgramThatHasPrintedSomething) {
    EXPECT_EQ(outputOf(shell("echo a; exit 3")), "a\n");
    EXPECT_EQ(outputOf(shell("echo a; kill -9 $$")), "a\n");
}

TEST_F(ExecSync, ThrowsWhenAProgramFailsWithoutAWord) {
    EXPECT_EQ(test::messageOf([] { outputOf(shell("exit 2")); }),
              "The program '/bin/sh' has failed without an answer to '-c exit 2 sh': status 2.");
    EXPECT_EQ(test::messageOf([] { outputOf(shell("kill -9 $$")); }),
              "The program '/bin/sh' has failed without an answer to '-c kill -9 $$ sh': ended by signal 9.");
}

TEST_F(ExecSync, TakesTheStatusOneForANo) {
    EXPECT_EQ(outputOf(shell("exit 1")), "");
}

TEST_F(ExecSync, ThrowsWhereChildrenBecomeForgottenMeanwhile) {
    TemporaryFolder const folder;
    SignalTreatment const asUsual(SIGCHLD, SIG_DFL);
    std::thread other([&] {
        EXPECT_TRUE(await(&test::hasChild));
        signal(SIGCHLD, SIG_IGN);
        test::writeFile(folder.name("go"), "");
    });

    std::string const message = test::messageOf(
        [&] { outputOf(shell("until [ -e go ]; do sleep 0.01; done; echo a"), folder.path()); });

    EXPECT_THAT(message, testing::StartsWith(
                             "The program '/bin/sh' may have failed without its whole answer to '-c until"));
    other.join();
}

TEST_F(ExecSync, WaitsForNobodyElseWhoHoldsTheOutput) {
    String const output = outputOf(shell("sleep 1000 & echo $!"));

    EXPECT_EQ(kill(std::stoi(output.toUTF8()), SIGKILL), 0);
}

TEST_F(ExecSync, WaitsForNobodyElseWhoGoesOnWriting) {
    EXPECT_THAT(outputOf(shell("yes & echo a")).toUTF8(), HasSubstr("a\n"));
}

TEST_F(ExecSync, WaitsForAProgramThatHasClosedItsOutput) {
    EXPECT_EQ(test::messageOf([] { outputOf(shell("exec >&-; sleep 0.1; exit 2")); }),
              "The program '/bin/sh' has failed without an answer to '-c exec >&-; sleep 0.1; exit 2 sh': "
              "status 2.");
}

TEST_F(ExecSync, ReadsToTheEndOfTheOutputWhereTheKernelHasNoHandlesOfProcesses) {
    test::Outcome const outcome = test::runInChild([] {
        test::refuseSystemCall(SYS_pidfd_open, ENOSYS);
        std::cout << outputOf(shell("(sleep 0.1; echo b) & echo a")).toUTF8();
    });

    EXPECT_EQ(outcome.output, "a\nb\n");
}

TEST_F(ExecSync, RunsInTheGivenFolder) {
    TemporaryFolder const folder;

    EXPECT_EQ(outputOf(command("/bin/pwd"), folder.path()), folder.path().getText() + "\n");
}

TEST_F(ExecSync, RunsInTheCallersFolderWhenNoneIsGiven) {
    TemporaryFolder const folder;
    CurrentFolder const current(folder.name());

    EXPECT_EQ(outputOf(command("/bin/pwd")), folder.path().getText() + "\n");
}

TEST_F(ExecSync, TakesARelativeProgramFromTheCallersFolder) {
    TemporaryFolder const folder;
    test::writeFile(folder.name("program"), "#!/bin/sh\npwd\necho \"$0\"\n");
    test::setMode(folder.name("program"), 0755);
    CurrentFolder const current(folder.name());

    String const output = outputOf(command("program"), Path("/"));

    EXPECT_EQ(output, "/\n" + folder.path().getText() + "/program\n");
}

TEST_F(ExecSync, InheritsTheEnvironmentWhenNoneIsGiven) {
    setenv("FDN_TEST_VARIABLE", "a=b c", 1);

    EXPECT_EQ(outputOf(shell("echo $FDN_TEST_VARIABLE")), "a=b c\n");

    unsetenv("FDN_TEST_VARIABLE");
}

TEST_F(ExecSync, GivesExactlyTheGivenEnvironment) {
    Variables const variables = {{"A", "1"}, {"B", ""}, {"C", "x=y z"}};

    String const output = execSyncReturnOutputAsString(command("/usr/bin/env"), false, &variables, Path());

    EXPECT_EQ(output, "A=1\nB=\nC=x=y z\n");
}

TEST_F(ExecSync, WorksWhereTheCallerHasClosedItsStandardStreams) {
    TemporaryFolder const folder;

    test::runInChild([&] {
        for (int stream : {0, 1, 2})
            close(stream);
        String const output =
            execSyncReturnOutputAsString(shell("cat; echo a; echo b >&2"), true, nullptr, Path());
        test::writeFile(folder.name("output"), output.toUTF8());
    });

    EXPECT_EQ(test::readFile(folder.name("output")), "a\nb\n");
}

TEST_F(ExecSync, RefusesTextsThatWouldBeCut) {
    Variables const variable = {{"A", kNulInside}};

    EXPECT_THROW(outputOf(CExecCommand(Path(kNulInside), {})), fdn::CUnencodableStringError);
    EXPECT_THROW(outputOf(shell("true", {kNulInside})), fdn::CUnencodableStringError);
    EXPECT_THROW(outputOf(shell("true"), Path(kNulInside)), fdn::CUnencodableStringError);
    EXPECT_THROW(execSyncReturnOutputAsString(shell("true"), false, &variable, Path()),
                 fdn::CUnencodableStringError);
}

TEST_F(ExecSync, RefusesVariablesThatWouldBeOthers) {
    for (char const* name : {"", "A=B", "="}) {
        Variables const variables = {{name, "value"}};

        EXPECT_THROW(execSyncReturnOutputAsString(shell("true"), false, &variables, Path()), CError) << name;
    }
}

TEST_F(ExecSync, SaysWhichProgramCannotBeStarted) {
    CError const error = errorOf([] { outputOf(command("/no/such/program")); });

    EXPECT_EQ(error.getMessage(), "execve failed for '/no/such/program': No such file or directory.");
    EXPECT_EQ(error.getCode(), ENOENT);
    EXPECT_EQ(propertyOf(error, "func"), "execve");
    EXPECT_EQ(propertyOf(error, "program"), "/no/such/program");
}

TEST_F(ExecSync, ServesSeveralThreadsAtOnce) {
    std::vector<std::thread> threads;
    std::array<bool, 8> results = {};

    for (std::size_t i = 0; i < results.size(); ++i)
        threads.emplace_back([&results, i] {
            String const word = String(std::to_string(i).c_str());
            results[i] = true;
            for (int round = 0; round < 10; ++round)
                results[i] = results[i] && outputOf(shell("echo $1", {word})) == word + "\n";
        });
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_THAT(results, testing::Each(true));
}

void reapAll(int) {
    int const error = errno;
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    errno = error;
}

struct Forgetting {
    char const* name;
    void (*handler)(int);
    int flags;
};

std::ostream& operator<<(std::ostream& stream, Forgetting const& forgetting) {
    return stream << forgetting.name;
}

// The system or a handler discards how children end.
class ForgottenChildren : public LeavesNothingBehind, public testing::WithParamInterface<Forgetting> {
protected:
    void SetUp() override { forget(); }

    void TearDown() override {
        remember();
        LeavesNothingBehind::TearDown();
    }

    static void forget() {
        struct sigaction treatment = {};
        treatment.sa_handler = GetParam().handler;
        treatment.sa_flags = GetParam().flags;
        sigaction(SIGCHLD, &treatment, nullptr);
    }

    // Restores the usual treatment, for what the test itself does.
    static void remember() { signal(SIGCHLD, SIG_DFL); }
};

TEST_P(ForgottenChildren, AreTreatedAsBeforeByTheCaller) {
    outputOf(shell("echo a"));

    struct sigaction treatment = {};
    sigaction(SIGCHLD, nullptr, &treatment);
    EXPECT_EQ(treatment.sa_handler, GetParam().handler);
    EXPECT_EQ(treatment.sa_flags & SA_NOCLDWAIT, GetParam().flags & SA_NOCLDWAIT);
}

TEST_P(ForgottenChildren, DoNotKeepTheOutputFromTheCaller) {
    EXPECT_EQ(outputOf(shell("echo a")), "a\n");
    EXPECT_EQ(outputOf(shell("exit 1")), "");
    EXPECT_EQ(outputOf(shell("head -c 1000000 /dev/zero | tr '\\0' x")).length(), 1000000U);
}

TEST_P(ForgottenChildren, AreKnownToHaveFailed) {
    EXPECT_EQ(test::messageOf([] { outputOf(shell("exit 2")); }),
              "The program '/bin/sh' has failed without an answer to '-c exit 2 sh': status 2.");
    EXPECT_EQ(test::messageOf([] { outputOf(shell("kill -9 $$")); }),
              "The program '/bin/sh' has failed without an answer to '-c kill -9 $$ sh': ended by signal 9.");
}

TEST_P(ForgottenChildren, AreKnownNotToHaveBeenStarted) {
    CError const error = errorOf([] { outputOf(command("/no/such/program")); });

    EXPECT_EQ(error.getMessage(), "execve failed for '/no/such/program': No such file or directory.");
}

TEST_P(ForgottenChildren, AreMissedWhereNobodyIsLeftToTellTheirEnd) {
    EXPECT_EQ(test::messageOf([] { outputOf(shell("echo a; kill -9 $PPID; exec sleep 1000")); }),
              "The program '/bin/sh' may have failed without its whole answer to '-c echo a; kill -9 $PPID; "
              "exec sleep 1000 sh': how it has ended is not known.");
}

TEST_P(ForgottenChildren, AreWaitedForAndNobodyElse) {
    String const output = outputOf(shell("sleep 1000 & echo $!"));

    EXPECT_EQ(kill(std::stoi(output.toUTF8()), SIGKILL), 0);
}

TEST_P(ForgottenChildren, AreWaitedForWhereTheKernelHasNoHandlesOfProcesses) {
    remember();
    test::Outcome const outcome = test::runInChild([] {
        forget();
        test::refuseSystemCall(SYS_pidfd_open, ENOSYS);
        std::cout << outputOf(shell("sleep 1000 >/dev/null & echo a")).toUTF8() << std::flush;
        outputOf(shell("exit 2"));
    });

    EXPECT_EQ(outcome.output, "a\n");
    EXPECT_THAT(outcome.errors, HasSubstr("status 2"));
}

TEST_P(ForgottenChildren, AreNeverTakenForSilentOnesWithFewDescriptors) {
    remember();
    test::Outcome const outcome = test::runInChild([] {
        forget();
        for (rlim_t limit = 3; limit < 20; ++limit) {
            rlimit const few = {limit, 20};
            setrlimit(RLIMIT_NOFILE, &few);
            try {
                std::cout << outputOf(shell("echo a")).toUTF8();
            } catch (CError const& error) {
                EXPECT_NE(error.getMessage(), "");
            }
            std::cout << ".";
        }
    });

    EXPECT_THAT(outcome.output, testing::MatchesRegex("\\.*(a\n\\.)+"));
}

INSTANTIATE_TEST_SUITE_P(AllWays, ForgottenChildren,
                         testing::Values(Forgetting{"ignored", SIG_IGN, 0},
                                         Forgetting{"not waited for", SIG_DFL, SA_NOCLDWAIT},
                                         Forgetting{"reaped by a handler", &reapAll, SA_RESTART}));

TEST_F(ForkAndExec, ReturnsTheProcessOfTheProgram) {
    int const pid = start(shell("exit 7"), ForkExecLevel::Child);

    EXPECT_EQ(reap(pid), 7);
}

TEST_F(ForkAndExec, StartsAChildInTheCallersSession) {
    RunningProgram const program(ForkExecLevel::Child);

    EXPECT_EQ(test::statusOf(program.pid(), "PPid"), std::to_string(getpid()));
    EXPECT_EQ(getsid(program.pid()), getsid(0));
    EXPECT_EQ(getpgid(program.pid()), getpgid(0));
}

TEST_F(ForkAndExec, StartsAChildInASessionOfItsOwn) {
    RunningProgram const program(ForkExecLevel::Session);

    EXPECT_EQ(test::statusOf(program.pid(), "PPid"), std::to_string(getpid()));
    EXPECT_EQ(getsid(program.pid()), program.pid());
    EXPECT_EQ(getpgid(program.pid()), program.pid());
}

TEST_F(ForkAndExec, StartsADetachedProcessInASessionThatItDoesNotLead) {
    RunningProgram const program(ForkExecLevel::Detached);

    EXPECT_NE(test::statusOf(program.pid(), "PPid"), std::to_string(getpid()));
    EXPECT_NE(getsid(program.pid()), getsid(0));
    EXPECT_NE(getsid(program.pid()), program.pid());
    EXPECT_FALSE(test::hasChild());
}

TEST_F(ForkAndExec, TakesTheLevelTwoForDetached) {
    EXPECT_EQ(static_cast<ForkExecLevel>(2), ForkExecLevel::Detached);
}

TEST_F(ForkAndExec, GivesADetachedProcessNoStreamsOfTheCallers) {
    RunningProgram const program(ForkExecLevel::Detached);

    EXPECT_EQ(test::openFileOf(program.pid(), 1), "/dev/null");
    EXPECT_EQ(test::openFileOf(program.pid(), 2), "/dev/null");
}

TEST_F(ForkAndExec, LetsAChildHaveTheCallersStreams) {
    test::Outcome const outcome = test::runInChild([] {
        reap(start(shell("echo out; echo err >&2"), ForkExecLevel::Child));
        reap(start(shell("echo out; echo err >&2"), ForkExecLevel::Session));
    });

    EXPECT_EQ(outcome.output, "out\nout\n");
    EXPECT_EQ(outcome.errors, "err\nerr\n");
}

TEST_F(ForkAndExec, ConnectsAllThreeStreams) {
    CIPCConnectionToSubProcess input;
    CIPCConnectionToSubProcess output;
    CIPCConnectionToSubProcess error;

    int const pid = forkAndExec(shell("read line; echo \"got $line\"; echo oops >&2"), nullptr,
                                ForkExecLevel::Child, Path(), &input, &output, &error, nullptr);
    input.write("word\n", 5);

    EXPECT_EQ(readAll(output), "got word\n");
    EXPECT_EQ(readAll(error), "oops\n");
    EXPECT_EQ(reap(pid), 0);
}

TEST_F(ForkAndExec, ConnectsTheStreamsOfADetachedProcess) {
    CIPCConnectionToSubProcess output;

    forkAndExec(shell("echo out; readlink /proc/$$/fd/0"), nullptr, ForkExecLevel::Detached, Path(), nullptr,
                &output, nullptr, nullptr);

    EXPECT_EQ(readAll(output), "out\n/dev/null\n");
}

TEST_F(ForkAndExec, ConnectsStreamsWhereTheCallerHasClosedItsOwn) {
    TemporaryFolder const folder;

    test::runInChild([&] {
        for (int stream : {0, 1, 2})
            close(stream);
        CIPCConnectionToSubProcess input;
        CIPCConnectionToSubProcess output;
        CIPCConnectionToSubProcess error;
        forkAndExec(shell("cat; echo err >&2"), nullptr, ForkExecLevel::Detached, Path(), &input, &output,
                    &error, nullptr);
        input.write("in\n", 3);
        input.close();
        test::writeFile(folder.name("result"), readAll(output) + readAll(error));
    });

    EXPECT_EQ(test::readFile(folder.name("result")), "in\nerr\n");
}

TEST_F(ForkAndExec, StartsWithAllSignalsUnblockedAndTreatedAsUsual) {
    BlockedSignal const blocked(SIGTERM);
    SignalTreatment const ignored(SIGHUP, SIG_IGN);
    SignalTreatment const pipeIgnored(SIGPIPE, SIG_IGN);

    for (ForkExecLevel level : {ForkExecLevel::Child, ForkExecLevel::Session, ForkExecLevel::Detached}) {
        RunningProgram const program(level);

        EXPECT_EQ(test::statusOf(program.pid(), "SigBlk"), kNoSignals);
        EXPECT_EQ(test::statusOf(program.pid(), "SigIgn"), kNoSignals);
    }
}

// Shared by all processes: a handler sets the flag when it runs in another process than it is meant for.
std::atomic<pid_t> handlingProcess{0};
std::atomic<bool>* strayCalls = nullptr;

void noteStrayCall(int) {
    if (getpid() != handlingProcess)
        *strayCalls = true;
}

TEST_F(ForkAndExec, RunsNoneOfTheCallersHandlersInTheNewProcess) {
    void* const shared =
        mmap(nullptr, sizeof *strayCalls, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    strayCalls = new (shared) std::atomic<bool>(false);

    test::Outcome const outcome = test::runInChild([] {
        handlingProcess = getpid();
        setpgid(0, 0);
        signal(SIGUSR1, &noteStrayCall);
        std::atomic<bool> isDone{false};
        std::thread signalling([&] {
            while (!isDone)
                kill(0, SIGUSR1);
        });
        for (int i = 0; i < 100; ++i)
            reap(start(command("/bin/true"), ForkExecLevel::Child));
        isDone = true;
        signalling.join();
    });

    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_FALSE(*strayCalls);
    munmap(shared, sizeof *strayCalls);
}

TEST_F(ForkAndExec, LeavesTheCallersSignalsAsTheyWere) {
    BlockedSignal const blocked(SIGUSR1);
    std::string const mask = test::statusOf(getpid(), "SigBlk");
    std::string const treatments = test::statusOf(getpid(), "SigCgt") + test::statusOf(getpid(), "SigIgn");

    EXPECT_EQ(reap(start(command("/bin/true"), ForkExecLevel::Child)), 0);
    EXPECT_THROW(start(command("/no/such/program"), ForkExecLevel::Child), CError);

    EXPECT_EQ(test::statusOf(getpid(), "SigBlk"), mask);
    EXPECT_EQ(test::statusOf(getpid(), "SigCgt") + test::statusOf(getpid(), "SigIgn"), treatments);
}

TEST_F(ForkAndExec, HandsNoDescriptorOnButTheStandardStreams) {
    int const low = open("/dev/null", O_RDONLY); // NOLINT: inheritable on purpose
    int const high = fcntl(low, F_DUPFD, 900);
    ASSERT_GE(high, 900);

    for (ForkExecLevel level : {ForkExecLevel::Child, ForkExecLevel::Session, ForkExecLevel::Detached}) {
        RunningProgram const program(level);

        EXPECT_TRUE(hasJustStandardStreams(program)) << testing::PrintToString(level);
    }

    close(low);
    close(high);
}

TEST_F(ForkAndExec, HandsNoDescriptorOnWhereTheKernelCannotMarkAllAtOnce) {
    test::Outcome const outcome = test::runInChild([] {
        fcntl(open("/dev/null", O_RDONLY), F_DUPFD, 900);
        test::refuseSystemCall(SYS_close_range, ENOSYS);
        RunningProgram const program(ForkExecLevel::Child);
        std::cout << hasJustStandardStreams(program);
    });

    EXPECT_EQ(outcome.output, "1");
}

TEST_F(ForkAndExec, PutsTheProgramInTheFolder) {
    TemporaryFolder const folder;

    RunningProgram const program(ForkExecLevel::Detached, folder.path());

    EXPECT_EQ(test::currentFolderOf(program.pid()), folder.name());
}

TEST_F(ForkAndExec, KeepsTheCallersUmask) {
    mode_t const previous = umask(0037);

    RunningProgram const program(ForkExecLevel::Detached);

    EXPECT_EQ(test::statusOf(program.pid(), "Umask"), "0037");
    umask(previous);
}

TEST_F(ForkAndExec, ConnectsNothingWhenTheStartFails) {
    CIPCConnectionToSubProcess input;
    CIPCConnectionToSubProcess output;

    EXPECT_THROW(forkAndExec(command("/no/such/program"), nullptr, ForkExecLevel::Child, Path(), &input,
                             &output, nullptr, nullptr),
                 CError);

    EXPECT_FALSE(input.isConnected());
    EXPECT_FALSE(output.isConnected());
}

TEST_F(ForkAndExec, WorksWhereTheCallerIgnoresItsChildren) {
    SignalTreatment const ignored(SIGCHLD, SIG_IGN);

    EXPECT_GT(start(command("/bin/true"), ForkExecLevel::Detached), 0);
    EXPECT_THROW(start(command("/no/such/program"), ForkExecLevel::Detached), CError);
}

// A thread that makes processes, which inherit every pipe of a start and live on.
class ForkingThread {
public:
    ForkingThread() : m_thread([this] { forkOn(); }) {}

    ForkingThread(ForkingThread const&) = delete;
    ForkingThread& operator=(ForkingThread const&) = delete;

    ~ForkingThread() {
        m_isDone = true;
        m_thread.join();
        for (pid_t child : m_children)
            kill(child, SIGKILL);
    }

private:
    void forkOn() {
        while (!m_isDone && m_children.size() < 300) {
            pid_t const child = _Fork();
            if (child == 0)
                while (true)
                    pause();
            m_children.push_back(child);
        }
    }

    std::atomic<bool> m_isDone{false};
    std::vector<pid_t> m_children;
    std::thread m_thread;
};

TEST_F(ForkAndExec, WaitsForNoProcessOfAnotherThread) {
    for (ForkExecLevel level : {ForkExecLevel::Child, ForkExecLevel::Session, ForkExecLevel::Detached}) {
        test::Outcome const outcome = test::runInChild([level] {
            ForkingThread const forking;
            for (int i = 0; i < 30; ++i)
                waitpid(start(command("/bin/true"), level), nullptr, 0);
        });

        EXPECT_EQ(outcome.status, 0) << outcome.errors;
    }
}

TEST_F(ForkAndExec, LeavesNoOrphanToAProcessThatInheritsThem) {
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);

    EXPECT_THROW(start(command("/no/such/program"), ForkExecLevel::Detached), CError);

    EXPECT_FALSE(test::hasChild());
    prctl(PR_SET_CHILD_SUBREAPER, 0);
}

TEST_P(FailingStart, SaysThatTheProgramIsMissing) {
    CError const error = errorOf([] { start(command("/no/such/program"), GetParam()); });

    EXPECT_EQ(error.getCode(), ENOENT);
    EXPECT_EQ(propertyOf(error, "func"), "execve");
    EXPECT_EQ(propertyOf(error, "program"), "/no/such/program");
}

TEST_P(FailingStart, SaysThatTheProgramHasNoPath) {
    EXPECT_EQ(errorOf([] { start(command(""), GetParam()); }).getCode(), ENOENT);
}

TEST_P(FailingStart, SaysThatTheProgramIsNotExecutable) {
    TemporaryFolder const folder;
    test::writeFile(folder.name("text"), "#!/bin/sh\n");

    CError const error = errorOf([&] { start(CExecCommand(folder / "text", {}), GetParam()); });

    EXPECT_EQ(error.getCode(), EACCES);
    EXPECT_THAT(error.what(), HasSubstr(folder.name("text")));
}

TEST_P(FailingStart, SaysThatTheProgramIsAFolder) {
    EXPECT_EQ(errorOf([] { start(command("/usr"), GetParam()); }).getCode(), EACCES);
}

TEST_P(FailingStart, SaysThatThereIsAFileOnTheWayToTheProgram) {
    EXPECT_EQ(errorOf([] { start(command("/bin/sh/program"), GetParam()); }).getCode(), ENOTDIR);
}

TEST_P(FailingStart, SaysThatAnEmptyFileIsNoProgram) {
    TemporaryFolder const folder;
    test::writeFile(folder.name("empty"), "");
    test::setMode(folder.name("empty"), 0755);

    EXPECT_EQ(errorOf([&] { start(CExecCommand(folder / "empty", {}), GetParam()); }).getCode(), ENOEXEC);
}

TEST_P(FailingStart, SaysThatTheFolderIsMissing) {
    CError const error = errorOf([] { start(command("/bin/true"), GetParam(), Path("/no/such/folder")); });

    EXPECT_EQ(error.getMessage(), "chdir failed for '/no/such/folder': No such file or directory.");
    EXPECT_EQ(error.getCode(), ENOENT);
    EXPECT_EQ(propertyOf(error, "func"), "chdir");
    EXPECT_EQ(propertyOf(error, "path"), "/no/such/folder");
    EXPECT_EQ(propertyOf(error, "program"), "/bin/true");
}

TEST_P(FailingStart, SaysThatNoProcessCanBeMade) {
    test::Outcome const outcome = test::runInChild([] {
        test::refuseSystemCall(kMakeProcess, EAGAIN);
        start(command("/bin/true"), GetParam());
    });

    EXPECT_EQ(outcome.errors, "vfork failed for '/bin/true': Resource temporarily unavailable.");
}

// Where there is a process in between, setsid() ends that one.
TEST_P(FailingStart, SaysThatTheProcessWasEndedOnTheWay) {
    for (long call : {SYS_setsid, SYS_chdir}) {
        if (call == SYS_setsid && GetParam() == ForkExecLevel::Child)
            continue;
        test::Outcome const outcome = test::runInChild([call] {
            test::endAtSystemCall(call);
            CIPCConnectionToSubProcess output;
            forkAndExec(command("/bin/true"), nullptr, GetParam(), Path("/"), nullptr, &output, nullptr,
                        nullptr);
        });

        EXPECT_EQ(outcome.errors, "The program '/bin/true' was ended before it could run.") << call;
    }
}

INSTANTIATE_TEST_SUITE_P(AllLevels, FailingStart,
                         testing::Values(ForkExecLevel::Child, ForkExecLevel::Session,
                                         ForkExecLevel::Detached));

TEST(CIPCConnectionToSubProcess, IsUnconnectedAtFirst) {
    CIPCConnectionToSubProcess connection;
    char byte = 0;

    EXPECT_FALSE(connection.isConnected());
    EXPECT_EQ(errorOf([&] { connection.read(&byte, 1); }).getCode(), EBADF);
    EXPECT_EQ(errorOf([&] { connection.write(&byte, 1); }).getCode(), EBADF);
}

void connectToAnEndedProgram(CIPCConnectionToSubProcess& input) {
    reap(forkAndExec(command("/bin/true"), nullptr, ForkExecLevel::Child, Path(), &input, nullptr, nullptr,
                     nullptr));
}

bool isPipeSignalPending() {
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
}

TEST(CIPCConnectionToSubProcess, ReportsThatTheProgramReadsNoMore) {
    CIPCConnectionToSubProcess input;
    connectToAnEndedProgram(input);

    CError const error = errorOf([&] { input.write("word", 4); });

    EXPECT_EQ(error.getCode(), EPIPE);
    EXPECT_FALSE(isPipeSignalPending());
}

TEST(CIPCConnectionToSubProcess, LeavesNoPipeSignalToACallerThatHoldsItBack) {
    BlockedSignal const blocked(SIGPIPE);
    CIPCConnectionToSubProcess input;
    connectToAnEndedProgram(input);

    EXPECT_THROW(input.write("word", 4), CError);

    EXPECT_FALSE(isPipeSignalPending());
}

// A write that waits for room has written something by then, but gets the signal all the same.
TEST(CIPCConnectionToSubProcess, ReportsThatTheProgramEndsInTheMiddleOfAWrite) {
    CIPCConnectionToSubProcess input;
    CIPCConnectionToSubProcess output;
    int const pid = forkAndExec(command("/usr/bin/head", {"-c", "1"}), nullptr, ForkExecLevel::Child, Path(),
                                &input, &output, nullptr, nullptr);
    std::string const text(1000000, 'x');

    CError const error = errorOf([&] { input.write(text.data(), text.size()); });

    EXPECT_EQ(error.getCode(), EPIPE);
    EXPECT_FALSE(isPipeSignalPending());
    EXPECT_EQ(reap(pid), 0);
}

TEST(CIPCConnectionToSubProcess, KeepsAPipeSignalThatWasPending) {
    BlockedSignal const blocked(SIGPIPE);
    SignalTreatment const ignoredAtTheEnd(SIGPIPE, SIG_DFL);
    raise(SIGPIPE);
    CIPCConnectionToSubProcess input;
    connectToAnEndedProgram(input);

    EXPECT_THROW(input.write("word", 4), CError);

    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    timespec const atOnce = {};
    EXPECT_EQ(sigtimedwait(&pipe, nullptr, &atOnce), SIGPIPE);
}

TEST(CIPCConnectionToSubProcess, WritesMoreThanAPipeHolds) {
    CIPCConnectionToSubProcess input;
    CIPCConnectionToSubProcess output;
    int const pid = forkAndExec(command("/usr/bin/wc", {"-c"}), nullptr, ForkExecLevel::Child, Path(), &input,
                                &output, nullptr, nullptr);
    std::string const text(1000000, 'x');

    input.write(text.data(), text.size());
    input.close();

    EXPECT_EQ(readAll(output), "1000000\n");
    EXPECT_EQ(reap(pid), 0);
}

TEST(CIPCConnectionToSubProcess, ClosesItsEndWhenItGoes) {
    std::set<int> const descriptors = test::descriptorsOf(getpid());

    {
        CIPCConnectionToSubProcess input;
        reap(forkAndExec(command("/bin/true"), nullptr, ForkExecLevel::Child, Path(), &input, nullptr,
                         nullptr, nullptr));
    }

    EXPECT_EQ(test::descriptorsOf(getpid()), descriptors);
}

// What a program writes that was launched with these variables, in this account, from a caller with a
// supervisor.
std::string writtenByLaunched(std::string const& script, Variables const& variables,
                              CImpersonateInfo* account = nullptr) {
    TemporaryFolder const folder;
    test::setMode(folder.name(), 0777);
    setenv("NOTIFY_SOCKET", "@supervisor-of-the-caller", 1);
    fdn::launchDetached(shell(("{ " + script + "; } >output.new; mv output.new output").c_str()), account,
                        folder.path(), variables);
    unsetenv("NOTIFY_SOCKET");
    EXPECT_TRUE(await([&] { return access(folder.name("output").c_str(), F_OK) == 0; }));
    return test::readFile(folder.name("output"));
}

class LaunchDetached : public LeavesNothingBehind {};

TEST_F(LaunchDetached, SetsTheVariablesInTheCallersEnvironment) {
    setenv("FDN_TEST_VARIABLE", "kept", 1);
    setenv("FDN_TEST_OTHER", "old", 1);

    std::string const environment =
        writtenByLaunched("env", {{"FDN_TEST_OTHER", "new"}, {"FDN_TEST_NEW", ""}});

    EXPECT_THAT(linesOf(environment),
                IsSupersetOf({"FDN_TEST_VARIABLE=kept", "FDN_TEST_OTHER=new", "FDN_TEST_NEW="}));
    EXPECT_THAT(linesOf(environment), Not(Contains("FDN_TEST_OTHER=old")));
    unsetenv("FDN_TEST_VARIABLE");
    unsetenv("FDN_TEST_OTHER");
}

TEST_F(LaunchDetached, DoesNotHandTheCallersSupervisorOn) {
    EXPECT_EQ(writtenByLaunched("echo ${NOTIFY_SOCKET-none}", {}), "none\n");
    EXPECT_EQ(writtenByLaunched("echo $NOTIFY_SOCKET", {{"NOTIFY_SOCKET", "@other"}}), "@other\n");
}

TEST_F(LaunchDetached, GivesTheProgramNoStreamsOfTheCallers) {
    EXPECT_EQ(writtenByLaunched("readlink /proc/$$/fd/0; readlink /proc/$$/fd/2", {}),
              "/dev/null\n/dev/null\n");
}

TEST_F(LaunchDetached, RefusesVariablesThatWouldBeOthers) {
    for (char const* name : {"", "A=B", "="})
        EXPECT_THROW(fdn::launchDetached(shell("true"), nullptr, Path(), {{name, "value"}}), CError) << name;
}

TEST_F(LaunchDetached, SaysWhichProgramCannotBeStarted) {
    CError const error =
        errorOf([] { fdn::launchDetached(command("/no/such/program"), nullptr, Path(), {}); });

    EXPECT_EQ(error.getMessage(), "execve failed for '/no/such/program': No such file or directory.");
}

class Impersonation : public test::AccountsTest {
protected:
    static fdn::P<CImpersonateInfo> user() {
        return fdn::newObj<CImpersonateInfo>(fdn::CSystemUserID(61001, "dmnuser"));
    }

    static int startAsUser(CExecCommand const& command, Path const& folder = Path("/")) {
        return forkAndExec(command, user().get(), ForkExecLevel::Child, folder, nullptr, nullptr, nullptr,
                           nullptr);
    }

    static std::string environmentAsUser(Variables const* environment) {
        CIPCConnectionToSubProcess output;
        int const pid = forkAndExec(command("/usr/bin/env"), user().get(), ForkExecLevel::Child, Path("/"),
                                    nullptr, &output, nullptr, environment);
        std::string const variables = readAll(output);
        reap(pid);
        return variables;
    }
};

TEST_F(Impersonation, RunsTheProgramWithTheAccountsUserAndGroupsAlone) {
    for (ForkExecLevel level : {ForkExecLevel::Child, ForkExecLevel::Session, ForkExecLevel::Detached}) {
        RunningProgram const program(level, Path("/"), user().get());

        EXPECT_EQ(test::statusOf(program.pid(), "Uid"), "61001 61001 61001 61001");
        EXPECT_EQ(test::statusOf(program.pid(), "Gid"), "61001 61001 61001 61001");
        EXPECT_EQ(test::statusOf(program.pid(), "Groups"), "61001 61003");
    }
}

TEST_F(Impersonation, LeavesTheStarterItsCoreDumps) {
    for (ForkExecLevel level : {ForkExecLevel::Child, ForkExecLevel::Session, ForkExecLevel::Detached}) {
        RunningProgram const program(level, Path("/"), user().get());

        EXPECT_EQ(prctl(PR_GET_DUMPABLE), 1);
    }
}

TEST_F(Impersonation, TakesEveryGroupOfAnAccountThatIsInMany) {
    std::string groups = "61001 61003";
    std::ofstream file("/etc/group", std::ios::app);
    for (int number = 62000; number < 62100; ++number) {
        file << "many" << number << ":x:" << number << ":dmnuser" << std::endl;
        groups += " " + std::to_string(number);
    }

    RunningProgram const program(ForkExecLevel::Child, Path("/"), user().get());

    EXPECT_EQ(test::statusOf(program.pid(), "Groups"), groups);
}

TEST_F(Impersonation, LeavesNoneOfRootsPowers) {
    RunningProgram const program(ForkExecLevel::Child, Path("/"), user().get());

    for (char const* set : {"CapPrm", "CapEff", "CapAmb"})
        EXPECT_EQ(test::statusOf(program.pid(), set), kNoSignals) << set;
}

TEST_F(Impersonation, CannotBeUndone) {
    CExecCommand const becomeRoot = command("/usr/bin/setpriv", {"--reuid=0", "/bin/true"});
    ASSERT_EQ(reap(start(becomeRoot, ForkExecLevel::Child)), 0);

    EXPECT_NE(reap(startAsUser(becomeRoot)), 0);
}

TEST_F(Impersonation, LetsTheInheritedEnvironmentFollowTheAccount) {
    setenv("FDN_TEST_VARIABLE", "kept", 1);
    setenv("USER", "root", 1);

    std::vector<std::string> const variables = linesOf(environmentAsUser(nullptr));

    EXPECT_THAT(variables, IsSupersetOf({"FDN_TEST_VARIABLE=kept", "HOME=/run/private-root/home/dmnuser",
                                         "USER=dmnuser", "LOGNAME=dmnuser", "SHELL=/bin/sh"}));
    EXPECT_THAT(variables, Not(Contains("USER=root")));
    unsetenv("FDN_TEST_VARIABLE");
}

TEST_F(Impersonation, LetsAGivenEnvironmentFollowTheAccount) {
    Variables const environment = {{"A", "1"}, {"HOME", "/root"}, {"HOMES", "2"}};

    EXPECT_THAT(linesOf(environmentAsUser(&environment)),
                UnorderedElementsAre("A=1", "HOMES=2", "HOME=/run/private-root/home/dmnuser", "USER=dmnuser",
                                     "LOGNAME=dmnuser", "SHELL=/bin/sh"));
}

TEST_F(Impersonation, LetsTheEnvironmentOfALaunchedProgramFollowTheAccount) {
    std::string const environment = writtenByLaunched("env", {{"HOME", "/root"}, {"A", "1"}}, user().get());

    EXPECT_THAT(linesOf(environment),
                IsSupersetOf({"A=1", "HOME=/run/private-root/home/dmnuser", "USER=dmnuser"}));
    EXPECT_THAT(linesOf(environment), Not(Contains("HOME=/root")));
}

TEST_F(Impersonation, EntersTheFolderWithTheAccountsRights) {
    TemporaryFolder const folder;
    test::setMode(folder.name(), 0700);

    CError const error = errorOf([&] { startAsUser(command("/bin/true"), folder.path()); });

    EXPECT_EQ(error.getCode(), EACCES);
    EXPECT_EQ(propertyOf(error, "func"), "chdir");
    EXPECT_EQ(propertyOf(error, "path"), folder.path().getText());
}

TEST_F(Impersonation, RunsTheProgramWithTheAccountsRights) {
    TemporaryFolder const folder;
    test::setMode(folder.name(), 0755);
    test::writeFile(folder.name("program"), "#!/bin/sh\n");
    test::setMode(folder.name("program"), 0700);

    CError const error = errorOf([&] { startAsUser(CExecCommand(folder / "program", {})); });

    EXPECT_EQ(error.getCode(), EACCES);
    EXPECT_EQ(propertyOf(error, "func"), "execve");
}

TEST_F(Impersonation, RunsUnderRootWhenAskedTo) {
    auto const root = fdn::newObj<CImpersonateInfo>(fdn::CSystemUserID(0, "root"));

    RunningProgram const program(ForkExecLevel::Child, Path("/"), root.get());

    EXPECT_EQ(test::statusOf(program.pid(), "Uid"), "0 0 0 0");
}

TEST_F(Impersonation, TakesBothIdentitiesOfAProcessThatHasRaisedItself) {
    test::Outcome const outcome = test::runInChild([] {
        test::require(setresuid(test::kOther, 0, test::kOther) == 0, "setresuid");
        RunningProgram const program(ForkExecLevel::Child, Path("/"), user().get());
        std::cout << test::statusOf(program.pid(), "Uid");
    });

    EXPECT_EQ(outcome.output, "61001 61001 61001 61001");
}

TEST_F(Impersonation, IsNotForOrdinaryUsers) {
    test::Outcome const outcome = test::runInChild([] {
        test::require(setresuid(test::kOther, test::kOther, test::kOther) == 0, "setresuid");
        startAsUser(command("/bin/true"));
    });

    EXPECT_EQ(outcome.errors, "setresgid failed for 'dmnuser': Operation not permitted.");
}

TEST_F(Impersonation, NeedsNoSecondLookUpOfTheAccount) {
    auto const lookedUp =
        fdn::newObj<CImpersonateInfo>(fdn::CSystemAccountManager::get().getUserID("dmnuser"));
    unlink("/etc/passwd");

    RunningProgram const program(ForkExecLevel::Child, Path("/"), lookedUp.get());

    EXPECT_EQ(test::statusOf(program.pid(), "Uid"), "61001 61001 61001 61001");
    EXPECT_EQ(test::statusOf(program.pid(), "Groups"), "61001 61003");
}

TEST_F(Impersonation, NamesAnAccountThatDoesNotExist) {
    auto const nobody = fdn::newObj<CImpersonateInfo>(fdn::CSystemUserID(61009, "dmnnobody"));

    CError const error = errorOf([&] { RunningProgram(ForkExecLevel::Child, Path("/"), nobody.get()); });

    EXPECT_EQ(error.getMessage(), "Unknown user: 'dmnnobody'.");
}

TEST_F(Impersonation, RefusesAnAccountWithAnotherNumber) {
    auto const wrong = fdn::newObj<CImpersonateInfo>(fdn::CSystemUserID(test::kOther, "dmnuser"));

    CError const error = errorOf([&] { RunningProgram(ForkExecLevel::Child, Path("/"), wrong.get()); });

    EXPECT_EQ(error.getMessage(), "The user 'dmnuser' does not have the number 61002.");
}

} // namespace
