#include "support/PrivateRoot.h"
#include "support/Program.h"
#include "support/TemporaryFolder.h"
#include "support/cases.h"

#include <fdn/CError.h>
#include <fdn/P.h>
#include <fdn/String.h>

#include <wx/strconv.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <unistd.h>

using fdn::String;

namespace {

std::string bytesOf(wxCharBuffer const& buffer) {
    return std::string(buffer.data(), buffer.length());
}

wchar_t const noCharacter = static_cast<wchar_t>(0x110000);

/// Texts that no encoding can represent.
String const impossibleTexts[] = {L"a\xD800", L"a\xDFFF", wxString(&noCharacter, 1)};

/// The text "a", the character NUL, "b".
String textWithNul() {
    return wxString(L"a\0b", 3);
}

/// Sets the encoding of the locale as long as it lives.
class EncodingLocale {
public:
    explicit EncodingLocale(char const* name) : m_previous(std::setlocale(LC_CTYPE, nullptr)) {
        EXPECT_NE(std::setlocale(LC_CTYPE, name), nullptr);
    }

    EncodingLocale(EncodingLocale const&) = delete;
    EncodingLocale& operator=(EncodingLocale const&) = delete;

    ~EncodingLocale() { std::setlocale(LC_CTYPE, m_previous.c_str()); }

private:
    std::string m_previous;
};

} // namespace

TEST(String, IsEmptyWhenMadeFromNothing) {
    EXPECT_EQ(String().length(), 0U);
    EXPECT_EQ(String("").length(), 0U);
    EXPECT_EQ(String(static_cast<char const*>(nullptr)).length(), 0U);
    EXPECT_EQ(String(static_cast<wchar_t const*>(nullptr)).length(), 0U);
}

TEST(String, TakesEveryNarrowByteAsTheCodePointOfTheSameValue) {
    for (int value = 1; value <= 0xFF; ++value) {
        char const narrow[] = {static_cast<char>(value), '\0'};

        String const text(narrow);

        ASSERT_EQ(text.length(), 1U) << value;
        ASSERT_EQ(static_cast<int>(text[0].GetValue()), value);
    }
}

TEST(String, HasEveryCharacterOfNarrowTextOfAnyLength) {
    std::string bytes;
    std::wstring expected;
    for (int length = 0; length <= 100; ++length) {
        ASSERT_EQ(String(bytes.c_str()), expected.c_str()) << length;
        ASSERT_EQ(String("\xE9") + bytes.c_str(), (L"\xE9" + expected).c_str()) << length;
        bytes.push_back(static_cast<char>(0xFF - length));
        expected.push_back(static_cast<wchar_t>(0xFF - length));
    }
}

TEST(String, ReadsNarrowTextTheSameWhateverTheLocaleIs) {
    for (char const* const locale : {"C", "C.UTF-8"}) {
        EncodingLocale const change(locale);

        String const text = "\xE9";

        EXPECT_EQ(text, L"\x00E9") << locale;
        EXPECT_EQ(String("a") + "\xE9", L"a\x00E9") << locale;
        EXPECT_TRUE(text == "\xE9") << locale;
    }
}

TEST(String, CountsCharacters) {
    EXPECT_EQ(String(L"\U0001F600\x20AC").length(), 2U);
}

TEST(String, CopyHasTextOfItsOwn) {
    String const original("text");

    String copy(original);
    EXPECT_EQ(copy, "text");
    EXPECT_NE(copy.wc_str(), original.wc_str());
    copy.append("s");

    EXPECT_EQ(original, "text");
}

TEST(String, CopyHasOneReference) {
    String const original("text");
    original.addRef();

    auto* const copy = new String(original);

    EXPECT_FALSE(copy->release());
}

TEST(String, MovingHandsTheTextOnAndLeavesTheCountsAlone) {
    auto* const original = new String("a text of some length");
    original->addRef();
    wchar_t const* const characters = original->wc_str();

    auto* const moved = new String(std::move(*original));

    EXPECT_EQ(moved->wc_str(), characters);
    EXPECT_TRUE(original->empty());
    EXPECT_FALSE(moved->release());
    EXPECT_TRUE(original->release());
    EXPECT_FALSE(original->release());
}

