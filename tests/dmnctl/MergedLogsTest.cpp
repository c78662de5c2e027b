#include <dmnctl/log/MergedLogs.h>

#include "LogLines.h"

#include <gmock/gmock.h>

#include <unistd.h>

namespace {

using dmnctl::EntrySelection;
using dmnctl::Log;
using dmnctl::MergedLogs;
using test::append;
using test::logLine;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t kTen = 1795341600000000; // 2026-11-22 10:00 UTC

class MergedLogsTest : public testing::Test {
protected:
    std::vector<Log> open() const {
        std::vector<Log> logs;
        for (char const* const name : {"a", "b"})
            logs.push_back(Log({m_folder / name, getuid()}));
        return logs;
    }

    void add(char const* log, int milliseconds, std::string const& text, std::string const& level = "info") {
        append(m_folder.name(log), logLine(milliseconds, text, level));
    }

    test::Texts select(EntrySelection const& selection) const {
        std::vector<Log> logs = open();
        MergedLogs entries(logs, selection);
        entries.goBack();
        return readAll(entries);
    }

    static test::Texts readAll(MergedLogs& entries) {
        test::Texts texts;
        while (auto const found = entries.getNext())
            texts.push_back(found->entry.text);
        return texts;
    }

    test::TemporaryFolder m_folder;
};

TEST_F(MergedLogsTest, ShowsTheLastEntriesOfAllInTheOrderOfTime) {
    for (int i = 0; i < 10; ++i)
        add(i % 3 == 0 ? "a" : "b", i, std::to_string(i));

    EXPECT_THAT(select({4, {}, false}), ElementsAre("6", "7", "8", "9"));
    EXPECT_THAT(select({0, {}, false}), IsEmpty());
    EXPECT_EQ(10U, select({}).size());
    EXPECT_EQ(10U, select({1000, {}, false}).size());
}

TEST_F(MergedLogsTest, CountsErrorsAlone) {
    for (int i = 0; i < 10; ++i)
        add(i % 3 == 0 ? "a" : "b", i, std::to_string(i), i % 2 == 0 ? "error" : "info");

    EXPECT_THAT(select({3, {}, true}), ElementsAre("4", "6", "8"));
}

TEST_F(MergedLogsTest, BeginsAtATime) {
    for (int i = 0; i < 10; ++i)
        add(i % 3 == 0 ? "a" : "b", 100000 * i, std::to_string(i));

    EXPECT_THAT(select({{}, kTen + 700 * 1000000, false}), ElementsAre("7", "8", "9"));
    EXPECT_THAT(select({2, kTen + 700 * 1000000, false}), ElementsAre("8", "9"));
    EXPECT_THAT(select({{}, kTen + 701 * 1000000, false}), ElementsAre("8", "9"));
}

// Two threads get their times in another order than their places.
TEST_F(MergedLogsTest, FindsWhatStandsBehindAnEntryFromBeforeThatTime) {
    add("a", 3000, "first");
    add("a", 1000, "late");
    add("a", 3001, "second");

    EXPECT_THAT(select({{}, kTen + 2000000, false}), ElementsAre("first", "second"));
}

TEST_F(MergedLogsTest, KeepsTheOrderOfALogWhoseClockWasSetBack) {
    add("a", 5000, "1");
    add("a", 2000, "2");
    add("b", 3000, "3");

    EXPECT_THAT(select({2, {}, false}), testing::SizeIs(2));
    EXPECT_THAT(select({}), ElementsAre("3", "1", "2"));
}

TEST_F(MergedLogsTest, GoesOnAfterAnotherLook) {
    add("a", 0, "1");
    std::vector<Log> logs = open();
    for (Log& log : logs)
        log.follow();
    MergedLogs entries(logs, {1, {}, false});
    entries.goBack();
    EXPECT_THAT(readAll(entries), ElementsAre("1"));

    add("b", 1, "2");
    add("a", 2, "3");
    for (Log& log : logs)
        log.look();

    EXPECT_THAT(readAll(entries), ElementsAre("2", "3"));
}

} // namespace
