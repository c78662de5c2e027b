#include <fdn/CError.h>
#include <fdn/Path.h>
#include <fdn/fileName.h>

#include <gtest/gtest.h>

#include <optional>

namespace {

using fdn::Path;
using fdn::String;

TEST(toFileName, EncodesInTheFileNameEncoding) {
    EXPECT_STREQ(fdn::toFileName(String("/\xE4")).data(), "/\xC3\xA4");
}

TEST(toFileName, EncodesThePathsText) {
    EXPECT_STREQ(fdn::toFileName(Path("/\xE4")).data(), "/\xC3\xA4");
}

TEST(toFileName, RefusesTheCharacterNUL) {
    EXPECT_THROW(fdn::toFileName(wxString(L"/etc/a\0b", 8)), fdn::CUnencodableStringError);
}

TEST(toFileName, RefusesWhatTheEncodingLacks) {
    wchar_t const halfAPair[] = {L'/', static_cast<wchar_t>(0xD800), L'\0'};

    EXPECT_THROW(fdn::toFileName(halfAPair), fdn::CUnencodableStringError);
}

TEST(fromFileName, ReadsWhatToFileNameMakes) {
    for (char const* const name :
         {"", "/", "a/b", "gr\xC3\xBCn", "\xE2\x82\xAC", "\xF4\x8F\xBF\xBF", "\x7F"}) {
        std::optional<String> const text = fdn::fromFileName(name);

        ASSERT_TRUE(text) << name;
        EXPECT_STREQ(fdn::toFileName(*text), name);
    }
}

TEST(fromFileName, HasNoTextForBytesThatAreNone) {
    for (char const* const name :
         {"\xE9", "/a/gr\xFC", "\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80"})
        EXPECT_FALSE(fdn::fromFileName(name)) << name;
}

} // namespace
