#include "support/cases.h"

#include <fdn/CError.h>
#include <fdn/uri.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>

using fdn::String;
using fdn::uriEscape;
using fdn::uriUnescape;

namespace {

constexpr char alphabet[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz._-%";

/// The characters from first to last, each a code point of its own.
String textOf(int first, int last) {
    String text;
    for (int c = first; c <= last; ++c)
        text.append(wxUniChar(c));
    return text;
}

struct UriCase {
    char const* name;
    String text;
    String expected;
};

std::ostream& operator<<(std::ostream& stream, UriCase const& uriCase) {
    return stream << uriCase.name;
}

class UriEscape : public testing::TestWithParam<UriCase> {};

class UriUnescape : public testing::TestWithParam<UriCase> {};

} // namespace

TEST_P(UriEscape, GivesTheExpectedTextAndBackTheOriginal) {
    EXPECT_EQ(uriEscape(GetParam().text), GetParam().expected);
    EXPECT_EQ(uriUnescape(GetParam().expected), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    uri, UriEscape,
    testing::Values(UriCase{"Empty", "", ""}, UriCase{"LettersAndDigits", "azAZ09", "azAZ09"},
                    UriCase{"DotUnderscoreHyphen", "._-", "._-"}, UriCase{"Tilde", "~/x", "%7E%2Fx"},
                    UriCase{"Blank", "a b", "a%20b"}, UriCase{"Percent", "100%", "100%25"},
                    UriCase{"EscapeItself", "%41", "%2541"}, UriCase{"Plus", "a+b", "a%2Bb"},
                    UriCase{"LineEnd", "a\n", "a%0A"},
                    UriCase{"ShellCharacters", "$(`;&|<>\"'\\", "%24%28%60%3B%26%7C%3C%3E%22%27%5C"},
                    UriCase{"EscapesAtBothEnds", " a b ", "%20a%20b%20"}, UriCase{"Umlaut", "\xFC", "%C3%BC"},
                    UriCase{"Euro", L"\x20AC", "%E2%82%AC"},
                    UriCase{"LastCodePoint", L"\U0010FFFF", "%F4%8F%BF%BF"},
                    UriCase{"Nul", wxString(L"a\0b", 3), "a%00b"},
                    UriCase{"ByteOrderMark", L"\xFEFF", "%EF%BB%BF"}),
    test::nameOfCase);

TEST_P(UriUnescape, ReadsWhatIsNoEscapeToo) {
    EXPECT_EQ(uriUnescape(GetParam().text), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    uri, UriUnescape,
    testing::Values(UriCase{"LowerCaseDigits", "%c3%bC", "\xFC"},
                    UriCase{"NoHexadecimalDigits", "%zz", "%zz"},
                    UriCase{"OneHexadecimalDigit", "%4z", "%4z"}, UriCase{"Truncated", "a%4", "a%4"},
                    UriCase{"PercentAtTheEnd", "a%", "a%"}, UriCase{"PercentBeforeAnEscape", "%%41", "%A"},
                    UriCase{"EscapeAtTheEnd", "a%41", "aA"}, UriCase{"EscapeCutOffAfterOne", "%41%4", "A%4"},
                    UriCase{"EscapeOfAPercent", "%2541", "%41"},
                    UriCase{"NulInAnEscape", wxString(L"%4\0", 3), wxString(L"%4\0", 3)},
                    UriCase{"PlusIsNoBlank", "a+b", "a+b"},
                    UriCase{"UnescapedCharacters", L"\x20AC ~", L"\x20AC ~"},
                    UriCase{"NoUTF8", "%FC%FF", "\xFC\xFF"}, UriCase{"OverlongUTF8", "%C0%AF", "\xC0\xAF"}),
    test::nameOfCase);

TEST(uri, EveryByteValueComesBack) {
    String const text = textOf(0, 255);

    EXPECT_EQ(uriUnescape(uriEscape(text)), text);
}

TEST(uri, EveryCodePointComesBack) {
    for (String const& text : {textOf(0, 0xD7FF), textOf(0xE000, 0x10FFFF)})
        EXPECT_TRUE(uriUnescape(uriEscape(text)) == text);
}

TEST(uri, EscapedTextHoldsOnlyCharactersThatNoShellActsOn) {
    std::string const escaped = uriEscape(textOf(0, 0xD7FF)).toUTF8();

    EXPECT_EQ(escaped.find_first_not_of(alphabet), std::string::npos);
}

TEST(uri, HalfASurrogatePairIsRefused) {
    EXPECT_THROW(uriEscape(L"a\xD800"), fdn::CUnencodableStringError);
    EXPECT_THROW(uriEscape(L"a\xDFFF"), fdn::CUnencodableStringError);
    EXPECT_THROW(uriUnescape(L"a\xD800"), fdn::CUnencodableStringError);
}
