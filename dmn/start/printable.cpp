#include <dmn/start/printable.h>

namespace dmn {

fdn::String makePrintable(fdn::String const& text) {
    fdn::String line;
    for (wxUniChar const character : text) {
        bool const isControl = character < 0x20 || (character >= 0x7f && character < 0xa0);
        line += isControl ? wxUniChar(' ') : character;
    }
    return line;
}

} // namespace dmn
