#include "support/LyingFileSystem.h"
#include "support/Obstacles.h"
#include "support/Pipe.h"
#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/SilentFileSystem.h"
#include "support/TemporaryFolder.h"
#include "support/await.h"
#include "support/errors.h"
#include "support/fileInfo.h"
#include "support/processInfo.h"

#include <fdn/CError.h>
#include <fdn/CPIDFile.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <set>
#include <string>

#include <fcntl.h>
#include <linux/close_range.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

// A live process that holds a PID file is recognized, however little can be seen of it, and nobody can keep
// the file from a process that is entitled to it.

namespace {

using fdn::Descriptor;
using fdn::Path;
using test::await;
using test::awaitOutput;
using test::kUser;
using test::Outcome;
using test::Program;
using test::removeProc;
using test::require;
using test::runInChild;
using test::TemporaryFolder;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

#ifndef CLONE_NEWTIME
constexpr int CLONE_NEWTIME = 0x80;
#endif

constexpr unsigned kNobody = 65534;

void mountProc(char const* options) {
    removeProc();
    require(mount("proc", "/proc", "proc", 0, options) == 0, "mount");
}

// Performs the action in a forked process, which enters the namespaces that this process has unshared for its
// children.
void performInFork(std::function<void()> const& action) {
    pid_t const child = fork();
    if (child == 0) {
        try {
            action();
        } catch (std::exception const& error) {
            std::cout << error.what();
        }
        std::cout << std::flush;
        _exit(0);
    }
    waitpid(child, nullptr, 0);
}

void enterAnotherClock() {
    require(unshare(CLONE_NEWTIME) == 0, "unshare");
    test::writeFile("/proc/self/timens_offsets", "boottime 100000 0\n");
}

/// Whether some process keeps a write lock on the file.
bool isLocked(std::string const& name) {
    Outcome const outcome = runInChild([&] {
        Descriptor const file(open(name.c_str(), O_RDONLY | O_CLOEXEC));
        struct flock lock = {};
        lock.l_type = F_RDLCK;
        require(fcntl(file.get(), F_GETLK, &lock) == 0, "fcntl");
        std::cout << (lock.l_type == F_WRLCK);
    });
    return outcome.output == "1";
}

/// Locks the whole file by this command of fcntl(2), says so, and keeps the lock as long as the process
/// lives.
void keepLocked(Descriptor const& file, int command, short type) {
    struct flock lock = {};
    lock.l_type = type;
    require(fcntl(file.get(), command, &lock) == 0, "fcntl");
    std::cout << "locked" << std::flush;
    pause();
}

class HeldPIDFile : public test::PrivateRootTest {
protected:
    HeldPIDFile() { test::setMode(folder.name(), 0755); }

    /// Starts a process that holds the file from now on. It performs the preparation before it claims the
    /// file and the action afterwards.
    std::unique_ptr<Program> startHolder(
        std::function<void()> const& prepare = [] {}, std::function<void()> const& act = [] {}) {
        auto holder = std::make_unique<Program>([this, prepare, act] {
            prepare();
            fdn::CPIDFile const file(path);
            act();
            std::cout << "claimed" << std::flush;
            while (true)
                pause();
        });
        EXPECT_TRUE(awaitOutput(*holder, "claimed"));
        return holder;
    }

    /// Has another process look at the file, and returns its answer or its error.
    std::string answer(std::function<void()> const& prepare = [] {}) const {
        Outcome const outcome = runInChild([&] {
            prepare();
            std::cout << fdn::CPIDFile::getActivePID(path);
        });
        return outcome.output + outcome.errors;
    }

    /// Has another process claim the file, and returns "claimed" or its error.
    std::string claim(std::function<void()> const& prepare = [] {}) const {
        Outcome const outcome = runInChild([&] {
            prepare();
            fdn::CPIDFile const file(path);
            std::cout << "claimed";
        });
        return outcome.output + outcome.errors;
    }

    std::string heldBy(pid_t process) const {
        return "The PID file '" + name + "' is held by process " + std::to_string(process) + ".";
    }

    void expectKnown(
        pid_t holder, std::function<void()> const& prepare = [] {}) const {
        EXPECT_EQ(answer(prepare), std::to_string(holder));
        EXPECT_EQ(claim(prepare), heldBy(holder));
    }

    void expectRefused(
        std::string const& reason, std::function<void()> const& prepare = [] {}) const {
        EXPECT_THAT(answer(prepare), HasSubstr(reason));
        EXPECT_THAT(claim(prepare), HasSubstr(reason));
    }

    static void closeAll() { require(syscall(SYS_close_range, 3, ~0U, 0) == 0, "close_range"); }

