#include "platform/odbc/OdbcSession.h"

#include "platform/background.h"
#include "platform/odbc/OdbcError.h"
#include "platform/text.h"

#include <odbcinst.h>
#include <sqlext.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <filesystem>
#include <system_error>
#include <thread>
#include <utility>

namespace tavrel {

namespace {

/// Of MariaDB: what a node without a majority may say, too, which waits in vain for the others' changes.
constexpr int LockWaitTimeout = 1205;

/// Nearly every answer comes sooner.
constexpr auto Blink = std::chrono::milliseconds(150);

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

SQLRETURN Ask(SQLHSTMT statement, std::string question) {
    return SQLExecDirect(statement, reinterpret_cast<SQLCHAR*>(question.data()), SQL_NTS);
}

/// Whether a node that took a connection answers: one of a cluster may find itself without a majority.
bool Serves(const OdbcHandles& handles) {
    SQLHANDLE statement = nullptr;
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, handles.connection.Get(), &statement)))
        return false;
    const OdbcHandle ended(SQL_HANDLE_STMT, statement);
    return SQL_SUCCEEDED(Ask(statement, "SELECT 1"));
}

std::shared_ptr<OdbcHandles> NewHandles() {
    SQLHANDLE handle = nullptr;
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, nullptr, &handle)))
        throw OdbcError(OdbcFailure::NotConnected, "The ODBC driver manager could not be started.");
    auto handles = std::make_shared<OdbcHandles>();
    handles->environment = OdbcHandle(SQL_HANDLE_ENV, handle);
    SQLSetEnvAttr(handle, SQL_ATTR_ODBC_VERSION, AttributeValue(SQL_OV_ODBC3), 0);
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_DBC, handles->environment.Get(), &handle)))
        throw OdbcDiagnostics::Read(SQL_HANDLE_ENV, handles->environment.Get()).AsError();
    handles->connection = OdbcHandle(SQL_HANDLE_DBC, handle);
    constexpr SQLULEN loginSeconds = 5;
    SQLSetConnectAttr(handle, SQL_ATTR_LOGIN_TIMEOUT, AttributeValue(loginSeconds), SQL_IS_UINTEGER);
    return handles;
}

SQLRETURN Connect(const OdbcHandles& handles, std::string& text) {
    return SQLDriverConnect(handles.connection.Get(), nullptr, reinterpret_cast<SQLCHAR*>(text.data()),
                            static_cast<SQLSMALLINT>(text.size()), nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
}

std::string ValueOfEntry(const std::string& entry, const char* key) {
    std::array<char, PATH_MAX> value{};
    SQLGetPrivateProfileString(entry.c_str(), key, "", value.data(), static_cast<int>(value.size()), "odbc.ini");
    return value.data();
}

/// Why no driver was found, which the driver manager says in one sentence for two reasons.
Error NoDriver(const std::string& entry) {
    const std::string driver = ValueOfEntry(entry, "Driver");
    std::string words = "The database cannot be opened: ";
    if (!driver.empty())
        words.append("its driver \"").append(driver).append("\" is not installed");
    else
        words.append("this account has no ODBC entry \"")
            .append(entry)
            .append("\" that leads to a catalogue; \"orbenta-catalogue ")
            .append(entry == "DicomFDB" ? "setup" : "odbc --dsn " + entry)
            .append("\" makes one");
    return OdbcError(OdbcFailure::NoDriver, words);
}

/// What SQLite's driver says, with the file that it could not open, and why.
std::string WhyNotOpened(const std::string& catalogue, const std::string& itsWords) {
    const bool readable = access(catalogue.c_str(), R_OK) == 0;
    return catalogue + ": " + (readable ? itsWords : std::generic_category().message(errno));
}

/// The same of one that could not be changed: beside it there must be files to write, too.
std::string WhyUnchanged(const std::string& catalogue, const std::string& itsWords) {
    const std::string words = "The catalogue " + catalogue + " cannot be changed: ";
    for (const std::string& each :
         {catalogue, catalogue + "-wal", catalogue + "-shm", std::filesystem::path(catalogue).parent_path().string()})
        if (access(each.c_str(), W_OK) != 0 && errno != ENOENT)
            return words + "this account may not write " + (each == catalogue ? "it" : each) + " (" +
                   std::generic_category().message(errno) + ")";
    return words + itsWords;
}

std::string LossOf(const std::string& reason) {
    return "The connection to the database was lost: " + reason;
}

} // namespace

