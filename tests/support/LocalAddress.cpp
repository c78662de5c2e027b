#include "support/LocalAddress.h"

#include <cstddef>

namespace test {

LocalAddress::LocalAddress(std::string const& text)
    : m_size(static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + text.size())) {
    text.copy(m_address.sun_path, sizeof m_address.sun_path);
    if (text[0] == '@')
        m_address.sun_path[0] = '\0';
}

} // namespace test
