// Paths: joins and normalizes three of them. An independent implementation of the same rules, that of the C++
// library, provides the expected results.

#include "FuzzSupport.h"

#include <fdn/CError.h>
#include <fdn/Path.h>

#include <filesystem>
#include <optional>

namespace {

using fdn::Path;
using fuzz::require;

bool isAbsolute(Path const& path) {
    return fdn::CUnixPathTraits::isAbsolute(path.getText());
}

std::optional<Path> normalize(Path const& path, bool makeAbsolute, Path const& base) {
    try {
        return path.toNormalized(makeAbsolute, base);
    } catch (fdn::CBadPathError const&) {
        return std::nullopt;
    }
}

// Normalizes as the C++ library does, but without the slash that it keeps at the end of a folder, and with
// the empty path for the current folder.
std::string normalizeOtherwise(std::string const& text) {
    std::string normal = std::filesystem::path(text).lexically_normal().string();
    while (normal.size() > 1 && normal.back() == '/')
        normal.pop_back();
    return normal == "." ? "" : normal;
}

void checkNormalForm(Path const& path) {
    std::optional<Path> const normal = normalize(path, false, Path());
    if (!normal) {
        require(isAbsolute(path), "only an absolute path can climb above the root");
        return;
    }
    std::string const text = normal->getText().toUTF8();
    require(text == normalizeOtherwise(path.getText().toUTF8()),
            "the normal form is that of the C++ library");
    require(normal->isNormalized() == isAbsolute(path),
            "a normal form is marked if and only if it is absolute");
    require(normalize(Path(normal->getText()), false, Path())->getText() == normal->getText(),
            "a normal form is its own normal form");
}

void checkAbsoluteForm(Path const& path, Path const& base) {
    std::optional<Path> const absolute = normalize(path, true, base);
    if (!absolute)
        return;
    require(absolute->isNormalized(), "an absolute form is marked");
    if (isAbsolute(base) && !path.getText().empty())
        require(absolute->getText() == normalize(base << path, false, Path())->getText(),
                "the absolute form is that of the path joined to its base");
}

void checkJoining(Path const& left, Path const& middle, Path const& right) {
    require(((left << middle) << right).getText() == (left << (middle << right)).getText(),
            "it does not matter which paths are joined first");
    if (isAbsolute(middle))
        require((left << middle).getText() == middle.getText(), "an absolute right side replaces the left");
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::vector<std::string> const pieces = fuzz::split(fuzz::toBytes(data, size), 3);
    Path const first(fuzz::toText(pieces[0]));
    Path const second(fuzz::toText(pieces[1]));
    Path const third(fuzz::toText(pieces[2]));

    checkNormalForm(first);
    checkAbsoluteForm(first, second);
    checkJoining(first, second, third);
    checkNormalForm(first << second);
    return 0;
}
