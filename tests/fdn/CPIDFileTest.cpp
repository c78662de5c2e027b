#include "support/CapturedLog.h"
#include "support/Gate.h"
#include "support/Obstacles.h"
#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/TemporaryFolder.h"
#include "support/await.h"
#include "support/errors.h"
#include "support/fileInfo.h"
#include "support/processInfo.h"

#include <fdn/CError.h>
#include <fdn/CPIDFile.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <future>
#include <iostream>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using fdn::CError;
using fdn::Descriptor;
using fdn::Path;
using fdn::String;
using test::await;
using test::awaitOutput;
using test::entriesOf;
using test::errorOf;
using test::Gate;
using test::kUser;
using test::readFile;
using test::require;
using test::TemporaryFolder;
using test::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kNoBoot[] = "00000000-0000-0000-0000-000000000000";

std::string numberOf(pid_t process) {
    return std::to_string(process);
}

// A process that has ended and is not reaped as long as the object lives.
class Zombie {
public:
    Zombie() : m_pid(fork()) {
        if (m_pid == 0)
            _exit(0);
        siginfo_t info = {};
        EXPECT_EQ(waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOWAIT), 0);
    }

    Zombie(Zombie const&) = delete;
    Zombie& operator=(Zombie const&) = delete;

    ~Zombie() { waitpid(m_pid, nullptr, 0); }

    pid_t pid() const { return m_pid; }

private:
    pid_t m_pid;
};

// A second thread of this process, as long as the object lives.
class SecondThread {
public:
    SecondThread()
        : m_thread([this] {
              m_id.set_value(static_cast<pid_t>(syscall(SYS_gettid)));
              m_end.get_future().wait();
          }) {}

    SecondThread(SecondThread const&) = delete;
    SecondThread& operator=(SecondThread const&) = delete;

    ~SecondThread() {
        m_end.set_value();
        m_thread.join();
    }

    pid_t id() { return m_id.get_future().get(); }

private:
    std::promise<pid_t> m_id;
    std::promise<void> m_end;
    std::thread m_thread;
};

pid_t processThatIsGone() {
    return Zombie().pid();
}

class CPIDFile : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(test::descriptorsOf(getpid()), m_descriptors); }

    String heldMessage(pid_t holder) const {
        return "The PID file '" + path.getText() + "' is held by process " +
               String::fromBytes(numberOf(holder)) + ".";
    }

    std::vector<std::string> entries() const { return entriesOf(folder.name()); }

    TemporaryFolder const folder;
    Path const path = folder / "daemon.pid";
    std::string const name = folder.name("daemon.pid");

private:
    std::set<int> const m_descriptors = test::descriptorsOf(getpid());
};

class ActivePID : public CPIDFile {
protected:
    // What the file says with this content when it belongs to root.
    int activeFor(std::string const& content) const {
        writeFile(name, content);
        return fdn::CPIDFile::getActivePID(path);
    }

    int active() const { return fdn::CPIDFile::getActivePID(path); }

    std::string ownContent() const {
        fdn::CPIDFile const file(path);
        return readFile(name);
    }
};

class PIDFilesOfAccounts : public test::AccountsTest {
protected:
    PIDFilesOfAccounts() { test::setMode(folder.name(), 0777); }

    int activeFor(pid_t process, unsigned owner) const {
        writeFile(name, numberOf(process) + "\n");
        test::setOwner(name, owner, owner);
        return fdn::CPIDFile::getActivePID(path);
    }

    TemporaryFolder const folder;
    Path const path = folder / "daemon.pid";
    std::string const name = folder.name("daemon.pid");
};

TEST_F(CPIDFile, HoldsTheProcessAndWhatTellsItFromOthers) {
    fdn::CPIDFile const file(path);

    EXPECT_THAT(readFile(name),
                testing::MatchesRegex(numberOf(getpid()) +
                                      "\n[0-9]+ [0-9a-f]+-[0-9a-f]+-[0-9a-f]+-[0-9a-f]+-[0-9a-f]+\n"));
}

