#include <dmn/dmn.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/// The program's own work, unchanged: takes texts from a socket and appends them to a file.
class CInbox {
public:
    CInbox() = default;
    CInbox(CInbox const&) = delete;
    CInbox& operator=(CInbox const&) = delete;

    ~CInbox() {
        close(m_stopEvent);
        close(m_socket);
    }

    void open(std::string const& folder) {
        std::string const path = folder + "/inbox.socket";
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        if (path.size() >= sizeof address.sun_path)
            throw fdn::CError("The path '" + fdn::String::fromBytes(path) + "' is too long for a socket.");
        path.copy(address.sun_path, path.size());
        unlink(address.sun_path);
        if (bind(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == -1)
            fdn::throwLastSysError("bind", "CInbox::open", fdn::Path(fdn::String::fromBytes(path)));
        m_file.open(folder + "/inbox.txt", std::ios::app);
    }

    /// Takes texts until stop() is called.
    void serve() {
        for (;;) {
            pollfd sources[] = {{m_socket, POLLIN, 0}, {m_stopEvent, POLLIN, 0}};
            if (poll(sources, 2, -1) == -1 && errno != EINTR)
                fdn::throwLastSysError("poll", "CInbox::serve");
            if (sources[1].revents != 0)
                return;
            if (sources[0].revents != 0)
                takeText();
        }
    }

    /// Any thread may call it, even before serve().
    void stop() { eventfd_write(m_stopEvent, 1); }

private:
    void takeText() {
        char text[1024];
        ssize_t const length = recv(m_socket, text, sizeof text, 0);
        if (length > 0)
            m_file << std::string(text, static_cast<std::size_t>(length)) << std::endl;
    }

    int m_socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    int m_stopEvent = eventfd(0, EFD_CLOEXEC);
    std::ofstream m_file;
};

/// What is new: the daemon around it.
class CInboxDaemon : public dmn::CDaemon {
public:
    using CDaemon::CDaemon;

    // Not in a constructor: only from here on does the PID file keep a second daemon away from the socket.
    void init(dmn::IDaemonOperationProgress* progress) override {
        m_inbox.open(getControlFolder().getText().toUTF8());
        progress->onOperationStepDone();
    }

    void run() override { m_inbox.serve(); }

    /// Any thread may call it, even before init().
    void wakeUp() { m_inbox.stop(); }

private:
    CInbox m_inbox;
};

class CInboxSignals : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
public:
    CInboxSignals(fdn::P<fdn::ISystemSignalHandler> const& next, fdn::P<CInboxDaemon> const& daemon)
        : m_next(next), m_daemon(daemon) {}

    void handleSystemSignal(fdn::SysSignal signal) override {
        m_next->handleSystemSignal(signal);
        m_daemon->wakeUp();
    }

private:
    fdn::P<fdn::ISystemSignalHandler> m_next;
    fdn::P<CInboxDaemon> m_daemon;
};

class CInboxEntry : public dmn::CDaemonEntry {
    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override {
        auto info = fdn::newObj<dmn::CDaemonInfo>();
        info->defaultId = "inbox";
        info->displayName = "Inbox";
        info->exePath = fdn::Path(fdn::String::fromBytes(std::filesystem::read_symlink("/proc/self/exe")));
        return info;
    }

    fdn::P<dmn::CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override {
        auto const daemon = fdn::newObj<CInboxDaemon>(id, controlFolder);
        auto const signals = fdn::newObj<CInboxSignals>(m_signalHandler, daemon);
        fdn::CSystemSignalReceiver::get().setHandler(fdn::SysSignal::Terminate, signals.get());
        return daemon;
    }
};

int main(int argc, char** argv) {
    return fdn::newObj<CInboxEntry>()->entry(argc, argv);
}
