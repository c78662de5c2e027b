#include "CMyService.h"

void CMyService::run() {
    do
        fdn::logInfo(getId() + " is there."); // Do the daemon's work here.
    while (sleep(60000));
}
