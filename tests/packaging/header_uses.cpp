// Uses what compilers see of the public headers: their templates and inline operations. It is compiled as the
// code of an application, and no use may make the compiler warn. Nothing here is hidden in the file or known
// when it is compiled: so the compiler keeps all of it, and can exclude no case of it.

#include <dmn/dmn.h>
#include <fdn/fdn.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace uses {

template <class Buffer, class Element>
int useBuffer(Buffer& buffer, Element const* source, int count) {
    buffer.alloc(0);
    buffer.alloc(count);
    buffer.setAllocAlignBytes(64);
    buffer.setMinGrowFactor(2.0);
    buffer.init(source, count);
    buffer.insert(1, source, count);
    buffer.ensureFree(count);
    *buffer.getFreePtr(1) = source[0];
    buffer.addUsed(1);
    buffer.eraseFromStart(2);
    buffer[0] = buffer[1U];
    Buffer const copy(source, count, 100);
    Buffer other(copy);
    buffer = other;
    other.alloc(0);
    other.clear();
    return copy == buffer ? buffer.getUsed() : other.getFree();
}

struct Point {
    double x;
    double y;
};

template <class Element>
int useBuffers(Element* elements, int count) {
    fdn::TBuffer<Element> attached;
    attached.attachNoDelete(elements, count);
    fdn::TBuffer<Element> one(elements, 1, -1);
    fdn::TCryptBuffer<Element> secret(count);
    return useBuffer(attached, elements, count) + useBuffer(one, elements, 0) +
           useBuffer(secret, elements, 1);
}

template int useBuffers(char* elements, int count);
template int useBuffers(wchar_t* elements, int count);
template int useBuffers(std::int64_t* elements, int count);
template int useBuffers(Point* elements, int count);

void giveUpStorage() {
    fdn::TBuffer<wchar_t> buffer(L"abc", 3, 3);
    buffer.alloc(0);
}

fdn::P<fdn::CBase> usePointers(fdn::P<fdn::String> text) {
    fdn::P<fdn::CBase> base(text);
    fdn::P<fdn::CBase> const moved(std::move(text));
    base = fdn::newObj<fdn::String>("abc");
    base.reset();
    return base == moved ? base : moved;
}

char& flagOfText() {
    static char flag;
    return flag;
}

fdn::P<fdn::String> createText() {
    return fdn::newObj<fdn::String>();
}

fdn::TSafeGlobalPointer<fdn::String> g_text(&flagOfText, &createText);

template <class Text>
fdn::String useText(fdn::String const& string, Text const& text) {
    fdn::String result(text);
    result.append(string);
    result += text;
    result << text << 1;
    if (string == text || text != string || string < text || text >= string)
        result = *g_text + text + string;
    return text + std::move(result);
}

fdn::String useTexts(fdn::String const& string, std::string const& bytes) {
    return useText(string, bytes) + useText(string, std::string_view(bytes)) + useText(string, "abc") +
           useText(string, L"abc") + useText(string, wxString::Format("%s %d", string, 1));
}

fdn::String useValues(fdn::CError const& error, fdn::Path const& path) {
    fdn::CProps props(error.getProps());
    props["path"] = (path << fdn::Path("name")).getText();
    fdn::CSystemUserID const user(0, error.getSecondText());
    fdn::P<fdn::CError> const cause = error.getCause();
    return cause ? cause->getMessage() + user.getName() : props.begin()->second;
}

class CIdle : public dmn::CDaemon {
public:
    using CDaemon::CDaemon;

    void run() override {}
};

fdn::P<dmn::CDaemon> useDaemon(dmn::CDaemonInfo const& info) {
    dmn::CDaemonInfo copy(info);
    copy.params.push_back("abc");
    return fdn::newObj<CIdle>(copy.defaultId, copy.exePath);
}

} // namespace uses