void OdbcSession::Open(std::string_view connectionText, std::string_view user, std::string_view password) {
    if (IsOpen())
        throw OdbcError(OdbcFailure::AlreadyConnected, "The connection to the database is open already.");

    std::shared_ptr<OdbcHandles> handles;
    SQLRETURN result = SQL_ERROR;
    if (const auto ahead = std::exchange(ahead_, {});
        ahead.text == connectionText && user.empty() && password.empty()) {
        handles = ahead.handles;
        result = AwaitCall(ahead.call);
    }
    const Login login{std::string(connectionText), std::string(user), std::string(password)};
    // An empty UID or PWD would take the place of the entry's own credentials.
    std::string text = login.text;
    if (!user.empty())
        text += ";UID=" + ConnectionValue(user);
    if (!password.empty())
        text += ";PWD=" + ConnectionValue(password);
    // The others take over within some seconds, of which the last quarter is left for the connection itself.
    const auto until =
        std::chrono::steady_clock::now() + (othersBeside_ ? patience_.most * 3 / 4 : std::chrono::seconds(0));
    if (!handles) {
        handles = NewHandles();
        result = Await(Effect::Changes, [handles, text, until]() mutable {
            for (;;) {
                const SQLRETURN tried = Connect(*handles, text);
                const bool awaited = std::chrono::steady_clock::now() < until;
                if (!awaited || (SQL_SUCCEEDED(tried) && Serves(*handles)))
                    return tried;
                SQLDisconnect(handles->connection.Get());
                std::this_thread::sleep_for(Blink);
            }
        });
    }
    if (!SQL_SUCCEEDED(result)) {
        const auto diagnostics = OdbcDiagnostics::Read(SQL_HANDLE_DBC, handles->connection.Get());
        constexpr std::string_view byEntry = "DSN=";
        const std::string entry = login.text.starts_with(byEntry)
                                      ? login.text.substr(byEntry.size(), login.text.find(';') - byEntry.size())
                                      : std::string();
        if (diagnostics.driverUnknown && !entry.empty())
            throw NoDriver(entry);
        Error error = diagnostics.AsError();
        if (error.description.starts_with("[SQLite]"))
            error.description = WhyNotOpened(ValueOfEntry(entry, "Database"), error.description);
        // What follows the entry's name may be a password.
        error.description = "The database cannot be opened: " + error.description + " (" +
                            login.text.substr(0, login.text.find(';')) + ")";
        throw error;
    }

    handles_ = handles;
    login_ = login;
    silent_ = false;
    lossReason_.clear();
    const std::string engine = Info(SQL_DBMS_NAME);
    if (engine == "SQLite")
        engine_ = Engine::Sqlite;
    else if (engine == "PostgreSQL")
        engine_ = Engine::Postgresql;
    else
        engine_ = engine == "MariaDB" || engine == "MySQL" ? Engine::Mariadb : Engine::Other;
    identifierQuote_ = Info(SQL_IDENTIFIER_QUOTE_CHAR);
    othersBeside_ = HasOthersBeside();
}

void OdbcSession::OpenAhead(std::string_view connectionText) {
    ahead_.text = connectionText;
    ahead_.handles = NewHandles();
    ahead_.call = std::make_shared<OdbcCall>(
        [handles = ahead_.handles, text = ahead_.text]() mutable { return Connect(*handles, text); });
}

void OdbcSession::Close() noexcept {
    LeaveAhead();
    login_ = {};
    othersBeside_ = false;
    Disconnect();
}

void OdbcSession::Disconnect() noexcept {
    if (!IsOpen())
        return;
    for (const auto& statement : statements_)
        if (const auto live = statement.lock())
            live->Free();
    statements_.clear();
    DropTransaction();
    handles_.reset();
}

void OdbcSession::Reopen() {
    const Login login = login_;
    Open(login.text, login.user, login.password);
}

void OdbcSession::MakeReady(Effect effect) {
    if (!IsOpen() && !login_.text.empty())
        return Reopen();
    RequireOpen();
    if (effect == Effect::Reads || engine_ == Engine::Sqlite)
        return;
    try {
        RunPlain("SELECT 1");
    } catch (const Error&) {
        if (silent_)
            throw;
        Disconnect();
        Reopen();
    }
}

OdbcSession::Effect OdbcSession::EffectOf(std::string_view statement) {
    constexpr std::string_view question = "SELECT";
    const auto start = std::min(statement.find_first_not_of(" \t\r\n"), statement.size());
    return SameInAnyCase(statement.substr(start, question.size()), question) ? Effect::Reads : Effect::Changes;
}

SQLRETURN OdbcSession::Await(Effect effect, std::function<SQLRETURN()> call) {
    // What is handled while an answer is waited for may ask the same connection.
    if (running_ && !Answered(*running_, runningUntil_))
        throw NoAnswer(patience_.most);
    // Within this process, and behind nobody who writes, a thread costs more than the answer. Who has no windows to
    // keep alive waits for another writer as long as the entry says.
    if (engine_ == Engine::Sqlite && (effect == Effect::Reads || !patience_.meanwhile))
        return call();
    return AwaitCall(std::make_shared<OdbcCall>([handles = handles_, call = std::move(call)] { return call(); }));
}

SQLRETURN OdbcSession::AwaitCall(const std::shared_ptr<OdbcCall>& mine) {
    const auto until = std::chrono::steady_clock::now() + patience_.most;
    running_ = mine;
    runningUntil_ = until;
    const bool answered = Answered(*mine, until);
    if (running_ == mine)
        running_.reset();
    if (!answered)
        throw LeaveAlone();
    return mine->Result();
}

