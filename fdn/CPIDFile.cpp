#include <fdn/CPIDFile.h>

#include <fdn/CError.h>
#include <fdn/pidfile/PIDFileClaim.h>
#include <fdn/pidfile/PIDFileLook.h>
#include <fdn/pidfile/PIDFileVerdict.h>

namespace fdn {

CPIDFile::CPIDFile(Path const& path) : m_claim(std::make_unique<PIDFileClaim>(path)) {}

CPIDFile::~CPIDFile() = default;

int CPIDFile::getActivePID(Path const& path) {
    auto const look = [&] { return lookAtPIDFile(path); };
    PIDFileVerdict const verdict = judgePIDFile(look(), look, path);
    if (verdict.standing == Standing::Unclear)
        throw CError(verdict.reason);
    return verdict.standing == Standing::Held ? verdict.process : 0;
}

} // namespace fdn
