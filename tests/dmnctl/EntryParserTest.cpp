#include <dmnctl/log/EntryParser.h>

#include "LogLines.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using dmnctl::Entry;

Entry parse(std::string const& line) {
    return dmnctl::EntryParser().parse(line);
}

TEST(EntryParser, ReadsAnEntry) {
    Entry const entry = parse("<entry time=\"2026-11-22T10:00:01.000002Z\" level=\"info\" process=\"7\" "
                              "thread=\"8\">a &lt;b&gt; &amp; \xC3\xA4&#10;</entry>\n");

    EXPECT_FALSE(entry.isDamaged);
    EXPECT_EQ("2026-11-22T10:00:01.000002Z", entry.time);
    EXPECT_EQ(1795341601000002, entry.microseconds);
    EXPECT_EQ("info", entry.level);
    EXPECT_EQ("7", entry.process);
    EXPECT_EQ("8", entry.thread);
    EXPECT_EQ("a <b> & \xC3\xA4\n", entry.text);
    EXPECT_TRUE(entry.errors.empty());
}

TEST(EntryParser, ReadsAnErrorWithItsPropertiesAndTheChainOfItsCauses) {
    Entry const entry = parse(test::logLine(
        0,
        "<text>situation</text><where>here</where><what>top</what><second>2nd</second><code>5</code>"
        "<property name=\"func\">open</property><property name=\"func\">again</property>"
        "<cause><what>middle</what><code>-1</code><cause><what>bottom</what></cause></cause>",
        "error"));

    EXPECT_EQ("situation", entry.text);
    EXPECT_EQ("here", entry.where);
    ASSERT_EQ(3U, entry.errors.size());
    EXPECT_EQ("top", entry.errors[0].what);
    EXPECT_EQ("2nd", entry.errors[0].second);
    EXPECT_EQ("5", entry.errors[0].code);
    ASSERT_EQ(2U, entry.errors[0].properties.size());
    EXPECT_EQ("func", entry.errors[0].properties[1].name);
    EXPECT_EQ("again", entry.errors[0].properties[1].value);
    EXPECT_EQ("middle", entry.errors[1].what);
    EXPECT_EQ("-1", entry.errors[1].code);
    EXPECT_EQ("bottom", entry.errors[2].what);
}

TEST(EntryParser, TakesWhatItDoesNotKnowAsAProperty) {
    Entry const entry = parse(test::logLine(0, "<what>w</what><host>alpha</host>"));

    ASSERT_EQ(1U, entry.errors.size());
    ASSERT_EQ(1U, entry.errors[0].properties.size());
    EXPECT_EQ("host", entry.errors[0].properties[0].name);
    EXPECT_EQ("alpha", entry.errors[0].properties[0].value);
}

TEST(EntryParser, KeepsALineThatIsNoEntryAsItStands) {
    for (std::string const& line :
         {std::string("plain text"), std::string("<other>x</other>"), std::string("<other/>"),
          std::string(""), std::string("a\0b", 3), std::string("\xff\xfe"),
          std::string("<entry>\xC3</entry>"), std::string("<entry>&nbsp;</entry>"),
          std::string("<entry>x</entry><entry>y</entry>")}) {
        Entry const entry = parse(line + "\n");
        EXPECT_TRUE(entry.isDamaged) << line;
        EXPECT_EQ(line, entry.text);
        EXPECT_TRUE(entry.errors.empty()) << line;
    }
}

TEST(EntryParser, KnowsTheTimeAndTheLevelOfALineThatEndsInTheMiddle) {
    std::string const line = test::logLine(0, "<what>some error</what>", "error").substr(0, 100);

    Entry const entry = parse(line);

    EXPECT_TRUE(entry.isDamaged);
    EXPECT_EQ(line, entry.text);
    EXPECT_EQ("error", entry.level);
    EXPECT_TRUE(entry.microseconds);
}

TEST(EntryParser, RefusesADocumentTypeAndSoAllEntities) {
    std::string const bomb = "<!DOCTYPE entry [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;\">]>"
                             "<entry>&b;</entry>";

    EXPECT_TRUE(parse(bomb).isDamaged);
    EXPECT_EQ(bomb, parse(bomb).text);
    EXPECT_TRUE(parse("<!DOCTYPE entry SYSTEM \"/etc/passwd\"><entry>x</entry>").isDamaged);
}

TEST(EntryParser, ReadsUTF8WhateverTheLineSays) {
    Entry const entry = parse("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><entry>\xC3\xA4</entry>");

    EXPECT_EQ("\xC3\xA4", entry.text);
}

TEST(EntryParser, SurvivesDeepAndWideEntries) {
    std::string causes;
    std::string ends;
    for (int i = 0; i < 100000; ++i) {
        causes += "<cause>";
        ends += "</cause>";
    }

    EXPECT_EQ(100001U, parse("<entry>" + causes + ends + "</entry>").errors.size());
    EXPECT_TRUE(parse("<entry>" + causes).isDamaged);
    EXPECT_EQ(1048576U, parse("<entry>" + std::string(1048576, 'x') + "</entry>").text.size());
}

TEST(EntryParser, StartsAnewAfterADamagedLine) {
    dmnctl::EntryParser parser;

    EXPECT_TRUE(parser.parse("<entry level=\"error\"><what>x").isDamaged);
    Entry const entry = parser.parse("<entry>y</entry>");

    EXPECT_FALSE(entry.isDamaged);
    EXPECT_EQ("y", entry.text);
    EXPECT_EQ("", entry.level);
    EXPECT_TRUE(entry.errors.empty());
}

TEST(isError, IsTrueOfWhatMayBeOne) {
    for (char const* const level : {"error", "fatal", ""})
        EXPECT_TRUE(isError(Entry{{}, {}, level, {}, {}, {}, {}, {}})) << level;
    for (char const* const level : {"debug", "info", "warning"})
        EXPECT_FALSE(isError(Entry{{}, {}, level, {}, {}, {}, {}, {}})) << level;
}

} // namespace
