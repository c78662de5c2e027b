#include <dmn/version.h>

#include <gtest/gtest.h>

#include <cstdio>

namespace {

TEST(Version, TextIsThatOfTheBuild) {
    EXPECT_STREQ(DMN_TESTS_VERSION, DMN_VERSION_STRING);
}

TEST(Version, NumberHasTwoDigitsForEachPartButTheFirst) {
    int major = 0;
    int minor = 0;
    int patch = 0;

    ASSERT_EQ(3, std::sscanf(DMN_TESTS_VERSION, "%d.%d.%d", &major, &minor, &patch));

    EXPECT_EQ(major * 10000 + minor * 100 + patch, DMN_VERSION);
}

TEST(Version, LibraryAnswersThatOfItsHeaders) {
    EXPECT_EQ(DMN_VERSION, dmn::getVersion());
}

} // namespace
