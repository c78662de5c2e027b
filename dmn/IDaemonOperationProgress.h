#pragma once

#include <dmn/Export.h>

#include <fdn/IBase.h>

namespace dmn {

/// Through this a daemon reports that one step of a lengthy operation is done. The object belongs to whoever
/// hands it out and lives at least as long as the operation.
class DMN_EXPORT IDaemonOperationProgress : public virtual fdn::IBase {
public:
    ~IDaemonOperationProgress() override;

    /// One more step is done. Called on the thread that performs the operation.
    virtual void onOperationStepDone() = 0;
};

} // namespace dmn
