#include <dmn/readiness/Subreaper.h>

#include <sys/prctl.h>

namespace dmn {

namespace {

constexpr unsigned long kOn = 1;
constexpr unsigned long kOff = 0;

} // namespace

Subreaper::Subreaper() {
    int isOn = 0;
    if (prctl(PR_GET_CHILD_SUBREAPER, &isOn) == 0 && isOn == 0)
        m_hasChanged = prctl(PR_SET_CHILD_SUBREAPER, kOn) == 0;
}

Subreaper::~Subreaper() {
    if (m_hasChanged)
        prctl(PR_SET_CHILD_SUBREAPER, kOff);
}

} // namespace dmn
