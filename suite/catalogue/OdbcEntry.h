#pragma once

#include "suite/catalogue/Schema.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace tavrel {

/// Names of settings with their values.
using OdbcSettings = std::vector<std::pair<std::string, std::string>>;

/// An entry of an ODBC file that leads to a catalogue.
struct OdbcEntry {
    std::string name;
    Engine engine = Engine::Sqlite;
    std::string database; ///< SQLite: the file; else the database's name
    /// PostgreSQL and MariaDB alone, like all that follow. PostgreSQL: several hosts with commas between them, too.
    std::string server;
    int port = 0;
    std::string user;
    std::string password;
};

/// The entry of a catalogue in a SQLite file.
OdbcEntry SqliteEntry(const std::string& name, const std::filesystem::path& file);

/// The settings of an entry of a file; an error when it has none of that name.
OdbcSettings ReadOdbcEntry(const std::filesystem::path& file, const std::string& name);
/// The same for another account, with what the programs need of the engine's driver, also where it was lacking.
OdbcSettings ForAccount(OdbcSettings settings, Engine engine, const std::string& user, const std::string& password);
/// Those of the entry that this account's programs find, its own or the system's; none where there is no such entry.
OdbcSettings EntryInForce(const std::string& name);
/// The lines of an entry as they stand in a file.
std::string OdbcSection(const std::string& name, const OdbcSettings& settings);

/// What a program opens that leads to the entry's catalogue without an entry in a file.
std::string ConnectionText(const OdbcEntry& entry);
std::string ConnectionText(const OdbcSettings& settings);

/// The ODBC file in force for this account: $ODBCINI, or ".odbc.ini" in the account's home.
std::filesystem::path UserOdbcFile();

/// Puts `entry` into `file`, in place of an entry of the same name, and leaves all else as it is.
/// The file is replaced whole or not at all; a new one, and one that gets a password, is its owner's alone. Throws
/// Error.
void WriteOdbcEntry(const std::filesystem::path& file, const OdbcEntry& entry);
void WriteOdbcEntry(const std::filesystem::path& file, const std::string& name, const OdbcSettings& settings);

} // namespace tavrel
