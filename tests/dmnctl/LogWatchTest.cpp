#include <dmnctl/log/LogWatch.h>

#include "support/Obstacles.h"
#include "support/Program.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <functional>

#include <cerrno>

namespace {

using dmnctl::LogWatch;

class LogWatchTest : public testing::Test {
protected:
    /// Whether the watch tells of it sooner than it would look anyway.
    bool tellsOf(std::function<void()> const& change) const {
        LogWatch watch({fdn::Path(m_log.c_str())});
        watch.renew();
        change();
        auto const begin = std::chrono::steady_clock::now();
        watch.wait();
        return std::chrono::steady_clock::now() - begin < std::chrono::seconds(9);
    }

    test::TemporaryFolder m_folder;
    std::string m_log = m_folder.name("a/b/x.log");
};

TEST_F(LogWatchTest, TellsOfAFileThatComesGrowsAndGoes) {
    std::filesystem::create_directories(m_folder.name("a/b"));

    EXPECT_TRUE(tellsOf([this] { test::writeFile(m_log, ""); }));
    EXPECT_TRUE(tellsOf([this] { test::writeFile(m_log, "x"); }));
    EXPECT_TRUE(tellsOf([this] { std::filesystem::rename(m_log, m_log + ".1"); }));
}

TEST_F(LogWatchTest, TellsOfFoldersThatDoNotExistYet) {
    EXPECT_TRUE(tellsOf([this] { std::filesystem::create_directory(m_folder.name("a")); }));
    EXPECT_TRUE(tellsOf([this] { std::filesystem::create_directory(m_folder.name("a/b")); }));
    EXPECT_TRUE(tellsOf([this] { test::writeFile(m_log, ""); }));
}

TEST_F(LogWatchTest, LooksOnceASecondWhereTheSystemRefuses) {
    test::Outcome const outcome = test::runInChild([this] {
        test::refuseSystemCall(SYS_inotify_init1, EMFILE);
        LogWatch watch({fdn::Path(m_log.c_str())});
        watch.renew();
        test::require(watch.getRefusal() == "Too many open files", watch.getRefusal());
        test::require(watch.wait(), "somebody reads");
    });

    EXPECT_EQ(0, outcome.status) << outcome.errors;
}

TEST_F(LogWatchTest, SaysWhyTheLimitKeepsItFromWatching) {
    test::Outcome const outcome = test::runInChild([this] {
        test::refuseSystemCall(SYS_inotify_add_watch, ENOSPC);
        LogWatch watch({fdn::Path(m_log.c_str())});
        watch.renew();
        test::require(watch.getRefusal() == "No space left on device", watch.getRefusal());
        test::require(watch.wait(), "somebody reads");
    });

    EXPECT_EQ(0, outcome.status) << outcome.errors;
}

} // namespace