    TemporaryFolder const folder;
    Path const path = folder / "daemon.pid";
    std::string const name = folder.name("daemon.pid");
};

class HeldPIDFileOfAccounts : public HeldPIDFile {
protected:
    void SetUp() override {
        HeldPIDFile::SetUp();
        if (!test::hasOtherAccounts())
            DMN_SKIP_TEST("needs a private root that was made by root");
    }
};

TEST_F(HeldPIDFile, IsNotTakenForOneWithASecondNameWhenItIsDeletedDuringTheLook) {
    test::setMode(folder.name(), 0777);
    Program const daemons([this] {
        while (true)
            fdn::CPIDFile const file(path);
    });

    for (int looks = 0; looks < 10000; ++looks)
        ASSERT_NO_THROW(fdn::CPIDFile::getActivePID(path));
}

TEST_F(HeldPIDFile, IsLockedForAsLongAsItsHolderLives) {
    auto holder = startHolder();
    EXPECT_TRUE(isLocked(name));

    holder->sendSignal(SIGKILL);
    holder->wait();

    EXPECT_FALSE(isLocked(name));
    EXPECT_EQ(claim(), "claimed");
}

TEST_F(HeldPIDFile, StaysLockedWhenItsHolderLooksAtIt) {
    auto const holder =
        startHolder([] {}, [this] { require(fdn::CPIDFile::getActivePID(path) == getpid(), "pid"); });

    EXPECT_TRUE(isLocked(name));
}

TEST_F(HeldPIDFile, StaysLockedWhenItsHolderTriesAgain) {
    auto const holder = startHolder([] {}, [this] { test::errorOf([this] { fdn::CPIDFile second(path); }); });

    EXPECT_TRUE(isLocked(name));
}

TEST_F(HeldPIDFile, StaysLockedWhenAProcessEndsThatItsHolderHasForked) {
    auto const holder = startHolder([] {},
                                    [this] {
                                        performInFork([this] {
                                            fdn::CPIDFile::getActivePID(path);
                                            closeAll();
                                        });
                                    });

    EXPECT_TRUE(isLocked(name));
}

TEST_F(HeldPIDFile, IsKnownWithoutProc) {
    auto const holder = startHolder();

    expectKnown(holder->pid(), &removeProc);
}

TEST_F(HeldPIDFile, IsKnownWhereProcHasProcessesAlone) {
    auto const holder = startHolder();

    expectKnown(holder->pid(), [] { mountProc("subset=pid"); });
}

TEST_F(HeldPIDFileOfAccounts, IsKnownWhereProcHidesTheHolder) {
    test::setMode(folder.name(), 0777);
    auto const holder = startHolder();

    expectKnown(holder->pid(), [] {
        mountProc("hidepid=2");
        test::becomeOther();
    });
}

TEST_F(HeldPIDFile, IsKnownWhereTheClockOfTheMachineIsAnother) {
    auto const holder = startHolder();
    auto const look = [&](std::function<void()> const& action) {
        return runInChild([&] {
                   enterAnotherClock();
                   performInFork(action);
               })
            .output;
    };

    EXPECT_EQ(look([this] { std::cout << fdn::CPIDFile::getActivePID(path); }),
              std::to_string(holder->pid()));
    EXPECT_EQ(look([this] { fdn::CPIDFile file(path); }), heldBy(holder->pid()));
}

TEST_F(HeldPIDFile, IsNotFreeForAnotherPIDNameSpace) {
    auto const holder = startHolder();
    auto const look = [&](std::function<void()> const& action) {
        return runInChild([&] {
                   require(unshare(CLONE_NEWPID) == 0, "unshare");
                   performInFork(action);
               })
            .output;
    };

    EXPECT_THAT(look([this] { std::cout << fdn::CPIDFile::getActivePID(path); }),
                HasSubstr("cannot be seen from here"));
    EXPECT_THAT(look([this] { fdn::CPIDFile file(path); }), HasSubstr("cannot be seen from here"));
}

TEST_F(HeldPIDFile, OfAContainerIsKnownOutsideByTheNumberThatTheHolderHasThere) {
    Program const container([this] {
        require(unshare(CLONE_NEWPID) == 0, "unshare");
        performInFork([this] {
            fdn::CPIDFile const file(path);
            std::cout << "claimed" << std::flush;
            pause();
        });
    });
    ASSERT_TRUE(awaitOutput(container, "claimed"));
    ASSERT_THAT(test::readFile(name), testing::StartsWith("1\n"));

    pid_t const holder = fdn::CPIDFile::getActivePID(path);

    EXPECT_EQ(test::statusOf(holder, "PPid"), std::to_string(container.pid()));
    EXPECT_EQ(claim(), heldBy(holder));
    kill(holder, SIGKILL);
}

TEST_F(HeldPIDFile, IsKnownByItsSecondNameInAFolderOfRoots) {
    auto const holder = startHolder();
    std::filesystem::create_hard_link(name, folder.name("backup"));

    expectKnown(holder->pid());
}

TEST_F(HeldPIDFile, WithASecondNameInAFolderForAllIsNeitherFreeNorToBeSignalledBy) {
    test::setMode(folder.name(), 0777);
    auto const holder = startHolder();
    std::filesystem::create_hard_link(name, folder.name("backup"));

    expectRefused("has another name");
}

TEST_F(HeldPIDFileOfAccounts, OfAnotherUserIsNeitherFreeNorToBeSignalledBy) {
    auto const holder = startHolder();
    test::setOwner(name, kNobody, kNobody);

    expectRefused("belongs to user 65534, who may not signal process " + std::to_string(holder->pid()));
}

TEST_F(HeldPIDFileOfAccounts, OfAnotherUserIsNotFreeEvenWhenTheLockIsLost) {
    auto const holder = startHolder([] {}, &closeAll);
    test::setOwner(name, kNobody, kNobody);

    expectRefused("belongs to user 65534, who may not signal process " + std::to_string(holder->pid()));
}

TEST_F(HeldPIDFileOfAccounts, OfTheAccountWithASecondNameIsKnown) {
    test::setOwner(folder.name(), kUser, kUser);
    auto const holder = startHolder([] { test::becomeUser(); });
    std::filesystem::create_hard_link(name, folder.name("backup"));

    expectKnown(holder->pid());
}

TEST_F(HeldPIDFileOfAccounts, OfTheAccountIsKnownWhomeverItHasOpenedItsFolderTo) {
    test::setOwner(folder.name(), kUser, kUser);
    test::setMode(folder.name(), 0777);
    auto const holder = startHolder([] { test::becomeUser(); });
    std::filesystem::create_hard_link(name, folder.name("backup"));

    expectKnown(holder->pid());
}

TEST_F(HeldPIDFile, IsKnownByStartTimeAndBootWhenItsHolderHasClosedAllDescriptors) {
    auto const holder = startHolder([] {}, &closeAll);
    ASSERT_FALSE(isLocked(name));

    expectKnown(holder->pid());
}

TEST_F(HeldPIDFile, IsNotFreeWhereNeitherLockNorProcTellsOfItsHolder) {
    auto const holder = startHolder([] {}, &closeAll);

    expectRefused("names process " + std::to_string(holder->pid()) + ", which lives", &removeProc);
}

TEST_F(HeldPIDFile, IsFreeForAProcessThatHasHeldItAndBecomesAnotherProgram) {
    Outcome const outcome = test::run({DMN_CLAIMANT, name, "again"});

    EXPECT_EQ(outcome.output, "claimed, claimed");
    EXPECT_FALSE(std::filesystem::exists(name));
}

TEST_F(HeldPIDFile, IsDeletedEvenByAHolderThatHasClosedAllDescriptors) {
    Outcome const outcome = runInChild([this] {
        auto file = std::make_unique<fdn::CPIDFile>(path);
        closeAll();
        for (int i = 0; i < 10; ++i)
            require(open(folder.name("other").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644) != -1, "open");
        std::set<int> const own = test::descriptorsOf(getpid());
        file.reset();
        std::cout << (test::descriptorsOf(getpid()) == own);
    });

    EXPECT_EQ(outcome.output, "1");
    EXPECT_THAT(test::entriesOf(folder.name()), ElementsAre("other"));
}

TEST_F(HeldPIDFileOfAccounts, LeftBehindIsFreeThoughEveryoneWhoMayReadItLocksIt) {
    test::writeFile(name, "1000000000\n");
    Program const reader([this] {
        test::becomeOther();
        keepLocked(Descriptor(open(name.c_str(), O_RDONLY | O_CLOEXEC)), F_SETLK, F_RDLCK);
    });
    ASSERT_TRUE(awaitOutput(reader, "locked"));

    EXPECT_EQ(claim(), "claimed");
}

TEST_F(HeldPIDFileOfAccounts, CannotBeVetoedByTheAccountWithALease) {
    test::setOwner(folder.name(), kUser, kUser);
    Program const account([this] {
        test::becomeUser();
        test::writeFile(name, std::to_string(getpid()) + "\n");
        Descriptor const file(open(name.c_str(), O_RDWR | O_CLOEXEC));
        signal(SIGIO, SIG_IGN);
        require(fcntl(file.get(), F_SETLEASE, F_WRLCK) == 0, "fcntl");
        std::cout << "leased" << std::flush;
        while (true)
            pause();
    });
    ASSERT_TRUE(awaitOutput(account, "leased"));

    EXPECT_EQ(answer(), "0");
    EXPECT_THAT(claim(), HasSubstr("Resource temporarily unavailable"));
}

TEST_F(HeldPIDFileOfAccounts, CannotBeVetoedByTheAccountWithALockOfAnotherKind) {
    test::setOwner(folder.name(), kUser, kUser);
    Program const account([this] {
        test::becomeUser();
        test::writeFile(name, "1000000000\n");
        keepLocked(Descriptor(open(name.c_str(), O_RDWR | O_CLOEXEC)), F_OFD_SETLK, F_WRLCK);
    });
    ASSERT_TRUE(awaitOutput(account, "locked"));

    EXPECT_EQ(answer(), "0");
}

TEST_F(HeldPIDFile, IsNobodysUnderANameThatIsTooLong) {
    EXPECT_EQ(fdn::CPIDFile::getActivePID(folder / std::string(256, 'x').c_str()), 0);
}

TEST_F(HeldPIDFile, IsNotTakenFromAProcessThatIsAboutToTakeItsPlace) {
    Program claiming([this] {
        test::awaitPerformBefore();
        fdn::CPIDFile const file(path);
        std::cout << "claimed" << std::flush;
        pause();
    });
    std::unique_ptr<Program> rival;

    test::performBefore(SYS_renameat, claiming.pid(), [&] {
        rival = std::make_unique<Program>([this] { fdn::CPIDFile const file(path); });
        EXPECT_TRUE(test::awaitSleep(rival->pid()));
        EXPECT_EQ(rival->errors(), "");
    });

    EXPECT_TRUE(await([&] { return rival->errors() == heldBy(claiming.pid()); })) << rival->errors();
    EXPECT_EQ(claiming.output(), "claimed");
}

TEST_F(HeldPIDFile, IsClaimedThoughAnotherClaimWasKilledBeforeItsEnd) {
    std::string const killed = claim([] { test::endAtSystemCall(SYS_renameat); });
    ASSERT_EQ(killed, "");
    ASSERT_THAT(test::entriesOf(folder.name()), ElementsAre(".pid-file.new"));

    EXPECT_EQ(claim(), "claimed");
    EXPECT_THAT(test::entriesOf(folder.name()), IsEmpty());
}

TEST_F(HeldPIDFileOfAccounts, IsClaimedThoughAnotherAccountHasAnUnfinishedOne) {
    std::string const unfinished = folder.name(".pid-file.new");
    test::writeFile(unfinished, "");
    test::setOwner(unfinished, test::kOther, test::kOther);

    EXPECT_EQ(claim(), "claimed");
    EXPECT_THAT(test::entriesOf(folder.name()), IsEmpty());
}

/// The folder is on a file system that the account provides.
class PIDFileOnAFileSystemOfTheAccounts : public HeldPIDFileOfAccounts {
protected:
    void SetUp() override {
        HeldPIDFileOfAccounts::SetUp();
        if (!test::canMountFuse())
            DMN_SKIP_TEST("needs root and /dev/fuse");
    }

