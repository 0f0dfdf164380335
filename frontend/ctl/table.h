#pragma once

// Rows of cells, printed with aligned columns.

#include "frontend/ctl/output.h"

#include <string>
#include <vector>

struct TableRow {
    std::vector<std::string> cells;
    Colour colour = Colour::NONE; // of the whole row
};

// Each column as wide as its longest cell, counted in characters of UTF-8, two blanks between them;
// nothing is cut, and no row ends in blanks. Rows may have fewer cells than others.
void printTable(const std::vector<TableRow>& rows);
