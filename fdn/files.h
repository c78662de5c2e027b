#pragma once

#include <fdn/Path.h>

#include <wx/buffer.h>

#include <optional>

namespace fdn {

// Every operation here takes absolute and relative paths, the latter from the process's current folder, and
// may be called from any thread. Failures are CErrors whose code is the system's error number and whose
// property "path" names the file; CUnencodableStringError stands for a path that the system cannot be given.

/// The path as the system's calls take it: in the file-name encoding, zero-terminated. Throws
/// CUnencodableStringError when the encoding cannot represent it or the path holds the character NUL, so that
/// no operation ever runs on a shortened name.
FDN_EXPORT wxCharBuffer toFileName(Path const& path);

/// The text of a file's name or path as the system gives it, of which toFileName() makes the same bytes
/// again; none where no text does, because the bytes are none in the file-name encoding.
FDN_EXPORT std::optional<String> fromFileName(char const* name);

/// The process's current folder. Throws when it has been deleted, and EILSEQ when its path is no text in the
/// file-name encoding: any text would name another folder.
FDN_EXPORT String getCurrentWorkDirectoryAsString();

/// Whether there is anything but a folder at the path: a regular file, a device, a socket... Symbolic links
/// are followed, so a dangling one is no file. Throws when the system cannot tell, such as for a folder on
/// the way that may not be searched.
FDN_EXPORT bool fileExists(Path const& path);

/// Whether there is a folder at the path. Symbolic links are followed. Throws when the system cannot tell.
FDN_EXPORT bool folderExists(Path const& path);

/// Makes the folder and those above it that are missing, each with the permission bits of `mode` that the
/// process's umask leaves (POSIX mkdir). A folder that exists already is left exactly as it is. It is no
/// error that another process makes the same folders at once. Throws ENOTDIR for the path of whatever else is
/// in the way; folders made by then stay.
FDN_EXPORT void ensureFolderExists(Path const& path, int mode);

/// Makes the folder for a user and a group, unless it exists. It appears under its name only when it is
/// complete, so nobody ever finds it with another mode or owner.
///
/// Its permission bits are those of `mode`, whatever the umask is; the set-ID and sticky bits that it
/// inherits from the folder above stay. Folders above it that are missing are made by ensureFolderExists()
/// with 0777. A folder that exists already, or that another process makes at the same time, is left exactly
/// as it is.
///
/// Throws when the folder cannot be made, or not be given away (POSIX chown: only root may give to another
/// user), or when something else has its name; then there is no folder, but those above it stay. The process
/// must be allowed to read and to change the folder above. Meanwhile that holds a folder with a temporary
/// name,
/// ".folder.new", which the next call deletes if the process is killed.
FDN_EXPORT void ensureOwnedFolderExists(Path const& path, int mode, unsigned uid, unsigned gid);

/// Deletes a file of any kind, and of a symbolic link the link, never its target (POSIX unlink). A folder is
/// an error.
///
/// - `ignoreMissing`: whether it is a success that nothing is there.
/// - `attempts`: how often to try at most, at least once, while the file cannot be deleted for a reason that
///   passes by itself (EBUSY, ETXTBSY, EAGAIN, EINTR). The call sleeps 10 milliseconds before each further
///   attempt.
/// - `force`: to delete files that are protected against writing, too. It makes no difference here: a file's
///   own mode never hinders its deletion, only that of its folder does.
FDN_EXPORT void deleteFile(Path const& path, bool ignoreMissing, int attempts, bool force);

/// The same for a path given as text.
FDN_EXPORT void deleteFile(String const& path, bool ignoreMissing, int attempts, bool force);

/// Makes `link` a symbolic link to `target`, which need not exist and is kept as it stands (a relative one
/// counts from the link's folder). Throws EEXIST when there is anything at `link`.
FDN_EXPORT void createFileSymLink(Path const& target, Path const& link);

/// Makes the file, or replaces it, with the text in UTF-8 (RFC 3629) and no byte-order mark.
///
/// Readers see the old file or the new one, never a part of it; so does the system after a crash. When the
/// operation fails, the old file is still there, unless it was only the last step that failed, which makes
/// the exchange last through a crash. What is at the path is replaced as a whole: the new file belongs to the
/// process's effective user, and of a symbolic link the link is replaced, not its target. It has the
/// permissions of the regular file that it replaces, and otherwise those of 0644 that the umask leaves. The
/// process must be allowed to read and to change the folder. Blocks until the text is on the disk. Throws
/// CUnencodableStringError for a code point that UTF-8 does not have.
FDN_EXPORT void writeUTF8TextFile(String const& path, String const& text);

/// The same with another mode than 0644.
FDN_EXPORT void writeUTF8TextFile(String const& path, String const& text, int mode);

} // namespace fdn
