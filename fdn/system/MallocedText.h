#pragma once

#include <memory>

#include <stdlib.h>

namespace fdn {

/// Frees a text that the C library has allocated.
struct FreeText {
    void operator()(char* text) const { free(text); }
};

/// Owns such a text.
using MallocedText = std::unique_ptr<char, FreeText>;

} // namespace fdn
