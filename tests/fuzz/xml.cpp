// Log entries: each is one line of XML in which a parser finds the text that was put in, except for
// characters that XML forbids.

#include "FuzzSupport.h"

#include <fdn/CError.h>
#include <fdn/log/LogEntry.h>

#include <wx/mstream.h>
#include <wx/xml/xml.h>

namespace {

using fuzz::require;

fdn::String replaceForbidden(fdn::String const& text) {
    fdn::String result;
    for (wxUniChar const c : text) {
        wxUint32 const code = c.GetValue();
        bool const isForbidden =
            (code < 0x20 && code != 9 && code != 10 && code != 13) || code == 0xFFFE || code == 0xFFFF;
        result += isForbidden ? wxUniChar(0xFFFD) : c;
    }
    return result;
}

// Returns the first child element of this name, or null.
wxXmlNode const* find(wxXmlNode const& parent, char const* name) {
    wxXmlNode const* child = parent.GetChildren();
    while (child != nullptr && child->GetName() != name)
        child = child->GetNext();
    return child;
}

void checkText(wxXmlNode const& parent, char const* name, fdn::String const& text) {
    wxXmlNode const* const element = find(parent, name);
    require((element != nullptr) == !text.empty(),
            "there is an element if and only if the text is not empty");
    if (element != nullptr)
        require(element->GetNodeContent() == replaceForbidden(text), "the text is what was written");
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::vector<std::string> const pieces = fuzz::split(fuzz::toBytes(data, size), 4);
    fdn::String const message = fuzz::toText(pieces[0]);
    fdn::String const situation = fuzz::toText(pieces[1]);
    fdn::String const property = fuzz::toText(pieces[2]);
    fdn::String const value = fuzz::toText(pieces[3]);
    fdn::CError const error(message, "", -1, {{property, value}}, nullptr);

    std::string const line =
        fdn::formatLogEntry(fdn::LogLevel::Error, fdn::describeError(error, situation, "fuzz"));

    require(line.find_first_of(std::string("\n\r\0", 3)) == line.size() - 1, "an entry is one line");
    wxMemoryInputStream stream(line.data(), line.size());
    wxXmlDocument document;
    require(document.Load(stream, "UTF-8", wxXMLDOC_KEEP_WHITESPACE_NODES), "an entry is XML");
    wxXmlNode const& entry = *document.GetRoot();
    checkText(entry, "what", message);
    checkText(entry, "text", situation);
    wxXmlNode const* const element = find(entry, "property");
    require(element != nullptr, "the property is there");
    require(element->GetAttribute("name") == replaceForbidden(property), "the name is what was written");
    require(element->GetNodeContent() == replaceForbidden(value), "the value is what was written");
    return 0;
}
