#include "support/CurrentFolder.h"
#include "support/TemporaryFolder.h"
#include "support/cases.h"
#include "support/errors.h"

#include <fdn/CError.h>
#include <fdn/Path.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using fdn::CUnixPathTraits;
using fdn::Path;
using fdn::String;

namespace {

constexpr bool marked = true;
constexpr bool unmarked = false;

Path pathOf(char const* text, bool mark = unmarked) {
    return Path(text, true, mark);
}

String repeated(char const* text, int count) {
    String result;
    for (int i = 0; i < count; ++i)
        result.append(text);
    return result;
}

template <class Case>
auto operator<<(std::ostream& stream, Case const& testCase) -> decltype(stream << testCase.name) {
    return stream << testCase.name;
}

} // namespace

TEST(Path, IsEmptyAndUnmarkedWhenMadeFromNothing) {
    EXPECT_EQ(Path().getText(), "");
    EXPECT_FALSE(Path().isNormalized());
}

TEST(Path, KeepsItsTextAndMarkAsGiven) {
    for (char const* const text : {"", "/", "//a/./../b//", "gr\xFCn", "a\\b", " "}) {
        EXPECT_EQ(pathOf(text, marked).getText(), text);
        EXPECT_TRUE(pathOf(text, marked).isNormalized());
        EXPECT_EQ(Path(text, false, false).getText(), text);
        EXPECT_FALSE(Path(text, false, false).isNormalized());
    }
}

TEST(Path, TakesOverATextThatNobodyNeeds) {
    String text("/a/text/of/some/length");
    wchar_t const* const characters = text.wc_str();

    Path const path(std::move(text), true, marked);

    EXPECT_EQ(path.getText().wc_str(), characters);
    EXPECT_TRUE(path.isNormalized());
}

TEST(Path, CopyHasTextAndMarkAndACountOfItsOwn) {
    Path const original = pathOf("/a", marked);
    original.addRef();

    auto* const copy = new Path(original);

    EXPECT_EQ(copy->getText(), "/a");
    EXPECT_TRUE(copy->isNormalized());
    EXPECT_FALSE(copy->release());
}

namespace {

struct SepCase {
    char const* name;
    char const* text;
    char const* expected;
};

class PathWithSep : public testing::TestWithParam<SepCase> {};

} // namespace

