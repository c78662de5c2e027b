#include <fdn/CBase.h>

namespace fdn {

namespace {

// Added to the count of an object that is being deleted: its destructor may then take and drop references to
// the object without the count reaching zero a second time.
constexpr std::uint32_t kBeingDeleted = 0xC0000000;

} // namespace

IBase::~IBase() = default;

CBase::CBase(CBase const&) : IBase() {}

CBase& CBase::operator=(CBase const&) { // NOLINT(cert-oop54-cpp): there is nothing to copy
    return *this;
}

CBase::~CBase() = default;

bool CBase::checkCastAllowed(std::type_info const&) const {
    return true;
}

void CBase::deleteThis() {
    delete this;
}

void CBase::deleteUnreferenced() const {
    // Relaxed, because no other thread has a reference any more.
    m_references.fetch_add(kBeingDeleted, std::memory_order_relaxed);
    const_cast<CBase*>(this)->deleteThis();
}

} // namespace fdn