bool OdbcSession::Answered(const OdbcCall& call, OdbcCall::Deadline deadline) const {
    if (!patience_.meanwhile)
        return call.WaitUntil(deadline);
    if (call.WaitUntil(std::min(deadline, std::chrono::steady_clock::now() + Blink)))
        return true;
    patience_.meanwhile->Run("Waiting for the catalogue ...", [&] { call.WaitUntil(deadline); });
    return call.WaitUntil({});
}

/// The call that has not come back is the last owner of all that it may touch.
Error OdbcSession::LeaveAlone() {
    if (handles_)
        for (const auto& statement : statements_)
            if (const auto live = statement.lock())
                handles_->statements.push_back(std::move(*live));
    statements_.clear();
    handles_.reset();
    inTransaction_ = false;
    silent_ = true;
    Error error = NoAnswer(patience_.most);
    lossReason_ = error.description;
    return error;
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
    DropTransaction();
    MakeReady(Effect::Changes);
    // A deferred SQLite transaction that reads before it writes can fail at once when another writer
    // came first; one that is a writer from its start waits for its turn.
    if (engine_ == Engine::Sqlite)
        RunPlain("BEGIN IMMEDIATE");
    else if (!SetAutocommit(false))
        Fail(SQL_HANDLE_DBC, Handle());
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
        else if (!SQL_SUCCEEDED(EndTransaction(SQL_COMMIT)))
            Fail(SQL_HANDLE_DBC, Handle());
    });
    inTransaction_ = false;
    if (engine_ != Engine::Sqlite && !SetAutocommit(true))
        Fail(SQL_HANDLE_DBC, Handle());
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
            EndTransaction(SQL_ROLLBACK);
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
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, Handle(), &handle)))
        Fail(SQL_HANDLE_DBC, Handle());
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
    nothingMade_ = diagnostics.nothingMade;
    Error error = diagnostics.AsError();
    constexpr int readOnly = 8, cannotOpen = 14; // of SQLite's results
    if (engine_ == Engine::Sqlite && (error.number == readOnly || error.number == cannotOpen))
        error.description = WhyUnchanged(Info(SQL_DATABASE_NAME), error.description);
    if (diagnostics.connectionLost || IsConnectionDead() || (othersBeside_ && error.number == LockWaitTimeout)) {
        lossReason_ = diagnostics.text;
        error.description = LossOf(lossReason_);
        inTransaction_ = false;
        Disconnect();
    }
    throw error;
}

void OdbcSession::RequireOpen() const {
    if (IsOpen())
        return;
    if (lossReason_.empty())
        throw OdbcError(OdbcFailure::NotConnected, "The connection to the database is closed.");
    throw OdbcError(OdbcFailure::NotConnected, LossOf(lossReason_));
}

bool OdbcSession::IsConnectionDead() const {
    SQLUINTEGER dead = SQL_CD_FALSE;
    const SQLRETURN result = SQLGetConnectAttr(Handle(), SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr);
    return SQL_SUCCEEDED(result) && dead == SQL_CD_TRUE;
}

std::string OdbcSession::Info(SQLUSMALLINT item) const {
    std::array<char, PATH_MAX> text{};
    SQLSMALLINT length = 0;
    SQLGetInfo(Handle(), item, text.data(), static_cast<SQLSMALLINT>(text.size()), &length);
    return text.data();
}

/// An entry of PostgreSQL's names them all; a node of a Galera cluster knows that it is one.
bool OdbcSession::HasOthersBeside() {
    if (engine_ == Engine::Postgresql)
        return Info(SQL_SERVER_NAME).find(',') != std::string::npos;
    if (engine_ != Engine::Mariadb)
        return false;
    const auto handle = NewStatement();
    return SQL_SUCCEEDED(Await(Effect::Reads, [statement = handle->Get()] {
        const SQLRETURN asked = Ask(statement, "SHOW VARIABLES WHERE Variable_name='wsrep_on' AND Value='ON'");
        return SQL_SUCCEEDED(asked) ? SQLFetch(statement) : asked;
    }));
}

void OdbcSession::RunPlain(std::string_view statement) {
    const auto handle = NewStatement();
    const SQLRETURN result = Await(
        EffectOf(statement), [handle = handle->Get(), text = std::string(statement)] { return Ask(handle, text); });
    if (!SQL_SUCCEEDED(result) && result != SQL_NO_DATA)
        Fail(handle->Get());
}

SQLRETURN OdbcSession::EndTransaction(SQLSMALLINT how) {
    return Await(Effect::Changes, [connection = Handle(), how] { return SQLEndTran(SQL_HANDLE_DBC, connection, how); });
}

bool OdbcSession::SetAutocommit(bool on) {
    const SQLULEN value = on ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF;
    return SQL_SUCCEEDED(Await(Effect::Changes, [connection = Handle(), value] {
        return SQLSetConnectAttr(connection, SQL_ATTR_AUTOCOMMIT, AttributeValue(value), SQL_IS_UINTEGER);
    }));
}

} // namespace tavrel
