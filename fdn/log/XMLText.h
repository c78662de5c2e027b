#pragma once

#include <fdn/String.h>

#include <string>

namespace fdn {

/// The text as the content of an XML element (XML 1.0, fifth edition), in UTF-8 and on one line. Double
/// quotes stay as they are; control characters become character references; characters that XML forbids
/// become U+FFFD.
std::string toXMLText(String const& text);

/// The text as the value of an attribute between double quotes, otherwise like toXMLText().
std::string toXMLAttribute(String const& text);

} // namespace fdn
