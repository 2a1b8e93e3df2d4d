#pragma once

#include "platform/database.h"

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavrel {

/// A column's text in the current row; null is empty.
std::string TextOrEmpty(const ResultSet& rows, std::string_view column);

/// Runs a change whose texts stand in place of its "?".
void RunChange(Connection& connection, std::string_view statement, std::span<const std::string> texts);

/// Columns with their texts; a column of numbers takes their digits.
using ColumnTexts = std::vector<std::pair<std::string, std::string>>;

/// Adds a row; the columns that are not named stay null.
void InsertRow(Connection& connection, std::string_view table, const ColumnTexts& row);

} // namespace tavrel
