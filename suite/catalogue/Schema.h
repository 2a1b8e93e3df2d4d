#pragma once

#include "platform/database.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// The engines that a catalogue can live on.
enum class Engine { Sqlite, PostgreSql, MariaDb };

/// The engine behind an open connection; an error when it is none of the three.
Engine DetectEngine(Connection& connection);

/// Makes the tables and indexes of the catalogue that are not there yet, and writes its version; what is there stays as
/// it is. For one of an older version there is `CatalogueUpgrade`. `CodeValue` of the code tables compares without
/// regard to trailing blanks on every engine.
void CreateSchema(Connection& connection, Engine engine);

/// The names of all tables of the catalogue; in a department some are views of a workstation's own rows.
std::vector<std::string> CatalogueTables();

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
