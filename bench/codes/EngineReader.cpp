#include "bench/codes/EngineReader.h"

#include <libpq-fe.h>
#include <mysql.h>
#include <odbcinst.h>
#include <sqlite3.h>

#include <array>
#include <stdexcept>

namespace tavrel {
namespace {

class SqliteReader final : public EngineReader {
public:
    explicit SqliteReader(const std::string& file) {
        if (sqlite3_open(file.c_str(), &database_) != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(database_));
    }
    ~SqliteReader() override { sqlite3_close(database_); }

    void Read(const std::string& statement, std::vector<CodeRow>& rows) override {
        rows.clear();
        sqlite3_stmt* query = nullptr;
        if (sqlite3_prepare_v2(database_, statement.c_str(), -1, &query, nullptr) != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(database_));
        while (sqlite3_step(query) == SQLITE_ROW)
            rows.push_back({Column(query, 1), Column(query, 0), Column(query, 2)});
        sqlite3_finalize(query);
    }

private:
    static std::string Column(sqlite3_stmt* query, int column) {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(query, column));
        return {text, static_cast<std::size_t>(sqlite3_column_bytes(query, column))};
    }

    sqlite3* database_ = nullptr;
};

class PostgresqlReader final : public EngineReader {
public:
    explicit PostgresqlReader(const std::string& conninfo) : connection_(PQconnectdb(conninfo.c_str())) {
        if (PQstatus(connection_) != CONNECTION_OK)
            throw std::runtime_error(PQerrorMessage(connection_));
    }
    ~PostgresqlReader() override { PQfinish(connection_); }

    void Read(const std::string& statement, std::vector<CodeRow>& rows) override {
        rows.clear();
        PGresult* result = PQexec(connection_, statement.c_str());
        if (PQresultStatus(result) != PGRES_TUPLES_OK)
            throw std::runtime_error(PQerrorMessage(connection_));
        for (int row = 0; row < PQntuples(result); ++row)
            rows.push_back({Column(result, row, 1), Column(result, row, 0), Column(result, row, 2)});
        PQclear(result);
    }

private:
    static std::string Column(const PGresult* result, int row, int column) {
        return {PQgetvalue(result, row, column), static_cast<std::size_t>(PQgetlength(result, row, column))};
    }

    PGconn* connection_;
};

class MariadbReader final : public EngineReader {
public:
    explicit MariadbReader(const std::string& entry) : connection_(mysql_init(nullptr)) {
        mysql_options(connection_, MYSQL_SET_CHARSET_NAME, "utf8mb4");
        const auto port = static_cast<unsigned>(std::stoul(EntryValue(entry, "PORT")));
        if (!mysql_real_connect(connection_, EntryValue(entry, "SERVER").c_str(), EntryValue(entry, "USER").c_str(),
                                EntryValue(entry, "PASSWORD").c_str(), EntryValue(entry, "DATABASE").c_str(), port,
                                nullptr, 0))
            throw std::runtime_error(mysql_error(connection_));
    }
    ~MariadbReader() override { mysql_close(connection_); }

    void Read(const std::string& statement, std::vector<CodeRow>& rows) override {
        rows.clear();
        if (mysql_query(connection_, statement.c_str()) != 0)
            throw std::runtime_error(mysql_error(connection_));
        MYSQL_RES* result = mysql_store_result(connection_);
        while (MYSQL_ROW row = mysql_fetch_row(result)) {
            const unsigned long* lengths = mysql_fetch_lengths(result);
            rows.push_back({{row[1], lengths[1]}, {row[0], lengths[0]}, {row[2], lengths[2]}});
        }
        mysql_free_result(result);
    }

private:
    MYSQL* connection_;
};

} // namespace

std::string EntryValue(const std::string& entry, const std::string& key) {
    std::array<char, 1024> value{};
    SQLGetPrivateProfileString(entry.c_str(), key.c_str(), "", value.data(), static_cast<int>(value.size()),
                               "odbc.ini");
    return value.data();
}

std::unique_ptr<EngineReader> NewSqliteReader(const std::string& entry) {
    return std::make_unique<SqliteReader>(EntryValue(entry, "Database"));
}

std::unique_ptr<EngineReader> NewPostgresqlReader(const std::string& entry) {
    return std::make_unique<PostgresqlReader>(
        "host=" + EntryValue(entry, "Servername") + " port=" + EntryValue(entry, "Port") +
        " dbname=" + EntryValue(entry, "Database") + " user=" + EntryValue(entry, "Username") +
        " password=" + EntryValue(entry, "Password"));
}

std::unique_ptr<EngineReader> NewMariadbReader(const std::string& entry) {
    return std::make_unique<MariadbReader>(entry);
}

} // namespace tavrel
