#include "support/errors.h"

#include <gtest/gtest.h>

namespace test {

fdn::CError errorOf(std::function<void()> const& action) {
    try {
        action();
    } catch (fdn::CError const& error) {
        return error;
    }
    ADD_FAILURE() << "No error was thrown.";
    return fdn::CError("");
}

std::string messageOf(std::function<void()> const& action) {
    return errorOf(action).getMessage().toUTF8();
}

bool isPlain(fdn::CError const& error) {
    return error.getSecondText().empty() && error.getCode() == -1 && error.getProps().empty() &&
           !error.getCause();
}

std::string detailsOf(fdn::CError const& error) {
    std::string details;
    for (auto const& [name, value] : error.getProps())
        details += name.toUTF8() + "=" + value.toUTF8() + " ";
    return details + "code=" + std::to_string(error.getCode());
}

} // namespace test
