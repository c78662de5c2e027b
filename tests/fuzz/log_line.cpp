// The lines of logs as dmnctl reads them: any bytes become an entry, which is shown without anything that a
// terminal acts on, and a text of the library's own comes back.

#include "FuzzSupport.h"

#include <dmnctl/log/EntryJson.h>
#include <dmnctl/log/EntryParser.h>
#include <dmnctl/log/EntryText.h>

#include <fdn/log/LogEntry.h>
#include <fdn/log/XMLText.h>

#include <algorithm>

namespace {

using dmnctl::Entry;
using fuzz::require;

bool isControl(wxUniChar character) {
    wxUint32 const code = character.GetValue();
    return code < 0x20 || (code >= 0x7F && code <= 0x9F);
}

bool isShowable(std::string const& line) {
    fdn::String const text = fuzz::toText(line);
    return text.toUTF8() == line && std::none_of(text.begin(), text.end(), &isControl);
}

void checkText(Entry const& entry) {
    std::string const text = dmnctl::EntryText(dmnctl::Terminal(0, false)).compose(entry, "id");
    require(!text.empty() && text.back() == '\n', "what is shown ends with a line feed");
    std::size_t begin = 0;
    for (std::size_t end = 0; begin < text.size(); begin = end + 1) {
        end = text.find('\n', begin);
        require(isShowable(text.substr(begin, end - begin)), "what is shown does not act on a terminal");
        require(begin == 0 || text.compare(begin, 4, "    ") == 0, "no text looks like another entry");
    }
}

void checkRoundTrip(std::string const& text) {
    std::string const content = fdn::toXMLText(fuzz::toText(text));
    Entry const entry = dmnctl::EntryParser().parse(fdn::formatLogEntry(fdn::LogLevel::Warning, content));
    require(!entry.isDamaged && entry.microseconds && entry.level == "warning", "an entry is an entry");
    require(fdn::toXMLText(fuzz::toText(entry.text)) == content, "a text comes back");
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const line = fuzz::toBytes(data, size);

    Entry const entry = dmnctl::EntryParser().parse(line);
    checkText(entry);
    require(isShowable(dmnctl::toJson(entry, "id")), "JSON does not act on a terminal");
    checkRoundTrip(line);
    return 0;
}
