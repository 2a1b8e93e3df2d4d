#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

struct CsvRow {
    int line = 0; ///< where it starts; the first line is 1
    std::vector<std::string> fields;
    std::string fault; ///< why it is no row by RFC 4180; empty when it is one
};

/// The rows of a CSV text (RFC 4180): commas, quotes doubled within quotes, line ends CR LF or LF
/// that may stand within quotes. Empty lines are left out. A byte order mark is no data.
std::vector<CsvRow> ReadCsv(std::string_view text);

/// The rows of a CSV text behind the first one, which names the columns in any order: their fields as `columns` has
/// them. A text whose first row names others is one row with a fault.
std::vector<CsvRow> ReadCsvTable(std::string_view text, std::span<const std::string_view> columns);

} // namespace tavrel
