#include <dmn/service/extendError.h>

#include <dmn/service/FindingText.h>

namespace dmn {

fdn::CError extendError(fdn::CError const& error, fdn::String const& text) {
    return fdn::CError(error.getMessage() + text, error.getSecondText(), error.getCode(), error.getProps(),
                       error.getCause().get());
}

fdn::CError addRemedy(fdn::CError const& error, fdn::String const& command) {
    return extendError(error, "\n" + describeRemedy(command));
}

} // namespace dmn
