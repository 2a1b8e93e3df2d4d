#include "suite/catalogue/OdbcEntry.h"

#include "platform/error.h"
#include "platform/posix/PosixFiles.h"
#include "platform/posix/WholeFile.h"
#include "platform/text.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <optional>
#include <sstream>
#include <string_view>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

/// The module that knows all letters, beside the programs as they are built or installed.
std::optional<std::string> SqliteLetters() {
    std::error_code failure;
    const fs::path program = fs::read_symlink("/proc/self/exe", failure);
    const fs::path module = program.parent_path().parent_path() / "lib/orbenta/sqlite-letters.so";
    return fs::exists(module, failure) ? std::optional(module.string()) : std::nullopt;
}

OdbcSettings SqliteSettings(const OdbcEntry& entry) {
    OdbcSettings settings = {{"Driver", "SQLite3"},
                             {"Database", entry.database},
                             {"Timeout", "2500"},
                             {"SyncPragma", "NORMAL"},
                             {"JournalMode", "WAL"}};
    if (const auto letters = SqliteLetters())
        settings.emplace_back("LoadExt", *letters);
    return settings;
}

/// Of several hosts the one that takes changes: a standby does not, until it is told to.
std::string PostgreSqlOptions(const OdbcEntry& entry) {
    const bool several = entry.server.find(',') != std::string::npos;
    return std::string("connect_timeout=5 tcp_user_timeout=10000 keepalives_idle=15") +
           (several ? " target_session_attrs=read-write" : "");
}

OdbcSettings SettingsOf(const OdbcEntry& entry) {
    switch (entry.engine) {
    case Engine::Sqlite:
        return SqliteSettings(entry);
    case Engine::PostgreSql:
        return {{"Driver", "PostgreSQL Unicode"},   {"Servername", entry.server}, {"Port", std::to_string(entry.port)},
                {"Database", entry.database},       {"Username", entry.user},     {"Password", entry.password},
                {"pqopt", PostgreSqlOptions(entry)}};
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
            // Who reads what is committed locks no gap in which another workstation adds its rows. A node of a cluster
            // answers with all that the others had committed before it was asked.
            {"INITSTMT", "SET SESSION sql_mode='STRICT_ALL_TABLES,NO_BACKSLASH_ESCAPES,PIPES_AS_CONCAT,ANSI_QUOTES',"
                         " tx_isolation='READ-COMMITTED', wsrep_sync_wait=1"}};
}

/// "name=value" for each setting, each with `end` behind it.
std::string Written(const OdbcSettings& settings, char end) {
    std::string text;
    for (const auto& [name, value] : settings)
        text.append(name).append("=").append(value) += end;
    return text;
}

/// The name of the entry that a line opens.
std::optional<std::string> OpenedEntry(const std::string& line) {
    const auto open = line.find_first_not_of(" \t");
    const auto close = line.find(']');
    if (open == std::string::npos || line[open] != '[' || close == std::string::npos)
        return std::nullopt;
    return line.substr(open + 1, close - open - 1);
}

std::string WithEntry(const std::string& text, const std::string& name, const OdbcSettings& settings) {
    std::istringstream lines(text);
    std::string result;
    bool replacing = false;
    bool written = false;
    for (std::string line; std::getline(lines, line);) {
        if (const auto opened = OpenedEntry(line)) {
            if (replacing)
                result += "\n";
            replacing = SameInAnyCase(*opened, name);
            if (replacing && !written)
                result += OdbcSection(name, settings);
            written = written || replacing;
        }
        if (!replacing)
            result += line + "\n";
    }
    if (!written)
        result += (result.empty() ? "" : "\n") + OdbcSection(name, settings);
    return result;
}

void RequireOneLine(const std::string& name, const OdbcSettings& settings) {
    for (const auto& setting : settings)
        if (std::ranges::any_of(setting.second, [](unsigned char c) { return c < ' '; }))
            throw Error(Fault::OfTheSuite, "Catalogue", "An ODBC entry's values must hold no line ends");
    if (name.empty() || name.find_first_of("[]{}(),;?*=!@\\") != std::string::npos)
        throw Error(Fault::OfTheSuite, "Catalogue", "\"" + name + "\" cannot be the name of an ODBC entry");
}

bool IsOneOf(std::initializer_list<std::string_view> names, std::string_view name) {
    return std::ranges::any_of(names, [&](std::string_view each) { return SameInAnyCase(each, name); });
}

