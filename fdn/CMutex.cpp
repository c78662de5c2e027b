#include <fdn/CMutex.h>

namespace fdn {

IMutex::~IMutex() = default;

CMutex::CMutex() : m_mutex(wxMUTEX_RECURSIVE) {}

CMutex::~CMutex() = default;

void CMutex::lock() {
    m_mutex.Lock();
}

void CMutex::unlock() {
    m_mutex.Unlock();
}

CMutexLock::CMutexLock(IMutex& mutex) : m_mutex(&mutex) {
    m_mutex->lock();
}

CMutexLock::~CMutexLock() {
    m_mutex->unlock();
}

IMutex& getGlobalMutex() {
    // Never freed, because destructors of other globals may still need it at process exit.
    static auto* const mutex = new CMutex;
    return *mutex;
}

} // namespace fdn
