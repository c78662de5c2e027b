#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace dmnctl {

struct Property {
    std::string name;
    std::string value;
};

/// What an entry says about an error, or about one of those that caused it.
struct ErrorDescription {
    std::string what;
    std::string second;
    std::string code;
    std::vector<Property> properties;
};

/// An entry of a log, as CXMLLog describes it, with its texts in UTF-8. What a line does not say is empty.
struct Entry {
    std::string time;                         ///< as it stands in the log
    std::optional<std::int64_t> microseconds; ///< the time since the beginning of 1970, UTC, if it is one
    std::string level;
    std::string process;
    std::string thread;
    std::string text;
    std::string where;
    std::vector<ErrorDescription> errors; ///< the error first, then the chain of its causes

    /// Whether the line is no entry, or only the beginning of one. Then the text is the line as it stands,
    /// and may have any bytes.
    bool isDamaged = false;
};

/// Whether the entry is an error or something worse. A level that this version does not know may be, and so
/// may a line that does not tell its level.
inline bool isError(Entry const& entry) {
    return entry.level != "debug" && entry.level != "info" && entry.level != "warning";
}

} // namespace dmnctl
