// A peer: a server on Poco's application class, which provides --daemon and --pidfile.

#include <Poco/Util/ServerApplication.h>

#include <iostream>

namespace {

class IdleServer : public Poco::Util::ServerApplication {
    int main(std::vector<std::string> const&) override {
        waitForTerminationRequest();
        return EXIT_OK;
    }
};

} // namespace

POCO_SERVER_MAIN(IdleServer)
