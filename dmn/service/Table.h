#pragma once

#include <fdn/String.h>

#include <cstddef>
#include <utility>
#include <vector>

namespace dmn {

/// A text with two columns for a terminal.
class Table {
public:
    void addRow(fdn::String const& name, fdn::String const& text);

    /// Continues the text of the last row on a line of its own.
    void addLine(fdn::String const& text) { addRow(fdn::String(), text); }

    bool isEmpty() const { return m_rows.empty(); }

    /// The rows, each with a line feed.
    fdn::String compose() const;

private:
    std::vector<std::pair<fdn::String, fdn::String>> m_rows;
    std::size_t m_width = 0; // of the first column
};

} // namespace dmn
