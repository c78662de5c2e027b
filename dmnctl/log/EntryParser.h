#pragma once

#include <dmnctl/log/Entry.h>

#include <memory>
#include <string_view>

namespace dmnctl {

/// Understands the lines of logs. One may be used for any number of lines, by one thread at a time.
class EntryParser {
public:
    EntryParser();
    EntryParser(EntryParser&& other) noexcept;
    EntryParser& operator=(EntryParser&& other) noexcept;
    ~EntryParser();

    /// The entry of a line that may have any bytes, with or without a line feed at its end. Of a line that
    /// ends in the middle, the entry has what its start tag says. A document type declaration is refused, and
    /// with it all entities but those of XML itself.
    Entry parse(std::string_view line);

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace dmnctl
