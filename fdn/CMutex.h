#pragma once

#include <fdn/CBase.h>
#include <fdn/P.h>

#include <wx/thread.h>

namespace fdn {

/// A lock that can be shared by reference counting. Hold it with a CMutexLock rather than by its own
/// operations.
class FDN_EXPORT IMutex : public virtual IBase {
public:
    ~IMutex() override;

    /// Blocks until the calling thread owns the mutex.
    virtual void lock() = 0;

    /// Gives up one lock() of the calling thread, which must own the mutex.
    virtual void unlock() = 0;
};

/// The ordinary mutex. It is re-entrant: a thread that owns it may lock it again, and owns it until it has
/// unlocked it as often. It must not be locked in a signal handler, and nobody may own it when it is
/// destroyed.
class FDN_EXPORT CMutex : public CBase, public virtual IMutex {
public:
    CMutex();
    CMutex(CMutex const&) = delete;
    CMutex& operator=(CMutex const&) = delete;
    ~CMutex() override;

    void lock() override;
    void unlock() override;

private:
    wxMutex m_mutex;
};

/// Owns a mutex from its construction to its destruction, and keeps it alive meanwhile:
///
///     CMutexLock const lock(m_mutex);
class FDN_EXPORT CMutexLock : public CBase {
public:
    /// Locks the mutex; blocks until this thread owns it. Holds a reference to the mutex.
    explicit CMutexLock(IMutex& mutex);

    CMutexLock(CMutexLock const&) = delete;
    CMutexLock& operator=(CMutexLock const&) = delete;

    /// Unlocks the mutex, then drops the reference: a mutex that nobody else holds is destroyed unlocked.
    /// Runs on the thread that constructed the lock.
    ~CMutexLock() override;

private:
    P<IMutex> m_mutex;
};

/// The one mutex of the process, under which global objects are constructed. It is never destroyed, so that
/// any thread and any destructor may use it until the process ends.
FDN_EXPORT IMutex& getGlobalMutex();

} // namespace fdn
