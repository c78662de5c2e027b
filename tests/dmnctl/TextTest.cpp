#include <dmnctl/show/text.h>

#include <gtest/gtest.h>

#include <clocale>

namespace {

using namespace dmnctl;

class Text : public testing::Test {
protected:
    Text() { std::setlocale(LC_CTYPE, "C.UTF-8"); }

    ~Text() override { std::setlocale(LC_CTYPE, "C"); }
};

TEST_F(Text, IsPrintableWithoutWhatActsOnATerminal) {
    EXPECT_EQ("a\\nb\\tc\\rd", toPrintable(std::string("a\nb\tc\rd")));
    EXPECT_EQ("\\x1b[31m\\x7f", toPrintable(std::string("\x1b[31m\x7f")));
    EXPECT_EQ("\\x9b31m", toPrintable(std::string("\xc2\x9b"
                                                  "31m")));
    EXPECT_EQ("\\u202etxt", toPrintable(std::string("\u202etxt")));
    EXPECT_EQ("\\u2028", toPrintable(std::string("\u2028")));
    EXPECT_EQ("\\x00", toPrintable(std::string(1, '\0')));
}

TEST_F(Text, KeepsOtherCharactersAndReadsBadBytesAsLatin1) {
    EXPECT_EQ("Größe 大 \\", toPrintable(std::string("Größe 大 \\")));
    EXPECT_EQ("\u00e4", toPrintable(std::string("\xe4")));
}

TEST_F(Text, IsOneLineWithBlanksForControlCharacters) {
    EXPECT_EQ("a b c\\", toUTF8(toOneLine("a\nb\tc\\")));
}

TEST_F(Text, TakesTheColumnsOfATerminal) {
    EXPECT_EQ(5, countColumns("Größe"));
    EXPECT_EQ(4, countColumns("大大"));
    EXPECT_EQ(1, countColumns("e\u0301"));
    EXPECT_EQ(0, countColumns(""));
}

TEST_F(Text, IsCutToColumns) {
    EXPECT_EQ("Größe", cutToColumns("Größe", 5));
    EXPECT_EQ("Grö…", cutToColumns("Größe", 4));
    EXPECT_EQ("大…", cutToColumns("大大", 3));
    EXPECT_EQ("…", cutToColumns("大大", 2));
    EXPECT_EQ("…", cutToColumns("ab", 1));
    EXPECT_EQ("", cutToColumns("ab", 0));
}

} // namespace
