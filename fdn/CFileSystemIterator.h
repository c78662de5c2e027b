#pragma once

#include <fdn/Path.h>

#include <memory>

#include <dirent.h>

namespace fdn {

/// Walks over the entries of a folder, in no particular order, without "." and "..":
///
///     CFileSystemIterator entry(folder);
///     while (entry.next())
///         doSomethingWith(entry.getItemPath());
///
/// Entries that are made or deleted meanwhile may be seen or not (POSIX readdir). The iterator keeps the
/// folder open for as long as it lives. Only one thread at a time may use it.
class FDN_EXPORT CFileSystemIterator {
public:
    /// Opens the folder and stands before its first entry. Throws a CError that names the folder when it is
    /// missing, is something else, or cannot be read.
    explicit CFileSystemIterator(Path const& folder);

    CFileSystemIterator(CFileSystemIterator const&) = delete;
    CFileSystemIterator& operator=(CFileSystemIterator const&) = delete;

    /// Closes the folder.
    ~CFileSystemIterator();

    /// Steps to the next entry. Returns false after the last one. Throws a CError that names the folder when
    /// it cannot be read.
    bool next();

    /// The name of the entry, without the folder; empty before the first next(). If the name's bytes are not
    /// text in the file-name encoding, this is what String::fromBytes() makes of them: something for people
    /// to read, which does not name the file. Valid until the next call of next().
    String const& getItemName() const { return m_name; }

    /// The path of the entry: the folder as it was given, and the name. Throws a CError with the code EILSEQ
    /// for a name that is not text in the file-name encoding, because any text would name another file.
    Path getItemPath() const;

private:
    struct FDN_HIDDEN Closer {
        void operator()(DIR* folder) const { closedir(folder); }
    };

    FDN_HIDDEN void takeName(char const* bytes);

    Path m_path;
    std::unique_ptr<DIR, Closer> m_folder;
    String m_name;
    bool m_isNameText = true;
    [[maybe_unused]] void* m_reserved = nullptr; ///< room for later versions of this class
};

} // namespace fdn