    test::ToldFile fileOfRootAbout(pid_t process) const {
        std::string const content = contentOf(process);
        test::ToldFile file;
        file.name = "daemon.pid";
        file.content = content;
        return file;
    }

    /// The content that the PID file of this process would have.
    static std::string contentOf(pid_t process) {
        return std::to_string(process) + "\n" + test::startTimeOf(process) + " " + test::bootIdentifier() +
               "\n";
    }
};

TEST_F(PIDFileOnAFileSystemOfTheAccounts, IsNotBelievedAboutAProcessOfRoots) {
    test::LyingFileSystem const files(folder.name(), kUser, fileOfRootAbout(getpid()));

    EXPECT_EQ(answer(), "0");
}

TEST_F(PIDFileOnAFileSystemOfTheAccounts, IsBelievedAboutAProcessOfTheAccounts) {
    Program const process(test::asUser("dmnuser", {"sleep", "1000"}));
    ASSERT_TRUE(await([&] { return test::statusOf(process.pid(), "Name") == "sleep"; }));
    test::LyingFileSystem const files(folder.name(), kUser, fileOfRootAbout(process.pid()));

    EXPECT_EQ(answer(), std::to_string(process.pid()));
}

TEST_F(PIDFileOnAFileSystemOfTheAccounts, IsBelievedWhereRootProvidesTheFileSystem) {
    test::LyingFileSystem const files(folder.name(), 0, fileOfRootAbout(getpid()));

    EXPECT_EQ(answer(), std::to_string(getpid()));
}

TEST_F(PIDFileOnAFileSystemOfTheAccounts, KeepsNobodyWaitingLongerForAStormOfSignals) {
    test::SilentFileSystem const files(folder.name(), kUser);

    Outcome const outcome = runInChild([this] {
        signal(SIGALRM, [](int) {});
        itimerval const storm = {{0, 100000}, {0, 100000}};
        require(setitimer(ITIMER_REAL, &storm, nullptr) == 0, "setitimer");
        auto const start = std::chrono::steady_clock::now();
        std::cout << fdn::CPIDFile::getActivePID(path);
        require(std::chrono::steady_clock::now() - start < std::chrono::seconds(20), "in time");
    });

    EXPECT_EQ(outcome.output, "0") << outcome.errors;
}

TEST_F(PIDFileOnAFileSystemOfTheAccounts, ThatNeverAnswersKeepsNobodyWaiting) {
    test::SilentFileSystem const files(folder.name(), kUser);

    // Those who read the output of the process that looks must not wait either, so nothing that hangs may
    // keep the pipe open.
    test::Pipe pipe = test::makePipe();
    Program looking([&] { require(fdn::CPIDFile::getActivePID(path) == 0, "an answer"); });
    pipe.writing.reset();
    char byte = 0;
    EXPECT_EQ(fdn::uninterrupted([&] { return read(pipe.reading.get(), &byte, 1); }), 0);
    EXPECT_EQ(looking.wait().errors, "");
}

TEST_F(PIDFileOnAFileSystemOfTheAccounts, ThatIsNeverOpenedKeepsNobodyWaiting) {
    test::ToldFile file = fileOfRootAbout(getpid());
    file.canBeOpened = false;
    test::LyingFileSystem const files(folder.name(), kUser, file);

    EXPECT_EQ(answer(), "0");
}

TEST_F(PIDFileOnAFileSystemOfTheAccounts, ThatAnswersWithAnErrorVetoesNothing) {
    test::FuseServer const files(folder.name(), kUser, [](fuse_in_header const&, std::string const&) {
        return std::optional<test::FuseAnswer>({EIO, ""});
    });

    EXPECT_EQ(answer(), "0");
}

TEST_F(PIDFileOnAFileSystemOfTheAccounts, IsNeitherFreeNorBelievedWhereItCannotBeToldWhoProvidesIt) {
    test::LyingFileSystem const files(folder.name(), 0, fileOfRootAbout(getpid()));

    EXPECT_THAT(answer(&removeProc), HasSubstr("it cannot be told whose that is"));
}

// In a mount namespace of its own, the account mounts a file of root over the PID file.
TEST_F(HeldPIDFileOfAccounts, IsNotLookedForThroughAProcessOfTheAccounts) {
    test::setOwner(folder.name(), kUser, kUser);
    std::string const rootsFile = folder.name("root.pid");
    test::writeFile(rootsFile, std::to_string(getpid()) + "\n");
    Program const account(test::asUser(
        "dmnuser", {"unshare", "-Urm", "sh", "-c",
                    "mkdir $0/ns && touch $0/ns/daemon.pid && mount --bind $0/root.pid $0/ns/daemon.pid && "
                    "echo mounted && exec sleep 1000",
                    folder.name()}));
    ASSERT_TRUE(awaitOutput(account, "mounted\n"));
    pid_t const process = account.pid();
    std::string const inside = "/proc/" + std::to_string(process) + "/root" + folder.name() + "/ns";
    ASSERT_EQ(test::readFile(inside + "/daemon.pid"), test::readFile(rootsFile));
    std::filesystem::create_directory_symlink(inside, folder.name("control"));

    EXPECT_EQ(fdn::CPIDFile::getActivePID(folder / "control/daemon.pid"), 0);
}

TEST_F(HeldPIDFileOfAccounts, CannotBeVetoedByTheAccountFromAnotherClock) {
    test::setOwner(folder.name(), kUser, kUser);
    Program const account([this] {
        enterAnotherClock();
        performInFork([this] {
            test::becomeUser();
            test::writeFile(name, std::to_string(getpid()) + "\n1 " + test::bootIdentifier() + "\n");
            std::cout << getpid() << std::flush;
            pause();
        });
    });
    ASSERT_TRUE(await([&] { return !account.output().empty(); })) << account.errors();

    EXPECT_EQ(answer(), account.output());
    kill(std::stoi(account.output()), SIGKILL);
}

} // namespace
