#include "life_cycle/LifeCycle.h"

#include "support/cases.h"
#include "support/processInfo.h"

#include <filesystem>
#include <memory>
#include <sstream>

#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using test::await;
using test::Outcome;
using test::Words;

/// A process that no command may signal. It knows whether one did.
class Stranger {
public:
    explicit Stranger(std::string const& account = "root")
        : m_program(account == "root" ? Words{DMN_STRANGER} : test::asUser(account, {DMN_STRANGER})) {
        EXPECT_TRUE(await([this] { return m_program.output().find('\n') != std::string::npos; }));
        std::istringstream(m_program.output()) >> m_process >> m_thread;
    }

    pid_t process() const { return m_process; }

    pid_t thread() const { return m_thread; }

    /// Ends the process and returns the signals that it got, each on a line.
    std::string signals() {
        m_program.sendSignal(SIGRTMAX);
        std::string const output = m_program.wait().output;
        return output.substr(output.find('\n') + 1);
    }

private:
    test::Program m_program;
    pid_t m_process = 0;
    pid_t m_thread = 0;
};

/// Names the cases of the tests below.
template <class Case>
auto operator<<(std::ostream& stream, Case const& testCase) -> decltype(stream << testCase.name) {
    return stream << testCase.name;
}

/// Installs the daemon for an account that owns the control folder.
class HostilePIDFileTest : public test::LifeCycleFixture<test::AccountsTest> {
protected:
    void SetUp() override {
        LifeCycleFixture::SetUp();
        if (!test::hasOtherAccounts())
            return;
        fs::create_directory(controlFolder());
        test::setOwner(controlFolder(), test::kUser, test::kUser);
        install({"--runas=dmnuser"});
    }

    void writePIDFile(std::string const& content, unsigned owner) const {
        test::writeFile(pidFile(), content);
        test::setOwner(pidFile(), owner, owner);
    }

    /// Expects that the daemon counts as stopped and can be started and stopped again.
    void expectDaemonCanBeManaged() const {
        EXPECT_EQ(0, runHeartbeat({"--timeout=5", "stop"}).status);
        EXPECT_NE(0, status());
        start();
        EXPECT_EQ("61001 61001 61001 61001", test::statusOf(daemonPID(), "Uid"));
        EXPECT_EQ(0, runHeartbeat({"stop"}).status);
        EXPECT_EQ(3, status());
    }

    /// Makes the daemon crash and gives its number to a stranger of this account, as its process or its
    /// thread.
    std::unique_ptr<Stranger> replaceDaemonByStranger(std::string const& account, bool asThread) const {
        start();
        pid_t const number = daemonPID();
        kill(number, SIGKILL);
        EXPECT_TRUE(await([&] { return kill(number, 0) != 0; }));
        std::unique_ptr<Stranger> stranger;
        EXPECT_TRUE(await([&] {
            test::writeFile("/proc/sys/kernel/ns_last_pid", std::to_string(number - (asThread ? 2 : 1)));
            stranger = std::make_unique<Stranger>(account);
            return number == (asThread ? stranger->thread() : stranger->process());
        }));
        return stranger;
    }
};

TEST_F(HostilePIDFileTest, StrangerNoticesASignal) {
    Stranger stranger;
    writePIDFile(std::to_string(stranger.process()) + "\n", 0);

    runHeartbeat({"--timeout=0", "stop"});

    EXPECT_EQ("signal 15\n", stranger.signals());
}

struct Content {
    char const* name;
    std::string text; // words in braces stand for facts about the stranger
    unsigned owner;
};

std::string replace(std::string text, std::string const& word, std::string const& value) {
    std::size_t const start = text.find(word);
    return start == std::string::npos ? text : text.replace(start, word.size(), value);
}

std::string describe(std::string text, Stranger const& stranger) {
    constexpr long long twoTo32 = 1LL << 32;
    text = replace(text, "{wrapped}", std::to_string(twoTo32 + stranger.process()));
    text = replace(text, "{process}", std::to_string(stranger.process()));
    text = replace(text, "{thread}", std::to_string(stranger.thread()));
    text = replace(text, "{start}", test::startTimeOf(stranger.process()));
    return replace(text, "{boot}", test::bootIdentifier());
}

class HostileContentTest : public HostilePIDFileTest, public testing::WithParamInterface<Content> {};

