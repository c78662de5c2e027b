#include <dmnctl/boot/OwnFile.h>

#include <dmnctl/show/text.h>

#include <fdn/CError.h>
#include <fdn/files.h>
#include <fdn/sysError.h>

#include <fmt/core.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace dmnctl {

namespace {

namespace fs = std::filesystem;

constexpr int kFolderMode = 0755;
constexpr int kFileMode = 0644;

// FNV-1a: it is to notice edits, not to withstand attacks by whoever may write to /etc.
std::uint64_t hash(std::string const& text) {
    std::uint64_t value = 0xcbf29ce484222325;
    for (char const c : text)
        value = (value ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    return value;
}

std::string sign(std::string const& text) {
    return fmt::format(
               "# Written by dmnctl ({:016x}). Once changed, it is yours, and dmnctl leaves it alone.\n",
               hash(text)) +
           text;
}

bool isSigned(std::string const& content) {
    return content == sign(content.substr(content.find('\n') + 1));
}

std::string read(fdn::Path const& path) {
    std::ifstream file(fdn::toFileName(path).data(), std::ios::binary);
    if (!file)
        fdn::throwLastSysError("open", "OwnFile::getState", path);
    std::string content(std::istreambuf_iterator<char>(file), {});
    if (file.bad())
        fdn::throwSysError(EIO, {{"func", "read"}, {"path", path.getText()}});
    return content;
}

fs::file_type findType(fdn::Path const& path) {
    std::error_code error;
    fs::file_type const type = fs::symlink_status(fdn::toFileName(path).data(), error).type();
    if (type == fs::file_type::none)
        fdn::throwSysError(error.value(), {{"func", "lstat"}, {"path", path.getText()}});
    return type;
}

fdn::Path folderOf(fdn::Path const& path) {
    return fdn::Path(path.getText().BeforeLast('/'));
}

} // namespace

OwnFile::OwnFile(char const* folder, fdn::String const& name) : m_path(fdn::Path(folder) << fdn::Path(name)) {
    if (name.find('/') != fdn::String::npos)
        throw fdn::CError("'" + name + "' cannot be the name of a file.");
}

OwnFile::State OwnFile::getState() const {
    switch (findType(m_path)) {
    case fs::file_type::not_found:
        return State::Missing;
    case fs::file_type::regular:
        return isSigned(read(m_path)) ? State::Own : State::Foreign;
    default:
        return State::Foreign;
    }
}

bool OwnFile::holds(std::string const& text) const {
    return getState() == State::Own && read(m_path) == sign(text);
}

void OwnFile::write(std::string const& text) const {
    requireNotForeign();
    fdn::ensureFolderExists(folderOf(m_path), kFolderMode);
    fdn::writeUTF8TextFile(m_path.getText(), fromUTF8(sign(text)), kFileMode);
}

void OwnFile::remove() const {
    requireNotForeign();
    fdn::deleteFile(m_path, true, 1, true);
}

void OwnFile::requireNotForeign() const {
    if (getState() == State::Foreign)
        throw fdn::CError("The file '" + m_path.getText() +
                          "' was not written by dmnctl, or has been changed since.");
}

} // namespace dmnctl
