#include "suite/catalogue/OdbcEntry.h"

#include "platform/error.h"
#include "platform/posix/PosixFiles.h"
#include "platform/text.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

using Settings = std::vector<std::pair<std::string_view, std::string>>;

/// The module that knows all letters, beside the programs as they are built or installed.
std::optional<std::string> SqliteLetters() {
    std::error_code failure;
    const fs::path program = fs::read_symlink("/proc/self/exe", failure);
    const fs::path module = program.parent_path().parent_path() / "lib/orbenta/sqlite-letters.so";
    return fs::exists(module, failure) ? std::optional(module.string()) : std::nullopt;
}

Settings SqliteSettings(const OdbcEntry& entry) {
    Settings settings = {{"Driver", "SQLite3"},
                         {"Database", entry.database},
                         {"Timeout", "2500"},
                         {"SyncPragma", "NORMAL"},
                         {"JournalMode", "WAL"}};
    if (const auto letters = SqliteLetters())
        settings.emplace_back("LoadExt", *letters);
    return settings;
}

Settings SettingsOf(const OdbcEntry& entry) {
    switch (entry.engine) {
    case Engine::Sqlite:
        return SqliteSettings(entry);
    case Engine::PostgreSql:
        return {{"Driver", "PostgreSQL Unicode"},
                {"Servername", entry.server},
                {"Port", std::to_string(entry.port)},
                {"Database", entry.database},
                {"Username", entry.user},
                {"Password", entry.password},
                {"pqopt", "connect_timeout=5 tcp_user_timeout=10000 keepalives_idle=15"}};
    case Engine::MariaDb:
        break;
    }
    return {{"Driver", "MariaDB Unicode"},
            {"SERVER", entry.server},
            {"PORT", std::to_string(entry.port)},
            {"DATABASE", entry.database},
            {"USER", entry.user},
            {"PASSWORD", entry.password},
            {"CHARSET", "utf8mb4"},
            {"OPTION", "2"}, // a change that meets a row counts it, also when it changes nothing
            {"CONN_TIMEOUT", "5"},
            {"READ_TIMEOUT", "60"},
            {"INITSTMT", "SET SESSION sql_mode='STRICT_ALL_TABLES,NO_BACKSLASH_ESCAPES,PIPES_AS_CONCAT,ANSI_QUOTES'"}};
}

/// "name=value" for each setting, each with `end` behind it.
std::string Written(const OdbcEntry& entry, char end) {
    std::string text;
    for (const auto& [name, value] : SettingsOf(entry))
        text.append(name).append("=").append(value) += end;
    return text;
}

std::string Section(const OdbcEntry& entry) {
    return "[" + entry.name + "]\n" + Written(entry, '\n');
}

/// The name of the entry that a line opens.
std::optional<std::string> OpenedEntry(const std::string& line) {
    const auto open = line.find_first_not_of(" \t");
    const auto close = line.find(']');
    if (open == std::string::npos || line[open] != '[' || close == std::string::npos)
        return std::nullopt;
    return line.substr(open + 1, close - open - 1);
}

std::string WithEntry(const std::string& text, const OdbcEntry& entry) {
    std::istringstream lines(text);
    std::string result;
    bool replacing = false;
    bool written = false;
    for (std::string line; std::getline(lines, line);) {
        if (const auto opened = OpenedEntry(line)) {
            if (replacing)
                result += "\n";
            replacing = SameInAnyCase(*opened, entry.name);
            if (replacing && !written)
                result += Section(entry);
            written = written || replacing;
        }
        if (!replacing)
            result += line + "\n";
    }
    if (!written)
        result += (result.empty() ? "" : "\n") + Section(entry);
    return result;
}

void RequireOneLine(const OdbcEntry& entry) {
    for (const std::string* value : {&entry.name, &entry.database, &entry.server, &entry.user, &entry.password})
        if (std::ranges::any_of(*value, [](unsigned char c) { return c < ' '; }))
            throw Error(Fault::OfTheSuite, "Catalogue", "An ODBC entry's values must hold no line ends");
    if (entry.name.empty() || entry.name.find_first_of("[]{}(),;?*=!@\\") != std::string::npos)
        throw Error(Fault::OfTheSuite, "Catalogue", "\"" + entry.name + "\" cannot be the name of an ODBC entry");
}

} // namespace

OdbcEntry SqliteEntry(const std::string& name, const fs::path& file) {
    OdbcEntry entry;
    entry.name = name;
    entry.database = file.string();
    return entry;
}

std::string ConnectionText(const OdbcEntry& entry) {
    return Written(entry, ';');
}

fs::path UserOdbcFile() {
    if (const char* file = std::getenv("ODBCINI"); file && *file)
        return file;
    const passwd* account = getpwuid(getuid());
    return fs::path(account ? account->pw_dir : ".") / ".odbc.ini";
}

void WriteOdbcEntry(const fs::path& file, const OdbcEntry& entry) {
    RequireOneLine(entry);
    std::error_code ignored;
    const fs::path target = fs::weakly_canonical(file, ignored); // a link stays a link
    const bool there = fs::exists(target, ignored);
    const auto permissions = fs::status(target, ignored).permissions();

    PosixFiles files;
    files.WriteText(target.string(), WithEntry(there ? files.ReadText(target.string()) : "", entry));
    if (there)
        fs::permissions(target, permissions, ignored);
}

} // namespace tavrel