bool IsPassword(const std::pair<std::string, std::string>& setting) {
    return IsOneOf({"Password", "PWD"}, setting.first);
}

/// What the programs rely on, in whatever entry.
bool IsNeeded(std::string_view name) {
    return IsOneOf({"CHARSET", "OPTION", "INITSTMT"}, name);
}

/// Where the catalogue is and for whom: each entry's own.
bool IsOwn(std::string_view name) {
    return IsOneOf({"Driver", "Server", "Servername", "Port", "Database", "User", "Username", "Password"}, name);
}

} // namespace

OdbcEntry SqliteEntry(const std::string& name, const fs::path& file) {
    OdbcEntry entry;
    entry.name = name;
    entry.database = file.string();
    return entry;
}

std::string ConnectionText(const OdbcEntry& entry) {
    return ConnectionText(SettingsOf(entry));
}

std::string ConnectionText(const OdbcSettings& settings) {
    return Written(settings, ';');
}

std::string OdbcSection(const std::string& name, const OdbcSettings& settings) {
    return "[" + name + "]\n" + Written(settings, '\n');
}

OdbcSettings ReadOdbcEntry(const fs::path& file, const std::string& name) {
    std::istringstream lines(PosixFiles().ReadText(file.string()));
    OdbcSettings settings;
    bool found = false;
    bool within = false;
    for (std::string line; std::getline(lines, line);) {
        const auto equals = line.find('=');
        if (const auto opened = OpenedEntry(line)) {
            within = SameInAnyCase(*opened, name);
            found = found || within;
        } else if (within && equals != std::string::npos && !IsOneOf({"#", ";"}, Trimmed(line).substr(0, 1))) {
            settings.emplace_back(Trimmed(line.substr(0, equals)), Trimmed(line.substr(equals + 1)));
        }
    }
    if (!found)
        throw Error(Fault::OfTheSuite, "Catalogue", file.string() + " has no entry [" + name + "]");
    return settings;
}

OdbcSettings ForAccount(OdbcSettings settings, Engine engine, const std::string& user, const std::string& password) {
    std::erase_if(settings, [](const auto& setting) {
        return IsPassword(setting) || IsOneOf({"User", "Username", "UID"}, setting.first) || IsNeeded(setting.first);
    });
    OdbcEntry usual;
    usual.engine = engine;
    for (const auto& [name, value] : settings)
        if (IsOneOf({"Server", "Servername"}, name))
            usual.server = value;
    for (const auto& setting : SettingsOf(usual))
        if (!IsOwn(setting.first) && std::ranges::none_of(settings, [&](const auto& there) {
                return SameInAnyCase(there.first, setting.first);
            }))
            settings.push_back(setting);
    const bool mariaDb = engine == Engine::MariaDb;
    settings.emplace_back(mariaDb ? "USER" : "Username", user);
    settings.emplace_back(mariaDb ? "PASSWORD" : "Password", password);
    return settings;
}

OdbcSettings EntryInForce(const std::string& name) {
    const char* folder = std::getenv("ODBCSYSINI");
    const fs::path systemsFile = fs::path(folder && *folder ? folder : "/etc") / "odbc.ini";
    for (const fs::path& file : {UserOdbcFile(), systemsFile})
        try {
            return ReadOdbcEntry(file, name);
        } catch (const Error&) {
            continue; // not in this one
        }
    return {};
}

fs::path UserOdbcFile() {
    if (const char* file = std::getenv("ODBCINI"); file && *file)
        return file;
    const passwd* account = getpwuid(getuid());
    return fs::path(account ? account->pw_dir : ".") / ".odbc.ini";
}

void WriteOdbcEntry(const fs::path& file, const OdbcEntry& entry) {
    WriteOdbcEntry(file, entry.name, SettingsOf(entry));
}

void WriteOdbcEntry(const fs::path& file, const std::string& name, const OdbcSettings& settings) {
    RequireOneLine(name, settings);
    std::error_code ignored;
    const fs::path target = fs::weakly_canonical(file, ignored); // a link stays a link
    const bool there = fs::exists(target, ignored);
    const auto permissions = fs::status(target, ignored).permissions();

    WriteSecretFile(target.string(), WithEntry(there ? PosixFiles().ReadText(target.string()) : "", name, settings));
    const bool secret = std::ranges::any_of(
        settings, [](const auto& setting) { return IsPassword(setting) && !setting.second.empty(); });
    if (there)
        fs::permissions(target, secret ? permissions & fs::perms::owner_all : permissions, ignored);
}

} // namespace tavrel
