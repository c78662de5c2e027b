// Writes, as hexadecimal lines, "é" and "€" in the encoding of the locale, and what() of an error with the
// message "€". With an argument, it starts the foundation first. With a folder as the second argument, it
// enters that folder and instead writes the paths of "x" and of all entries there, as the system gets them.

#include <fdn/CError.h>
#include <fdn/CFdnInit.h>
#include <fdn/CFileSystemIterator.h>
#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/files.h>

#include <cstdio>
#include <string>

#include <unistd.h>

namespace {

void writeLine(std::string const& bytes) {
    for (char const byte : bytes)
        std::printf("%02x", static_cast<unsigned>(static_cast<unsigned char>(byte)));
    std::printf("\n");
}

void writeLine(wxCharBuffer const& bytes) {
    writeLine(std::string(bytes.data(), bytes.length()));
}

void writeTexts() {
    fdn::String const euro(L"\x20AC");

    writeLine(fdn::String("\xE9").toCP());
    writeLine(euro.toCP());
    writeLine(std::string(fdn::CError(euro).what()));
}

void writePaths() {
    writeLine(fdn::toFileName(fdn::Path("x").toNormalized(true, fdn::Path())));
    fdn::CFileSystemIterator entry(fdn::Path("."));
    while (entry.next())
        writeLine(fdn::toFileName(entry.getItemPath()));
}

} // namespace

int main(int argc, char** argv) {
    fdn::CFdnInit const init(argc > 1);
    if (argc <= 2)
        writeTexts();
    else if (chdir(argv[2]) == 0)
        writePaths();
    return 0;
}
