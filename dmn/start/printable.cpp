#include <dmn/start/printable.h>

namespace dmn {

namespace {

bool isControl(wxUniChar character) {
    return character < 0x20 || (character >= 0x7f && character < 0xa0);
}

} // namespace

fdn::String makePrintable(fdn::String const& text) {
    fdn::String line = text;
    for (wxString::iterator character = line.begin(); character != line.end(); ++character) {
        if (isControl(*character))
            *character = ' ';
    }
    return line;
}

} // namespace dmn
