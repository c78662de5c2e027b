#include <fdn/CFileSystemIterator.h>

#include <fdn/fileName.h>
#include <fdn/sysError.h>

#include <cerrno>
#include <optional>

namespace fdn {

CFileSystemIterator::CFileSystemIterator(Path const& folder) : m_path(folder) {
    wxCharBuffer const name = toFileName(folder);
    m_folder.reset(opendir(name));
    if (m_folder == nullptr)
        throwLastSysError("opendir", "CFileSystemIterator constructor", folder);
}

CFileSystemIterator::~CFileSystemIterator() = default;

bool CFileSystemIterator::next() {
    do {
        errno = 0; // the only way to tell an error from the end
        dirent const* const entry = readdir(m_folder.get());
        if (entry == nullptr && errno != 0)
            throwLastSysError("readdir", "CFileSystemIterator::next", m_path);
        if (entry == nullptr)
            return false;
        takeName(entry->d_name);
    } while (m_name == "." || m_name == "..");
    return true;
}

void CFileSystemIterator::takeName(char const* bytes) {
    std::optional<String> const text = fromFileName(bytes);
    m_isNameText = text.has_value();
    m_name = m_isNameText ? *text : String::fromBytes(bytes);
}

Path CFileSystemIterator::getItemPath() const {
    Path const path = m_path << Path(m_name);
    if (!m_isNameText)
        throwSysError(
            EILSEQ,
            {{"func", "readdir"}, {"action", "CFileSystemIterator::getItemPath"}, {"path", path.getText()}});
    return path;
}

} // namespace fdn
