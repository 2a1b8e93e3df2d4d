#pragma once

#include "platform/database.h"

#include <span>
#include <string_view>

namespace tavrel {

/// The engines that a catalogue can live on.
enum class Engine { Sqlite, PostgreSql, MariaDb };

/// The engine behind an open connection; an error when it is none of the three.
Engine DetectEngine(Connection& connection);

/// Makes the tables and indexes of the catalogue that are not there yet; what is there stays as it
/// is. `CodeValue` of the code tables compares without regard to trailing blanks on every engine.
void CreateSchema(Connection& connection, Engine engine);

/// The names of all tables of the catalogue.
std::span<const std::string_view> CatalogueTables();

} // namespace tavrel
