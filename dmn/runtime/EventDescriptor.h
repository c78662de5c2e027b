#pragma once

namespace dmn {

/// An event that event loops can wait for: a descriptor that is readable while the event stands (Linux
/// eventfd). One thread at a time may use the object.
class EventDescriptor {
public:
    EventDescriptor() = default;
    EventDescriptor(EventDescriptor const&) = delete;
    EventDescriptor& operator=(EventDescriptor const&) = delete;
    ~EventDescriptor();

    /// The descriptor, which the first call opens. Throws CError when the system refuses.
    int get();

    /// Lets the event stand.
    void set() noexcept;

    /// Takes it back.
    void clear() noexcept;

private:
    void show() const noexcept;

    int m_descriptor = -1; // while nobody has asked for it
    bool m_stands = false;
};

} // namespace dmn
