#pragma once

#include "tests/support/ForwardingDatabase.h"

#include <string>
#include <utility>
#include <vector>

namespace tavrel::test {

/// Keeps the statements whose rows nobody has closed; rows that are only dropped stay among them.
class OpenQueries : public ForwardingConnection {
public:
    OpenQueries(std::unique_ptr<Connection> target, std::vector<std::string>& open)
        : ForwardingConnection(std::move(target)), open_(open) {}

    std::unique_ptr<ResultSet> OpenResultSet(std::string_view statement, Cursor cursor) override {
        class Rows : public ForwardingResultSet {
        public:
            Rows(std::unique_ptr<ResultSet> target, std::string_view statement, std::vector<std::string>& open)
                : ForwardingResultSet(std::move(target)), statement_(statement), open_(open) {}
            void Close() override {
                ForwardingResultSet::Close();
                std::erase(open_, statement_);
            }

        private:
            std::string statement_;
            std::vector<std::string>& open_;
        };
        auto rows = std::make_unique<Rows>(ForwardingConnection::OpenResultSet(statement, cursor), statement, open_);
        open_.emplace_back(statement);
        return rows;
    }

private:
    std::vector<std::string>& open_;
};

} // namespace tavrel::test
