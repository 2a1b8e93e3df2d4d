#pragma once

#include "platform/database.h"

#include <array>
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

/// The names of all tables of the catalogue; in a department some are views of a workstation's own rows.
std::span<const std::string_view> CatalogueTables();
/// A catalogue that was made before that table is none the worse: what would use it does without.
bool MayLackTable(std::string_view table);

/// Of the name of a workstation of a department, which any server takes for an account's.
inline constexpr std::size_t LongestAccount = 32;

/// Those of which each workstation of a department has rows of its own.
inline constexpr std::array<std::string_view, 3> OwnTables = {"DicomServer", "Port", "Report"};
/// The table that holds such rows of all workstations, with the name of each in the column `Workstation`.
std::string TableOfAll(std::string_view ownTable);
/// "a, b, c"
std::string ColumnNames(std::string_view table);
/// What all workstations of a department share of `SiteData`, which is a view there.
inline constexpr std::string_view DepartmentSite = "DepartmentSite";
/// Makes these tables where they are not there yet, and the one that names the workstations. Not on SQLite.
void CreateDepartmentTables(Connection& connection, Engine engine);
/// The expression that names the account of a connection.
std::string CurrentAccount(Engine engine);

} // namespace tavrel
