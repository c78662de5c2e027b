#include <fdn/fileName.h>

#include <fdn/CError.h>

#include <wx/strconv.h>

#include <cstring>
#include <initializer_list>

namespace fdn {

namespace {

// Whether the text names the same file as these bytes. wxWidgets also reads surrogates and numbers beyond
// Unicode, which cannot be turned back into a name, and gives the empty text for what it cannot read.
bool standsFor(String const& text, char const* name) {
    try {
        return std::strcmp(toFileName(text), name) == 0;
    } catch (CUnencodableStringError const&) {
        return false;
    }
}

} // namespace

wxCharBuffer toFileName(String const& text) {
    if (text.find(L'\0') != String::npos)
        throw CUnencodableStringError();
    return text.toEncoding(*wxConvFileName, nullptr);
}

std::optional<String> fromFileName(char const* name) {
    // Where the locale is not UTF-8, wxConvFileName reads UTF-8 all the same, but writes the locale's
    // encoding.
    for (wxMBConv const* const encoding :
         std::initializer_list<wxMBConv const*>{wxConvFileName, &wxConvLocal}) {
        String const text = wxString(name, *encoding);
        if (standsFor(text, name))
            return text;
    }
    return std::nullopt;
}

} // namespace fdn
