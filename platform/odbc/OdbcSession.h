#pragma once

#include "platform/odbc/OdbcHandle.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// What a connection shares with its result sets and commands: the driver's handles, the state of
/// the transaction, and the one place where a failed call becomes an `Error`. A result set that
/// outlives its connection finds it closed.
class OdbcSession {
public:
    OdbcSession() = default;
    OdbcSession(const OdbcSession&) = delete;
    OdbcSession& operator=(const OdbcSession&) = delete;
    ~OdbcSession() { Close(); }

    void Open(std::string_view connectionText, std::string_view user, std::string_view password);
    bool IsOpen() const { return static_cast<bool>(connection_); }
    /// Frees every statement of the session; an uncommitted transaction is dropped.
    void Close() noexcept;

    void BeginTransaction();
    void Commit();

    /// Runs `work`; when it fails inside a transaction, that transaction is dropped at once.
    template <class Work> auto Guarded(Work work) {
        try {
            return work();
        } catch (...) {
            DropTransaction();
            throw;
        }
    }

    /// A statement handle, empty after the session is closed.
    std::shared_ptr<OdbcHandle> NewStatement();

    /// Raises the error that `statement` (null: the session was closed) tells of. A lost server
    /// closes the session.
    [[noreturn]] void Fail(SQLHSTMT statement);

    /// The quote around identifiers in this engine's statements.
    const std::string& IdentifierQuote() const { return identifierQuote_; }

    /// The end of an UPDATE of `table` that changes one of the rows which meet `condition`, however many do.
    std::string WhereOneRow(std::string_view table, std::string_view condition) const;

private:
    [[noreturn]] void Fail(SQLSMALLINT handleType, SQLHANDLE handle);
    void RequireOpen() const;
    bool IsConnectionDead() const;
    std::string Info(SQLUSMALLINT item) const;
    void RunPlain(std::string_view statement);
    bool SetAutocommit(bool on) const;
    void DropTransaction() noexcept;

    OdbcHandle environment_;
    OdbcHandle connection_;
    std::vector<std::weak_ptr<OdbcHandle>> statements_;
    std::string identifierQuote_;
    std::string lossReason_;
    enum class Engine { Other, Sqlite, Postgresql, Mariadb };
    Engine engine_ = Engine::Other;
    bool inTransaction_ = false;
};

} // namespace tavrel