TEST_P(PathWithSep, EndsInOneSeparatorUnlessEmpty) {
    EXPECT_EQ(pathOf(GetParam().text).getPathWithSep(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Path, PathWithSep,
                         testing::Values(SepCase{"Name", "a", "a/"}, SepCase{"Folder", "/a", "/a/"},
                                         SepCase{"WithOne", "/a/", "/a/"}, SepCase{"WithTwo", "/a//", "/a//"},
                                         SepCase{"Root", "/", "/"}, SepCase{"Empty", "", ""}),
                         test::nameOfCase);

namespace {

struct RootCase {
    char const* name;
    char const* text;
    int rootLength;
    int rootTextLength;
};

class PathRoot : public testing::TestWithParam<RootCase> {};

} // namespace

TEST_P(PathRoot, IsFoundAtTheFront) {
    int rootTextLength = -5;

    EXPECT_EQ(CUnixPathTraits::getRootLength(GetParam().text, &rootTextLength), GetParam().rootLength);

    EXPECT_EQ(rootTextLength, GetParam().rootTextLength);
    EXPECT_EQ(CUnixPathTraits::isAbsolute(GetParam().text), GetParam().rootLength != -1);
}

INSTANTIATE_TEST_SUITE_P(Path, PathRoot,
                         testing::Values(RootCase{"Absolute", "/a", 1, 1}, RootCase{"Deep", "/a/b", 1, 1},
                                         RootCase{"Root", "/", 1, 1}, RootCase{"TwoSlashes", "//a", 2, 1},
                                         RootCase{"SlashesAlone", "///", 3, 1},
                                         RootCase{"Relative", "a/b", -1, 0},
                                         RootCase{"Parent", "../a", -1, 0}, RootCase{"Empty", "", -1, 0}),
                         test::nameOfCase);

TEST(Path, SeparatorsAreTheSlash) {
    EXPECT_EQ(CUnixPathTraits::getSep(), "/");
    EXPECT_EQ(CUnixPathTraits::getAllSeps(), "/");
}

TEST(Path, SeparatorsAreTheSameForEveryThread) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([] { EXPECT_EQ(&CUnixPathTraits::getSep(), &CUnixPathTraits::getSep()); });
    String const* other = nullptr;

    threads.emplace_back([&other] { other = &CUnixPathTraits::getSep(); });
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(other, &CUnixPathTraits::getSep());
}

namespace {

struct JoinCase {
    char const* name;
    char const* left;
    bool leftMark;
    char const* right;
    bool rightMark;
    char const* expected;
    bool expectedMark;
};

class PathJoin : public testing::TestWithParam<JoinCase> {};

} // namespace

TEST_P(PathJoin, GivesTheExpectedTextAndMark) {
    JoinCase const& param = GetParam();

    Path const joined = pathOf(param.left, param.leftMark) << pathOf(param.right, param.rightMark);

    EXPECT_EQ(joined.getText(), param.expected);
    EXPECT_EQ(joined.isNormalized(), param.expectedMark);
}

INSTANTIATE_TEST_SUITE_P(
    Path, PathJoin,
    testing::Values(
        JoinCase{"NameToFolder", "/a", unmarked, "b", unmarked, "/a/b", unmarked},
        JoinCase{"NameToFolderWithSeparator", "/a/", unmarked, "b", unmarked, "/a/b", unmarked},
        JoinCase{"NameToFolderWithSeparators", "/a//", unmarked, "b", unmarked, "/a//b", unmarked},
        JoinCase{"NameToRoot", "/", marked, "b", unmarked, "/b", marked},
        JoinCase{"NameToEmpty", "", unmarked, "b", unmarked, "b", unmarked},
        JoinCase{"NameToMarkedEmpty", "", marked, "b", unmarked, "b", marked},
        JoinCase{"NamesToEmpty", "", unmarked, "b//c/", marked, "b//c/", unmarked},
        JoinCase{"AbsoluteReplaces", "/a", marked, "/c", unmarked, "/c", unmarked},
        JoinCase{"MarkedAbsoluteReplaces", "/a", unmarked, "/c", marked, "/c", marked},
        JoinCase{"DoubledRootReplaces", "/a", marked, "//c", unmarked, "//c", unmarked},
        JoinCase{"EmptyKeepsMark", "/a", marked, "", unmarked, "/a", marked},
        JoinCase{"EmptyKeepsMissingMark", "/a/", unmarked, "", marked, "/a/", unmarked},
        JoinCase{"EmptyToEmpty", "", marked, "", unmarked, "", marked},
        JoinCase{"PlainNameKeepsMark", "/a", marked, "b", unmarked, "/a/b", marked},
        JoinCase{"PlainNameAddsNoMark", "/a", unmarked, "b", marked, "/a/b", unmarked},
        JoinCase{"UmlautKeepsMark", "/a", marked, "gr\xFCn", unmarked, "/a/gr\xFCn", marked},
        JoinCase{"HiddenNameKeepsMark", "/a", marked, ".b", unmarked, "/a/.b", marked},
        JoinCase{"ThreeDotsKeepMark", "/a", marked, "...", unmarked, "/a/...", marked},
        JoinCase{"DotLosesMark", "/a", marked, ".", unmarked, "/a/.", unmarked},
        JoinCase{"DotDotLosesMark", "/a", marked, "..", unmarked, "/a/..", unmarked},
        JoinCase{"SeveralNamesLoseMark", "/a", marked, "b/c", marked, "/a/b/c", unmarked},
        JoinCase{"TrailingSeparatorLosesMark", "/a", marked, "b/", unmarked, "/a/b/", unmarked},
        JoinCase{"ParentIsNotResolved", "/a", unmarked, "../b", unmarked, "/a/../b", unmarked},
        JoinCase{"SeparatorsInsideStay", "/a", unmarked, "b//./c", unmarked, "/a/b//./c", unmarked}),
    test::nameOfCase);

namespace {

struct NormalCase {
    char const* name;
    char const* text;
    bool makeAbsolute;
    char const* base;
    char const* expected;
    bool expectedMark;
};

class PathNormalized : public testing::TestWithParam<NormalCase> {};

constexpr bool makeAbsolute = true;
constexpr bool leave = false;

} // namespace

TEST_P(PathNormalized, HasTheExpectedTextAndMark) {
    NormalCase const& param = GetParam();

    Path const normalized = pathOf(param.text).toNormalized(param.makeAbsolute, pathOf(param.base));

    EXPECT_EQ(normalized.getText(), param.expected);
    EXPECT_EQ(normalized.isNormalized(), param.expectedMark);
}

INSTANTIATE_TEST_SUITE_P(
    Path, PathNormalized,
    testing::Values(NormalCase{"DotsAndDoubledSeparators", "/a/./b//c/", leave, "", "/a/b/c", marked},
                    NormalCase{"Root", "/", leave, "", "/", marked},
                    NormalCase{"SlashesAlone", "///", leave, "", "/", marked},
                    NormalCase{"DoubledRoot", "//a", leave, "", "/a", marked},
                    NormalCase{"DoubledEnd", "a//", leave, "", "a", unmarked},
                    NormalCase{"RootDot", "/.", leave, "", "/", marked},
                    NormalCase{"RootNameParent", "/a/..", leave, "", "/", marked},
                    NormalCase{"RootNameParentName", "/a/../b", leave, "", "/b", marked},
                    NormalCase{"ParentAboveRelative", "a/../../b", leave, "", "../b", unmarked},
                    NormalCase{"ParentsStayAtTheFront", "../../a/../b", leave, "", "../../b", unmarked},
                    NormalCase{"NameParent", "a/..", leave, "", "", unmarked},
                    NormalCase{"NameParentWithBaseUnused", "a/..", leave, "/srv", "", unmarked},
                    NormalCase{"LastNameParent", "a/b/..", leave, "", "a", unmarked},
                    NormalCase{"AllNamesParents", "a/b/../..", leave, "", "", unmarked},
                    NormalCase{"ParentsOfAllNames", "a/b/../../..", leave, "", "..", unmarked},
                    NormalCase{"NameAfterAllNamesParents", "a/b/../../c", leave, "", "c", unmarked},
                    NormalCase{"AllAbsoluteNamesParents", "//a/b/../../", leave, "", "/", marked},
                    NormalCase{"NamesThatEndInDotsHaveParents", "/a../b/../..", leave, "", "/", marked},
                    NormalCase{"ParentsOfAParent", "../a../..", leave, "", "..", unmarked},
                    NormalCase{"ParentsAlone", "../..//../", leave, "", "../../..", unmarked},
                    NormalCase{"Dot", ".", leave, "", "", unmarked},
                    NormalCase{"DotDot", "..", leave, "", "..", unmarked},
                    NormalCase{"ThreeDotsAreAName", "/a/...", leave, "", "/a/...", marked},
                    NormalCase{"DotNamesAreNames", "/.a/..b/c.", leave, "", "/.a/..b/c.", marked},
                    NormalCase{"Umlaut", "/gr\xFCn/./\xDF", leave, "", "/gr\xFCn/\xDF", marked},
                    NormalCase{"BlanksAreNames", "/ / a", leave, "", "/ / a", marked},
                    NormalCase{"BackslashIsNoSeparator", "/a\\..\\b", leave, "", "/a\\..\\b", marked},
                    NormalCase{"Relative", "a/b", leave, "", "a/b", unmarked},
                    NormalCase{"Empty", "", leave, "", "", unmarked},
                    NormalCase{"EmptyMadeAbsolute", "", makeAbsolute, "", "", marked},
                    NormalCase{"EmptyMadeAbsoluteWithBase", "", makeAbsolute, "/srv", "", marked},
                    NormalCase{"AbsoluteNeedsNoBase", "/a/.", makeAbsolute, "/srv", "/a", marked},
                    NormalCase{"NameInBase", "x", makeAbsolute, "/srv", "/srv/x", marked},
                    NormalCase{"NameInBaseWithSeparator", "x/", makeAbsolute, "/srv/", "/srv/x", marked},
                    NormalCase{"ParentOfBase", "../x", makeAbsolute, "/srv", "/x", marked},
                    NormalCase{"NameParentInBase", "x/../y", makeAbsolute, "/srv", "/srv/y", marked},
                    NormalCase{"BaseIsNormalizedToo", "x", makeAbsolute, "//srv/./a/..", "/srv/x", marked},
                    NormalCase{"DotInBase", ".", makeAbsolute, "/srv", "/srv", marked},
                    NormalCase{"RelativeBase", "x", makeAbsolute, "srv", "srv/x", marked},
                    NormalCase{"AboveRelativeBase", "../../x", makeAbsolute, "srv", "../x", marked}),
    test::nameOfCase);

TEST(Path, MarkedIsReturnedAsItIsWhenNormalized) {
    Path const path = pathOf("a/../..//b/", marked);

    for (bool const absolute : {true, false}) {
        EXPECT_EQ(path.toNormalized(absolute, Path("/srv")).getText(), "a/../..//b/");
        EXPECT_TRUE(path.toNormalized(absolute, Path("/srv")).isNormalized());
    }
}

TEST(Path, NormalizedAgainStaysTheSame) {
    Path const once = Path("a/./b").toNormalized(false, Path());

    EXPECT_EQ(once.toNormalized(false, Path()).getText(), once.getText());
}

TEST(Path, RelativeMadeAbsoluteWithoutBaseBeginsInTheCurrentFolder) {
    test::TemporaryFolder const folder;
    std::filesystem::path const previous = std::filesystem::current_path();
    std::filesystem::current_path(folder.name());
    String const current = String::fromBytes(std::filesystem::current_path().string());

    Path const normalized = Path("a/../b").toNormalized(true, Path());

    std::filesystem::current_path(previous);
    EXPECT_EQ(normalized.getText(), current + "/b");
    EXPECT_TRUE(normalized.isNormalized());
}

TEST(Path, RelativeInAFolderWhoseNameIsNoTextIsAnErrorAndNoPathOfItsSibling) {
    test::TemporaryFolder const folder;
    std::filesystem::create_directory(folder.name("\xE9"));
    std::filesystem::create_directory(folder.name("\xC3\xA9"));
    test::CurrentFolder const current(folder.name("\xE9"));

    fdn::CError const error = test::errorOf([] { Path("x").toNormalized(true, Path()); });

    EXPECT_EQ(error.getCode(), EILSEQ);
    EXPECT_EQ(error.getProps().at("func"), "getcwd");
    EXPECT_EQ(Path("x").toNormalized(true, Path("/srv")).getText(), "/srv/x");
}

TEST(Path, VeryLongOneIsNormalized) {
    constexpr int count = 20'000;
    Path const down("/" + repeated("name/./", count));
    Path const up(repeated("../", count));
    Path const downAndUp("/a/" + repeated("name/../", count));

    EXPECT_EQ(down.toNormalized(false, Path()).getText(), "/name" + repeated("/name", count - 1));
    EXPECT_EQ(downAndUp.toNormalized(false, Path()).getText(), "/a");
    EXPECT_EQ(up.toNormalized(false, Path()).getText(), ".." + repeated("/..", count - 1));
}

TEST(Path, KeepsTheCharacterNul) {
    String const text = "/a/./" + String(wxString(L"b\0c", 3));

    EXPECT_EQ(Path(text).toNormalized(false, Path()).getText(), "/a/" + String(wxString(L"b\0c", 3)));
}

namespace {

struct BadCase {
    char const* name;
    char const* text;
    bool makeAbsolute;
    char const* base;
};

class BadPath : public testing::TestWithParam<BadCase> {};

} // namespace

TEST_P(BadPath, ThatClimbsAboveTheRootIsAnErrorWithItsOwnText) {
    Path const path(GetParam().text);
    auto const normalize = [&path] { path.toNormalized(GetParam().makeAbsolute, Path(GetParam().base)); };

    EXPECT_THROW(normalize(), fdn::CBadPathError);

    EXPECT_EQ(test::errorOf(normalize).getMessage(), String("Invalid path: ") + GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Path, BadPath,
                         testing::Values(BadCase{"ParentOfRoot", "/..", leave, ""},
                                         BadCase{"ParentOfDoubledRoot", "//..", leave, ""},
                                         BadCase{"MoreUpThanDown", "/a/../../b", leave, ""},
                                         BadCase{"AboveTheBase", "../../x", makeAbsolute, "/srv"},
                                         BadCase{"AboveTheRootAsBase", "..", makeAbsolute, "/"},
                                         BadCase{"InTheMiddle", "/a/./../../b/c", makeAbsolute, "/srv"},
                                         BadCase{"Umlaut", "/gr\xFCn/../..", leave, ""}),
                         test::nameOfCase);

TEST(Path, ThatClimbsAboveTheCurrentFolderIsAnErrorWithItsOwnText) {
    Path const path(repeated("../", 5000) + "x");

    fdn::CError const error = test::errorOf([&path] { path.toNormalized(true, Path()); });

    EXPECT_EQ(error.getMessage(), "Invalid path: " + path.getText());
}
