#pragma once

#include <fdn/String.h>

#include <string>

namespace fdn {

/// The text as content of an XML element (XML 1.0, fifth edition), in UTF-8 and on one line. Double quotes
/// stay as they are; control characters become character references; what XML does not allow becomes U+FFFD.
std::string toXMLText(String const& text);

/// The same for the value of an attribute that stands between double quotes.
std::string toXMLAttribute(String const& text);

} // namespace fdn
