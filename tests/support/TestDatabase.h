#pragma once

#include "platform/database.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// A database for one test of the adapter, in a real engine, with a few tables of the catalogue: one
/// of each kind of column. Only one at a time in a process; each starts empty.
///
/// SQLite needs nothing (a temporary folder and `ODBCINI` are set up on first use); the two servers
/// are those of `tests/support/engines`, under which the test must run.
class TestDatabase {
public:
    enum class Engine { Sqlite, Postgresql, Mariadb };

    explicit TestDatabase(Engine engine = Engine::Sqlite);

    /// What a program under test opens.
    std::string ConnectionText() const;
    Database& Adapter() const { return *adapter_; }
    /// A further connection, opened.
    std::unique_ptr<Connection> Connect() const;

    /// Runs a statement on the test's own connection.
    void Run(std::string_view statement) const;
    using Row = std::vector<std::optional<std::string>>;
    /// The rows of a query, each with its `columns` first fields.
    std::vector<Row> Rows(std::string_view query, int columns) const;
    /// The only field of a query's only row; "NULL" for null. No row, or more of them, is an error.
    std::string Value(std::string_view query) const;

private:
    void MakeEmpty() const;
    void MakeTables() const;

    Engine engine_;
    std::unique_ptr<Database> adapter_;
    std::unique_ptr<Connection> connection_;
};

} // namespace tavrel
