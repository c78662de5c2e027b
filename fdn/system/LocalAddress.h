#pragma once

#include <optional>
#include <string>

#include <sys/socket.h>
#include <sys/un.h>

namespace fdn {

/// The address of a local socket, as the system takes it (unix(7)).
struct LocalAddress {
    sockaddr_un address = {AF_UNIX, {}};
    socklen_t size = sizeof(sa_family_t); ///< this size asks bind() for an abstract name that is free

    sockaddr const* get() const { return reinterpret_cast<sockaddr const*>(&address); }
};

/// The address with this text: an absolute path, or "@" and the abstract name. Nothing for any other text,
/// and for one that is longer than an address may be.
std::optional<LocalAddress> parseLocalAddress(std::string const& text);

} // namespace fdn
