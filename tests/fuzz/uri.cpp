// URI escaping: an escaped text contains nothing that a shell acts on, and unescaping returns the original.

#include "FuzzSupport.h"

#include <fdn/uri.h>

namespace {

constexpr char kHarmless[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-%";

void checkRoundTrip(fdn::String const& text) {
    fdn::String const escaped = fdn::uriEscape(text);
    fuzz::require(escaped.toUTF8().find_first_not_of(kHarmless) == std::string::npos,
                  "an escaped text contains only harmless characters");
    fuzz::require(fdn::uriUnescape(escaped) == text, "an escaped text comes back unchanged");
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    fdn::String const text = fuzz::toText(fuzz::toBytes(data, size));

    checkRoundTrip(text);
    checkRoundTrip(fdn::uriUnescape(text));
    return 0;
}
