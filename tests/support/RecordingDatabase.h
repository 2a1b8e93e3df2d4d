#pragma once

#include "tests/support/ForwardingDatabase.h"

#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace tavrel::test {

/// What was run on the catalogue, and with which cursor.
struct RanStatement {
    std::string text;
    Cursor cursor = Cursor::ForwardOnly;
    bool operator==(const RanStatement&) const = default;

    friend void PrintTo(const RanStatement& statement, std::ostream* out) {
        *out << '"' << statement.text << '"' << (statement.cursor == Cursor::Dynamic ? " (dynamic)" : "");
    }
};

/// Notes the statements and passes them on.
class RecordingConnection : public ForwardingConnection {
public:
    RecordingConnection(std::unique_ptr<Connection> target, std::vector<RanStatement>& ran)
        : ForwardingConnection(std::move(target)), ran_(ran) {}

    std::unique_ptr<ResultSet> OpenResultSet(std::string_view statement, Cursor cursor) override {
        ran_.push_back({std::string(statement), cursor});
        return ForwardingConnection::OpenResultSet(statement, cursor);
    }

private:
    std::vector<RanStatement>& ran_;
};

/// Notes the statements of every connection that it makes.
class RecordingDatabase : public ForwardingDatabase {
public:
    using ForwardingDatabase::ForwardingDatabase;
    std::unique_ptr<Connection> NewConnection() override {
        return std::make_unique<RecordingConnection>(ForwardingDatabase::NewConnection(), statements);
    }

    std::vector<RanStatement> statements;
};

} // namespace tavrel::test
