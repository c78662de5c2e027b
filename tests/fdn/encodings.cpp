// Writes, as hexadecimal lines, "é" and "€" in the encoding of the locale, and the what() of an error that
// has "€" as its message. With an argument, it starts the foundation first.

#include <fdn/CError.h>
#include <fdn/CFdnInit.h>
#include <fdn/String.h>

#include <cstdio>
#include <string>

namespace {

void writeLine(std::string const& bytes) {
    for (char const byte : bytes)
        std::printf("%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
    std::printf("\n");
}

void writeLine(wxCharBuffer const& bytes) {
    writeLine(std::string(bytes.data(), bytes.length()));
}

} // namespace

int main(int argc, char**) {
    fdn::CFdnInit const init(argc > 1);
    fdn::String const euro(L"\x20AC");

    writeLine(fdn::String("\xE9").toCP());
    writeLine(euro.toCP());
    writeLine(std::string(fdn::CError(euro).what()));
    return 0;
}
