#include <fdn/system/LocalAddress.h>

#include <cstddef>

namespace fdn {

namespace {

bool isAddress(std::string const& text) {
    return text.size() > 1 && (text[0] == '/' || text[0] == '@') &&
           text.size() <= sizeof sockaddr_un::sun_path;
}

} // namespace

std::optional<LocalAddress> parseLocalAddress(std::string const& text) {
    if (!isAddress(text))
        return std::nullopt;
    LocalAddress local;
    text.copy(local.address.sun_path, text.size());
    if (text[0] == '@')
        local.address.sun_path[0] = '\0';
    local.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + text.size());
    return local;
}

} // namespace fdn
