// Catches and casts, by type, what the libraries throw and return, and hands them objects of its own. Ends
// with status 0 if every type is the same on both sides.

#include <dmn/dmn.h>

namespace {

class CFailure : public fdn::CError {
public:
    CFailure() : CError("failed") {}

    fdn::P<CError> clone() const override { return fdn::newObj<CFailure>(*this); }

    [[noreturn]] void throwClone() const override { throw CFailure(*this); }
};

class CFailingDaemon : public dmn::CDaemon {
    using CDaemon::CDaemon;

    void run() override { throw CFailure(); }
};

fdn::P<fdn::CError> getBadPathError() {
    try {
        fdn::Path("/..").toNormalized(true, fdn::Path());
    } catch (fdn::CBadPathError const& error) {
        return error.clone();
    }
    return nullptr;
}

bool isThrownAgainAsABadPath(fdn::CError const& error) {
    try {
        error.throwClone();
    } catch (fdn::CBadPathError const&) {
        return true;
    } catch (std::exception const&) {
        return false;
    }
    return false;
}

bool doesAFailurePassTheManager() {
    auto const manager = fdn::newObj<dmn::CDaemonManager>();
    try {
        manager->runDaemon(fdn::newObj<CFailingDaemon>("types", fdn::Path(".")).get());
    } catch (CFailure const&) {
        return dynamic_cast<dmn::IDaemonOperationProgress*>(static_cast<fdn::IBase*>(manager.get())) !=
               nullptr;
    }
    return false;
}

bool isAnAccountItself() {
    auto const account =
        fdn::newObj<fdn::CImpersonateInfo>(fdn::CSystemAccountManager::get().getUserID("root"));
    fdn::IBase* const base = account.get();
    return dynamic_cast<fdn::CImpersonateInfo*>(base) == account.get();
}

} // namespace

int main() {
    fdn::CFdnInit const foundation(true);
    fdn::P<fdn::CError> const error = getBadPathError();
    if (!error || dynamic_cast<fdn::CBadPathError*>(error.get()) == nullptr ||
        !isThrownAgainAsABadPath(*error))
        return 1;
    if (!doesAFailurePassTheManager())
        return 2;
    return isAnAccountItself() ? 0 : 3;
}
