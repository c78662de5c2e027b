#pragma once

#include <cerrno>
#include <utility>

#include <unistd.h>

namespace fdn {

/// Owns a file descriptor, or none, and closes it when destroyed. Closing leaves errno as it was, so that a
/// failure can be reported after the operation's descriptors are gone.
class Descriptor {
public:
    Descriptor() = default;

    /// Takes over the descriptor. A negative one, which a failed call returns, stands for none.
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}

    Descriptor(Descriptor&& other) noexcept : m_descriptor(other.release()) {}

    Descriptor& operator=(Descriptor&& other) noexcept {
        reset(other.release());
        return *this;
    }

    ~Descriptor() { reset(); }

    int get() const { return m_descriptor; }

    bool isOpen() const { return m_descriptor >= 0; }

    /// Hands the descriptor over to the caller, who must close it.
    int release() noexcept { return std::exchange(m_descriptor, -1); }

    /// Closes the descriptor and takes over the given one, if any.
    void reset(int descriptor = -1) noexcept {
        int const savedError = errno;
        if (isOpen())
            ::close(m_descriptor);
        m_descriptor = descriptor;
        errno = savedError;
    }

private:
    int m_descriptor = -1;
};

/// Makes a system call, and repeats it for as long as a signal interrupts it (EINTR). Not for close(), which
/// closes the descriptor even then.
template <class Call>
auto uninterrupted(Call call) {
    while (true) {
        auto const result = call();
        if (result != -1 || errno != EINTR)
            return result;
    }
}

} // namespace fdn
