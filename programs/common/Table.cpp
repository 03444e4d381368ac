#include "programs/common/Table.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <ostream>

#include "base/platform/Terminal.h"

#include "programs/common/Text.h"

namespace {

constexpr std::size_t gap = 2;         // between two columns
constexpr std::size_t usualLeast = 8;  // of a column that gives way; a heading is never cut

bool continuesCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

std::size_t charactersOf(const std::string& text) {
    return text.size() -
           static_cast<std::size_t>(std::count_if(text.begin(), text.end(), continuesCharacter));
}

std::string fitted(const std::string& text, std::size_t width) {
    if (charactersOf(text) <= width) {
        return text;
    }
    const std::string mark = "...";
    std::size_t end = 0;
    for (std::size_t count = 0; count < width - mark.size(); ++count) {
        do {
            ++end;
        } while (end < text.size() && continuesCharacter(text[end]));
    }
    return text.substr(0, end) + mark;
}

/// Takes from the widest columns until the line fits; false when none can give more.
bool narrow(std::vector<std::size_t>& widths, const Row& heading, std::size_t limit) {
    const auto spare = [&](std::size_t column) {
        const std::size_t least = std::max(usualLeast, charactersOf(heading[column]));
        return widths[column] > least ? widths[column] : 0;
    };
    while (std::accumulate(widths.begin(), widths.end(), gap * (widths.size() - 1)) > limit) {
        std::size_t widest = 0;
        for (std::size_t column = 1; column < widths.size(); ++column) {
            widest = spare(column) > spare(widest) ? column : widest;
        }
        if (spare(widest) == 0) {
            return false;
        }
        --widths[widest];
    }
    return true;
}

/// Control characters would break the lines, or speak to the terminal.
std::vector<Row> printableCells(const std::vector<Row>& rows) {
    std::vector<Row> result = rows;
    for (Row& row : result) {
        for (std::string& cell : row) {
            cell = printable(cell);
        }
    }
    return result;
}

/// A block of lines for each row, for a line that has no room for all columns.
void writeBlocks(std::ostream& out, const std::vector<Row>& rows) {
    const Row& heading = rows.front();
    for (std::size_t row = 1; row < rows.size(); ++row) {
        for (std::size_t column = 0; column < heading.size(); ++column) {
            out << (column == 0 ? "" : "    ") << heading[column] << ": " << rows[row][column] << '\n';
        }
    }
}

}  // namespace

TableStyle TableStyle::ofOutput() {
    const char* noColour = std::getenv("NO_COLOR");
    const bool mayColour = !noColour || *noColour == '\0';
    return {Base::Platform::outputWidth(), mayColour && Base::Platform::outputTakesColours()};
}

void writeTable(std::ostream& out, const std::vector<Row>& cells, const TableStyle& style) {
    const std::vector<Row> rows = printableCells(cells);
    std::vector<std::size_t> widths;
    for (const Row& row : rows) {
        widths.resize(row.size());
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], charactersOf(row[column]));
        }
    }
    if (style.width != 0 && !narrow(widths, rows.front(), style.width)) {
        writeBlocks(out, rows);
        return;
    }
    for (const Row& row : rows) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            const std::string cell = fitted(row[column], widths[column]);
            line += cell + std::string(widths[column] - charactersOf(cell) + gap, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        const bool standsOut = style.colours && &row == &rows.front();
        out << (standsOut ? "\x1b[1m" : "") << line << (standsOut ? "\x1b[0m\n" : "\n");
    }
}