TEST(String, MoveAssignmentHandsTheTextOnAndLeavesTheCountsAlone) {
    String original("a text of some length");
    auto* const target = new String("another one");
    target->addRef();
    wchar_t const* const characters = original.wc_str();

    *target = std::move(original);

    EXPECT_EQ(target->wc_str(), characters);
    EXPECT_TRUE(target->release());
    EXPECT_FALSE(target->release());
}

TEST(String, CanBeHeldThroughP) {
    fdn::P<String> const held = fdn::newObj<String>("/");

    EXPECT_EQ(*held, "/");
}

TEST(String, JoinsNarrowTextAndStringsInEveryOrder) {
    EXPECT_EQ("Gr\xFC" + String("n"), L"Gr\x00FCn");
    EXPECT_EQ(String("Gr") + "\xFCn", L"Gr\x00FCn");
    EXPECT_EQ(String("Gr\xFC") + String("n"), L"Gr\x00FCn");
    EXPECT_EQ("" + String() + "", "");
}

TEST(String, JoinsWithWideTextToAString) {
    wxString const wide(L"\x20AC");
    String const text("5 ");

    EXPECT_EQ(text + wide, L"5 \x20AC");
    EXPECT_EQ(wide + text, L"\x20AC"
                           "5 ");
    EXPECT_EQ(text + L"\x20AC", L"5 \x20AC");
    EXPECT_EQ(L"\x20AC" + text, L"\x20AC"
                                "5 ");
    EXPECT_EQ(text + wxString::Format("%d", 3) + text.substr(1), "5 3 ");
}

TEST(String, JoiningTakesOverALeftTextThatNobodyNeeds) {
    String text("a text of some length");
    text.reserve(100);
    wchar_t const* const characters = text.wc_str();

    String const joined = std::move(text) + " and " + String("more") + L" \x20AC" + wxString(".");

    EXPECT_EQ(joined, L"a text of some length and more \x20AC.");
    EXPECT_EQ(joined.wc_str(), characters);
}

TEST(String, JoiningLeavesNamedTextsAsTheyAre) {
    String text("a");
    String other("b");

    EXPECT_EQ(text + other + text, "aba");
    EXPECT_EQ(text + "c" + other, "acb");
    EXPECT_EQ(text + wxString("c"), "ac");

    EXPECT_EQ(text, "a");
    EXPECT_EQ(other, "b");
}

TEST(String, JoiningATextToItselfDoublesIt) {
    String text("a text of some length, ");

    EXPECT_EQ(std::move(text) + text, "a text of some length, a text of some length, ");

    String other("ab");
    wxString const& sameText = other;
    EXPECT_EQ(std::move(other) + sameText, "abab");
}

TEST(String, JoinsNullAsTheEmptyText) {
    char const* const null = nullptr;

    EXPECT_EQ(null + String("a") + null, "a");
    EXPECT_EQ(String("a") + null, "a");
    String const named("a");
    EXPECT_EQ(named + null, "a");
}

TEST(String, JoiningKeepsTheCharacterNul) {
    EXPECT_EQ((textWithNul() + "c").length(), 4U);
    EXPECT_EQ(("c" + textWithNul()).length(), 4U);
    EXPECT_EQ((String("c") + wxString(textWithNul())).length(), 4U);
}

TEST(String, IsEqualOnlyWhenLengthAndEveryCodePointMatch) {
    EXPECT_TRUE(String("stop") == "stop");
    EXPECT_FALSE(String("stop") != "stop");
    EXPECT_FALSE(String("STOP") == "stop");
    EXPECT_TRUE(String("stop") != "stopp");
    EXPECT_TRUE(String("stop") != "sto");
    EXPECT_TRUE(String(L"\x20AC") != "\xAC");
    EXPECT_TRUE(textWithNul() != "a");
    EXPECT_TRUE(String() == "");
    EXPECT_TRUE(String("a") == String("a"));
    EXPECT_TRUE(String("a") != String("A"));
}

TEST(String, ComparesWithWideText) {
    wxString const wide(L"\x20AC");

    EXPECT_TRUE(String(wide) == wide);
    EXPECT_TRUE(String(wide) == L"\x20AC");
    EXPECT_TRUE(String("a") != wide);
    EXPECT_TRUE(wide == String(wide));
    EXPECT_TRUE(textWithNul() == wxString(textWithNul()));
}

