#pragma once

#include "platform/code_tables.h"
#include "platform/database.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// What a person calls a table of codes.
struct CodeKind {
    std::string_view name;
    std::string_view table;
};
inline constexpr std::array CodeKinds{
    CodeKind{"titles", code_table::Titles},
    CodeKind{"bodyparts", code_table::BodyParts},
    CodeKind{"findings", code_table::Findings},
    CodeKind{"diagnoses", code_table::Diagnoses},
};

struct CodeImport {
    std::vector<std::string> faults; ///< "line 7: CodeMeaning is empty"; nothing was imported then
    int added = 0;
    int known = 0; ///< codes that the table has already, which stay as they are
};

/// Imports a CSV text with the columns CodeScheme, CodeValue, CodeMeaning, in any order, named by its
/// first row. Whole or not at all. `replace` empties the table first.
CodeImport ImportCodes(Connection& connection, const std::string& table, std::string_view csv, bool replace);

} // namespace tavrel
