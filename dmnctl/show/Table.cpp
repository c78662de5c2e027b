#include <dmnctl/show/Table.h>

#include <dmnctl/show/text.h>

#include <algorithm>
#include <utility>

namespace dmnctl {

namespace {

constexpr int kGap = 2;
constexpr std::size_t kColumnsThatStay = 2;

/// A column that is shown, and how wide.
struct Place {
    std::size_t column;
    int importance;
    int width;
    int leastWidth;
};

using Places = std::vector<Place>;

template <class Width>
int addUp(Places const& places, Width Place::*width) {
    int sum = 0;
    for (Place const& place : places)
        sum += place.*width + (sum == 0 ? 0 : kGap);
    return sum;
}

bool isLessImportant(Place const& left, Place const& right) {
    return left.importance < right.importance;
}

void leaveOut(Places& places, int room) {
    while (addUp(places, &Place::leastWidth) > room && places.size() > kColumnsThatStay)
        places.erase(std::min_element(places.begin() + kColumnsThatStay, places.end(), isLessImportant));
}

void narrow(Place& place, int leastWidth, int& excess) {
    int const part = std::clamp(place.width - leastWidth, 0, std::max(excess, 0));
    place.width -= part;
    excess -= part;
}

// The texts of columns at the end are the first to be cut.
void narrow(Places& places, int room) {
    int excess = addUp(places, &Place::width) - room;
    for (auto place = places.rbegin(); place != places.rend(); ++place)
        narrow(*place, place->leastWidth, excess);
    for (Place& place : places)
        narrow(place, 1, excess);
}

std::string pad(int columns) {
    return std::string(static_cast<std::size_t>(std::max(columns, 0)), ' ');
}

std::string composeCell(Table::Cell const& cell, Table::Alignment alignment, int width,
                        Terminal const& terminal) {
    std::string const text = cutToColumns(cell.text, width);
    std::string const blanks = pad(width - countColumns(text));
    std::string const painted = cell.colour ? terminal.paint(text, *cell.colour) : text;
    return alignment == Table::Alignment::Left ? painted + blanks : blanks + painted;
}

std::string withoutBlanksAtEnd(std::string const& line) {
    return line.substr(0, line.find_last_not_of(' ') + 1);
}

} // namespace

Table::Table(std::vector<Column> columns) : m_columns(std::move(columns)), m_widths(m_columns.size()) {
    std::vector<Cell> titles;
    for (Column const& column : m_columns)
        titles.push_back({column.title, std::nullopt});
    addRow(std::move(titles));
}

void Table::addRow(std::vector<Cell> cells) {
    for (std::size_t i = 0; i < m_columns.size(); ++i)
        m_widths[i] = std::max(m_widths[i], countColumns(cells[i].text));
    m_rows.push_back(std::move(cells));
}

std::string Table::compose(Terminal const& terminal) const {
    Places places;
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        int const least = m_columns[i].leastWidth;
        places.push_back({i, m_columns[i].importance, m_widths[i],
                          least == 0 ? m_widths[i] : std::min(least, m_widths[i])});
    }
    if (terminal.getWidth() > 0) {
        leaveOut(places, terminal.getWidth());
        narrow(places, terminal.getWidth());
    }
    std::string lines;
    for (std::vector<Cell> const& row : m_rows) {
        std::string line;
        for (Place const& place : places)
            line += pad(line.empty() ? 0 : kGap) +
                    composeCell(row[place.column], m_columns[place.column].alignment, place.width, terminal);
        lines += withoutBlanksAtEnd(line) + "\n";
    }
    return lines;
}

} // namespace dmnctl
