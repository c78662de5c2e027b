#pragma once

#include <fdn/CBase.h>
#include <fdn/CError.h>
#include <fdn/P.h>
#include <fdn/String.h>

#include <wx/buffer.h>

#include <cstddef>
#include <string_view>

namespace fdn {

/// How paths are written on Unix (POSIX.1-2017, 4.13 Pathname Resolution). Any thread may call it.
class FDN_EXPORT CUnixPathTraits {
public:
    /// The character that separates names, and the only one.
    static constexpr wchar_t kSep = L'/';

    /// The separator as a text: "/". It is made by the first call and never destroyed; throws CError when
    /// making it has failed.
    static String const& getSep();

    /// All separators in one text: "/". Otherwise like getSep().
    static String const& getAllSeps();

    /// Whether the text begins with the root "/"; the empty text does not.
    static bool isAbsolute(String const& text);

    /// The index at which the first name begins (the length, when the text is nothing but a root), or -1 when
    /// the text has no root. Stores how many leading characters the normal form keeps as the root: 1 with a
    /// root, 0 without. POSIX lets two leading slashes mean something else; Linux takes any number as one.
    static int getRootLength(String const& text, int* rootTextLength);
};

/// A file-system path: a text and the mark that it is in normal form. Nothing but assignment changes it.
///
///     Path const file = folder << Path(name + ".pid");
///
/// Making and joining paths is textual and touches no file; only toNormalized() interprets "." and ".." and
/// makes a path absolute. Symbolic links are never followed: where "a" is one, "a/.." in normal form may be
/// another folder than the system's "a/..". Any text is a path; whether the system takes it shows when it is
/// used.
template <class Traits>
class FDN_EXPORT TPathImpl : public CBase {
public:
    /// The empty path, unmarked. Hidden, because only some compilers would export it.
    FDN_HIDDEN TPathImpl() = default;

    /// Stores the text as it stands. `normalized` says that the text is in normal form already; nothing
    /// checks that. The flag before it has no effect: the interface is fixed.
    explicit TPathImpl(String const& text, bool = true, bool normalized = false);

    /// The same, from a text that nobody needs any more; it is empty afterwards.
    explicit TPathImpl(String&& text, bool = true, bool normalized = false);

    /// The same text and mark.
    TPathImpl(TPathImpl const& other) = default;

    /// Takes over text and mark.
    TPathImpl& operator=(TPathImpl const& other) = default;

    ~TPathImpl() override;

    /// The text as it was given or made.
    String const& getText() const { return m_text; }

    /// Whether the path is marked as being in normal form: toNormalized() leaves it alone then.
    bool isNormalized() const { return m_normalized; }

    /// The text with a separator at its end, unless it is empty or has one. (With one, the empty path would
    /// become the root.)
    String getPathWithSep() const;

    /// This path followed by the right one. An absolute right side replaces this path, an empty one changes
    /// nothing. "." and ".." stay as they are. The result is marked when this path is and one plain name is
    /// added.
    TPathImpl operator<<(TPathImpl const& right) const;

    /// The normal form: without ".", doubled separators and a separator at the end, and with each ".."
    /// removed together with the name before it. A leading ".." of a relative path stays. With
    /// `makeAbsolute`, a relative path is first joined to the base, or to the process's current folder when
    /// the base is empty; the empty path stays empty. The result is marked when it is absolute or
    /// `makeAbsolute` was given.
    ///
    /// Throws CBadPathError, which names this path, when ".." would climb above the root, and what
    /// getCurrentWorkDirectoryAsString() throws.
    TPathImpl toNormalized(bool makeAbsolute, TPathImpl const& base) const;

private:
    FDN_HIDDEN String getWorkingText(bool makeAbsolute, TPathImpl const& base) const;
    FDN_HIDDEN String normalize(String const& working) const;
    FDN_HIDDEN void appendName(String& text, std::size_t rootLength, std::wstring_view name) const;

    String m_text;
    bool m_normalized = false;
};

extern template class TPathImpl<CUnixPathTraits>;

using Path = TPathImpl<CUnixPathTraits>;

/// The path as the system's calls take it: toFileName() of its text, which throws CUnencodableStringError.
FDN_EXPORT wxCharBuffer toFileName(Path const& path);

} // namespace fdn
