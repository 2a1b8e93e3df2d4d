#pragma once

#include "suite/catalogue/OdbcEntry.h"

#include <cstdlib>
#include <filesystem>
#include <string>

namespace tavrel {

/// Makes the SQLite file "catalogue.db" in `folder` what `name` leads to, by the one ODBC file that this process and
/// those that it starts read from now on.
inline void UseSqliteEntry(const std::filesystem::path& folder, const std::string& name = "DicomFDB") {
    const auto file = folder / "odbc.ini";
    WriteOdbcEntry(file, SqliteEntry(name, folder / "catalogue.db"));
    setenv("ODBCINI", file.c_str(), 1);
}

} // namespace tavrel
