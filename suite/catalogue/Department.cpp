#include "suite/catalogue/Department.h"

#include "platform/error.h"
#include "platform/limits.h"
#include "platform/sql.h"
#include "platform/text.h"
#include "suite/catalogue/CatalogueVersion.h"
#include "suite/catalogue/Rows.h"
#include "suite/catalogue/SchemaParts.h"
#include "suite/catalogue/Upgrade.h"

#include <sys/random.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <system_error>

namespace tavrel {
namespace {

struct Right {
    std::string_view table;
    std::string_view what;
};

/// The site's data, its signatures and its archive are the owner's to set, and the audit trail only grows.
constexpr std::array FewerRights{
    Right{"Workstation", "SELECT"},     Right{"SiteData", "SELECT"},     Right{"Users", "SELECT"},
    Right{"History", "SELECT, INSERT"}, Right{"Port", "SELECT, UPDATE"}, Right{"DicomServer", "SELECT, UPDATE"},
    Right{"Archive", "SELECT"},         Right{VersionTable, "SELECT"},   Right{"TextBlock", "SELECT"},
    Right{"Writing", "SELECT"},
};

std::string RightsOn(std::string_view table) {
    const auto found = std::ranges::find(FewerRights, table, &Right::table);
    return std::string(found == FewerRights.end() ? "SELECT, INSERT, UPDATE, DELETE" : found->what);
}

[[noreturn]] void Refuse(const std::string& words) {
    throw Error(Fault::OfTheSuite, "Department", words);
}

std::string NewPassword() {
    // None that a driver takes for a sign of its own: PostgreSQL's reads "+" as a blank.
    constexpr std::string_view letters = "ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-.~";
    static_assert(letters.size() == 64); // each as likely as any other
    std::array<unsigned char, 32> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        Refuse("No password can be made: " + std::generic_category().message(errno));
    std::string password;
    for (const unsigned char byte : bytes)
        password += letters[byte % letters.size()];
    return password;
}

/// What joins: as it is known, where nothing else is said. What is known stays.
Department::Workstation Completed(Department::Workstation given, const Department::Workstation& known) {
    const auto keep = [&](auto& value, const auto& present, const auto& none, const char* what) {
        if (value != none && present != none && value != present)
            Refuse(given.name + " is a workstation already, with another " + what +
                   "; \"orbenta-catalogue department list\" shows it");
        if (present != none)
            value = present;
    };
    const std::string nothing;
    keep(given.machine, known.machine, nothing, "machine");
    keep(given.port, known.port, 0, "port");
    keep(given.aeTitle, known.aeTitle, nothing, "AE title");
    keep(given.node, known.node, nothing, "node");
    if (given.machine.empty())
        given.machine = given.name;
    if (given.node.empty())
        std::ranges::transform(given.name, std::back_inserter(given.node), ToUpper);
    return given;
}

void RequireWhole(const Department::Workstation& joining) {
    if (joining.node.size() > longest::AeTitle)
        Refuse("The name " + joining.name + " is too long for a node's: give --node");
    if (joining.port == 0 || joining.aeTitle.empty())
        Refuse("The storage service of " + joining.name + " is not known yet: give both --port and --ae-title");
}

} // namespace

Department::Department(Connection& catalogue) : catalogue_(catalogue), engine_(DetectEngine(catalogue)) {
    // Without this MariaDB makes an account, open to everybody, of whoever is given a right.
    if (engine_ == Engine::MariaDb)
        Run("SET SESSION sql_mode=CONCAT(@@sql_mode, ',NO_AUTO_CREATE_USER')");
}

std::string Department::NameFault(const std::string& name) {
    const auto allowed = [](char c) { return IsLower(c) || IsDigit(c) || c == '-' || c == '_'; };
    if (name.empty() || !IsLower(name.front()) || !std::ranges::all_of(name, allowed))
        return R"(must have small letters, digits, "-" and "_" alone, and begin with a letter)";
    if (name.size() > LongestAccount)
        return "has more than " + std::to_string(LongestAccount) + " characters";
    return {};
}

std::string Department::Collision(const Workstation& one, const Workstation& other) {
    const std::string both = one.name + " and " + other.name + " both ";
    if (!one.node.empty() && one.node == other.node)
        return both + "are the node " + one.node;
    if (one.machine != other.machine)
        return {};
    if (one.port != 0 && one.port == other.port)
        return both + "have port " + std::to_string(one.port) + " of the machine " + one.machine;
    if (!one.aeTitle.empty() && one.aeTitle == other.aeTitle)
        return both + "have a storage service " + one.aeTitle + " on the machine " + one.machine;
    return {};
}

bool Department::Exists() try {
    Run("SELECT Name FROM Workstation WHERE 1=0");
    return true;
} catch (const Error&) {
    return false;
}

void Department::RequireDepartment() {
    if (!Exists())
        Refuse("The catalogue is no department's; \"orbenta-catalogue department init\" makes it one");
}

void Department::Make(const std::string& former) {
    if (engine_ == Engine::Sqlite)
        Refuse("A department needs a catalogue on a PostgreSQL or MariaDB server; this one is a SQLite file, which is "
               "for one machine alone");
    MakeCatalogue(catalogue_, engine_);
    if (!former.empty() && HasAccount(former) &&
        !(Exists() && Find(former))) // its rights are those of the whole catalogue
        Refuse("The server has an account " + former +
               " already, which may do more than a workstation: name the "
               "workstation otherwise");
    // PostgreSQL takes all of it back when something fails. MariaDB commits each of these statements by itself: in this
    // order nothing is lost, and a second run goes on.
    catalogue_.BeginTransaction();
    CreateDepartmentTables(catalogue_, engine_);
    const std::string asking = " = " + CurrentAccount(engine_);
    for (const std::string_view table : OwnTables)
        if (IsTable(table)) {
            KeepRows(table, former);
            Replace(table,
                    "SELECT " + ColumnNames(table) + " FROM " + TableOfAll(table) + " WHERE Workstation" + asking);
        }
    if (IsTable("SiteData")) {
        KeepSite();
        // The owner, who is no workstation, sees the department's own root.
        Replace("SiteData", "SELECT CASE WHEN Workstation.Number IS NULL THEN BaseUID"
                            " ELSE CONCAT(BaseUID, '.', Workstation.Number) END AS BaseUID, Organization, ReportForm"
                            " FROM DepartmentSite LEFT JOIN Workstation ON Workstation.Name" +
                                asking);
    }
    catalogue_.Commit();
    Renew();
}

void Department::Replace(std::string_view table, const std::string& query) {
    Run("DROP TABLE " + std::string(table));
    Run("CREATE VIEW " + std::string(table) + " AS " + query);
}

bool Department::IsTable(std::string_view name) {
    return Any("SELECT table_name FROM information_schema.tables WHERE table_type='BASE TABLE' AND table_schema=" +
               ItsSchema() + " AND lower(table_name)=lower('" + std::string(name) + "')");
}

void Department::KeepRows(std::string_view ownTable, const std::string& former) {
    // A page lives as long as it is printed.
    if (ownTable == "Report" || !Any("SELECT * FROM " + std::string(ownTable)))
        return;
    if (former.empty())
        Refuse("The catalogue has served one workstation until now, which keeps its port and its node: name it by "
               "--former NAME");
    if (!Find(former))
        InsertRow(catalogue_, "Workstation", {{"Name", former}, {"Machine", former}});
    const std::string all = TableOfAll(ownTable);
    RunChange(catalogue_, "DELETE FROM " + all + " WHERE Workstation=?", std::array{former});
    const std::string columns = ColumnNames(ownTable);
    Run("INSERT INTO " + all + " (Workstation, " + columns + ") SELECT '" + former + "', " + columns + " FROM " +
        std::string(ownTable));
}

void Department::KeepSite() {
    if (!Any("SELECT * FROM SiteData"))
        return;
    const std::string columns = ColumnNames("SiteData");
    Run("DELETE FROM DepartmentSite");
    Run("INSERT INTO DepartmentSite (" + columns + ") SELECT " + columns + " FROM SiteData");
}

void Department::Renew() {
    for (const Workstation& workstation : Workstations())
        if (HasAccount(workstation.name)) {
            catalogue_.BeginTransaction();
            Grant(workstation.name);
            catalogue_.Commit();
        }
}

std::vector<Department::Workstation> Department::Workstations() {
    RequireDepartment();
    std::vector<Workstation> found;
    const auto rows =
        catalogue_.OpenResultSet("SELECT w.Name, w.Machine, p.Port, p.AETitle, n.AETitle AS Node FROM Workstation w"
                                 " LEFT JOIN WorkstationPort p ON p.Workstation=w.Name"
                                 " LEFT JOIN WorkstationDicomServer n ON n.Workstation=w.Name ORDER BY w.Name");
    for (; !rows->AtEnd(); rows->MoveNext())
        found.push_back({rows->Text("Name"), TextOrEmpty(*rows, "Machine"),
                         std::atoi(TextOrEmpty(*rows, "Port").c_str()), TextOrEmpty(*rows, "AETitle"),
                         TextOrEmpty(*rows, "Node")});
    return found;
}

std::vector<std::string> Department::Names() {
    std::vector<std::string> names;
    for (const auto rows = catalogue_.OpenResultSet("SELECT Name FROM Workstation ORDER BY Name"); !rows->AtEnd();
         rows->MoveNext())
        names.push_back(rows->Text("Name"));
    return names;
}

std::string Department::LackingRights() {
    std::vector<std::string> given;
    const auto rows =
        catalogue_.OpenResultSet("SELECT table_name, privilege_type FROM information_schema.table_privileges");
    for (; !rows->AtEnd(); rows->MoveNext())
        given.push_back(TextOrEmpty(*rows, "privilege_type") + " on " + TextOrEmpty(*rows, "table_name"));
    std::vector<std::string> lacking;
    // One that is not seen may be there without a right.
    const int version = ReadCatalogueVersion(catalogue_).value_or(CatalogueVersion{1, OldestWriter}).number;
    std::vector<std::string> tables = {"Workstation"};
    for (const schema::Table& table : schema::Tables())
        if (table.since <= version)
            tables.push_back(table.name);
    for (const std::string& table : tables)
        for (const std::string_view right : {"SELECT", "INSERT", "UPDATE", "DELETE"}) {
            const std::string words = std::string(right) + " on " + table;
            const auto same = [&](const std::string& each) { return SameInAnyCase(each, words); };
            if (RightsOn(table).find(right) != std::string::npos && std::ranges::none_of(given, same))
                lacking.push_back(words);
        }
    return Listed(lacking);
}

std::optional<Department::Workstation> Department::Find(const std::string& name) {
    const auto all = Workstations();
    const auto found = std::ranges::find(all, name, &Workstation::name);
    return found == all.end() ? std::nullopt : std::optional(*found);
}

std::optional<std::string> Department::Join(const Workstation& workstation, bool newPassword) {
    const auto known = Find(workstation.name);
    const Workstation joining = Completed(workstation, known.value_or(Workstation{}));
    RequireWhole(joining);
    RequireShortBaseUid();
    for (const Workstation& other : Workstations())
        if (const std::string words = Collision(joining, other); other.name != joining.name && !words.empty())
            Refuse(words);
    const bool account = HasAccount(joining.name);
    if (account && !known)
        Refuse("The server has an account " + joining.name +
               " that is no workstation's of this department: choose "
               "another name. What an interrupted join has left, the server's administrator drops");

    const std::string password = NewPassword();
    bool made = false;
    try {
        catalogue_.BeginTransaction();
        if (!account) {
            MakeAccount(joining.name, password);
            made = true;
        } else if (newPassword) {
            Run("ALTER " + Account(joining.name) + Identified(password));
        }
        AddMissingRows(joining, known);
        Grant(joining.name);
        catalogue_.Commit();
    } catch (const Error&) {
        if (made && !known && engine_ == Engine::MariaDb) // where no transaction takes an account back
            DropAccount(joining.name);
        throw;
    }
    return made || newPassword ? std::optional(password) : std::nullopt;
}

void Department::RequireShortBaseUid() {
    const auto site = catalogue_.OpenResultSet("SELECT BaseUID FROM DepartmentSite");
    constexpr std::size_t longest = longest::BaseUid - LongestNumber;
    if (!site->AtEnd() && TextOrEmpty(*site, "BaseUID").size() > longest)
        Refuse("Below the department's base UID each workstation has one of its own, so it must have at most " +
               std::to_string(longest) + R"( characters: "orbenta-catalogue site --base-uid UID" sets it)");
}

void Department::Leave(const std::string& name) {
    if (!Find(name))
        Refuse("There is no workstation " + name);
    const bool account = HasAccount(name);
    catalogue_.BeginTransaction();
    if (account)
        DropAccount(name);
    for (const std::string_view table : OwnTables)
        RunChange(catalogue_, "DELETE FROM " + TableOfAll(table) + " WHERE Workstation=?", std::array{name});
    RunChange(catalogue_, "DELETE FROM Workstation WHERE Name=?", std::array{name});
    catalogue_.Commit();
}

bool Department::HasAccount(const std::string& name) {
    if (engine_ == Engine::PostgreSql)
        return Any("SELECT rolname FROM pg_roles WHERE rolname='" + name + "'");
    constexpr int noSuchAccount = 1133;
    try { // who may not read the server's own tables learns it by a right that is none
        Run("GRANT USAGE ON Patient TO " + Grantee(name));
        return true;
    } catch (const Error& error) {
        if (error.number == noSuchAccount)
            return false;
        throw;
    }
}

void Department::MakeAccount(const std::string& name, const std::string& password) {
    Run("CREATE " + Account(name) + Identified(password));
}

void Department::DropAccount(const std::string& name) {
    if (engine_ == Engine::PostgreSql)
        for (const std::string& table : TablesThere())
            Run("REVOKE ALL ON " + table + " FROM " + Grantee(name));
    Run("DROP " + Account(name));
}

void Department::AddMissingRows(const Workstation& joining, const std::optional<Workstation>& known) {
    if (!known)
        InsertRow(catalogue_, "Workstation", {{"Name", joining.name}, {"Machine", joining.machine}});
    if (!known || known->port == 0)
        InsertRow(
            catalogue_, TableOfAll("Port"),
            {{"Workstation", joining.name}, {"Port", std::to_string(joining.port)}, {"AETitle", joining.aeTitle}});
    if (!known || known->node.empty())
        InsertRow(catalogue_, TableOfAll("DicomServer"), {{"Workstation", joining.name}, {"AETitle", joining.node}});
}

void Department::Grant(const std::string& name) {
    for (const std::string& statement : GrantStatements(name, TablesThere()))
        Run(statement);
}

std::vector<std::string> Department::GrantStatements(const std::string& name,
                                                     const std::vector<std::string>& tables) const {
    std::vector<std::string> statements;
    statements.reserve(tables.size());
    for (const std::string& table : tables)
        statements.push_back("GRANT " + RightsOn(table) + " ON " + table + " TO " + Grantee(name));
    return statements;
}

std::vector<std::string> Department::RightsStatements() {
    std::vector<std::string> tables = CatalogueTables();
    tables.emplace_back("Workstation");
    std::vector<std::string> statements;
    for (const Workstation& workstation : Workstations())
        if (HasAccount(workstation.name))
            std::ranges::move(GrantStatements(workstation.name, tables), std::back_inserter(statements));
    return statements;
}

/// An older catalogue has fewer.
std::vector<std::string> Department::TablesThere() {
    std::vector<std::string> there;
    const auto rows =
        catalogue_.OpenResultSet("SELECT table_name FROM information_schema.tables WHERE table_schema=" + ItsSchema());
    for (; !rows->AtEnd(); rows->MoveNext())
        there.push_back(TextOrEmpty(*rows, "table_name"));
    std::vector<std::string> tables = CatalogueTables();
    tables.emplace_back("Workstation");
    std::erase_if(tables, [&](const std::string& table) {
        return std::ranges::none_of(there, [&](const std::string& each) { return SameInAnyCase(each, table); });
    });
    return tables;
}

std::string Department::Grantee(const std::string& name) const {
    return engine_ == Engine::MariaDb ? "'" + name + "'@'%'" : "\"" + name + "\"";
}

/// As CREATE, ALTER and DROP name it.
std::string Department::Account(const std::string& name) const {
    return (engine_ == Engine::MariaDb ? "USER " : "ROLE ") + Grantee(name);
}

std::string Department::Identified(const std::string& password) const {
    return (engine_ == Engine::MariaDb ? " IDENTIFIED BY '" : " LOGIN PASSWORD '") + password + "'";
}

} // namespace tavrel
