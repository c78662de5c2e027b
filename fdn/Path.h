#pragma once

#include <fdn/CBase.h>
#include <fdn/CError.h>
#include <fdn/P.h>
#include <fdn/String.h>

#include <wx/buffer.h>

#include <cstddef>
#include <string_view>

namespace fdn {

/// How paths are written on Unix (POSIX.1-2017, 4.13 Pathname Resolution).
class FDN_EXPORT CUnixPathTraits {
public:
    /// The separator that joining puts between names: "/".
    static String const& getSep();

    /// Every character that separates names: "/".
    static String const& getAllSeps();

    /// Whether the text begins with the root "/".
    static bool isAbsolute(String const& text);

    /// The index at which the first name begins, or -1 when the text has no root. Stores how many leading
    /// characters a normal form keeps as the root: one, also of several leading slashes, which Linux takes as
    /// one (0 without a root).
    static int getRootLength(String const& text, int* rootTextLength);
};

/// An immutable file-system path: a text and the mark that it is in normal form.
///
/// Making and joining paths is textual and touches no file; only toNormalized() interprets "." and ".." and
/// makes a path absolute. Symbolic links are never followed.
template <class Traits>
class FDN_EXPORT TPathImpl : public CBase {
public:
    /// The empty path, unmarked.
    TPathImpl() = default;

    /// Stores the text as it stands. The second argument has no effect; the third says that the text is
    /// absolute and in normal form already.
    explicit TPathImpl(String const& text, bool = true, bool normalised = false);

    /// The same, of a text that nobody needs any more; it is empty afterwards.
    explicit TPathImpl(String&& text, bool = true, bool normalised = false);

    /// The same text and mark.
    TPathImpl(TPathImpl const& other) = default;

    /// Takes over text and mark.
    TPathImpl& operator=(TPathImpl const& other) = default;
    ~TPathImpl() override;

    /// The text as it was given or made.
    String const& getText() const { return m_text; }

    /// Whether the path is marked as absolute and in normal form.
    bool isNormalized() const { return m_normalised; }

    /// The text with a separator at its end, unless it is empty or has one.
    String getPathWithSep() const;

    /// This path followed by the right one. An absolute right side replaces this path, an empty one changes
    /// nothing. "." and ".." stay as they are.
    TPathImpl operator<<(TPathImpl const& right) const;

    /// The path without ".", doubled separators and a separator at its end, each ".." taken with the name
    /// before it. With makeAbsolute, a relative path is first joined to the base, or to the current folder
    /// when the base is empty; the empty path stays empty. Throws CBadPathError when ".." would climb above
    /// the root.
    TPathImpl toNormalized(bool makeAbsolute, TPathImpl const& base) const;

private:
    String getWorkingText(bool makeAbsolute, TPathImpl const& base) const;
    String normalize(String const& working) const;
    void appendName(String& text, std::size_t rootLength, std::wstring_view name) const;

    String m_text;
    bool m_normalised = false;
};

extern template class TPathImpl<CUnixPathTraits>;

using Path = TPathImpl<CUnixPathTraits>;

/// A path that climbs above the root.
class FDN_EXPORT CBadPathError : public CError {
public:
    /// The message names the path.
    explicit CBadPathError(Path const& path);

    P<CError> clone() const override;
    [[noreturn]] void throwClone() const override;
};

/// The path as the system's calls take it; toFileName() of its text.
FDN_EXPORT wxCharBuffer toFileName(Path const& path);

/// Throws the CError of the calling thread's last failed system call, as throwSysError() does, with the path
/// as its subject.
[[noreturn]] FDN_EXPORT void throwLastSysError(char const* func, char const* action, Path const& path);

} // namespace fdn
