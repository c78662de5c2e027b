#pragma once

#include <dmn/Export.h>

#include <fdn/IBase.h>

namespace dmn {

/// The receiver of a daemon's reports on a lengthy operation. The object belongs to whoever hands it out, and
/// lives at least as long as the operation.
class DMN_EXPORT IDaemonOperationProgress : public virtual fdn::IBase {
public:
    ~IDaemonOperationProgress() override;

    /// Reports that one more step is done. Call it on the thread that performs the operation; what it throws
    /// ends the operation.
    virtual void onOperationStepDone() = 0;
};

} // namespace dmn