TEST_F(CPIDFile, CanBeReadByEveryone) {
    mode_t const previous = umask(0077);

    fdn::CPIDFile const file(path);

    EXPECT_EQ(test::modeOf(name), 0644U);
    umask(previous);
}

TEST_F(CPIDFile, IsTheOnlyFileThatAClaimMakes) {
    fdn::CPIDFile const file(path);

    EXPECT_THAT(entries(), ElementsAre("daemon.pid"));
}

TEST_F(CPIDFile, IsDeletedWhenTheObjectGoes) {
    { fdn::CPIDFile const file(path); }

    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(CPIDFile, CanBeClaimedAgainAfterItWasGivenUp) {
    { fdn::CPIDFile const file(path); }

    EXPECT_NO_THROW(fdn::CPIDFile{path});
}

TEST_F(CPIDFile, CanHaveAnyNameThatAFileCanHave) {
    std::string const longest(255, 'x');

    fdn::CPIDFile const file(folder / longest.c_str());

    EXPECT_THAT(entries(), ElementsAre(longest));
}

TEST_F(CPIDFile, CanBeWhereItsWholePathIsTooLong) {
    std::string deepFolder = folder.name();
    while (deepFolder.size() < PATH_MAX - 1)
        deepFolder +=
            "/" + std::string(std::min<std::size_t>(PATH_MAX - 2 - deepFolder.size(), NAME_MAX), 'd');
    std::filesystem::create_directories(deepFolder);
    Path const deepPath(String::fromBytes(deepFolder + "/daemon.pid"));

    fdn::CPIDFile const file(deepPath);

    EXPECT_EQ(fdn::CPIDFile::getActivePID(deepPath), getpid());
}

TEST_F(CPIDFile, CanBeOneOfSeveralInAFolder) {
    fdn::CPIDFile const file(path);
    fdn::CPIDFile const second(folder / "second.pid");

    EXPECT_THAT(entries(), ElementsAre("daemon.pid", "second.pid"));
}

TEST_F(CPIDFile, SecondClaimFailsAndLeavesTheFileAlone) {
    fdn::CPIDFile const file(path);
    std::string const content = readFile(name);

    CError const error = errorOf([&] { fdn::CPIDFile second(path); });

    EXPECT_EQ(error.getMessage(), heldMessage(getpid()));
    EXPECT_EQ(error.getCode(), -1);
    EXPECT_EQ(readFile(name), content);
    EXPECT_THAT(entries(), ElementsAre("daemon.pid"));
}

TEST_F(CPIDFile, ClaimNamesTheOtherProcessThatHoldsTheFile) {
    Gate end;
    test::Program const holder([&] {
        fdn::CPIDFile const file(path);
        std::cout << "claimed" << std::flush;
        end.pass();
    });
    ASSERT_TRUE(awaitOutput(holder, "claimed"));

    CError const error = errorOf([&] { fdn::CPIDFile second(path); });

    EXPECT_EQ(error.getMessage(), heldMessage(holder.pid()));
    EXPECT_EQ(fdn::CPIDFile::getActivePID(path), holder.pid());
}

TEST_F(CPIDFile, GoesToOneOfFiftyProcessesThatClaimItAtOnce) {
    Gate start;
    Gate end;
    std::vector<std::unique_ptr<test::Program>> processes;
    for (int i = 0; i < 50; ++i)
        processes.push_back(std::make_unique<test::Program>([&] {
            start.pass();
            fdn::CPIDFile const file(path);
            std::cout << "claimed" << std::flush;
            end.pass();
        }));

    start.open();
    auto const winner = [&] {
        return std::find_if(processes.begin(), processes.end(),
                            [](auto const& process) { return process->output() == "claimed"; });
    };
    ASSERT_TRUE(await([&] { return winner() != processes.end(); }));
    std::string const message = heldMessage((*winner())->pid()).toUTF8();
    ASSERT_TRUE(await([&] {
        return std::count_if(processes.begin(), processes.end(),
                             [&](auto const& process) { return process->errors() == message; }) == 49;
    }));
    EXPECT_EQ(fdn::CPIDFile::getActivePID(path), (*winner())->pid());
    EXPECT_THAT(entries(), ElementsAre("daemon.pid"));

    end.open();
    for (auto const& process : processes)
        process->wait();
    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(CPIDFile, ReplacesOneThatADeadProcessHasLeft) {
    test::runInChild([&] {
        // Leaks it on purpose, as a killed process does.
        new fdn::CPIDFile(path); // NOLINT
    });
    ASSERT_THAT(entries(), ElementsAre("daemon.pid"));

    fdn::CPIDFile const file(path);

    EXPECT_EQ(fdn::CPIDFile::getActivePID(path), getpid());
}

TEST_F(CPIDFile, ReplacesOneOfAnEarlierProcessWithTheSameNumber) {
    writeFile(name, numberOf(getpid()) + "\n1 " + kNoBoot + "\n");

    EXPECT_NO_THROW(fdn::CPIDFile{path});
}

TEST_F(CPIDFile, ReplacesOneWithItsOwnNumberAlone) {
    writeFile(name, numberOf(getpid()) + "\n");

    EXPECT_NO_THROW(fdn::CPIDFile{path});
}

TEST_F(CPIDFile, ReplacesWhateverSaysNothing) {
    for (std::string const& content : {std::string(), std::string("\n"), std::string("text\n"),
                                       std::string("\0\1\2\3", 4), std::string(100000, '1')}) {
        writeFile(name, content);

        fdn::CPIDFile const file(path);

        EXPECT_EQ(fdn::CPIDFile::getActivePID(path), getpid());
    }
}

TEST_F(CPIDFile, ReplacesALinkAndLeavesItsTargetAlone) {
    writeFile(folder.name("target"), numberOf(getppid()) + "\n");
    std::filesystem::create_symlink("target", name);

    fdn::CPIDFile const file(path);

    EXPECT_EQ(readFile(folder.name("target")), numberOf(getppid()) + "\n");
    EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(name)));
}

