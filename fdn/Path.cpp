#include <fdn/Path.h>

#include <fdn/currentFolder.h>
#include <fdn/fileName.h>
#include <fdn/objects/KeptGlobal.h>
#include <fdn/sysError.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace fdn {

namespace {

// The interface fixes these names, and that the separators are global texts. This library itself uses the
// character kSep, which needs no global.

char& _sepGuard() {
    static char guard = 0;
    return guard;
}

P<String> _createSepString() {
    return newObj<String>("/");
}

char& _allSepsGuard() {
    static char guard = 0;
    return guard;
}

P<String> _createAllSepsString() {
    return newObj<String>("/");
}

template <class Traits>
bool isPlainName(String const& text) {
    return text != "." && text != ".." && text.find(Traits::kSep) == String::npos;
}

template <class Traits>
bool endsWithSep(String const& text) {
    return !text.empty() && text.Last() == Traits::kSep;
}

std::wstring_view viewOf(String const& text) {
    return {text.wc_str(), text.length()};
}

// Removes the last name after the root, for "..". Returns false when there is none, or when it is ".."
// itself: one ".." does not undo another.
template <class Traits>
bool dropLastName(String& text, std::size_t rootLength) {
    std::wstring_view const names = viewOf(text).substr(rootLength);
    std::size_t const sep = names.rfind(Traits::kSep);
    bool const isAlone = sep == std::wstring_view::npos;
    if (names.empty() || names.substr(isAlone ? 0 : sep + 1) == L"..")
        return false;
    text.erase(isAlone ? rootLength : rootLength + sep);
    return true;
}

} // namespace

String const& CUnixPathTraits::getSep() {
    return getKeptGlobal<String, &_sepGuard, &_createSepString>();
}

String const& CUnixPathTraits::getAllSeps() {
    return getKeptGlobal<String, &_allSepsGuard, &_createAllSepsString>();
}

bool CUnixPathTraits::isAbsolute(String const& text) {
    return !text.empty() && text[0] == kSep;
}

int CUnixPathTraits::getRootLength(String const& text, int* rootTextLength) {
    if (!isAbsolute(text)) {
        *rootTextLength = 0;
        return -1;
    }
    *rootTextLength = 1;
    std::size_t const firstName = text.find_first_not_of(kSep);
    return static_cast<int>(firstName == String::npos ? text.length() : firstName);
}

template <class Traits>
TPathImpl<Traits>::TPathImpl(String const& text, bool, bool normalized)
    : m_text(text), m_normalized(normalized) {}

template <class Traits>
TPathImpl<Traits>::TPathImpl(String&& text, bool, bool normalized)
    : m_text(std::move(text)), m_normalized(normalized) {}

template <class Traits>
TPathImpl<Traits>::~TPathImpl() = default;

template <class Traits>
String TPathImpl<Traits>::getPathWithSep() const {
    String text = m_text;
    if (!text.empty() && !endsWithSep<Traits>(text))
        text.append(1, Traits::kSep);
    return text;
}

template <class Traits>
TPathImpl<Traits> TPathImpl<Traits>::operator<<(TPathImpl const& right) const {
    if (right.m_text.empty())
        return *this;
    if (Traits::isAbsolute(right.m_text))
        return right;
    return TPathImpl(getPathWithSep() + right.m_text, true,
                     m_normalized && isPlainName<Traits>(right.m_text));
}

template <class Traits>
TPathImpl<Traits> TPathImpl<Traits>::toNormalized(bool makeAbsolute, TPathImpl const& base) const {
    if (m_normalized)
        return *this;
    String text = normalize(getWorkingText(makeAbsolute, base));
    bool const mark = makeAbsolute || Traits::isAbsolute(text);
    return TPathImpl(std::move(text), true, mark);
}

template <class Traits>
String TPathImpl<Traits>::getWorkingText(bool makeAbsolute, TPathImpl const& base) const {
    // The empty path stands for no path: joined to a folder it would become that folder.
    if (!makeAbsolute || m_text.empty() || Traits::isAbsolute(m_text))
        return m_text;
    if (!base.m_text.empty())
        return (base << *this).m_text;
    return (TPathImpl(getCurrentWorkDirectoryAsString(), true, false) << *this).m_text;
}

template <class Traits>
String TPathImpl<Traits>::normalize(String const& working) const {
    int keptRootLength = 0;
    int const firstName = Traits::getRootLength(working, &keptRootLength);
    auto const rootLength = static_cast<std::size_t>(keptRootLength);
    String text;
    text.reserve(working.length()); // no normal form is longer
    text.append(working, 0, rootLength);
    auto position = static_cast<std::size_t>(std::max(firstName, 0));
    while (position < working.length()) {
        std::size_t const end = std::min(working.find(Traits::kSep, position), working.length());
        appendName(text, rootLength, viewOf(working).substr(position, end - position));
        position = end + 1;
    }
    return text;
}

template <class Traits>
void TPathImpl<Traits>::appendName(String& text, std::size_t rootLength, std::wstring_view name) const {
    if (name.empty() || name == L".")
        return;
    if (name == L"..") {
        if (dropLastName<Traits>(text, rootLength))
            return;
        if (rootLength > 0)
            throw CBadPathError(Path(m_text)); // as it was given: users have not seen the base
    }
    if (!text.empty() && !endsWithSep<Traits>(text))
        text.append(1, Traits::kSep);
    text.append(name.data(), name.size());
}

template class TPathImpl<CUnixPathTraits>;

CBadPathError::CBadPathError(Path const& path) : CError("Invalid path: " + path.getText()) {}

P<CError> CBadPathError::clone() const {
    return newObj<CBadPathError>(*this);
}

void CBadPathError::throwClone() const {
    throw CBadPathError(*this);
}

wxCharBuffer toFileName(Path const& path) {
    return toFileName(path.getText());
}

void throwLastSysError(char const* func, char const* action, Path const& path) {
    int const code = getLastSysError(); // at once: making the properties may change it
    throwSysError(code, {{"func", func}, {"action", action}, {"path", path.getText()}});
}

} // namespace fdn
