#include <dmn/dmn.h>

#include <cerrno>
#include <fstream>
#include <string>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/// The program's own work, unchanged: takes texts from a socket and appends them to a file.
class CInbox {
public:
    CInbox() = default;
    CInbox(CInbox const&) = delete;
    CInbox& operator=(CInbox const&) = delete;

    ~CInbox() { close(m_socket); }

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

    /// Takes texts until the other descriptor is readable.
    void serve(int stopDescriptor) {
        for (;;) {
            pollfd sources[] = {{m_socket, POLLIN, 0}, {stopDescriptor, POLLIN, 0}};
            if (poll(sources, 2, -1) == -1 && errno != EINTR)
                fdn::throwLastSysError("poll", "CInbox::serve");
            if (sources[1].revents != 0)
                return;
            if (sources[0].revents != 0)
                takeText();
        }
    }

private:
    void takeText() {
        char text[1024];
        ssize_t const length = recv(m_socket, text, sizeof text, 0);
        if (length > 0)
            m_file << std::string(text, static_cast<std::size_t>(length)) << std::endl;
    }

    int m_socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    std::ofstream m_file;
};

/// What is new: the daemon around it.
class CInboxService : public dmn::CService {
    using CService::CService;

    // Not in a constructor: only from here on does the PID file keep a second daemon away from the socket.
    void init(dmn::IDaemonOperationProgress* progress) override {
        m_inbox.open(getControlFolder().getText().toUTF8());
        progress->onOperationStepDone();
    }

    void run() override { m_inbox.serve(getStopDescriptor()); }

    CInbox m_inbox;
};

int main(int argc, char** argv) {
    return dmn::runService<CInboxService>(argc, argv, "inbox", "Inbox", "1.0");
}