TEST_F(CPIDFile, ReplacesAFIFO) {
    ASSERT_EQ(mkfifo(name.c_str(), 0666), 0);

    fdn::CPIDFile const file(path);

    EXPECT_EQ(fdn::CPIDFile::getActivePID(path), getpid());
}

TEST_F(CPIDFile, ReplacesAnOldOneWithoutAMomentOfAbsence) {
    writeFile(folder.name("old"), "text\n");
    std::filesystem::copy_file(folder.name("old"), name);
    std::atomic<bool> isMissed{false};
    std::atomic<bool> isDone{false};
    std::thread observer([&] {
        while (!isDone)
            if (access(name.c_str(), F_OK) != 0)
                isMissed = true;
    });

    for (int i = 0; i < 300; ++i) {
        fdn::CPIDFile const file(path);
        std::filesystem::copy_file(folder.name("old"), folder.name("copy"));
        std::filesystem::rename(folder.name("copy"), name);
    }
    isDone = true;
    observer.join();

    EXPECT_FALSE(isMissed);
}

TEST_F(CPIDFile, IsNeverSeenHalfWritten) {
    std::string const whole = [&] {
        fdn::CPIDFile const file(path);
        return readFile(name);
    }();
    std::atomic<bool> isDone{false};
    std::thread owner([&] {
        for (int i = 0; i < 300; ++i)
            fdn::CPIDFile const file(path);
        isDone = true;
    });

    while (!isDone) {
        Descriptor const file(open(name.c_str(), O_RDONLY | O_CLOEXEC));
        std::array<char, 1000> content = {};
        if (file.isOpen() && read(file.get(), content.data(), content.size()) >= 0) {
            EXPECT_EQ(std::string(content.data()), whole);
        }
    }
    owner.join();
}

