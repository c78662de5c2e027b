#include <dmnctl/log/LogFile.h>

#include "LogLines.h"
#include "support/PrivateRoot.h"
#include "support/errors.h"
#include "support/fileInfo.h"

#include <gmock/gmock.h>

#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using dmnctl::LineSpan;
using dmnctl::LogFile;
using testing::ElementsAre;
using testing::HasSubstr;

class LogFileTest : public testing::Test {
protected:
    LogFile open() const { return std::move(*LogFile::open(fdn::Path(m_name.c_str()), getuid())); }

    LogFile open(std::string const& content) const {
        test::writeFile(m_name, content);
        return open();
    }

    std::string refusal(unsigned account = getuid()) const {
        return test::messageOf([&] { LogFile::open(fdn::Path(m_name.c_str()), account); });
    }

    test::TemporaryFolder m_folder;
    std::string m_name = m_folder.name("log");
};

using LogFileOfOthersTest = test::AccountsTest;

std::vector<std::string> linesOnwards(LogFile& file) {
    std::vector<std::string> lines;
    off_t const end = file.examine().st_size;
    off_t place = 0;
    while (auto const line = file.findLineAfter(place, end)) {
        lines.push_back(file.read(line->begin, line->end));
        place = line->end;
    }
    return lines;
}

std::vector<std::string> linesBackwards(LogFile& file) {
    std::vector<std::string> lines;
    off_t place = file.examine().st_size;
    while (auto const line = file.findLineBefore(place)) {
        lines.insert(lines.begin(), file.read(line->begin, line->end));
        place = line->begin;
    }
    return lines;
}

TEST_F(LogFileTest, FindsLinesInBothDirections) {
    LogFile file = open("a\n\nbc\ntorn");

    EXPECT_THAT(linesOnwards(file), ElementsAre("a\n", "\n", "bc\n", "torn"));
    EXPECT_THAT(linesBackwards(file), ElementsAre("a\n", "\n", "bc\n", "torn"));
    EXPECT_FALSE(file.findLineBefore(9)->isComplete);
    EXPECT_TRUE(file.findLineBefore(6)->isComplete);
    EXPECT_FALSE(file.findLineAfter(3, 5)->isComplete);
}

// Blocks have 64 KiB. The lines end at each place near the ends of blocks.
TEST_F(LogFileTest, FindsLinesAcrossBlocks) {
    std::vector<std::string> lines;
    std::string content;
    for (std::size_t length = 65530; length < 65545; ++length) {
        lines.push_back(std::string(length, 'x') + "\n");
        content += lines.back();
    }
    LogFile file = open(content);

    EXPECT_EQ(lines, linesOnwards(file));
    EXPECT_EQ(lines, linesBackwards(file));
}

TEST_F(LogFileTest, HasNoLinesWhenEmpty) {
    LogFile file = open("");

    EXPECT_FALSE(file.findLineAfter(0, 0));
    EXPECT_FALSE(file.findLineBefore(0));
}

TEST_F(LogFileTest, SeesWhatIsAddedAfterARefresh) {
    LogFile file = open("a\n");
    EXPECT_THAT(linesOnwards(file), ElementsAre("a\n"));

    test::append(m_name, "b\n");
    file.refresh();

    EXPECT_THAT(linesOnwards(file), ElementsAre("a\n", "b\n"));
}

TEST_F(LogFileTest, EndsWhenTheFileIsEmptiedMeanwhile) {
    LogFile file = open(std::string(200000, 'x') + "\n");
    std::filesystem::resize_file(m_name, 0);

    EXPECT_LE(file.findLineBefore(200001)->begin, 200000);
    EXPECT_TRUE(file.findLineAfter(0, 200001));
    EXPECT_EQ("", file.read(0, 10));
}

TEST_F(LogFileTest, IsMissingWithoutAFileOrFolder) {
    EXPECT_FALSE(LogFile::open(m_folder / "none", getuid()));
    EXPECT_FALSE(LogFile::open(m_folder / "no/such/log", getuid()));
}

TEST_F(LogFileTest, RefusesAPipeWithoutWaitingForAWriter) {
    ASSERT_EQ(0, mkfifo(m_name.c_str(), 0600));

    EXPECT_EQ("The log '" + m_name + "' is no regular file.", refusal());
}

TEST_F(LogFileTest, RefusesAFolder) {
    std::filesystem::create_directory(m_name);

    EXPECT_EQ("The log '" + m_name + "' is no regular file.", refusal());
}

TEST_F(LogFileTest, RefusesASymbolicLink) {
    std::filesystem::create_symlink("/etc/passwd", m_name);

    EXPECT_EQ("The log '" + m_name + "' is a symbolic link.", refusal());
}

TEST_F(LogFileOfOthersTest, TakesFilesOfTheAccountAndOfRootOnly) {
    test::TemporaryFolder const folder;
    std::string const name = folder.name("log");
    test::writeFile(name, "x\n");

    EXPECT_TRUE(LogFile::open(folder / "log", test::kUser));
    test::setOwner(name, test::kUser, test::kUser);
    EXPECT_TRUE(LogFile::open(folder / "log", test::kUser));
    test::setOwner(name, test::kOther, test::kOther);
    EXPECT_THAT(test::messageOf([&] { LogFile::open(folder / "log", test::kUser); }),
                HasSubstr("belongs neither to the daemon's account nor to root, but to user 61002."));
}

// Where the kernel does not protect them, an account can make a link to a file of root's.
TEST_F(LogFileOfOthersTest, RefusesAFurtherLinkToAFileOfRoots) {
    test::TemporaryFolder const folder;
    test::writeFile(folder.name("secret"), "x\n");
    std::filesystem::create_hard_link(folder.name("secret"), folder.name("log"));

    EXPECT_THAT(test::messageOf([&] { LogFile::open(folder / "log", test::kUser); }),
                HasSubstr("belongs neither to"));
    EXPECT_TRUE(LogFile::open(folder / "log", 0));
}

TEST(RotatedFiles, AreThoseOfTheLibraryAndOfLogrotate) {
    test::TemporaryFolder const folder;
    for (char const* const name :
         {"x.log", "x.log.1", "x.log.7", "x.log-20261121", "x.log-20261122-1795341600", "x.log-20261120.gz",
          "x.log.2.gz", "x.log.old", "y.log.1", "x.log.", "x.logs-1"})
        test::writeFile(folder.name(name), "");

    std::vector<std::string> names;
    for (fdn::Path const& path : dmnctl::findRotatedFiles(folder / "x.log"))
        names.push_back(fdn::String(path.getText().AfterLast('/')).toUTF8());

    EXPECT_THAT(names, ElementsAre("x.log.1", "x.log.2", "x.log.3", "x.log.4", "x.log.5", "x.log.7",
                                   "x.log-20261121", "x.log-20261122-1795341600"));
}

} // namespace
