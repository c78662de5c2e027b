#include <fdn/system/TemporaryName.h>

#include <fdn/sysError.h>

#include <cstdint>

#include <sys/file.h>
#include <unistd.h>

namespace fdn {

namespace {

// Not derived from the final name, which may already be as long as a name can be, and not predictable by
// others.
std::string makeRandomName(char const* action) {
    std::uint64_t number = 0;
    if (getentropy(&number, sizeof number) != 0)
        throwLastSysError("getentropy", action);
    return "." + std::to_string(number) + ".tmp";
}

} // namespace

TemporaryName::~TemporaryName() {
    if (!m_name.empty())
        unlinkat(m_folder.get(), m_name.c_str(), m_removalFlags);
    // Closing the folder is not enough: a process that was forked meanwhile shares the lock.
    flock(m_folder.get(), LOCK_UN);
}

bool TemporaryName::take(Make const& make, char const* action) {
    return takeUsual(make) || takeAs(makeRandomName(action), make);
}

bool TemporaryName::takeUsual(Make const& make) {
    if (flock(m_folder.get(), LOCK_EX | LOCK_NB) != 0)
        return false;
    unlinkat(m_folder.get(), m_usualName, m_removalFlags);
    return takeAs(m_usualName, make);
}

bool TemporaryName::takeAs(std::string const& name, Make const& make) {
    if (!make(name.c_str()))
        return false;
    m_name = name;
    return true;
}

} // namespace fdn