TEST_P(HostileContentTest, HasNobodySignalled) {
    Stranger stranger;
    std::string const content = describe(GetParam().text, stranger);
    writePIDFile(content, GetParam().owner);

    expectDaemonCanBeManaged();

    writePIDFile(content, GetParam().owner);
    EXPECT_EQ(0, runHeartbeat({"uninstall"}).status);
    EXPECT_EQ("", stranger.signals());
}

INSTANTIATE_TEST_SUITE_P(
    OfRoot, HostileContentTest,
    testing::Values(Content{"Empty", "", 0}, Content{"Zero", "0\n", 0}, Content{"EveryProcess", "-1\n", 0},
                    Content{"ProcessGroup", "-{process}\n", 0}, Content{"Sign", "+{process}\n", 0},
                    Content{"LeadingBlank", " {process}\n", 0}, Content{"Overflow", "{wrapped}\n", 0},
                    Content{"FarTooLong", "9999999999999999999999{process}\n", 0},
                    Content{"TrailingWord", "{process} 1\n", 0}, Content{"TrailingLetter", "{process}x\n", 0},
                    Content{"SecondLine", "\n{process}\n", 0},
                    Content{"Binary", "{process}\xff\xfe\x01\n", 0},
                    Content{"NUL", std::string("{process}\0\n", 11), 0}, Content{"Thread", "{thread}\n", 0},
                    Content{"EarlierProcess", "{process}\n1 {boot}\n", 0},
                    Content{"EarlierBoot", "{process}\n{start} 00000000-0000-4000-8000-000000000000\n", 0},
                    Content{"CutSecondLine", "{process}\n{start}\n", 0}),
    test::nameOfCase);

INSTANTIATE_TEST_SUITE_P(OfTheAccount, HostileContentTest,
                         testing::Values(Content{"RootsProcess", "{process}\n", test::kUser},
                                         Content{"RootsProcessInFull", "{process}\n{start} {boot}\n",
                                                 test::kUser},
                                         Content{"LineOfDOS", "{process}\r\n", test::kUser},
                                         Content{"FirstProcess", "1\n", test::kUser}),
                         test::nameOfCase);

TEST_F(HostilePIDFileTest, ThatNamesAnotherAccountsProcessHasNobodySignalled) {
    Stranger stranger("dmnother");
    writePIDFile(std::to_string(stranger.process()) + "\n", test::kUser);

    expectDaemonCanBeManaged();

    EXPECT_EQ("", stranger.signals());
}

