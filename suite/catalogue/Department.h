#pragma once

#include "suite/catalogue/Schema.h"

#include <optional>
#include <string>
#include <vector>

namespace tavrel {

/// A department: one catalogue on a server for many workstations, each with an account of its own on that server.
///
/// All tables are shared but a few, of which each workstation has rows of its own: its port, its node, its page to
/// print, and its root of UIDs below the department's, because two that save in one second would make the same UID for
/// two patients. Those are views by the account that asks, on either engine, of tables that the owner alone reads. So
/// no statement of the programs changes, a new table or column is there for every workstation at once, and a
/// workstation is an account and a few rows. Schemas of their own would do for PostgreSQL; on MariaDB each would have
/// to hold a view of every shared table, made anew with every column. What it costs: on MariaDB two workstations that
/// print at the same moment would lock the gaps between each other's rows, if the entry (`OdbcEntry.cpp`) did not ask
/// for what is committed, which is PostgreSQL's way.
class Department {
public:
    /// What a workstation's root of UIDs adds to the department's: a point and its number.
    static constexpr std::size_t LongestNumber = 5;

    struct Workstation {
        std::string name; ///< its account's, too
        std::string machine;
        int port = 0; ///< 0: none
        std::string aeTitle;
        std::string node;
    };

    /// `catalogue` is open. Whatever changes something needs the owner of the tables, who may make accounts.
    explicit Department(Connection& catalogue);

    /// What is wrong with a workstation's name; empty when nothing is.
    static std::string NameFault(const std::string& name);
    /// What two workstations must not share, in words; empty when all is well.
    static std::string Collision(const Workstation& one, const Workstation& other);

    bool Exists();
    /// Makes the catalogue a department's, with all tables; once more, what is missing of it. A catalogue that has
    /// served one workstation keeps its rows as those of `former`, which must be named then; an older one is brought up
    /// before.
    void Make(const std::string& former);
    /// Gives every workstation the rights that it needs, on tables that are new too.
    void Renew();
    /// What gives them, once the catalogue has all its tables.
    std::vector<std::string> RightsStatements();

    /// In the order of their names, which every workstation may read, and with what the owner alone may.
    std::vector<std::string> Names();
    std::vector<Workstation> Workstations();
    /// For the owner alone, too.
    bool HasAccount(const std::string& name);
    /// Of the account that asks, with the tables, in words; empty when it lacks none.
    std::string LackingRights();
    Engine ItsEngine() const { return engine_; }

    /// Makes account, rights and rows of a workstation, or what is missing of them; rows that are there stay as they
    /// are. Answers the account's password when it is a new one, which `newPassword` asks for. An account of that name
    /// that is no workstation's is left alone, with an error.
    std::optional<std::string> Join(const Workstation& workstation, bool newPassword);
    /// Takes account, rights and rows of a workstation away.
    void Leave(const std::string& name);

private:
    void RequireDepartment();
    std::optional<Workstation> Find(const std::string& name);
    std::string ItsSchema() const { return engine_ == Engine::MariaDb ? "DATABASE()" : "current_schema()"; }
    bool IsTable(std::string_view name);
    void KeepRows(std::string_view ownTable, const std::string& former);
    void KeepSite();
    void Replace(std::string_view table, const std::string& query);
    void RequireShortBaseUid();
    void MakeAccount(const std::string& name, const std::string& password);
    void DropAccount(const std::string& name);
    void AddMissingRows(const Workstation& joining, const std::optional<Workstation>& known);
    void Grant(const std::string& name);
    std::vector<std::string> GrantStatements(const std::string& name, const std::vector<std::string>& tables) const;
    std::vector<std::string> TablesThere();
    std::string Grantee(const std::string& name) const;
    std::string Account(const std::string& name) const;
    std::string Identified(const std::string& password) const;
    void Run(const std::string& statement) { catalogue_.OpenResultSet(statement); }
    bool Any(const std::string& query) { return !catalogue_.OpenResultSet(query)->AtEnd(); }

    Connection& catalogue_;
    Engine engine_;
};

} // namespace tavrel
