#include "bench/report/BareCatalogue.h"

#include <array>
#include <stdexcept>

#include <sqlext.h>

namespace tavrel {
namespace {

void Require(SQLRETURN outcome, const std::string& what) {
    if (!SQL_SUCCEEDED(outcome))
        throw std::runtime_error("ODBC: " + what);
}

/// The interface takes texts that it does not change by pointers that say otherwise.
SQLCHAR* Text(std::string& text) {
    return reinterpret_cast<SQLCHAR*>(text.data());
}

} // namespace

BareCatalogue::BareCatalogue(const std::string& connectionText) {
    Require(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_), "environment");
    SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    Require(SQLAllocHandle(SQL_HANDLE_DBC, environment_, &connection_), "connection");
    std::string text = connectionText;
    Require(SQLDriverConnect(connection_, nullptr, Text(text), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT),
            connectionText);
}

BareCatalogue::~BareCatalogue() {
    SQLDisconnect(connection_);
    SQLFreeHandle(SQL_HANDLE_DBC, connection_);
    SQLFreeHandle(SQL_HANDLE_ENV, environment_);
}

std::vector<std::vector<std::string>> BareCatalogue::Rows(const std::string& query) const {
    SQLHSTMT statement = nullptr;
    Require(SQLAllocHandle(SQL_HANDLE_STMT, connection_, &statement), "statement");
    std::string text = query;
    Require(SQLExecDirect(statement, Text(text), SQL_NTS), query);
    SQLSMALLINT columns = 0;
    SQLNumResultCols(statement, &columns);
    std::vector<std::vector<std::string>> rows;
    while (SQL_SUCCEEDED(SQLFetch(statement))) {
        auto& row = rows.emplace_back();
        for (SQLUSMALLINT column = 1; column <= columns; ++column) {
            std::array<char, 1024> value{};
            SQLLEN length = 0;
            SQLGetData(statement, column, SQL_C_CHAR, value.data(), value.size(), &length);
            row.emplace_back(value.data());
        }
    }
    SQLFreeHandle(SQL_HANDLE_STMT, statement);
    return rows;
}

} // namespace tavrel
