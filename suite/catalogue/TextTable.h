#pragma once

#include "platform/database.h"

#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// A text block of the site (table `TextBlock`).
struct TextBlockRow {
    std::string kind; ///< "template" or "short"
    std::string name; ///< the heading's meaning, or the short form
    std::string body;

    bool operator==(const TextBlockRow&) const = default;
};

struct TextImport {
    std::vector<std::string> faults; ///< "line 7: Body is empty"; nothing was imported then
    int added = 0;
    int changed = 0;
    int known = 0; ///< texts that the table has already, word for word
};

/// By kind and name. An error when the catalogue was made before there were text blocks.
std::vector<TextBlockRow> ReadTexts(Connection& connection);
/// Imports a CSV text with the columns Kind, Name, Body, in any order, named by its first row. Whole or not at all. A
/// text of a kind and name that the table has takes that one's place. `replace` empties the table first.
TextImport ImportTexts(Connection& connection, std::string_view csv, bool replace);
/// A line for each, with the first one of its body.
std::string ListTexts(const std::vector<TextBlockRow>& texts);
/// As `ImportTexts` takes it.
std::string ExportTexts(const std::vector<TextBlockRow>& texts);
/// False when there is no such text.
bool RemoveText(Connection& connection, const std::string& kind, const std::string& name);

} // namespace tavrel
