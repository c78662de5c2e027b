#include <dmnctl/log/Log.h>

#include "LogLines.h"
#include "support/fileInfo.h"

#include <gmock/gmock.h>

#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using dmnctl::Log;
using test::append;
using test::logLine;
using test::readBack;
using test::readOn;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class LogTest : public testing::Test {
protected:
    Log open() const { return Log({fdn::Path(m_name.c_str()), getuid()}); }

    /// One that shows what is added from now on.
    Log follow() const {
        Log log = open();
        log.follow();
        return log;
    }

    void add(int milliseconds, std::string const& text) const { append(m_name, logLine(milliseconds, text)); }

    /// As the library does.
    void rotate() const {
        for (int age = 4; age >= 0; --age) {
            std::string const from = age == 0 ? m_name : m_name + "." + std::to_string(age);
            std::error_code ignored;
            std::filesystem::rename(from, m_name + "." + std::to_string(age + 1), ignored);
        }
    }

    test::TemporaryFolder m_folder;
    std::string m_name = m_folder.name("x.log");
};

test::Texts lookAndRead(Log& log) {
    log.look();
    return readOn(log);
}

TEST_F(LogTest, GoesBackOverRotatedFilesAndOnAgain) {
    for (int i = 0; i < 4; ++i) {
        add(2 * i, std::to_string(2 * i));
        add(2 * i + 1, std::to_string(2 * i + 1));
        if (i < 3)
            rotate();
    }
    std::filesystem::rename(m_name + ".3", m_name + "-20261121");
    Log log = open();

    EXPECT_THAT(readBack(log), ElementsAre("7", "6", "5", "4", "3", "2", "1", "0"));
    EXPECT_THAT(readOn(log), ElementsAre("0", "1", "2", "3", "4", "5", "6", "7"));
    EXPECT_THAT(log.takeProblems(), IsEmpty());
}

TEST_F(LogTest, TakesBackAStep) {
    add(0, "a");
    rotate();
    add(1, "b");
    Log log = open();

    EXPECT_EQ("b", log.readPrevious()->text);
    EXPECT_EQ("a", log.readPrevious()->text);
    log.takeBack();

    EXPECT_THAT(readOn(log), ElementsAre("b"));
}

TEST_F(LogTest, ShowsRotatedFilesWhereTheNewestIsMissing) {
    add(0, "a");
    rotate();
    Log log = open();

    EXPECT_THAT(readBack(log), ElementsAre("a"));
}

TEST_F(LogTest, ShowsOnlyWhatWasThereWhenItLooked) {
    add(0, "a");
    Log log = open();
    add(1, "b");
    rotate();
    add(2, "c");

    EXPECT_THAT(readBack(log), ElementsAre("a"));
    EXPECT_THAT(readOn(log), ElementsAre("a"));
}

TEST_F(LogTest, ShowsWhatIsNoEntryAndPassesOverEmptyLines) {
    add(0, "a");
    append(m_name, "\n\njunk\n\n");
    add(1, "b");
    append(m_name, "<entry time=\"");
    Log log = open();

    EXPECT_THAT(readBack(log), ElementsAre("<entry time=\"", "b", "junk", "a"));
    EXPECT_THAT(readOn(log), ElementsAre("a", "junk", "b", "<entry time=\""));
}

TEST_F(LogTest, GivesALineWithoutATimeThatOfItsNeighbour) {
    add(1000, "a");
    append(m_name, "junk\n");
    add(3000, "b");
    Log log = open();

    log.readPrevious();
    std::int64_t const later = log.getTime();
    log.readPrevious();
    EXPECT_EQ(later, log.getTime());
    log.readPrevious();
    EXPECT_EQ(later - 2000000, log.getTime());
}

TEST_F(LogTest, CutsALineThatIsTooLongToBeAnEntry) {
    std::string const megabyte(1048576, 'x');
    add(0, megabyte);
    for (int i = 0; i < 10; ++i)
        append(m_name, megabyte);
    Log log = open();

    EXPECT_EQ(std::string(1024, 'x') + "... (a line of 10485760 bytes)", log.readPrevious()->text);
    EXPECT_EQ(megabyte, log.readPrevious()->text);
    EXPECT_EQ(megabyte, log.readNext()->text);
    EXPECT_TRUE(log.readNext()->isDamaged);
    EXPECT_FALSE(log.readNext());
}

// As an account can make one that costs it nothing.
TEST_F(LogTest, DoesNotSearchAHoleOfExabytes) {
    add(0, "a");
    rotate();
    std::filesystem::resize_file(m_name + ".1", std::uintmax_t(1) << 42U);
    append(m_name + ".1", "\n" + logLine(1, "b"));
    add(2, "c");
    Log log = open();

    EXPECT_THAT(readBack(log), ElementsAre("c", "b"));
    EXPECT_THAT(log.takeProblems(),
                ElementsAre("The log '" + m_name +
                            ".1' has more than 64 MiB without a line feed. What is there is left out."));
    EXPECT_THAT(readOn(log), ElementsAre("b", "c"));
}

