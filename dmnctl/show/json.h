#pragma once

#include <dmnctl/show/text.h>

#include <nlohmann/json.hpp>

#include <string>

namespace dmnctl {

// Programs get a JSON array of objects, whose names stay and come in the same order. nlohmann/json takes long
// to compile: few sources should include this.

using Json = nlohmann::ordered_json;

/// The text, in UTF-8, indented by so many columns; -1 makes one line. Characters that terminals act on are
/// escaped, also where JSON allows them.
inline std::string dumpJson(Json const& json, int indent) {
    return escapeJsonForTerminals(json.dump(indent, ' ', false, Json::error_handler_t::replace));
}

/// The text for people and programs, with a line feed at its end.
inline std::string composeJson(Json const& json) {
    constexpr int kIndent = 2;
    return dumpJson(json, kIndent) + "\n";
}

} // namespace dmnctl
