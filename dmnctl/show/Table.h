#pragma once

#include <dmnctl/show/Terminal.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace dmnctl {

/// A table for people, with a line of titles. On a terminal it is as wide as that at most: long texts are cut
/// at their end, and where that is not enough, columns are left out.
class Table {
public:
    enum class Alignment {
        Left,
        Right,
    };

    struct Column {
        std::string title;
        Alignment alignment = Alignment::Left;
        int importance = 0; ///< the least important column is left out first, and the first two columns never
        int leastWidth = 0; ///< to which its texts may be cut; 0: they are never cut
    };

    struct Cell {
        std::string text; ///< printable
        std::optional<Colour> colour;
    };

    explicit Table(std::vector<Column> columns);

    /// Adds a row with a cell for each column.
    void addRow(std::vector<Cell> cells);

    /// The lines, each with a line feed.
    std::string compose(Terminal const& terminal) const;

private:
    std::vector<Column> m_columns;
    std::vector<std::vector<Cell>> m_rows;
    std::vector<int> m_widths; // that the columns want
};

} // namespace dmnctl
