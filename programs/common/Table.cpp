#include "programs/common/Table.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <ostream>

#include "programs/Terminal.h"

namespace {

constexpr std::size_t gap = 2;         // between two columns
constexpr std::size_t leastWidth = 8;  // of a column that gives way

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

void narrow(std::vector<std::size_t>& widths, std::size_t limit) {
    const auto total = [&] {
        return std::accumulate(widths.begin(), widths.end(), gap * (widths.size() - 1));
    };
    while (total() > limit) {
        const auto widest = std::max_element(widths.begin(), widths.end());
        if (*widest <= leastWidth) {
            return;
        }
        --*widest;
    }
}

}  // namespace

TableStyle TableStyle::ofOutput() {
    const char* noColour = std::getenv("NO_COLOR");
    const bool mayColour = !noColour || *noColour == '\0';
    return {outputWidth(), mayColour && outputTakesColours()};
}

void writeTable(std::ostream& out, const std::vector<Row>& rows, const TableStyle& style) {
    std::vector<std::size_t> widths;
    for (const Row& row : rows) {
        widths.resize(row.size());
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], charactersOf(row[column]));
        }
    }
    if (style.width != 0) {
        narrow(widths, style.width);
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
