#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace dmnctl {

// Programs get a JSON array of objects, whose names stay and come in the same order. nlohmann/json takes long
// to compile: few sources should include this.

using Json = nlohmann::ordered_json;

/// The text, in UTF-8, with a line feed at its end.
inline std::string composeJson(Json const& json) {
    constexpr int kIndent = 2;
    return json.dump(kIndent, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace dmnctl
