#pragma once

#include <fdn/CError.h>

#include <functional>
#include <string>

namespace test {

/// Performs the action and returns the error that it throws. Fails the running test when it throws none.
fdn::CError errorOf(std::function<void()> const& action);

/// The message of that error, in UTF-8.
std::string messageOf(std::function<void()> const& action);

/// Whether the error has nothing but its message: no second text, code -1, no properties and no cause.
bool isPlain(fdn::CError const& error);

/// The error's properties and its code, in the form "func=chmod code=1".
std::string detailsOf(fdn::CError const& error);

} // namespace test