TEST(String, AppendsNarrowTextOfEveryTypeAsLatin1) {
    char const* const null = nullptr;
    char array[] = "\xE9";
    char* const pointer = array;
    std::string const bytes("\xE9\0", 2);
    String text;

    text += "\xE9";
    text += array;
    text += pointer;
    text += '\xE9';
    text += std::string_view("\xE9");
    text += null;
    text << "\xE9" << 12 << L"\x20AC" << '\xE9' << bytes;
    text.append("\xE9").append(pointer).append("\xE9\xE9", 1).append(bytes).append(null);

    EXPECT_EQ(text, String(wxString(L"\xE9\xE9\xE9\xE9\xE9\xE9"
                                    L"12\x20AC\xE9\xE9\0\xE9\xE9\xE9\xE9\0",
                                    17)));
}

TEST(String, AppendingGoesOnWithTheSameText) {
    String text("a");

    (((text += 'b') += L"c") += wxString("d")) += "\xE9";
    (text << 1 << wxString("e")) += String("f");

    EXPECT_EQ(text, L"abcd\xE9"
                    L"1ef");
}

TEST(String, JoinsNarrowTextOfEveryTypeToAString) {
    std::string const bytes("\xE9\0", 2);
    String const expected(wxString(L"a\xE9\0", 3));
    String const text("a");

    EXPECT_EQ(text + bytes, expected);
    EXPECT_EQ(text + std::string_view(bytes), expected);
    EXPECT_EQ(String("a") + bytes, expected);
    EXPECT_EQ(bytes + text, String(wxString(L"\xE9\0a", 3)));
    EXPECT_EQ(text + '\xE9' + "b", L"a\xE9"
                                   L"b");
    EXPECT_EQ('\xE9' + text, L"\xE9"
                             L"a");
    EXPECT_EQ(String(bytes), wxString(L"\xE9\0", 2));
}

TEST(String, ComparesWithNarrowTextOfEveryTypeFromBothSides) {
    std::string const bytes("\xE9\0", 2);
    String const text(wxString(L"\xE9\0", 2));
    String const letter("\xE9");

    EXPECT_TRUE(text == bytes && bytes == text && !(text != bytes) && !(bytes != text));
    EXPECT_TRUE("\xE9" == letter && !("\xE9" != letter) && "\xE9" != text);
    EXPECT_TRUE(letter == '\xE9' && '\xE9' == letter && letter != 'e');
    EXPECT_TRUE(letter == std::string_view("\xE9") && std::string("\xC3\xA9") != letter);
}

TEST(String, IsOrderedAmongNarrowTextsByCodePoint) {
    String const text("\xE9");

    EXPECT_TRUE(text < "\xEA" && text <= "\xEA" && !(text > "\xEA") && !(text >= "\xEA"));
    EXPECT_TRUE("\xE8" < text && "\xE8" <= text && !("\xE8" > text) && !("\xE8" >= text));
    EXPECT_TRUE(text <= std::string("\xE9") && text >= std::string("\xE9") && std::string("z") < text);
    EXPECT_TRUE(String("ab") > "a" && String("a") < "ab" && String() < "a");
}

TEST(String, IsAnArgumentOfFormat) {
    String const text(L"gr\xFCn \x20AC");
    String const format("<%s|%d|%s>");

    EXPECT_EQ(String::Format("%s", text), text);
    EXPECT_EQ(String::Format(format, text, 3, text + "!"), L"<gr\xFCn \x20AC|3|gr\xFCn \x20AC!>");
    EXPECT_EQ(wxString::Format("%5s", String("ab")), "   ab");
}

TEST(String, IsAnArgumentOfPrintf) {
    wxString printed;

    printed.Printf("%s, %s", String(L"gr\xFCn"), String());

    EXPECT_EQ(printed, L"gr\xFCn, ");
}

TEST(String, ToCPEncodesInTheLocalesEncoding) {
    EXPECT_EQ(bytesOf(String(L"Gr\x00FCn \x20AC").toCP()), "Gr\xC3\xBCn \xE2\x82\xAC");
    EXPECT_EQ(bytesOf(String().toCP()), "");
}

