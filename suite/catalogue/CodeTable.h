#pragma once

#include "platform/database.h"

#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// The catalogue's table of a kind of codes: "titles", "bodyparts", "findings", "diagnoses".
std::string CodeTableName(const std::string& kind);

struct CodeImport {
    std::vector<std::string> faults; ///< "line 7: CodeMeaning is empty"; nothing was imported then
    int added = 0;
    int known = 0; ///< codes that the table has already, which stay as they are
};

/// Imports a CSV text with the columns CodeScheme, CodeValue, CodeMeaning, in any order, named by its
/// first row. Whole or not at all. `replace` empties the table first.
CodeImport ImportCodes(Connection& connection, const std::string& table, std::string_view csv, bool replace);

} // namespace tavrel
