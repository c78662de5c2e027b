#include "CHeartbeatEntry.h"

int main(int argc, char** argv) {
    return fdn::newObj<CHeartbeatEntry>()->entry(argc, argv);
}
