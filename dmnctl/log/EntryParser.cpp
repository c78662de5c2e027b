#include <dmnctl/log/EntryParser.h>

#include <dmnctl/log/moment.h>

#include <cstring>
#include <new>

#include <expat.h>

namespace dmnctl {

namespace {

enum class Element {
    Entry,
    Text,
    Where,
    What,
    Second,
    Code,
    Property,
    Cause,
};

/// Builds an entry from what the parser finds.
class EntryBuilder {
public:
    explicit EntryBuilder(XML_Parser parser) : m_parser(parser) {}

    void begin(std::string_view name, char const** attributes) {
        if (!m_path.empty()) {
            beginPart(name, attributes);
        } else if (name == "entry") {
            m_path.push_back(Element::Entry);
            takeAttributes(attributes);
        } else {
            refuse();
        }
    }

    // After a refusal, the end of an empty element is still told.
    void end() {
        if (!m_path.empty())
            m_path.pop_back();
    }

    void addText(char const* text, std::size_t length) {
        if (m_path.empty())
            return;
        if (std::string* const part = getCurrentPart())
            part->append(text, length);
    }

    void refuse() { XML_StopParser(m_parser, XML_FALSE); }

    Entry take() { return std::move(m_entry); }

private:
    void takeAttributes(char const** attributes) {
        for (; *attributes != nullptr; attributes += 2) {
            if (std::string* const attribute = getAttribute(attributes[0]))
                *attribute = attributes[1];
        }
        m_entry.microseconds = parseUTCTime(m_entry.time);
    }

    std::string* getAttribute(std::string_view name) {
        if (name == "time")
            return &m_entry.time;
        if (name == "level")
            return &m_entry.level;
        if (name == "process")
            return &m_entry.process;
        return name == "thread" ? &m_entry.thread : nullptr;
    }

    void beginPart(std::string_view name, char const** attributes) {
        Element const element = getElement(name);
        m_path.push_back(element);
        bool const isAboutError = element != Element::Text && element != Element::Where;
        if (isAboutError && m_entry.errors.empty())
            m_entry.errors.emplace_back();
        if (element == Element::Cause)
            m_entry.errors.emplace_back();
        if (element == Element::Property)
            m_entry.errors.back().properties.push_back({getPropertyName(name, attributes), {}});
    }

    // What a later version may say besides becomes a property, so that it is seen.
    static Element getElement(std::string_view name) {
        if (name == "text")
            return Element::Text;
        if (name == "where")
            return Element::Where;
        if (name == "what")
            return Element::What;
        if (name == "second")
            return Element::Second;
        if (name == "code")
            return Element::Code;
        return name == "cause" ? Element::Cause : Element::Property;
    }

    static std::string getPropertyName(std::string_view element, char const** attributes) {
        bool const isNamed = attributes[0] != nullptr && std::strcmp(attributes[0], "name") == 0;
        return isNamed ? std::string(attributes[1]) : std::string(element);
    }

    // Where text belongs that stands here; null where none is expected.
    std::string* getCurrentPart() {
        switch (m_path.back()) {
        case Element::Entry:
        case Element::Text:
            return &m_entry.text;
        case Element::Where:
            return &m_entry.where;
        case Element::What:
            return &m_entry.errors.back().what;
        case Element::Second:
            return &m_entry.errors.back().second;
        case Element::Code:
            return &m_entry.errors.back().code;
        case Element::Property:
            return getProperty();
        case Element::Cause:
            break;
        }
        return nullptr;
    }

    // Null after a cause within the property, which belongs to no log.
    std::string* getProperty() {
        std::vector<Property>& properties = m_entry.errors.back().properties;
        return properties.empty() ? nullptr : &properties.back().value;
    }

    XML_Parser m_parser;
    Entry m_entry;
    std::vector<Element> m_path; // from the root to the current element
};

void onStart(void* builder, char const* name, char const** attributes) {
    static_cast<EntryBuilder*>(builder)->begin(name, attributes);
}

void onEnd(void* builder, char const*) {
    static_cast<EntryBuilder*>(builder)->end();
}

void onText(void* builder, char const* text, int length) {
    static_cast<EntryBuilder*>(builder)->addText(text, static_cast<std::size_t>(length));
}

// The library writes none. In one, a few bytes could stand for gigabytes, or for a file.
void onDocumentType(void* builder, char const*, char const*, char const*, int) {
    static_cast<EntryBuilder*>(builder)->refuse();
}

Entry makeDamaged(Entry const& beginning, std::string_view line) {
    Entry entry;
    entry.time = beginning.time;
    entry.microseconds = beginning.microseconds;
    entry.level = beginning.level;
    entry.process = beginning.process;
    entry.thread = beginning.thread;
    entry.text = line;
    entry.isDamaged = true;
    return entry;
}

} // namespace

struct EntryParser::Implementation {
    // The encoding is given because a line could name another one.
    static constexpr char const* kEncoding = "UTF-8";

    Implementation() : parser(XML_ParserCreate(kEncoding)) {
        if (parser == nullptr)
            throw std::bad_alloc();
    }

    Implementation(Implementation const&) = delete;
    Implementation& operator=(Implementation const&) = delete;

    ~Implementation() { XML_ParserFree(parser); }

    void reset(EntryBuilder& builder) const {
        XML_ParserReset(parser, kEncoding);
        XML_SetUserData(parser, &builder);
        XML_SetElementHandler(parser, &onStart, &onEnd);
        XML_SetCharacterDataHandler(parser, &onText);
        XML_SetStartDoctypeDeclHandler(parser, &onDocumentType);
    }

    XML_Parser parser;
};

EntryParser::EntryParser() : m_implementation(std::make_unique<Implementation>()) {}

EntryParser::EntryParser(EntryParser&& other) noexcept = default;

EntryParser& EntryParser::operator=(EntryParser&& other) noexcept = default;

EntryParser::~EntryParser() = default;

Entry EntryParser::parse(std::string_view line) {
    if (!line.empty() && line.back() == '\n')
        line.remove_suffix(1);
    auto* const parser = m_implementation->parser;
    EntryBuilder builder(parser);
    m_implementation->reset(builder);
    bool const isEntry =
        XML_Parse(parser, line.data(), static_cast<int>(line.size()), XML_TRUE) == XML_STATUS_OK;
    Entry entry = builder.take();
    return isEntry ? entry : makeDamaged(entry, line);
}

} // namespace dmnctl
