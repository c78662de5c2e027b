#pragma once

#include <fdn/String.h>

#include <string>

namespace dmnctl {

// Texts as systemd's unit files hold them (systemd.syntax(7), systemd.unit(5)). A text that the file cannot
// hold is a CError, which calls it by the name given. Words are quoted where they have to be.

/// A value that takes the rest of its line, with nothing in it that systemd would expand.
std::string composeUnitLine(std::string const& name, fdn::String const& text);

/// One word of a list.
std::string composeUnitWord(std::string const& name, fdn::String const& text);

/// The program of a command line.
std::string composeUnitProgram(std::string const& name, fdn::String const& path);

/// An argument of a command line. There is none that cannot be held but one in another encoding.
std::string composeUnitArgument(std::string const& name, fdn::String const& text);

} // namespace dmnctl
