#include "support/CapturedLog.h"

#include <fdn/CXMLLog.h>
#include <fdn/log.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using fdn::CXMLLog;
using fdn::getLogLevel;
using fdn::logDebug;
using fdn::logError;
using fdn::logInfo;
using fdn::LogLevel;
using fdn::logWarning;
using fdn::parseLogLevel;
using fdn::setLogLevel;
using testing::ElementsAre;
using testing::HasSubstr;

class LogLevelTest : public testing::Test {
protected:
    ~LogLevelTest() override { setLogLevel(LogLevel::Info); }

    std::vector<std::string> lines() const { return test::linesOf(test::readFile(m_log.path())); }

    std::vector<std::string> entries() const { return m_log.entries(); }

private:
    test::CapturedLog m_log;
};

void logAtEachLevel() {
    logDebug("first");
    logInfo("second");
    logWarning("third");
    logError("fourth");
}

TEST_F(LogLevelTest, IsInfoUnlessItWasSet) {
    EXPECT_EQ(getLogLevel(), LogLevel::Info);

    logAtEachLevel();

    EXPECT_THAT(entries(), ElementsAre("second", "third", "error: fourth"));
}

TEST_F(LogLevelTest, IsInEachEntry) {
    setLogLevel(LogLevel::Debug);

    logAtEachLevel();

    EXPECT_THAT(lines(), ElementsAre(HasSubstr(" level=\"debug\" "), HasSubstr(" level=\"info\" "),
                                     HasSubstr(" level=\"warning\" "), HasSubstr(" level=\"error\" ")));
}

TEST_F(LogLevelTest, KeepsLessSeriousEntriesOut) {
    setLogLevel(LogLevel::Error);

    logAtEachLevel();
    logError(std::runtime_error("fifth"), "", "");

    EXPECT_EQ(getLogLevel(), LogLevel::Error);
    EXPECT_THAT(entries(), ElementsAre("error: fourth", "error: <what>fifth</what>"));
}

TEST_F(LogLevelTest, KeepsNoErrorsOut) {
    setLogLevel(static_cast<LogLevel>(100));

    logAtEachLevel();

    EXPECT_THAT(entries(), ElementsAre("error: fourth"));
}

TEST_F(LogLevelTest, AppliesToTheLogItself) {
    CXMLLog& log = CXMLLog::getGlobal();
    setLogLevel(LogLevel::Warning);

    log.writeInfo("first");
    log.write(LogLevel::Info, "second");
    log.write(LogLevel::Warning, "third");
    log.writeError("fourth");

    EXPECT_THAT(entries(), ElementsAre("third", "error: fourth"));
}

TEST_F(LogLevelTest, LeavesErrnoAlone) {
    errno = ENOTTY;

    logDebug("text");
    logWarning("text");

    EXPECT_EQ(errno, ENOTTY);
}

TEST(LogLevel, HasAName) {
    EXPECT_EQ(parseLogLevel("debug"), LogLevel::Debug);
    EXPECT_EQ(parseLogLevel("info"), LogLevel::Info);
    EXPECT_EQ(parseLogLevel("warning"), LogLevel::Warning);
    EXPECT_EQ(parseLogLevel("error"), LogLevel::Error);
}

TEST(LogLevel, HasNoOtherName) {
    for (char const* const name : {"", "Debug", "warn", "info ", "1"})
        EXPECT_EQ(parseLogLevel(name), std::nullopt) << name;
}

} // namespace
