#include <fdn/CSystemSignalReceiver.h>

#include <fdn/objects/KeptGlobal.h>
#include <fdn/signals/SignalDelivery.h>

namespace fdn {

namespace {

// Ends the delivery at the end of the process, where the receiver's destructor never runs.
class SignalDeliveryEnd {
public:
    explicit SignalDeliveryEnd(SignalDelivery& delivery) : m_delivery(delivery) {}

    SignalDeliveryEnd(SignalDeliveryEnd const&) = delete;
    SignalDeliveryEnd& operator=(SignalDeliveryEnd const&) = delete;

    ~SignalDeliveryEnd() { m_delivery.end(); }

private:
    SignalDelivery& m_delivery;
};

} // namespace

CSystemSignalReceiver::CSystemSignalReceiver() : m_delivery(std::make_unique<SignalDelivery>()) {}

CSystemSignalReceiver::~CSystemSignalReceiver() = default;

CSystemSignalReceiver& CSystemSignalReceiver::get() {
    auto& receiver = getKeptGlobal<CSystemSignalReceiver>();
    // The object stays for the destructors of other globals. Its thread must not: it would run into the
    // unloading of the library.
    static SignalDeliveryEnd const end(*receiver.m_delivery);
    return receiver;
}

void CSystemSignalReceiver::setHandler(SysSignal signal, ISystemSignalHandler* handler) {
    m_delivery->setHandler(static_cast<int>(signal), handler);
}

} // namespace fdn
