#include <dmnctl/show/text.h>

#include <fmt/core.h>

#include <cstdio>

namespace dmnctl {

std::string toUTF8(fdn::String const& text) {
    return text.toUTF8();
}

std::string toUTF8(fdn::Path const& path) {
    return toUTF8(path.getText());
}

fdn::String fromUTF8(std::string const& text) {
    return fdn::String::fromBytes(text);
}

bool print(std::string const& text) {
    return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
}

void printError(std::string const& text) {
    fmt::print(stderr, "dmnctl: {}\n", text);
}

} // namespace dmnctl
