#pragma once

#include "support/TemporaryFolder.h"

#include <dmnctl/log/Log.h>

#include <fstream>
#include <string>
#include <vector>

namespace test {

/// The line of an entry at 10:00 UTC and so many milliseconds.
inline std::string logLine(int milliseconds, std::string const& text, std::string const& level = "info") {
    char time[40] = "";
    std::snprintf(time, sizeof time, "2026-11-22T10:%02d:%02d.%03d000Z", milliseconds / 60000,
                  milliseconds / 1000 % 60, milliseconds % 1000);
    return std::string("<entry time=\"") + time + "\" level=\"" + level + "\" process=\"7\" thread=\"8\">" +
           text + "</entry>\n";
}

inline void append(std::string const& path, std::string const& text) {
    std::ofstream(path, std::ios::app) << text;
}

using Texts = std::vector<std::string>;

/// The texts of the entries that can be read on.
inline Texts readOn(dmnctl::Log& log) {
    Texts texts;
    while (auto const entry = log.readNext())
        texts.push_back(entry->text);
    return texts;
}

/// The texts of the entries that can be read back, the last one first.
inline Texts readBack(dmnctl::Log& log) {
    Texts texts;
    while (auto const entry = log.readPrevious())
        texts.push_back(entry->text);
    return texts;
}

} // namespace test