TEST_F(CPIDFile, TidiesUpAfterAClaimThatWasKilled) {
    writeFile(folder.name(".pid-file.new"), "1");

    fdn::CPIDFile const file(path);

    EXPECT_THAT(entries(), ElementsAre("daemon.pid"));
}

TEST_F(CPIDFile, ClaimFailsWhereTheTemporaryNameCannotBeHadAndLeavesNothing) {
    std::filesystem::create_directory(folder.name(".pid-file.new"));

    CError const error = errorOf([&] { fdn::CPIDFile file(path); });

    EXPECT_EQ(error.getCode(), EEXIST);
    EXPECT_THAT(entries(), ElementsAre(".pid-file.new"));
}

TEST_F(CPIDFile, ClaimNamesTheFolderThatIsMissing) {
    CError const error = errorOf([&] { fdn::CPIDFile file(folder / "missing/daemon.pid"); });

    EXPECT_EQ(error.getMessage(),
              "open failed for '" + (folder / "missing").getText() + "': No such file or directory.");
}

TEST_F(CPIDFile, ClaimInsteadOfAFolderFailsAndLeavesNothing) {
    std::filesystem::create_directory(name);

    CError const error = errorOf([&] { fdn::CPIDFile file(path); });

    EXPECT_EQ(error.getCode(), EISDIR);
    EXPECT_EQ(error.getProps().at("path"), path.getText());
    EXPECT_THAT(entries(), ElementsAre("daemon.pid"));
}

