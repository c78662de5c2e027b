#pragma once

#include <utility>

#include <unistd.h>

namespace dmnctl {

/// Owns a file descriptor, or none, and closes it when destroyed.
class Descriptor {
public:
    /// Takes over the descriptor. A negative one, which a failed call returns, stands for none.
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}

    Descriptor(Descriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}

    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }

    ~Descriptor() {
        if (isOpen())
            ::close(m_descriptor);
    }

    int get() const { return m_descriptor; }

    bool isOpen() const { return m_descriptor >= 0; }

private:
    int m_descriptor;
};

} // namespace dmnctl
