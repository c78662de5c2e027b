#include <fdn/CIPCConnectionToSubProcess.h>

#include <fdn/sysError.h>
#include <fdn/system/Descriptor.h>
#include <fdn/system/writeQuietly.h>

#include <unistd.h>

namespace fdn {

CIPCConnectionToSubProcess::~CIPCConnectionToSubProcess() {
    close();
}

void CIPCConnectionToSubProcess::attach(int descriptor) {
    close();
    m_descriptor = descriptor;
}

std::size_t CIPCConnectionToSubProcess::read(void* buffer, std::size_t size) {
    ssize_t const count = uninterrupted([&] { return ::read(m_descriptor, buffer, size); });
    if (count == -1)
        throwLastSysError("read", "CIPCConnectionToSubProcess::read");
    return static_cast<std::size_t>(count);
}

void CIPCConnectionToSubProcess::write(void const* data, std::size_t size) {
    if (!writeAll(m_descriptor, static_cast<char const*>(data), size))
        throwLastSysError("write", "CIPCConnectionToSubProcess::write");
}

void CIPCConnectionToSubProcess::close() noexcept {
    Descriptor const closed(m_descriptor);
    m_descriptor = -1;
}

} // namespace fdn
