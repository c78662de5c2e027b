#include <fdn/Path.h>

#include <fdn/CError.h>
#include <fdn/TSafeGlobalPointer.h>
#include <fdn/files.h>

#include <utility>

namespace fdn {

namespace {

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

// Adds a reference that is never dropped: destructors of other globals may join paths after the pointer's
// own.
String const& keep(String const& text) {
    text.addRef();
    return text;
}

template <class Traits>
bool isPlainName(String const& text) {
    return text != "." && text != ".." && text.find_first_of(Traits::getAllSeps()) == String::npos;
}

bool endsWithSep(String const& text) {
    return !text.empty() && text.Last() == L'/';
}

} // namespace

String const& CUnixPathTraits::getSep() {
    static TSafeGlobalPointer<String> sep(&_sepGuard, &_createSepString);
    static String const& text = keep(*sep);
    return text;
}

String const& CUnixPathTraits::getAllSeps() {
    static TSafeGlobalPointer<String> seps(&_allSepsGuard, &_createAllSepsString);
    static String const& text = keep(*seps);
    return text;
}

bool CUnixPathTraits::isAbsolute(String const& text) {
    return !text.empty() && text[0] == L'/';
}

int CUnixPathTraits::getRootLength(String const& text, int* rootTextLength) {
    if (!isAbsolute(text)) {
        *rootTextLength = 0;
        return -1;
    }
    *rootTextLength = 1;
    std::size_t const firstName = text.find_first_not_of(getAllSeps());
    return static_cast<int>(firstName == String::npos ? text.length() : firstName);
}

template <class Traits>
TPathImpl<Traits>::TPathImpl(String const& text, bool, bool normalised)
    : m_text(text), m_normalised(normalised) {}

template <class Traits>
TPathImpl<Traits>::~TPathImpl() = default;

template <class Traits>
String TPathImpl<Traits>::getPathWithSep() const {
    return m_text.empty() || endsWithSep(m_text) ? m_text : m_text + Traits::getSep();
}

template <class Traits>
TPathImpl<Traits> TPathImpl<Traits>::operator<<(TPathImpl const& right) const {
    if (right.m_text.empty())
        return *this;
    if (Traits::isAbsolute(right.m_text))
        return right;
    return TPathImpl(getPathWithSep() + right.m_text, true,
                     m_normalised && isPlainName<Traits>(right.m_text));
}

template <class Traits>
TPathImpl<Traits> TPathImpl<Traits>::toNormalized(bool makeAbsolute, TPathImpl const& base) const {
    if (m_normalised)
        return *this;
    String const working = getWorkingText(makeAbsolute, base);
    int rootTextLength = 0;
    int const rootLength = Traits::getRootLength(working, &rootTextLength);
    bool const hasRoot = rootLength != -1;

    String text;
    text.reserve(working.length());
    if (hasRoot)
        text.append(working, 0, static_cast<std::size_t>(rootTextLength));
    for (String const& name : splitIntoNames(working, hasRoot ? rootLength : 0, hasRoot)) {
        if (!text.empty() && !endsWithSep(text))
            text.append(Traits::getSep());
        text.append(name);
    }
    return TPathImpl(text, true, makeAbsolute || Traits::isAbsolute(text));
}

template <class Traits>
String TPathImpl<Traits>::getWorkingText(bool makeAbsolute, TPathImpl const& base) const {
    if (!makeAbsolute || m_text.empty() || Traits::isAbsolute(m_text))
        return m_text;
    if (!base.m_text.empty())
        return (base << *this).m_text;
    return (TPathImpl(getCurrentWorkDirectoryAsString(), true, false) << *this).m_text;
}

template <class Traits>
TList<String> TPathImpl<Traits>::splitIntoNames(String const& text, int start, bool hasRoot) const {
    TList<String> names;
    auto position = static_cast<std::size_t>(start);
    while (position < text.length()) {
        std::size_t end = text.find(L'/', position);
        if (end == String::npos)
            end = text.length();
        appendName(names, text.substr(position, end - position), hasRoot);
        position = end + 1;
    }
    return names;
}

template <class Traits>
void TPathImpl<Traits>::appendName(TList<String>& names, String&& name, bool hasRoot) const {
    if (name.empty() || name == ".")
        return;
    if (name != "..") {
        names.push_back(std::move(name));
        return;
    }
    if (!names.empty() && names.back() != "..")
        names.pop_back();
    else if (hasRoot)
        throw CBadPathError(Path(m_text));
    else
        names.push_back(std::move(name));
}

template class TPathImpl<CUnixPathTraits>;

} // namespace fdn
