#include <dmn/dmn.h>
#include <stdlib.h>

class CLoadWatch : public dmn::CService {
    using CService::CService;

    void run() override {
        for (double load = 0; sleep(5000) && getloadavg(&load, 1) == 1;)
            fdn::logInfo(fdn::String::Format("The load is %.2f.", load));
    }
};

int main(int argc, char** argv) {
    return dmn::runService<CLoadWatch>(argc, argv, "loadwatch", "Load watch", "1.0");
}
