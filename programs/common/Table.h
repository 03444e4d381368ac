#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

using Row = std::vector<std::string>;

/// How a table is shown. On a terminal it fits the lines, and its heading stands out unless the variable
/// NO_COLOR is set; what goes into a file or a pipe is whole and without control sequences.
struct TableStyle {
    std::size_t width = 0;  ///< 0: as wide as it is
    bool colours = false;

    static TableStyle ofOutput();
};

/// Writes rows of equally many cells, UTF-8, the columns aligned; the first row is the heading. When a table
/// is too wide, the widest columns give way, and what is cut ends with "..."; when they cannot, each row
/// becomes a block of lines. Control characters are shown as "\n" and "\x1b".
void writeTable(std::ostream& out, const std::vector<Row>& cells,
                const TableStyle& style = TableStyle::ofOutput());
