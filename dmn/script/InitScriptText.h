#pragma once

#include <dmn/script/InitScript.h>

#include <optional>
#include <string>

namespace dmn {

/// The values from which composeInitScript() writes exactly this text, in UTF-8. Nothing for any other text,
/// however much it looks alike, and for one with a line feed in a value.
std::optional<InitScriptValues> parseInitScript(std::string const& text);

/// Whether a text of which this is the beginning may be one that composeInitScript() writes.
bool beginsAsInitScript(std::string const& beginning);

/// Whether the script with these values, run by any shell, prints each setting as it stands here. What is not
/// certain is "no".
bool printsItsValues(InitScriptValues const& values);

} // namespace dmn
