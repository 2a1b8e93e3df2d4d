#include "suite/catalogue/OdbcEntry.h"

#include "platform/error.h"
#include "platform/posix/PosixFiles.h"

#include <pwd.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <sstream>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

std::string Section(const OdbcEntry& entry) {
    std::ostringstream text;
    text << "[" << entry.name << "]\n";
    switch (entry.engine) {
    case Engine::Sqlite:
        text << "Driver=SQLite3\n"
             << "Database=" << entry.database << "\n"
             << "Timeout=2500\n"
             << "FKSupport=1\n"
             << "SyncPragma=NORMAL\n"
             << "JournalMode=WAL\n";
        break;
    case Engine::PostgreSql:
        text << "Driver=PostgreSQL Unicode\n"
             << "Servername=" << entry.server << "\n"
             << "Port=" << entry.port << "\n"
             << "Database=" << entry.database << "\n"
             << "Username=" << entry.user << "\n"
             << "Password=" << entry.password << "\n"
             << "pqopt=connect_timeout=5 tcp_user_timeout=10000 keepalives_idle=15\n";
        break;
    case Engine::MariaDb:
        text << "Driver=MariaDB Unicode\n"
             << "SERVER=" << entry.server << "\n"
             << "PORT=" << entry.port << "\n"
             << "DATABASE=" << entry.database << "\n"
             << "USER=" << entry.user << "\n"
             << "PASSWORD=" << entry.password << "\n"
             << "CHARSET=utf8mb4\n"
             << "OPTION=2\n" // a change that meets a row counts it, also when it changes nothing
             << "CONN_TIMEOUT=5\n"
             << "READ_TIMEOUT=60\n"
             << "INITSTMT=SET SESSION "
                "sql_mode='STRICT_ALL_TABLES,NO_BACKSLASH_ESCAPES,PIPES_AS_CONCAT,ANSI_QUOTES'\n";
        break;
    }
    return text.str();
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
            replacing = strcasecmp(opened->c_str(), entry.name.c_str()) == 0;
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
            throw Error(1, "Catalogue", "An ODBC entry's values must hold no line ends");
    if (entry.name.empty() || entry.name.find_first_of("[]{}(),;?*=!@\\") != std::string::npos)
        throw Error(1, "Catalogue", "\"" + entry.name + "\" cannot be the name of an ODBC entry");
}

} // namespace

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
