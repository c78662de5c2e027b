#include <dmnctl/log/EntryText.h>

#include <dmnctl/log/EntryParser.h>

#include "LogLines.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include <time.h>

namespace {

using dmnctl::EntryText;
using dmnctl::Terminal;

class EntryTextTest : public testing::Test {
protected:
    EntryTextTest() {
        setenv("TZ", "XST-1", 1); // an hour ahead of UTC
        tzset();
    }

    static std::string compose(std::string const& line) {
        return EntryText(Terminal(0, false)).compose(dmnctl::EntryParser().parse(line), "");
    }
};

TEST_F(EntryTextTest, ShowsLocalTimeLevelAndText) {
    EXPECT_EQ("2026-11-22 11:00:01.234  info     Done.\n", compose(test::logLine(1234, "Done.")));
}

TEST_F(EntryTextTest, IndentsWhatAnErrorSaysAboutItself) {
    EXPECT_EQ("2026-11-22 11:00:00.000  error    situation: top (2nd)\n"
              "    where: here\n"
              "    code: 5\n"
              "    func: open\n"
              "    caused by: middle\n"
              "        path: /x\n"
              "    caused by: bottom\n",
              compose(test::logLine(
                  0,
                  "<text>situation</text><where>here</where><what>top</what><second>2nd</second>"
                  "<code>5</code><property name=\"func\">open</property><cause><what>middle</what>"
                  "<code>-1</code><property name=\"path\">/x</property><cause><what>bottom</what></cause>"
                  "</cause>",
                  "error")));
}

TEST_F(EntryTextTest, EscapesEverythingThatDrivesATerminal) {
    EXPECT_EQ("2026-11-22 11:00:00.000  info     a\\nb\\x9bc\\x7f\n",
              compose(test::logLine(0, "a&#10;b&#155;c&#127;")));
    EXPECT_EQ(std::string(32, ' ') + "  (damaged) a\\x1b[2Jb\\x00c\n",
              compose(std::string("a\x1b[2Jb\0c", 8)));
    EXPECT_EQ(
        "\\x9b" + std::string(21, ' ') + "\\x85     a: b\n    where: \\t\n    \\x7f: \\n\n",
        compose("<entry time=\"&#155;\" level=\"&#133;\"><text>a</text><where>&#9;</where><what>b</what>"
                "<property name=\"&#127;\">&#10;</property></entry>"));
}

TEST_F(EntryTextTest, MarksALineThatIsNoEntry) {
    EXPECT_EQ("2026-11-22 11:00:00.000  error    (damaged) <entry time=\"2026-11-22T10:00:00.000000Z\" "
              "level=\"error\" process=\"7\" thread=\"8\">tor\n",
              compose("<entry time=\"2026-11-22T10:00:00.000000Z\" level=\"error\" process=\"7\" "
                      "thread=\"8\">tor"));
}

TEST_F(EntryTextTest, ShowsATimeThatIsNoneAsItStands) {
    EXPECT_EQ("soon                     info     x\n",
              compose("<entry time=\"soon\" level=\"info\">x</entry>"));
}

TEST_F(EntryTextTest, HasAColumnForTheIds) {
    EntryText const text(Terminal(0, false), 5);

    EXPECT_EQ("2026-11-22 11:00:00.000  ab     info     x\n",
              text.compose(dmnctl::EntryParser().parse(test::logLine(0, "x")), "ab"));
}

TEST_F(EntryTextTest, ColoursLevelsWhereThereAreColours) {
    EntryText const text(Terminal(80, true));
    auto const compose = [&text](char const* level) {
        return text.compose(dmnctl::EntryParser().parse(test::logLine(0, "x", level)), "");
    };

    EXPECT_EQ("2026-11-22 11:00:00.000  \x1b[31merror  \x1b[0m  x\n", compose("error"));
    EXPECT_EQ("2026-11-22 11:00:00.000  \x1b[33mwarning\x1b[0m  x\n", compose("warning"));
    EXPECT_EQ("2026-11-22 11:00:00.000  \x1b[90mdebug  \x1b[0m  x\n", compose("debug"));
    EXPECT_EQ("2026-11-22 11:00:00.000  info     x\n", compose("info"));
}

} // namespace
