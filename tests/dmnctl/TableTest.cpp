#include <dmnctl/show/Table.h>
#include <dmnctl/show/text.h>

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <clocale>

namespace {

using namespace dmnctl;

constexpr int kNoTerminal = 0;

class TableTest : public testing::Test {
protected:
    TableTest() {
        std::setlocale(LC_CTYPE, "C.UTF-8");
        add("a", "running", "1");
        add("größer", "dead", "1234");
    }

    ~TableTest() override { std::setlocale(LC_CTYPE, "C"); }

    void add(std::string const& id, std::string const& state, std::string const& number) {
        m_table.addRow({{id, std::nullopt},
                        {state, Colour::Green},
                        {number, std::nullopt},
                        {"/usr/sbin/program", std::nullopt}});
    }

    std::string compose(int width) const { return m_table.compose(Terminal(width, false)); }

    Table m_table{{{"ID", Table::Alignment::Left, 0, 4},
                   {"STATE", Table::Alignment::Left, 0, 0},
                   {"NUMBER", Table::Alignment::Right, 2, 0},
                   {"PATH", Table::Alignment::Left, 1, 8}}};
};

TEST_F(TableTest, IsNotCutWithoutATerminal) {
    EXPECT_EQ("ID      STATE    NUMBER  PATH\n"
              "a       running       1  /usr/sbin/program\n"
              "größer  dead       1234  /usr/sbin/program\n",
              compose(kNoTerminal));
}

TEST_F(TableTest, CutsTheLastLongTextFirst) {
    EXPECT_EQ("ID      STATE    NUMBER  PATH\n"
              "a       running       1  /usr/sbin…\n"
              "größer  dead       1234  /usr/sbin…\n",
              compose(35));
}

TEST_F(TableTest, LeavesOutTheLeastImportantColumnWhereCuttingIsNotEnough) {
    EXPECT_EQ("ID      STATE    NUMBER\n"
              "a       running       1\n"
              "größer  dead       1234\n",
              compose(24));
    EXPECT_EQ("ID      STATE\n"
              "a       running\n"
              "größer  dead\n",
              compose(20));
}

TEST_F(TableTest, KeepsTheFirstTwoColumnsHoweverNarrowItIs) {
    EXPECT_EQ("ID    STATE\n"
              "a     running\n"
              "grö…  dead\n",
              compose(13));
    for (int width = 4; width < 60; ++width) {
        for (std::string const& line : test::linesOf(compose(width)))
            EXPECT_GE(width, countColumns(line)) << line;
    }
}

TEST_F(TableTest, PaintsTheTextAlone) {
    EXPECT_EQ("a       \x1b[32mrunning\x1b[0m       1  /usr/sbin/program",
              test::linesOf(m_table.compose(Terminal(80, true)))[1]);
}

} // namespace