TEST(String, ToCPOfWhatNoEncodingHasIsEmptyAndNoError) {
    for (String const& text : impossibleTexts) {
        wxCharBuffer const bytes = text.toCP();

        ASSERT_NE(bytes.data(), nullptr);
        EXPECT_EQ(bytesOf(bytes), "");
        EXPECT_EQ(*bytes.data(), '\0');
    }
}

TEST(String, ToCPGivesBytesThatOutliveTheTextAndEndWithZero) {
    wxCharBuffer bytes;

    bytes = String("text").toCP();

    EXPECT_STREQ(bytes.data(), "text");
}

TEST(String, ToCPKeepsTheCharacterNul) {
    EXPECT_EQ(bytesOf(textWithNul().toCP()), std::string("a\0b", 3));
}

TEST(String, ToEncodingStoresTheLengthInBytes) {
    int length = -1;

    wxCharBuffer const bytes = String("Gr\xFCn").toEncoding(wxConvUTF8, &length);

    EXPECT_STREQ(bytes.data(), "Gr\xC3\xBCn");
    EXPECT_EQ(length, 5);
}

TEST(String, ToEncodingOfTheEmptyTextStoresTheLengthZero) {
    int length = -1;

    wxCharBuffer const bytes = String().toEncoding(wxConvUTF8, &length);

    EXPECT_STREQ(bytes.data(), "");
    EXPECT_EQ(length, 0);
}

TEST(String, ToEncodingNeedsNoPlaceForTheLength) {
    EXPECT_STREQ(String("/etc/gr\xFCn").toEncoding(*wxConvFileName, nullptr).data(), "/etc/gr\xC3\xBCn");
}

TEST(String, ToEncodingKeepsTheCharacterNul) {
    int length = -1;

    wxCharBuffer const bytes = textWithNul().toEncoding(wxConvISO8859_1, &length);

    EXPECT_EQ(length, 3);
    EXPECT_EQ(bytesOf(bytes), std::string("a\0b", 3));
}

TEST(String, ToEncodingRefusesACharacterThatDoesNotFitAndStoresNoLength) {
    int length = -1;

    EXPECT_THROW(String(L"\x20AC").toEncoding(wxConvISO8859_1, &length), fdn::CUnencodableStringError);

    EXPECT_EQ(length, -1);
}

TEST(String, ToEncodingRefusesWhatNoEncodingHas) {
    for (String const& text : impossibleTexts) {
        EXPECT_THROW(text.toEncoding(wxConvUTF8, nullptr), fdn::CUnencodableStringError);
        EXPECT_THROW(text.toEncoding(*wxConvFileName, nullptr), fdn::CUnencodableStringError);
        EXPECT_THROW(text.toUTF8(), fdn::CUnencodableStringError);
    }
}

namespace {

/// An encoding with one byte per character. When asked for the size, it counts one byte more, as an encoding
/// with a byte-order mark does. If told to, it then fails to encode.
class ForgetfulEncoding : public wxMBConv {
public:
    explicit ForgetfulEncoding(bool fails) : m_fails(fails) {}

    std::size_t FromWChar(char* bytes, std::size_t, wchar_t const* text, std::size_t length) const override {
        if (bytes == nullptr)
            return length + 1;
        std::transform(text, text + length, bytes, [](wchar_t c) { return static_cast<char>(c); });
        return m_fails ? wxCONV_FAILED : length;
    }

    wxMBConv* Clone() const override { return new ForgetfulEncoding(*this); }

private:
    bool m_fails;
};

} // namespace

TEST(String, ToEncodingGivesTheBytesThatItHasWrittenAndNoMore) {
    int length = -1;

    wxCharBuffer const bytes = String("abc").toEncoding(ForgetfulEncoding(false), &length);

    EXPECT_EQ(bytesOf(bytes), "abc");
    EXPECT_EQ(length, 3);
}

TEST(String, ToEncodingFailsWhereOnlyTheSizeCouldBeHad) {
    EXPECT_THROW(String("abc").toEncoding(ForgetfulEncoding(true), nullptr), fdn::CUnencodableStringError);
}

