#include <dmnctl/log/EntryJson.h>

#include <dmnctl/log/EntryParser.h>

#include "LogLines.h"

#include <gtest/gtest.h>

namespace {

std::string toJson(std::string const& line) {
    return dmnctl::toJson(dmnctl::EntryParser().parse(line), "clock");
}

TEST(EntryJson, HasTheTimeAsTheLogHasIt) {
    EXPECT_EQ("{\"id\":\"clock\",\"time\":\"2026-11-22T10:00:01.234000Z\",\"level\":\"info\",\"process\":7,"
              "\"thread\":8,\"text\":\"say \\\"x\\\"\"}",
              toJson(test::logLine(1234, "say \"x\"")));
}

TEST(EntryJson, HasThePropertiesOfAnErrorInOrderAndTheChainOfItsCauses) {
    EXPECT_EQ("{\"id\":\"clock\",\"time\":\"2026-11-22T10:00:00.000000Z\",\"level\":\"error\",\"process\":7,"
              "\"thread\":8,\"text\":null,\"where\":\"here\",\"what\":\"top\",\"second\":\"2nd\",\"code\":5,"
              "\"properties\":[{\"name\":\"b\",\"value\":\"1\"},{\"name\":\"a\",\"value\":\"2\"},"
              "{\"name\":\"b\",\"value\":\"3\"}],"
              "\"causes\":[{\"what\":\"middle\",\"code\":null,\"properties\":[]},"
              "{\"what\":\"bottom\",\"code\":\"x\",\"properties\":[]}]}",
              toJson(test::logLine(0,
                                   "<where>here</where><what>top</what><second>2nd</second><code>5</code>"
                                   "<property name=\"b\">1</property><property name=\"a\">2</property>"
                                   "<property name=\"b\">3</property><cause><what>middle</what>"
                                   "<cause><what>bottom</what><code>x</code></cause></cause>",
                                   "error")));
}

TEST(EntryJson, MarksALineThatIsNoEntry) {
    EXPECT_EQ("{\"id\":\"clock\",\"time\":null,\"level\":null,\"process\":null,\"thread\":null,"
              "\"text\":\"a\\u0000\xEF\xBF\xBD\",\"damaged\":true}",
              toJson(std::string("a\0\xff", 3)));
}

TEST(EntryJson, EscapesEverythingThatDrivesATerminal) {
    std::string const json = toJson(test::logLine(0, "&#9;&#10;&#127;&#128;&#155;&#159;&#160;"));

    EXPECT_NE(std::string::npos, json.find("\"\\t\\n\\u007f\\u0080\\u009b\\u009f\xC2\xA0\"")) << json;
    EXPECT_NE(std::string::npos, toJson(test::logLine(0, "a&#x202e;b")).find("\"a\\u202eb\""));
}

} // namespace