TEST_F(LogTest, DoesNotPassOverWhatWasCutOffByteByByte) {
    add(0, "a");
    off_t const size = static_cast<off_t>(std::filesystem::file_size(m_name));
    std::filesystem::resize_file(m_name, std::uintmax_t(1) << 42U);
    Log log = open();
    std::filesystem::resize_file(m_name, static_cast<std::uintmax_t>(size));

    EXPECT_THAT(readBack(log), ElementsAre("a"));
    EXPECT_THAT(readOn(log), ElementsAre("a"));
}

TEST_F(LogTest, FollowsWhatIsAdded) {
    add(0, "a");
    Log log = follow();

    EXPECT_THAT(lookAndRead(log), IsEmpty());
    add(1, "b");
    EXPECT_THAT(readOn(log), IsEmpty());
    EXPECT_THAT(lookAndRead(log), ElementsAre("b"));
    EXPECT_THAT(lookAndRead(log), IsEmpty());
}

TEST_F(LogTest, WaitsForTheEndOfALineThatIsBeingWritten) {
    std::string const line = logLine(0, "a");
    append(m_name, line.substr(0, 50));
    Log log = follow();

    EXPECT_THAT(readBack(log), IsEmpty());
    EXPECT_THAT(lookAndRead(log), IsEmpty());
    append(m_name, line.substr(50));
    add(1, "b");

    EXPECT_THAT(lookAndRead(log), ElementsAre("a", "b"));
}

TEST_F(LogTest, FollowsAFileThatDoesNotExistYet) {
    std::filesystem::remove(m_folder.name());
    Log log = follow();

    EXPECT_THAT(lookAndRead(log), IsEmpty());
    std::filesystem::create_directory(m_folder.name());
    add(0, "a");

    EXPECT_THAT(lookAndRead(log), ElementsAre("a"));
    EXPECT_THAT(log.takeProblems(), IsEmpty());
}

TEST_F(LogTest, LosesAndDoublesNothingAcrossRotations) {
    add(0, "old");
    rotate();
    add(1, "a");
    Log log = follow();

    add(2, "b");
    rotate();
    EXPECT_THAT(lookAndRead(log), ElementsAre("b"));
    add(3, "c");
    rotate();
    add(4, "d");
    rotate();
    add(5, "e");

    EXPECT_THAT(lookAndRead(log), ElementsAre("c", "d", "e"));
    EXPECT_THAT(lookAndRead(log), IsEmpty());
    EXPECT_THAT(log.takeProblems(), IsEmpty());
}

TEST_F(LogTest, ShowsTheLateEntryOfAProcessThatDoesNotKnowOfTheRotation) {
    add(0, "a");
    Log log = follow();
    rotate();
    add(1, "b");
    EXPECT_THAT(lookAndRead(log), ElementsAre("b"));

    append(m_name + ".1", logLine(2, "late"));
    add(3, "c");

    EXPECT_THAT(lookAndRead(log), ElementsAre("late", "c"));
}

TEST_F(LogTest, ShowsWhatATornLineBeganOnceItsFileIsRenamed) {
    Log log = follow();
    add(0, "a");
    append(m_name, "torn");
    EXPECT_THAT(lookAndRead(log), ElementsAre("a"));

    rotate();
    add(1, "b");

    test::Texts texts = lookAndRead(log);
    test::Texts const more = lookAndRead(log);
    texts.insert(texts.end(), more.begin(), more.end());
    EXPECT_THAT(texts, testing::UnorderedElementsAre("torn", "b"));
}

TEST_F(LogTest, BeginsAnewWhenTheFileIsEmptied) {
    add(0, "a");
    add(1, "b");
    Log log = follow();
    std::filesystem::copy_file(m_name, m_name + "-20261122");
    std::filesystem::resize_file(m_name, 0);

    EXPECT_THAT(lookAndRead(log), IsEmpty());
    add(2, "c");
    EXPECT_THAT(lookAndRead(log), ElementsAre("c"));
}

// As a compressing logrotate does.
TEST_F(LogTest, FollowsAfterTheRenamedFileIsGone) {
    add(0, "old");
    rotate();
    add(1, "a");
    Log log = follow();
    add(2, "b");
    std::filesystem::last_write_time(m_name + ".1",
                                     std::filesystem::last_write_time(m_name) - std::chrono::seconds(1));
    std::filesystem::remove(m_name);
    add(3, "c");

    EXPECT_THAT(lookAndRead(log), ElementsAre("b", "c"));
}

TEST_F(LogTest, SaysOnceWhatIsWrongAndGoesOn) {
    ASSERT_EQ(0, mkfifo(m_name.c_str(), 0600));
    Log log = follow();

    EXPECT_THAT(log.takeProblems(), ElementsAre("The log '" + m_name + "' is no regular file."));
    EXPECT_THAT(lookAndRead(log), IsEmpty());
    EXPECT_THAT(log.takeProblems(), IsEmpty());
    std::filesystem::remove(m_name);
    add(0, "a");
    EXPECT_THAT(lookAndRead(log), ElementsAre("a"));
}

TEST_F(LogTest, LeavesOutARotatedFileThatIsRefused) {
    add(0, "a");
    rotate();
    rotate();
    std::filesystem::create_symlink("/etc/passwd", m_name + ".1");
    add(1, "b");
    Log log = open();

    EXPECT_THAT(readBack(log), ElementsAre("b", "a"));
    EXPECT_THAT(log.takeProblems(), ElementsAre("The log '" + m_name + ".1' is a symbolic link."));
}

} // namespace
