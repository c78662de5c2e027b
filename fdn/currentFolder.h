#pragma once

#include <fdn/String.h>

namespace fdn {

/// The absolute path of the process's current folder, which all threads share. Throws a CError with the code
/// ENOENT when the folder has been deleted, and EILSEQ when its path is not text in the file-name encoding:
/// any text would name another folder.
FDN_EXPORT String getCurrentWorkDirectoryAsString();

} // namespace fdn
