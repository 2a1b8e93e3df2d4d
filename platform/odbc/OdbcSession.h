#pragma once

#include "platform/error.h"
#include "platform/odbc/OdbcCall.h"
#include "platform/odbc/OdbcHandle.h"
#include "platform/odbc/OdbcPatience.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// What a connection shares with its result sets and commands: the driver's handles, the state of
/// the transaction, the bound of every wait, and the one place where a failed call becomes an `Error`. A result set
/// that outlives its connection finds it closed.
class OdbcSession {
public:
    explicit OdbcSession(OdbcPatience patience) : patience_(patience) {}
    OdbcSession(const OdbcSession&) = delete;
    OdbcSession& operator=(const OdbcSession&) = delete;
    ~OdbcSession() { Close(); }

    void Open(std::string_view connectionText, std::string_view user, std::string_view password);
    /// Begins what the next `Open`, with this text alone, waits for and takes the outcome of.
    void OpenAhead(std::string_view connectionText);
    /// Gives back what was begun and not taken.
    void LeaveAhead() noexcept { ahead_ = {}; }
    bool IsOpen() const { return handles_ != nullptr; }
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

    enum class Effect { Reads, Changes };
    static Effect EffectOf(std::string_view statement);
    /// Runs `work`, one statement, on a connection that was lost too: outside a transaction that is opened again, and a
    /// question that met its loss is asked once more. A change is not, which may have been made, unless the server says
    /// that it was not; the server is asked before it whether it is there.
    template <class Work> auto Run(Effect effect, Work work) {
        if (inTransaction_)
            return Guarded(work);
        MakeReady(effect);
        nothingMade_ = false;
        try {
            return work();
        } catch (const Error&) {
            if (!nothingMade_ && (effect == Effect::Changes || !Lost()))
                throw;
        }
        if (!IsOpen())
            Reopen();
        return work();
    }

    /// Makes a driver's call that may wait for the server, and waits no longer than the session's patience; a server
    /// that has not answered then has lost its connection. `call` must own what it works with, except for handles.
    SQLRETURN Await(Effect effect, std::function<SQLRETURN()> call);

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
    void Reopen();
    void Disconnect() noexcept;
    SQLRETURN EndTransaction(SQLSMALLINT how);
    void MakeReady(Effect effect);
    /// The server went away, which a new connection may mend.
    bool Lost() const { return !IsOpen() && !login_.text.empty() && !silent_; }
    SQLRETURN AwaitCall(const std::shared_ptr<OdbcCall>& mine);
    bool Answered(const OdbcCall& call, OdbcCall::Deadline deadline) const;
    Error LeaveAlone();
    SQLHDBC Handle() const { return handles_->connection.Get(); }
    bool IsConnectionDead() const;
    std::string Info(SQLUSMALLINT item) const;
    bool HasOthersBeside();
    void RunPlain(std::string_view statement);
    bool SetAutocommit(bool on);
    void DropTransaction() noexcept;

    struct Login {
        std::string text; ///< empty when the connection was closed
        std::string user;
        std::string password;
    };

    /// A connection that is being opened.
    struct Ahead {
        std::string text; ///< empty when none is
        std::shared_ptr<OdbcHandles> handles;
        std::shared_ptr<OdbcCall> call;
    };

    OdbcPatience patience_;
    Ahead ahead_;
    Login login_;
    std::shared_ptr<OdbcHandles> handles_;
    std::shared_ptr<OdbcCall> running_;
    OdbcCall::Deadline runningUntil_;
    std::vector<std::weak_ptr<OdbcHandle>> statements_;
    std::string identifierQuote_;
    std::string lossReason_;
    enum class Engine { Other, Sqlite, Postgresql, Mariadb };
    Engine engine_ = Engine::Other;
    bool inTransaction_ = false;
    bool silent_ = false;       ///< the last loss was a server's silence
    bool nothingMade_ = false;  ///< by the statement that failed last
    bool othersBeside_ = false; ///< nodes that take over when the one that answers is gone
};

} // namespace tavrel
