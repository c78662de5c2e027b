#include <dmn/runtime/EventDescriptor.h>

#include <fdn/sysError.h>

#include <cerrno>

#include <sys/eventfd.h>
#include <unistd.h>

namespace dmn {

EventDescriptor::~EventDescriptor() {
    if (m_descriptor != -1)
        close(m_descriptor);
}

int EventDescriptor::get() {
    if (m_descriptor == -1) {
        m_descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        if (m_descriptor == -1)
            fdn::throwLastSysError("eventfd", "opening a descriptor for an event loop");
        show();
    }
    return m_descriptor;
}

void EventDescriptor::set() noexcept {
    m_stands = true;
    show();
}

void EventDescriptor::clear() noexcept {
    m_stands = false;
    show();
}

// It does not matter how often an event is set that stands: reading takes back all of it.
void EventDescriptor::show() const noexcept {
    if (m_descriptor == -1)
        return;
    int const savedError = errno;
    eventfd_t count = 1;
    if (m_stands)
        eventfd_write(m_descriptor, count);
    else
        eventfd_read(m_descriptor, &count);
    errno = savedError;
}

} // namespace dmn
