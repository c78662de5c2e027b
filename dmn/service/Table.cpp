#include <dmn/service/Table.h>

#include <algorithm>

namespace dmn {

void Table::addRow(fdn::String const& name, fdn::String const& text) {
    m_rows.emplace_back(name, text);
    m_width = std::max(m_width, name.length());
}

fdn::String Table::compose() const {
    fdn::String lines;
    for (auto const& [name, text] : m_rows)
        lines << "  " << name << wxString(' ', m_width - name.length() + 2) << text << "\n";
    return lines;
}

} // namespace dmn
