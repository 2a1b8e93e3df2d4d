#pragma once

#include "suite/catalogue/Schema.h"

#include <filesystem>
#include <string>

namespace tavrel {

/// An entry of an ODBC file that leads to a catalogue.
struct OdbcEntry {
    std::string name;
    Engine engine = Engine::Sqlite;
    std::string database; ///< SQLite: the file; else the database's name
    std::string server;   ///< PostgreSQL and MariaDB alone, like all that follow
    int port = 0;
    std::string user;
    std::string password;
};

/// The entry of a catalogue in a SQLite file.
OdbcEntry SqliteEntry(const std::string& name, const std::filesystem::path& file);

/// What a program opens that leads to the entry's catalogue without an entry in a file.
std::string ConnectionText(const OdbcEntry& entry);

/// The ODBC file in force for this account: $ODBCINI, or ".odbc.ini" in the account's home.
std::filesystem::path UserOdbcFile();

/// Puts `entry` into `file`, in place of an entry of the same name, and leaves all else as it is.
/// The file is replaced whole or not at all; a new one is readable by its owner only. Throws Error.
void WriteOdbcEntry(const std::filesystem::path& file, const OdbcEntry& entry);

} // namespace tavrel
