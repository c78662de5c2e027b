#pragma once

namespace dmnctl {

/// Held while this process changes what starts at boot, so that no other one does so meanwhile. Waits for
/// another holder for a minute, and throws CError then.
class BootLock {
public:
    BootLock();
    BootLock(BootLock const&) = delete;
    BootLock& operator=(BootLock const&) = delete;
    ~BootLock();

private:
    int m_file;
};

} // namespace dmnctl
