#pragma once

#include <fdn/Export.h>
#include <fdn/IBase.h>
#include <fdn/SysSignal.h>

namespace fdn {

/// What a program does about a signal, once it is set at the CSystemSignalReceiver:
///
///     class CStop : public CBase, public virtual ISystemSignalHandler {
///         void handleSystemSignal(SysSignal) override { stop(); }
///     };
class FDN_EXPORT ISystemSignalHandler : public virtual IBase {
public:
    ~ISystemSignalHandler() override;

    /// Called on the receiver's own thread, outside the signal's context: it may take locks, allocate, log
    /// and call anything in the program. Meanwhile the receiver holds a reference to the object and no lock.
    /// A std::exception that it throws is logged and goes no further.
    virtual void handleSystemSignal(SysSignal signal) = 0;
};

} // namespace fdn
