#pragma once

#include <string>

namespace dmnctl {

/// The bytes as UTF-8 on one line that no terminal acts on: control characters and bytes that are no UTF-8
/// are written as in C ("\n", "\x1b").
std::string toPrintable(std::string const& bytes);

} // namespace dmnctl