TEST(String, ToEncodingWithStatesGivesWholeBytesEachTime) {
    wxCSConv const encoding("ISO-2022-JP");
    String const text(L"a\x65E5\x672C");

    for (int i = 0; i < 3; ++i) {
        int length = -1;
        EXPECT_EQ(bytesOf(text.toEncoding(encoding, &length)), "a\x1B$BF|K\\\x1B(B");
        EXPECT_EQ(length, 11);
    }
}

TEST(String, ToUTF8KeepsEveryCharacter) {
    EXPECT_EQ(String().toUTF8(), "");
    EXPECT_EQ(textWithNul().toUTF8(), std::string("a\0b", 3));
    EXPECT_EQ(String(L"\U0010FFFF").toUTF8(), "\xF4\x8F\xBF\xBF");
}

TEST(String, BytesAreUTF8WhereverTheOneCharacterBeyondASCIIIs) {
    for (std::size_t length = 1; length <= 40; ++length) {
        for (std::size_t position = 0; position < length; ++position) {
            std::string const before(position, 'a');
            std::string const after(length - position - 1, 'b');
            std::string const bytes = before + "\xE2\x82\xAC" + after;
            String const text = String(before.c_str()) + L"\x20AC" + after.c_str();

            ASSERT_EQ(text.toUTF8(), bytes);
            ASSERT_EQ(String::fromBytes(bytes), text);
            ASSERT_EQ(String::fromBytes(before + "\xFC" + after), String((before + "\xFC" + after).c_str()));
        }
    }
}

namespace {

struct BytesCase {
    char const* name;
    std::string bytes;
    String expected;
};

std::ostream& operator<<(std::ostream& stream, BytesCase const& bytesCase) {
    return stream << bytesCase.name;
}

class StringFromBytes : public testing::TestWithParam<BytesCase> {};

} // namespace

