#include <fdn/CPIDFile.h>

#include <fdn/CError.h>
#include <fdn/pidfile/PIDFileClaim.h>
#include <fdn/pidfile/PIDFileHolder.h>
#include <fdn/pidfile/PIDFileLook.h>

namespace fdn {

CPIDFile::CPIDFile(Path const& path) : m_claim(std::make_unique<PIDFileClaim>(path)) {}

CPIDFile::~CPIDFile() = default;

int CPIDFile::getActivePID(Path const& path) {
    PIDFileHolder const holder = findHolder(lookAtPIDFile(path), path);
    if (holder.standing == Standing::Unclear)
        throw CError(holder.reason);
    return holder.standing == Standing::Held ? holder.process : 0;
}

} // namespace fdn
