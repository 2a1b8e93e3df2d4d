#pragma once

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The tables of the pages in docs/, so that a test can hold a page against the code.
namespace tavrel::test {

using DocumentRow = std::vector<std::string>;

/// The cells of a table's line "| a | `b` |", without blanks and backquotes around them.
inline DocumentRow CellsOf(std::string_view line) {
    constexpr std::string_view around = " `";
    DocumentRow cells;
    while (line.find('|', 1) != std::string_view::npos) {
        line.remove_prefix(1);
        std::string_view cell = line.substr(0, line.find('|'));
        line.remove_prefix(cell.size());
        cell.remove_prefix(std::min(cell.find_first_not_of(around), cell.size()));
        cells.emplace_back(cell.substr(0, cell.find_last_not_of(around) + 1));
    }
    return cells;
}

struct DocumentTable {
    std::string heading; ///< the one that the table stands under, with its "#"
    std::vector<DocumentRow> rows;
};

/// The tables of a page in their order, without their captions.
inline std::vector<DocumentTable> TablesOf(const std::string& page) {
    std::ifstream text(page);
    if (!text)
        throw std::runtime_error("cannot read " + page);
    std::vector<DocumentTable> tables;
    std::string heading;
    for (std::string line; std::getline(text, line);) {
        if (line.starts_with('#'))
            heading = line;
        else if (line.starts_with("|-"))
            tables.push_back({heading, {}});
        else if (line.starts_with('|') && !tables.empty() && tables.back().heading == heading)
            tables.back().rows.push_back(CellsOf(line));
    }
    return tables;
}

/// The rows of the only table under a heading.
inline std::vector<DocumentRow> TableUnder(std::string_view heading, const std::string& page) {
    for (auto& table : TablesOf(page))
        if (table.heading == heading)
            return std::move(table.rows);
    throw std::runtime_error("no table under \"" + std::string(heading) + "\" in " + page);
}

} // namespace tavrel::test
