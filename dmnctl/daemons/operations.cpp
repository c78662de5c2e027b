#include <dmnctl/daemons/operations.h>

namespace dmnctl {

int list(ListCommand const&) {
    return 0;
}

int showStatus(StatusCommand const&) {
    return 0;
}

int start(StartCommand const&) {
    return 0;
}

int stop(StopCommand const&) {
    return 0;
}

int restart(RestartCommand const&) {
    return 0;
}

int check(CheckCommand const&) {
    return 0;
}

} // namespace dmnctl
