#pragma once

#include <fdn/String.h>

#include <wx/buffer.h>

#include <optional>

namespace fdn {

/// The text as a file's name or path that the system's calls take: in the file-name encoding
/// (wxConvFileName), zero-terminated. Throws CUnencodableStringError when the encoding cannot represent it or
/// it holds the character NUL, so that no operation ever runs on a shortened name.
FDN_EXPORT wxCharBuffer toFileName(String const& text);

/// The text of a file's name or path as the system gives it. toFileName() makes the same bytes of it again;
/// the answer is empty where no text gives them, because they are invalid in the file-name encoding.
FDN_EXPORT std::optional<String> fromFileName(char const* name);

} // namespace fdn
