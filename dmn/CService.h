#pragma once

#include <dmn/CDaemon.h>
#include <dmn/Export.h>

#include <fdn/Path.h>
#include <fdn/String.h>

#include <memory>

namespace dmn {

class ServiceEvents;

/// The base of a service that waits well: its sleeps end at once when a stop is asked for, and it reads its
/// settings again when it is told to.
///
///     void CMyService::run() {
///         while (sleep(5000))
///             doWork();
///     }
///
/// A service with an event loop of its own watches the two descriptors instead:
///
///     pollfd events[] = {{getStopDescriptor(), POLLIN, 0}, {getReloadDescriptor(), POLLIN, 0}, ...};
///     while (!shouldStop()) {
///         poll(events, std::size(events), -1);
///         if (events[1].revents != 0)
///             sleep(0); // calls reload()
///         ...
///     }
class DMN_EXPORT CService : public CDaemon {
public:
    /// Stores the ID and the control folder, as CDaemon does.
    CService(fdn::String const& id, fdn::Path const& controlFolder);
    CService(CService const&) = delete;
    CService& operator=(CService const&) = delete;
    ~CService() override;

    /// Blocks for so many milliseconds (0 or less: not at all), or until a stop is asked for. Returns whether
    /// the service goes on: false as soon as it is to stop. Uses no processor time meanwhile, wakes up for
    /// nothing else, and does not notice a change of the clock.
    ///
    /// A reload that was asked for, even long before, is made here, unless a stop was asked for: reload() is
    /// called on this thread, and the sleep goes on for the rest of its time. Call it on the thread of run()
    /// and init().
    bool sleep(int milliseconds);

    /// Reads the service's settings again. Called by sleep(), on its thread, once for any number of requests
    /// that came before. A std::exception from it is logged, and in run() told to the supervisor, and the
    /// service goes on with the settings that it has. The base version does nothing.
    virtual void reload();

    /// Asks for a reload, and returns at once. The front end calls it at SIGHUP. Any thread may call it.
    void signalReload();

    /// A descriptor that becomes readable when a stop is asked for and stays so, for poll(), epoll or an
    /// event library. Do not read from it; it belongs to this object. Opened by the first call, which throws
    /// CError when the system refuses. Any thread may call it.
    int getStopDescriptor();

    /// The same for a reload: readable from its request until sleep() has made it.
    int getReloadDescriptor();

    /// Says what the service is doing, on one line: `start` prints it while it waits, and a supervisor shows
    /// it (sd_notify(3), STATUS=). Any thread may call it at any time.
    static void reportStatus(fdn::String const& text);

private:
    DMN_HIDDEN void makeReload();

    std::unique_ptr<ServiceEvents> m_events;
};

} // namespace dmn
