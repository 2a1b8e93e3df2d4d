#include "platform/odbc/OdbcSession.h"

#include "platform/odbc/OdbcError.h"

#include <sqlext.h>

#include <array>

namespace tavrel {

namespace {

SQLPOINTER AttributeValue(SQLULEN value) {
    return reinterpret_cast<SQLPOINTER>(value); // NOLINT(performance-no-int-to-ptr): the C API's own convention
}

/// A value of a connection text: in braces where it needs them, as some drivers would take the braces
/// around a plain one for a part of it.
std::string ConnectionValue(std::string_view value) {
    if (value.find_first_of(";={}") == std::string_view::npos)
        return std::string(value);
    std::string text = "{";
    for (const char character : value)
        text.append(character == '}' ? 2 : 1, character);
    return text + "}";
}

} // namespace

void OdbcSession::Open(std::string_view connectionText, std::string_view user, std::string_view password) {
    if (IsOpen())
        throw OdbcError(OdbcFailure::AlreadyConnected, "The connection to the database is open already.");

    SQLHANDLE handle = nullptr;
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, nullptr, &handle)))
        throw OdbcError(OdbcFailure::NotConnected, "The ODBC driver manager could not be started.");
    OdbcHandle environment(SQL_HANDLE_ENV, handle);
    SQLSetEnvAttr(environment.Get(), SQL_ATTR_ODBC_VERSION, AttributeValue(SQL_OV_ODBC3), 0);
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_DBC, environment.Get(), &handle)))
        throw OdbcDiagnostics::Read(SQL_HANDLE_ENV, environment.Get()).AsError();
    OdbcHandle connection(SQL_HANDLE_DBC, handle);
    constexpr SQLULEN loginSeconds = 5;
    SQLSetConnectAttr(connection.Get(), SQL_ATTR_LOGIN_TIMEOUT, AttributeValue(loginSeconds), SQL_IS_UINTEGER);

    // An empty UID or PWD would take the place of the entry's own credentials.
    std::string text(connectionText);
    if (!user.empty())
        text += ";UID=" + ConnectionValue(user);
    if (!password.empty())
        text += ";PWD=" + ConnectionValue(password);
    const SQLRETURN result =
        SQLDriverConnect(connection.Get(), nullptr, reinterpret_cast<SQLCHAR*>(text.data()),
                         static_cast<SQLSMALLINT>(text.size()), nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
    if (!SQL_SUCCEEDED(result)) {
        Error error = OdbcDiagnostics::Read(SQL_HANDLE_DBC, connection.Get()).AsError();
        // What follows the entry's name may be a password.
        error.description += " (" + std::string(connectionText.substr(0, connectionText.find(';'))) + ")";
        throw error;
    }

    environment_ = std::move(environment);
    connection_ = std::move(connection);
    lossReason_.clear();
    const std::string engine = Info(SQL_DBMS_NAME);
    if (engine == "SQLite")
        engine_ = Engine::Sqlite;
    else if (engine == "PostgreSQL")
        engine_ = Engine::Postgresql;
    else
        engine_ = engine == "MariaDB" || engine == "MySQL" ? Engine::Mariadb : Engine::Other;
    identifierQuote_ = Info(SQL_IDENTIFIER_QUOTE_CHAR);
}

void OdbcSession::Close() noexcept {
    if (!IsOpen())
        return;
    for (const auto& statement : statements_)
        if (const auto live = statement.lock())
            live->Free();
    statements_.clear();
    DropTransaction();
    SQLDisconnect(connection_.Get());
    connection_.Free();
    environment_.Free();
}

std::string OdbcSession::WhereOneRow(std::string_view table, std::string_view condition) const {
    const auto nameOfFirst = [&](const std::string& name) {
        return " WHERE " + name + " = (SELECT " + name + " FROM " + std::string(table) + " WHERE " +
               std::string(condition) + " LIMIT 1)";
    };
    switch (engine_) {
    case Engine::Sqlite:
        return nameOfFirst("rowid");
    case Engine::Postgresql:
        return nameOfFirst("ctid");
    case Engine::Mariadb:
        return " WHERE " + std::string(condition) + " LIMIT 1";
    case Engine::Other:
        break;
    }
    return " WHERE " + std::string(condition);
}

