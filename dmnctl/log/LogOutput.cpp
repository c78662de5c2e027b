#include <dmnctl/log/LogOutput.h>

#include <dmnctl/log/EntryJson.h>
#include <dmnctl/show/text.h>

#include <utility>

namespace dmnctl {

namespace {

constexpr std::size_t kMuch = 64L * 1024;

class TextOutput : public LogOutput {
public:
    explicit TextOutput(int idWidth) : m_text(Terminal(), idWidth) {}

private:
    std::string compose(Entry const& entry, std::string const& id) override {
        return m_text.compose(entry, id);
    }

    EntryText m_text;
};

class JsonArrayOutput : public LogOutput {
    std::string compose(Entry const& entry, std::string const& id) override {
        return std::exchange(m_separator, ",\n") + toJson(entry, id);
    }

    std::string composeEnd() override { return m_separator == "[\n" ? "[]\n" : "\n]\n"; }

    std::string m_separator = "[\n";
};

class JsonLinesOutput : public LogOutput {
    std::string compose(Entry const& entry, std::string const& id) override {
        return toJson(entry, id) + "\n";
    }
};

} // namespace

LogOutput::~LogOutput() = default;

void LogOutput::add(Entry const& entry, std::string const& id) {
    m_text += compose(entry, id);
    if (m_text.size() >= kMuch)
        flush();
}

void LogOutput::end() {
    m_text += composeEnd();
    flush();
}

void LogOutput::flush() {
    std::string const text = std::exchange(m_text, {});
    if (!text.empty() && m_isRead)
        m_isRead = print(text);
}

std::unique_ptr<LogOutput> makeLogOutput(LogCommand const& command, int idWidth) {
    if (command.format != Format::Json)
        return std::make_unique<TextOutput>(idWidth);
    if (command.follow)
        return std::make_unique<JsonLinesOutput>();
    return std::make_unique<JsonArrayOutput>();
}

} // namespace dmnctl