TEST_F(HostilePIDFileTest, OfTheAccountHasTheSystemsFirstProcessLeftAlone) {
    writePIDFile("1\n", test::kUser);

    Outcome const outcome =
        test::run({"unshare", "--pid", "--fork", "--mount-proc", "--kill-child", DMN_STRANGER, DMN_HEARTBEAT,
                   "--controlFolder=" + controlFolder(), "stop"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("1 1\nheartbeat does not run.\n", outcome.output);
}

/// Something that is not a file of the daemon, in the place of its PID file.
struct Obstacle {
    char const* name;
    void (*make)(std::string const& path, std::string const& strangersFile);
};

void makeSocket(std::string const& path) {
    fdn::Descriptor const socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = {AF_UNIX, {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(0, bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address));
}

void makeSparse(std::string const& path, std::string const& content) {
    test::writeFile(path, content);
    fs::resize_file(path, 1ULL << 36);
}

class ObstacleTest : public HostilePIDFileTest, public testing::WithParamInterface<Obstacle> {};

TEST_P(ObstacleTest, HasNobodySignalledAndIsReplaced) {
    Stranger stranger;
    std::string const strangersFile = m_folder.name("stranger.pid");
    std::string const content = std::to_string(stranger.process()) + "\n";
    test::writeFile(strangersFile, content);
    GetParam().make(pidFile(), strangersFile);

    expectDaemonCanBeManaged();

    GetParam().make(pidFile(), strangersFile);
    EXPECT_EQ(0, runHeartbeat({"uninstall"}).status);
    EXPECT_EQ("", stranger.signals());
    EXPECT_EQ(content, test::readFile(strangersFile));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, ObstacleTest,
    testing::Values(
        Obstacle{"LinkToRootsFile",
                 [](auto const& path, auto const& file) { fs::create_symlink(file, path); }},
        Obstacle{"SecondNameOfRootsFile",
                 [](auto const& path, auto const& file) { fs::create_hard_link(file, path); }},
        Obstacle{"DanglingLink", [](auto const& path, auto const&) { fs::create_symlink("missing", path); }},
        Obstacle{"LinkToItself", [](auto const& path, auto const&) { fs::create_symlink(path, path); }},
        Obstacle{"LinkToADevice",
                 [](auto const& path, auto const&) { fs::create_symlink("/dev/zero", path); }},
        Obstacle{"LinkToAProcess",
                 [](auto const& path, auto const&) { fs::create_symlink("/proc/1/stat", path); }},
        Obstacle{"FIFO", [](auto const& path, auto const&) { EXPECT_EQ(0, mkfifo(path.c_str(), 0666)); }},
        Obstacle{"Socket", [](auto const& path, auto const&) { makeSocket(path); }},
        Obstacle{"SparseFile",
                 [](auto const& path, auto const& file) { makeSparse(path, test::readFile(file)); }}),
    test::nameOfCase);

TEST_F(HostilePIDFileTest, ThatIsAFolderKeepsTheDaemonFromComingUp) {
    fs::create_directory(pidFile());

    EXPECT_EQ(0, runHeartbeat({"stop"}).status);
    Outcome const starting = runHeartbeat({"start"});

    EXPECT_EQ(2, starting.status);
    EXPECT_NE(std::string::npos, starting.output.find(pidFile())) << starting.output;
    EXPECT_NE(0, status());
    EXPECT_TRUE(fs::is_directory(pidFile()));
}

TEST_F(HostilePIDFileTest, LinksInTheAccountsFolderDoNotLeadRootToOtherFiles) {
    std::string const victim = m_folder.name("victim");
    test::writeFile(victim, "content");
    fs::create_symlink(victim, pidFile());
    fs::create_symlink(victim, controlFolder() + "/.pid-file.new");
    test::Program daemon({DMN_HEARTBEAT, "--controlFolder=" + controlFolder(), "run"});
    ASSERT_TRUE(awaitUp());

    daemon.sendSignal(SIGTERM);

    EXPECT_EQ(0, daemon.wait().status);
    EXPECT_EQ("content", test::readFile(victim));
    EXPECT_FALSE(fs::is_symlink(pidFile()));
}

TEST_F(HostilePIDFileTest, ThatChangesAllTheTimeHasNobodySignalled) {
    Stranger stranger;
    Stranger own("dmnuser");
    std::string const strangersFile = m_folder.name("stranger.pid");
    std::string const nextFile = controlFolder() + "/next";
    test::writeFile(strangersFile, std::to_string(stranger.process()) + "\n");
    test::Program const changing([&] {
        test::becomeUser();
        while (symlink(strangersFile.c_str(), nextFile.c_str()) == 0) {
            rename(nextFile.c_str(), pidFile().c_str());
            test::writeFile(nextFile, std::to_string(stranger.process()) + "\n");
            rename(nextFile.c_str(), pidFile().c_str());
            test::writeFile(nextFile, std::to_string(own.process()) + "\n");
            rename(nextFile.c_str(), pidFile().c_str());
        }
    });
    ASSERT_TRUE(await([this] { return fs::exists(pidFile()); }));

    for (int i = 0; i < 30; ++i)
        runHeartbeat({"--timeout=0", "stop"});

    EXPECT_EQ("", stranger.signals());
}

struct Reuse {
    char const* name;
    char const* account;
    bool asThread;
};

class ReusedNumberTest : public HostilePIDFileTest, public testing::WithParamInterface<Reuse> {};

TEST_P(ReusedNumberTest, OfACrashedDaemonHasNobodySignalled) {
    std::unique_ptr<Stranger> const stranger =
        replaceDaemonByStranger(GetParam().account, GetParam().asThread);

    EXPECT_EQ(1, status());
    expectDaemonCanBeManaged();

    EXPECT_EQ("", stranger->signals());
}

INSTANTIATE_TEST_SUITE_P(By, ReusedNumberTest,
                         testing::Values(Reuse{"RootsProcess", "root", false},
                                         Reuse{"TheAccountsProcess", "dmnuser", false},
                                         Reuse{"AnotherAccountsProcess", "dmnother", false},
                                         Reuse{"Thread", "root", true}),
                         test::nameOfCase);

} // namespace
