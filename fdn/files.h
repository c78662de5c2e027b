#pragma once

#include <fdn/Path.h>
#include <fdn/currentFolder.h>
#include <fdn/fileName.h>

namespace fdn {

// Every operation here takes absolute and relative paths, the latter from the process's current folder, and
// may be called from any thread. Failures are CErrors whose code is the system's error number and whose
// property "path" names the file; CUnencodableStringError stands for a path that the system cannot be given.
// Each operation blocks for as long as the file system does.

/// Whether there is anything but a folder at the path: a regular file, a device, a socket... Symbolic links
/// are followed, so a dangling one does not count. Throws when the system cannot tell, for example because a
/// folder on the way may not be searched.
FDN_EXPORT bool fileExists(Path const& path);

/// Whether there is a folder at the path. Symbolic links are followed. Throws when the system cannot tell.
FDN_EXPORT bool folderExists(Path const& path);

/// The same, but while any user has a file system mounted (FUSE), root waits for the answer for a second at
/// most, and assumes that a folder which does not answer exists.
FDN_EXPORT bool folderExistsOrIsSilent(Path const& path);

/// Whether the way to the path leads through a file system that does not answer, as one may that a user has
/// mounted (FUSE). Only root asks, while there is any, and waits for the answer for a second at most;
/// otherwise it is false. A process that touches such a path may wait for ever, and cannot even be killed.
FDN_EXPORT bool isSilent(Path const& path);

/// Makes the folder and those above it that are missing, each with the permission bits of `mode` that the
/// process's umask leaves (POSIX mkdir). A folder that exists already is left exactly as it is. Several
/// processes may make the same folders at once. Throws ENOTDIR, with its path, when something else is in the
/// way; folders made by then stay.
///
/// While any user has a file system mounted (FUSE), root waits for the answer for a second at most, and
/// assumes that a folder which does not answer exists.
FDN_EXPORT void ensureFolderExists(Path const& path, int mode);

/// Makes the folder for a user and a group, unless it exists. It appears under its name only when it is
/// complete, so nobody ever finds it with another mode or owner.
///
/// Its permission bits are those of `mode`, whatever the umask is; the set-ID and sticky bits that it
/// inherits from the folder above stay. Folders above it that are missing are made by ensureFolderExists()
/// with 0777. A folder that exists already, or that another process makes at the same time, is left exactly
/// as it is.
///
/// Throws when the folder cannot be made, or cannot be given away (POSIX chown: only root may give to another
/// user), or when something else has its name; then there is no folder, but those above it stay. The process
/// must be allowed to read and to change the folder above. During the call, that folder also holds one with a
/// temporary name, ".folder.new", which the next call deletes if the process is killed.
FDN_EXPORT void ensureOwnedFolderExists(Path const& path, int mode, unsigned uid, unsigned gid);

/// Deletes a file of any kind, and of a symbolic link the link, never its target (POSIX unlink). A folder is
/// an error.
///
/// - `ignoreMissing`: whether it is a success that nothing is there.
/// - `attempts`: how often to try at most, at least once, while the file cannot be deleted for a reason that
///   may pass by itself (EBUSY, ETXTBSY, EAGAIN, EINTR). The call sleeps 10 milliseconds before each further
///   attempt.
/// - `force`: whether to delete also files that are protected against writing. It makes no difference here: a
///   file's own mode never prevents its deletion, only that of its folder does. The interface is fixed.
FDN_EXPORT void deleteFile(Path const& path, bool ignoreMissing, int attempts, bool force);

/// The same for a path given as text.
FDN_EXPORT void deleteFile(String const& path, bool ignoreMissing, int attempts, bool force);

/// Makes `link` a symbolic link to `target`, which need not exist and is kept as it stands: a relative one
/// counts from the link's folder. Throws EEXIST when there is anything at `link`, which then stays.
FDN_EXPORT void createFileSymLink(Path const& target, Path const& link);

/// Makes the file, or replaces it, with the text in UTF-8 (RFC 3629) and no byte-order mark.
///
/// Readers see the old file or the new one, never a part of it, and so they do after a crash. After an error
/// the old file is still there, unless only the last step failed: flushing the folder, which makes the
/// exchange last through a crash. What is at the path is replaced as a whole: the new file belongs to the
/// process's effective user, and a symbolic link is itself replaced, not its target. The new file has the
/// permissions of the process's own regular file that it replaces, and otherwise those of 0644 that the umask
/// leaves.
///
/// The process must be allowed to read and to change the folder. If it is killed, a file called
/// ".text-file.new" may stay in the folder, until the next call deletes it. Blocks until the text is on the
/// disk. Throws CUnencodableStringError for a code point that UTF-8 does not have.
FDN_EXPORT void writeUTF8TextFile(String const& path, String const& text);

/// The same with another mode than 0644.
FDN_EXPORT void writeUTF8TextFile(String const& path, String const& text, int mode);

} // namespace fdn