void OdbcSession::BeginTransaction() {
    RequireOpen();
    DropTransaction();
    // A deferred SQLite transaction that reads before it writes can fail at once when another writer
    // came first; one that is a writer from its start waits for its turn.
    if (engine_ == Engine::Sqlite)
        RunPlain("BEGIN IMMEDIATE");
    else if (!SetAutocommit(false))
        Fail(SQL_HANDLE_DBC, connection_.Get());
    inTransaction_ = true;
}

void OdbcSession::Commit() {
    RequireOpen();
    if (!inTransaction_)
        throw OdbcError(OdbcFailure::NoTransaction,
                        "There is no transaction to commit: none was begun, or it was dropped when one of its "
                        "statements failed.");
    Guarded([this] {
        if (engine_ == Engine::Sqlite)
            RunPlain("COMMIT");
        else if (!SQL_SUCCEEDED(SQLEndTran(SQL_HANDLE_DBC, connection_.Get(), SQL_COMMIT)))
            Fail(SQL_HANDLE_DBC, connection_.Get());
    });
    inTransaction_ = false;
    if (engine_ != Engine::Sqlite && !SetAutocommit(true))
        Fail(SQL_HANDLE_DBC, connection_.Get());
}

void OdbcSession::DropTransaction() noexcept {
    if (!IsOpen() || !inTransaction_)
        return;
    inTransaction_ = false;
    // Where this fails, the engine has dropped the transaction itself.
    try {
        if (engine_ == Engine::Sqlite) {
            RunPlain("ROLLBACK");
        } else {
            SQLEndTran(SQL_HANDLE_DBC, connection_.Get(), SQL_ROLLBACK);
            SetAutocommit(true);
        }
    } catch (const std::exception&) {
        return;
    }
}

std::shared_ptr<OdbcHandle> OdbcSession::NewStatement() {
    RequireOpen();
    SQLHANDLE handle = nullptr;
    // Fails, too, when the server died since the last call.
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, connection_.Get(), &handle)))
        Fail(SQL_HANDLE_DBC, connection_.Get());
    auto statement = std::make_shared<OdbcHandle>(SQL_HANDLE_STMT, handle);
    std::erase_if(statements_, [](const auto& old) { return old.expired(); });
    statements_.push_back(statement);
    return statement;
}

void OdbcSession::Fail(SQLHSTMT statement) {
    RequireOpen();
    if (statement == nullptr)
        throw OdbcError(OdbcFailure::NotConnected, "The connection to the database was closed meanwhile.");
    Fail(SQL_HANDLE_STMT, statement);
}

void OdbcSession::Fail(SQLSMALLINT handleType, SQLHANDLE handle) {
    const OdbcDiagnostics diagnostics = OdbcDiagnostics::Read(handleType, handle);
    if (diagnostics.connectionLost || IsConnectionDead()) {
        lossReason_ = diagnostics.text;
        inTransaction_ = false;
        Close();
    }
    throw diagnostics.AsError();
}

void OdbcSession::RequireOpen() const {
    if (IsOpen())
        return;
    if (lossReason_.empty())
        throw OdbcError(OdbcFailure::NotConnected, "The connection to the database is closed.");
    throw OdbcError(OdbcFailure::NotConnected, "The connection to the database was lost: " + lossReason_);
}

bool OdbcSession::IsConnectionDead() const {
    SQLUINTEGER dead = SQL_CD_FALSE;
    const SQLRETURN result = SQLGetConnectAttr(connection_.Get(), SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr);
    return SQL_SUCCEEDED(result) && dead == SQL_CD_TRUE;
}

std::string OdbcSession::Info(SQLUSMALLINT item) const {
    std::array<char, 128> text{};
    SQLSMALLINT length = 0;
    SQLGetInfo(connection_.Get(), item, text.data(), static_cast<SQLSMALLINT>(text.size()), &length);
    return text.data();
}

void OdbcSession::RunPlain(std::string_view statement) {
    const auto handle = NewStatement();
    std::string text(statement);
    const SQLRETURN result = SQLExecDirect(handle->Get(), reinterpret_cast<SQLCHAR*>(text.data()), SQL_NTS);
    if (!SQL_SUCCEEDED(result) && result != SQL_NO_DATA)
        Fail(handle->Get());
}

bool OdbcSession::SetAutocommit(bool on) const {
    const SQLULEN value = on ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF;
    return SQL_SUCCEEDED(
        SQLSetConnectAttr(connection_.Get(), SQL_ATTR_AUTOCOMMIT, AttributeValue(value), SQL_IS_UINTEGER));
}

} // namespace tavrel
