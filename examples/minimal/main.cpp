#include <dmn/dmn.h>

class CMinimal : public dmn::CService {
    using CService::CService;

    void run() override {
        while (sleep(1000))
            fdn::logDebug("tick"); // Do the daemon's work here.
    }
};

int main(int argc, char** argv) {
    return dmn::runService<CMinimal>(argc, argv, "minimal", "Minimal daemon", "1.0");
}
