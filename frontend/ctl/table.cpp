#include "frontend/ctl/table.h"

#include <algorithm>

namespace {

// Every character of UTF-8 has one byte that does not continue another.
std::size_t widthOf(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char character) {
        return (static_cast<unsigned char>(character) & 0xc0U) != 0x80U;
    }));
}

std::vector<std::size_t> columnWidths(const std::vector<TableRow>& rows) {
    std::vector<std::size_t> widths;
    for (const TableRow& row : rows) {
        widths.resize(std::max(widths.size(), row.cells.size()));
        for (std::size_t i = 0; i < row.cells.size(); ++i) {
            widths[i] = std::max(widths[i], widthOf(printableText(row.cells[i])));
        }
    }
    return widths;
}

std::string lineOf(const TableRow& row, const std::vector<std::size_t>& widths) {
    constexpr std::size_t GAP = 2;
    std::string line;
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
        const std::string cell = printableText(row.cells[i]);
        line += cell;
        line.append(widths[i] - widthOf(cell) + GAP, ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

} // namespace

void printTable(const std::vector<TableRow>& rows) {
    const std::vector<std::size_t> widths = columnWidths(rows);
    for (const TableRow& row : rows) {
        printLine(lineOf(row, widths), row.colour);
    }
}
