#pragma once

#include "platform/database.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// The engines that a catalogue can live on.
enum class Engine { Sqlite, PostgreSql, MariaDb };

/// The engine behind an open connection; an error when it is none of the three.
Engine DetectEngine(Connection& connection);

/// Makes the tables and indexes of the catalogue that are not there yet; what is there stays as it
/// is. `CodeValue` of the code tables compares without regard to trailing blanks on every engine.
void CreateSchema(Connection& connection, Engine engine);

/// A column that a table of the catalogue lacks.
struct AbsentColumn {
    std::string_view table;
    std::string_view name;

    std::string Words() const { return "table " + std::string(table) + " lacks the column " + std::string(name); }
};
/// Of tables that are there; a column that a catalogue of before may lack is none.
std::vector<AbsentColumn> AbsentColumns(Connection& connection);
/// Adds it, empty in every row. An error for one that identifies the row.
void AddColumn(Connection& connection, Engine engine, const AbsentColumn& absent);

/// The names of all tables of the catalogue.
std::span<const std::string_view> CatalogueTables();
/// A catalogue that was made before that table is none the worse: what would use it does without.
bool MayLackTable(std::string_view table);

} // namespace tavrel