TEST_P(StringFromBytes, ReadsUTF8OrElseISO8859_1) {
    EXPECT_EQ(String::fromBytes(GetParam().bytes), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    String, StringFromBytes,
    testing::Values(BytesCase{"Empty", "", ""}, BytesCase{"Ascii", "text", "text"},
                    BytesCase{"Umlaut", "gr\xC3\xBCn", "gr\xFCn"},
                    BytesCase{"LastCodePoint", "\xF4\x8F\xBF\xBF", L"\U0010FFFF"},
                    BytesCase{"Nul", std::string("a\0b", 3), textWithNul()},
                    BytesCase{"NulAlone", std::string("\0", 1), wxString(L"\0", 1)},
                    BytesCase{"ByteOrderMark", "\xEF\xBB\xBF", L"\xFEFF"},
                    BytesCase{"LatinUmlaut", "gr\xFCn", "gr\xFCn"},
                    BytesCase{"LatinNul", std::string("\0\xFC\0", 3), wxString(L"\0\xFC\0", 3)},
                    BytesCase{"TruncatedUTF8", "\xE2\x82", "\xE2\x82"},
                    BytesCase{"UTF8ThenLatin", "\xC3\xBC\xFC", "\xC3\xBC\xFC"},
                    BytesCase{"OverlongSlash", "\xC0\xAF", "\xC0\xAF"},
                    BytesCase{"LongOverlongSlash", "\xE0\x80\xAF", "\xE0\x80\xAF"},
                    BytesCase{"Surrogate", "\xED\xA0\x80", "\xED\xA0\x80"},
                    BytesCase{"BeyondUnicode", "\xF4\x90\x80\x80", "\xF4\x90\x80\x80"},
                    BytesCase{"FiveByteForm", "\xF8\x88\x80\x80\x80", "\xF8\x88\x80\x80\x80"}),
    test::nameOfCase);

namespace {

/// Runs the encoding program and returns the lines that it writes.
std::string encodings(test::Environment const& environment, bool startsFoundation) {
    std::vector<std::string> command{DMN_ENCODINGS};
    if (startsFoundation)
        command.emplace_back("start");
    test::Outcome const outcome = test::run(command, environment);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    return outcome.output;
}

/// Runs the encoding program in locales that the test makes.
class MadeLocale : public testing::Test {
protected:
    /// Makes a locale of this character set and returns the environment that selects it; an empty one if it
    /// cannot be made.
    test::Environment make(char const* characterSet) const {
        std::string const place = m_folder.name("made");
        test::run({"localedef", "--no-archive", "--force", "--quiet", "--inputfile=POSIX",
                   std::string("--charmap=") + characterSet, place});
        if (access((place + "/LC_CTYPE").c_str(), R_OK) != 0)
            return {};
        return {{"LOCPATH", m_folder.name()}, {"LC_ALL", "made"}};
    }

private:
    test::TemporaryFolder m_folder;
};

} // namespace

TEST(StringInTheCLocale, ToCPOfTheEuroSignIsEmptyAndNoError) {
    std::string const lines = encodings({{"LC_ALL", "C"}}, false);

    EXPECT_NE(lines.find("\n\ne282ac\n"), std::string::npos) << lines;
}

TEST(StringInTheCLocale, IsEncodedAsUTF8OnceTheFoundationIsStarted) {
    EXPECT_EQ(encodings({{"LC_ALL", "C"}}, true), "c3a9\ne282ac\ne282ac\n");
}

TEST_F(MadeLocale, ThatLacksTheEuroSignGivesNoBytesForIt) {
    test::Environment const environment = make("ISO-8859-1");
    if (environment.empty())
        DMN_SKIP_TEST("needs localedef and its character sets");

    EXPECT_EQ(encodings(environment, true), "e9\n\ne282ac\n");
}

TEST_F(MadeLocale, ThatHasTheEuroSignEncodesIt) {
    test::Environment const environment = make("ISO-8859-15");
    if (environment.empty())
        DMN_SKIP_TEST("needs localedef and its character sets");

    EXPECT_EQ(encodings(environment, true), "e9\na4\na4\n");
}

namespace {

std::string toHexadecimal(std::string const& bytes) {
    std::string digits;
    for (char const byte : bytes)
        digits += wxString::Format("%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
    return digits;
}

/// Runs the encoding program in a folder and returns the lines that it writes.
std::string pathsIn(std::string const& folder, test::Environment const& environment) {
    test::Outcome const outcome = test::run({DMN_ENCODINGS, "start", folder}, environment);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    return outcome.output;
}

} // namespace

TEST_F(MadeLocale, HasAPathForEveryNameWhateverItsBytesAre) {
    test::Environment const environment = make("ISO-8859-1");
    if (environment.empty())
        DMN_SKIP_TEST("needs localedef and its character sets");
    test::TemporaryFolder const parent;

    for (char const* const name : {"\xE9", "\xC3\xA9", "\xC0\xAF"}) {
        std::string const folder = parent.name(name);
        std::filesystem::create_directory(folder);
        test::writeFile(folder + "/" + name, "");

        EXPECT_EQ(pathsIn(folder, environment),
                  toHexadecimal(folder + "/x") + "\n" + toHexadecimal(std::string("./") + name) + "\n");
    }
}

TEST(TList, IsAStackOfStringsIteratedFromTheFront) {
    fdn::TList<String> names;

    names.push_back("a");
    names.push_back("b");
    names.push_back("c");
    names.pop_back();

    EXPECT_EQ(names, (fdn::TList<String>{"a", "b"}));
    EXPECT_EQ(names.front(), "a");
    EXPECT_EQ(names.back(), "b");
}

TEST(TArray, KeepsAppendedStringsByIndex) {
    fdn::TArray<String> names;

    for (int i = 0; i < 100; ++i)
        names.push_back(wxString::Format("%d", i));

    EXPECT_EQ(names.size(), 100U);
    EXPECT_EQ(names[42], "42");
}

TEST(TArray, ReleasesEveryElementWhenDestroyed) {
    auto const shared = std::make_shared<String>("shared");

    { fdn::TArray<std::shared_ptr<String>> const names(3, shared); }

    EXPECT_EQ(shared.use_count(), 1);
}

TEST(TMap, IsOrderedByTheTextAndAddsAnEmptyValueForAMissingName) {
    fdn::TMap<String, String> variables{{"b", "2"}, {L"\x20AC", "3"}, {"A", "1"}};

    EXPECT_EQ(variables["missing"], "");
    variables["A"] = "4";

    fdn::TArray<String> names;
    for (auto const& variable : variables)
        names.push_back(variable.first);
    EXPECT_EQ(names, (fdn::TArray<String>{"A", "b", "missing", L"\x20AC"}));
    EXPECT_EQ(variables["A"], "4");
}