TEST_F(CPIDFile, ClaimWithANameThatIsTooLongFailsAndLeavesNothing) {
    CError const error = errorOf([&] { fdn::CPIDFile file(folder / std::string(256, 'x').c_str()); });

    EXPECT_EQ(error.getCode(), ENAMETOOLONG);
    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(CPIDFile, ClaimWithoutANameFailsAndLeavesNothing) {
    EXPECT_THROW(fdn::CPIDFile file(folder / "subfolder/"), CError);
    EXPECT_THROW(fdn::CPIDFile file{Path()}, CError);
    EXPECT_THROW(fdn::CPIDFile file(folder / "."), CError);

    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(CPIDFile, ClaimFailsWhereFilesMayNotGrowAndLeavesNothing) {
    long long code = 0;
    {
        test::NoFileMayGrow const limit;
        code = errorOf([this] { fdn::CPIDFile claim(path); }).getCode();
    }

    EXPECT_EQ(code, EFBIG);
    EXPECT_THAT(entriesOf(folder.name()), IsEmpty());
}

TEST_F(CPIDFile, DoesNotCareWhoKeepsItsFolderLocked) {
    Descriptor const locked(open(folder.name().c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(flock(locked.get(), LOCK_EX), 0);

    { fdn::CPIDFile const file(path); }

    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(CPIDFile, LeavesAFileAloneThatHasTakenItsPlace) {
    auto file = std::make_unique<fdn::CPIDFile>(path);
    std::filesystem::remove(name);
    writeFile(name, "1\n");

    file.reset();

    EXPECT_EQ(readFile(name), "1\n");
}

TEST_F(CPIDFile, MayBeGoneWhenTheObjectGoes) {
    auto file = std::make_unique<fdn::CPIDFile>(path);
    std::filesystem::remove(name);

    EXPECT_NO_THROW(file.reset());
}

TEST_F(CPIDFile, IsDeletedWhereverTheProcessHasGone) {
    Descriptor const previous(open(".", O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(chdir(folder.name().c_str()), 0);
    auto file = std::make_unique<fdn::CPIDFile>(Path("daemon.pid"));
    ASSERT_THAT(entries(), ElementsAre("daemon.pid"));
    ASSERT_EQ(fchdir(previous.get()), 0);

    file.reset();

    EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(CPIDFile, IsNotForAForkedProcessToGiveUp) {
    auto file = std::make_unique<fdn::CPIDFile>(path);

    test::runInChild([&] { file.reset(); });

    EXPECT_THAT(entries(), ElementsAre("daemon.pid"));
}

TEST_F(CPIDFile, IsStaleOnceItsProcessHasForkedAndEnded) {
    Gate end;
    test::Outcome const outcome = test::runInChild([&] {
        new fdn::CPIDFile(path); // NOLINT
        if (fork() == 0) {
            end.pass();
            _exit(0);
        }
    });
    ASSERT_EQ(outcome.status, 0);

    EXPECT_NO_THROW(fdn::CPIDFile{path});
}

TEST_F(ActivePID, IsZeroWithoutAFile) {
    EXPECT_EQ(active(), 0);
    EXPECT_EQ(fdn::CPIDFile::getActivePID(folder / "missing/daemon.pid"), 0);
    EXPECT_EQ(fdn::CPIDFile::getActivePID(Path("/dev/null/daemon.pid")), 0);
    EXPECT_EQ(fdn::CPIDFile::getActivePID(Path()), 0);
}

TEST_F(ActivePID, IsZeroWithoutAFolderWhereTheWholePathIsTooLong) {
    std::string missingFolder = folder.name();
    while (missingFolder.size() < PATH_MAX - 100)
        missingFolder += "/missing";

    EXPECT_EQ(
        fdn::CPIDFile::getActivePID(Path(String::fromBytes(missingFolder + "/" + std::string(200, 'x')))), 0);
}

TEST_F(ActivePID, IsTheProcessThatHoldsTheFile) {
    fdn::CPIDFile const file(path);

    EXPECT_EQ(active(), getpid());
}

TEST_F(ActivePID, IsTheNumberThatStandsAlone) {
    std::string const number = numberOf(getpid());

    for (char const* end : {"", "\n", " \n", "\t\r\n", "\n\n"})
        EXPECT_EQ(activeFor(number + end), getpid()) << testing::PrintToString(end);
}

TEST_F(ActivePID, IsZeroForWhatIsNotAProcessNumber) {
    std::string const number = numberOf(getpid());
    std::vector<std::string> const lines = {"",
                                            "text",
                                            "0",
                                            "00",
                                            "-1",
                                            "-" + number,
                                            "+" + number,
                                            " " + number,
                                            "\t" + number,
                                            number + "x",
                                            number + " 1",
                                            "0x1",
                                            number + ".0",
                                            "1e3",
                                            "2147483648",
                                            "4294967297",
                                            "99999999999999999999",
                                            "\v" + number,
                                            number + std::string(1, '\0'),
                                            std::string(1, '\0') + number,
                                            "\xef\xbb\xbf" + number};

    for (std::string const& line : lines)
        EXPECT_EQ(activeFor(line + "\n"), 0) << testing::PrintToString(line);
}

TEST_F(ActivePID, IsZeroForANumberOnTheSecondLine) {
    EXPECT_EQ(activeFor("\n" + numberOf(getpid()) + "\n"), 0);
}

TEST_F(ActivePID, IsZeroForARandomFile) {
    std::string content(4096, '\0');
    std::generate(content.begin(), content.end(), [state = 1U]() mutable {
        state = state * 1103515245U + 12345U;
        return static_cast<char>(state >> 16U);
    });

    EXPECT_EQ(activeFor(content), 0);
}

TEST_F(ActivePID, IsZeroForAnEnormousFile) {
    writeFile(name, numberOf(getpid()) + "\n");
    ASSERT_EQ(truncate(name.c_str(), off_t{1} << 40), 0);

    EXPECT_EQ(active(), 0);
}

TEST_F(ActivePID, IsZeroForAFileThatIsLongerThanAPIDFileCanBe) {
    std::string const content = ownContent();

    writeFile(name, content + std::string(4096 - content.size(), '\n'));
    int const activeForLongest = active();
    writeFile(name, content + std::string(4097 - content.size(), '\n'));

    EXPECT_EQ(activeForLongest, getpid());
    EXPECT_EQ(active(), 0);
}

TEST_F(ActivePID, IsZeroForAFileThatWasCutInItsSecondLine) {
    std::string const content = ownContent();
    std::size_t const secondLine = content.find('\n') + 1;

    for (std::size_t size = secondLine + 1; size < content.size() - 1; ++size)
        EXPECT_EQ(activeFor(content.substr(0, size)), 0) << size;
}

TEST_F(ActivePID, IsZeroForAnotherStartTime) {
    std::string content = ownContent();

    content.insert(content.find('\n') + 1, "1");

    EXPECT_EQ(activeFor(content), 0);
}

TEST_F(ActivePID, IsZeroForAnotherBoot) {
    std::string const content = ownContent();

    EXPECT_EQ(activeFor(content.substr(0, content.find(' ')) + " " + kNoBoot + "\n"), 0);
}

TEST_F(ActivePID, IsZeroForAFolder) {
    std::filesystem::create_directory(name);

    EXPECT_EQ(active(), 0);
}

TEST_F(ActivePID, IsZeroForAFIFO) {
    ASSERT_EQ(mkfifo(name.c_str(), 0666), 0);

    EXPECT_EQ(active(), 0);
}

TEST_F(ActivePID, IsZeroForASocket) {
    Descriptor const server(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(server.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);

    EXPECT_EQ(active(), 0);
}

TEST_F(ActivePID, IsZeroForADevice) {
    EXPECT_EQ(fdn::CPIDFile::getActivePID(Path("/dev/zero")), 0);
    EXPECT_EQ(fdn::CPIDFile::getActivePID(Path("/dev/tty")), 0);
}

TEST_F(ActivePID, IsZeroForALink) {
    fdn::CPIDFile const file(folder / "real.pid");
    std::filesystem::create_symlink("real.pid", name);
    std::filesystem::create_symlink("nothing", folder.name("dangling.pid"));
    std::filesystem::create_symlink("loop.pid", folder.name("loop.pid"));

    EXPECT_EQ(active(), 0);
    EXPECT_EQ(fdn::CPIDFile::getActivePID(folder / "dangling.pid"), 0);
    EXPECT_EQ(fdn::CPIDFile::getActivePID(folder / "loop.pid"), 0);
}

TEST_F(ActivePID, IsZeroForAProcessThatIsGone) {
    EXPECT_EQ(activeFor(numberOf(processThatIsGone()) + "\n"), 0);
}

TEST_F(ActivePID, IsZeroForAZombie) {
    Zombie const zombie;

    EXPECT_EQ(activeFor(numberOf(zombie.pid()) + "\n"), 0);
}

TEST_F(ActivePID, IsZeroForAThread) {
    SecondThread thread;

    EXPECT_EQ(activeFor(numberOf(thread.id()) + "\n"), 0);
}

TEST_F(ActivePID, IsAProcessWhateverItIsCalled) {
    std::string const processName = "a) b (c\n) R 1 ";
    Gate end;
    test::Program const holder([&] {
        prctl(PR_SET_NAME, processName.c_str());
        fdn::CPIDFile const file(path);
        std::cout << "claimed" << std::flush;
        end.pass();
    });
    ASSERT_TRUE(awaitOutput(holder, "claimed"));
    ASSERT_EQ(readFile("/proc/" + numberOf(holder.pid()) + "/comm"), processName + "\n");

    EXPECT_EQ(active(), holder.pid());
    EXPECT_EQ(readFile(name), numberOf(holder.pid()) + "\n" + test::startTimeOf(holder.pid()) + " " +
                                  test::bootIdentifier() + "\n");
}

class OldKernel : public ActivePID, public testing::WithParamInterface<int> {};

TEST_P(OldKernel, TellsTheLivingFromTheDead) {
    Zombie const zombie;
    SecondThread thread;
    pid_t const threadId = thread.id();
    pid_t const gone = processThatIsGone();

    test::Outcome const outcome = test::runInChild([&] {
        test::refuseSystemCall(SYS_pidfd_open, GetParam());
        for (pid_t process : {getpid(), getppid(), zombie.pid(), threadId, gone})
            std::cout << (activeFor(numberOf(process) + "\n") == process) << ' ';
    });

    EXPECT_EQ(outcome.output, "1 1 0 0 0 ") << outcome.errors;
}

INSTANTIATE_TEST_SUITE_P(UnknownOrForbidden, OldKernel, testing::Values(ENOSYS, EPERM));

class WithoutProc : public test::PrivateRootTest {};

TEST_F(WithoutProc, APIDFileHasTheFirstLineAlone) {
    TemporaryFolder const folder;

    test::Outcome const outcome = test::runInChild([&] {
        test::removeProc();
        fdn::CPIDFile const file(folder / "daemon.pid");
        std::cout << (readFile(folder.name("daemon.pid")) == numberOf(getpid()) + "\n")
                  << (fdn::CPIDFile::getActivePID(folder / "daemon.pid") == getpid());
    });

    EXPECT_EQ(outcome.output, "11") << outcome.errors;
}

TEST_F(WithoutProc, AThreadIsNoProcess) {
    TemporaryFolder const folder;
    SecondThread thread;
    writeFile(folder.name("daemon.pid"), numberOf(thread.id()) + "\n");

    test::Outcome const outcome = test::runInChild([&] {
        require(unshare(CLONE_NEWNS) == 0 && umount2("/proc", MNT_DETACH) == 0, "umount");
        std::cout << fdn::CPIDFile::getActivePID(folder / "daemon.pid");
    });

    EXPECT_EQ(outcome.output, "0") << outcome.errors;
}

class UnreadableProc : public test::PrivateRootTest {
protected:
    // Puts a file that cannot be read in place of the boot identifier: a process's memory has nothing at
    // address 0.
    UnreadableProc() { require(mount("/proc/self/mem", kBoot, nullptr, MS_BIND, nullptr) == 0, "mount"); }

    ~UnreadableProc() override { umount(kBoot); }

    static constexpr char kBoot[] = "/proc/sys/kernel/random/boot_id";

    TemporaryFolder const folder;
};

TEST_F(UnreadableProc, LeavesItOpenWhetherTheProcessHoldsItsFile) {
    writeFile(folder.name("daemon.pid"), numberOf(getpid()) + "\n1 " + kNoBoot + "\n");

    CError const error = errorOf([&] { fdn::CPIDFile::getActivePID(folder / "daemon.pid"); });

    EXPECT_EQ(error.getCode(), EIO);
    EXPECT_THAT(error.getMessage().toUTF8(), testing::HasSubstr(kBoot));
}

TEST_F(UnreadableProc, FailsAClaimThatThenLeavesTheFolderAsItWas) {
    writeFile(folder.name("daemon.pid"), numberOf(getppid()) + "\n1 " + kNoBoot + "\n");

    EXPECT_EQ(errorOf([&] { fdn::CPIDFile file(folder / "daemon.pid"); }).getCode(), EIO);

    EXPECT_THAT(entriesOf(folder.name()), ElementsAre("daemon.pid"));
    EXPECT_EQ(readFile(folder.name("daemon.pid")), numberOf(getppid()) + "\n1 " + kNoBoot + "\n");
}

class FullDisk : public test::PrivateRootTest {};

TEST_F(FullDisk, FailsAClaimThatThenLeavesTheFolderAsItWas) {
    test::FullFolder const full("/run");
    writeFile("/run/daemon.pid", "");

    CError const error = errorOf([] { fdn::CPIDFile file(Path("/run/daemon.pid")); });

    EXPECT_EQ(error.getCode(), ENOSPC);
    EXPECT_EQ(error.getProps().at("path"), "/run/daemon.pid");
    EXPECT_THAT(entriesOf("/run"), ElementsAre("daemon.pid", "full"));
}

TEST_F(PIDFilesOfAccounts, NameProcessesOfTheSameAccountAlone) {
    test::Program const own(test::asUser("dmnuser", {"sleep", "1000"}));
    test::Program const other(test::asUser("dmnother", {"sleep", "1000"}));
    ASSERT_TRUE(await([&] { return test::statusOf(own.pid(), "Name") == "sleep"; }));
    ASSERT_TRUE(await([&] { return test::statusOf(other.pid(), "Name") == "sleep"; }));

    EXPECT_EQ(activeFor(own.pid(), kUser), own.pid());
    EXPECT_EQ(activeFor(other.pid(), kUser), 0);
    EXPECT_EQ(activeFor(getpid(), kUser), 0);
    EXPECT_EQ(activeFor(1, kUser), 0);
}

// A server that opens files for a user takes on the user's rights for a while. The user may not signal it, so
// root must not do so either.
TEST_F(PIDFilesOfAccounts, DoNotNameAProcessThatHasTheirRightsForAWhile) {
    test::Program const server([] {
        if (seteuid(kUser) == 0)
            std::cout << "lent" << std::flush;
        pause();
    });
    ASSERT_TRUE(awaitOutput(server, "lent"));

    EXPECT_EQ(activeFor(server.pid(), kUser), 0);
}

TEST_F(PIDFilesOfAccounts, OfRootMayNameEveryProcess) {
    test::Program const process(test::asUser("dmnuser", {"sleep", "1000"}));

    EXPECT_EQ(activeFor(process.pid(), 0), process.pid());
}

TEST_F(PIDFilesOfAccounts, CountAProcessAliveThatMayNotBeSignalled) {
    fdn::CPIDFile const file(path);

    for (bool hasOldKernel : {false, true}) {
        test::Outcome const outcome = test::runInChild([&] {
            test::becomeUser();
            if (hasOldKernel)
                test::refuseSystemCall(SYS_pidfd_open, ENOSYS);
            std::cout << fdn::CPIDFile::getActivePID(path);
        });

        EXPECT_EQ(outcome.output, numberOf(getpid())) << outcome.errors;
    }
}

TEST_F(PIDFilesOfAccounts, AreAnErrorWhenTheyMayNotBeRead) {
    writeFile(name, "1\n");
    test::setMode(name, 0600);

    test::Outcome const outcome = test::runInChild([&] {
        test::becomeOther();
        fdn::CPIDFile::getActivePID(path);
    });

    EXPECT_EQ(outcome.errors, "open failed for '" + name + "': Permission denied.");
}

TEST_F(PIDFilesOfAccounts, AreAnErrorInAFolderThatMayNotBeEntered) {
    writeFile(name, "1\n");
    test::setMode(folder.name(), 0700);

    test::Outcome const outcome = test::runInChild([&] {
        test::becomeOther();
        fdn::CPIDFile::getActivePID(path);
    });

    EXPECT_EQ(outcome.errors, "open failed for '" + name + "': Permission denied.");
}

TEST_F(PIDFilesOfAccounts, CanBeClaimedByTheAccount) {
    Gate end;
    test::Program const holder([&] {
        test::becomeUser();
        fdn::CPIDFile const file(path);
        std::cout << "claimed" << std::flush;
        end.pass();
    });
    ASSERT_TRUE(awaitOutput(holder, "claimed"));

    EXPECT_EQ(test::ownerOf(name), kUser);
    EXPECT_EQ(fdn::CPIDFile::getActivePID(path), holder.pid());
}

TEST_F(PIDFilesOfAccounts, AreNamedInTheLogWhereTheRightsToDeleteThemAreGone) {
    test::CapturedLog const log;

    test::Outcome const outcome = test::runInChild([&] {
        test::setMode(folder.name(), 0755);
        auto file = std::make_unique<fdn::CPIDFile>(path);
        test::becomeUser();
        file.reset();
    });

    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(fdn::CPIDFile::getActivePID(path), 0);
    EXPECT_THAT(log.entries(), ElementsAre(testing::HasSubstr("unlink failed for '" + name + "'")));
}

} // namespace
