#include "support/CapturedLog.h"

#include "support/fileInfo.h"

#include <fdn/CXMLLog.h>

#include <gtest/gtest.h>

#include <fstream>
#include <regex>

#include <stdlib.h>

namespace test {

namespace {

std::string unescape(std::string text) {
    for (auto const& [escape, character] :
         {std::pair("&lt;", "<"), std::pair("&gt;", ">"), std::pair("&amp;", "&")})
        text = std::regex_replace(text, std::regex(escape), character);
    return text;
}

} // namespace

std::vector<std::string> readLog(std::string const& path) {
    static std::regex const entry("<entry [^>]*level=\"(\\w+)\"[^>]*>(.*)</entry>");
    std::vector<std::string> entries;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::smatch parts;
        EXPECT_TRUE(std::regex_match(line, parts, entry)) << line;
        entries.push_back((parts[1] == "error" ? "error: " : "") + unescape(parts[2]));
    }
    return entries;
}

void closeLog() {
    fdn::CXMLLog::CGlobalLogCloser const closer;
}

CapturedLog::CapturedLog() {
    closeLog();
    setMode(m_folder.name(), 0777);
    writeFile(path(), "");
    setMode(path(), 0666);
    setenv("FDN_LOG_FILE", path().c_str(), 1);
}

CapturedLog::~CapturedLog() {
    closeLog();
    unsetenv("FDN_LOG_FILE");
}

void CapturedLog::clear() const {
    writeFile(path(), "");
}

} // namespace test
