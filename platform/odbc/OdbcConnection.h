#pragma once

#include "platform/database.h"
#include "platform/odbc/OdbcSession.h"

#include <memory>
#include <string_view>

namespace tavrel {

/// A connection through the ODBC driver manager, in UTF-8, to the entry that the connection text
/// names. Not for use by several threads at once; connections are independent of each other.
///
/// - A connection that its server has ended is opened again by the next call, and so is one whose server has
///   given no answer in time; `IsOpen` answers false until then. A query outside a transaction does not notice. A
///   change that fails so may have been made: it is not tried again, unless the server says that it was not.
/// - Where the server is a cluster's node, the new connection waits for the one that takes over.
/// - A statement that fails inside a transaction drops the transaction; a later `Commit` is an error.
/// - `BeginTransaction` drops a transaction that was left open: what was never committed does not
///   become part of the next one.
class OdbcConnection final : public Connection {
public:
    explicit OdbcConnection(OdbcPatience patience) : session_(std::make_shared<OdbcSession>(patience)) {}

    void Open(std::string_view connectionText, std::string_view user = {}, std::string_view password = {}) override;
    /// The next `Open` with this text waits for what is begun here.
    void OpenAhead(std::string_view connectionText) { session_->OpenAhead(connectionText); }
    /// Gives back what was begun, unless an `Open` has taken it.
    void LeaveAhead() noexcept { session_->LeaveAhead(); }
    bool IsOpen() const override { return session_->IsOpen(); }
    void Close() override { session_->Close(); }
    void BeginTransaction() override { session_->BeginTransaction(); }
    void Commit() override { session_->Commit(); }
    std::unique_ptr<ResultSet> OpenResultSet(std::string_view statement, Cursor cursor = Cursor::ForwardOnly) override;
    std::unique_ptr<Command> NewCommand() override;

private:
    std::shared_ptr<OdbcSession> session_;
};

} // namespace tavrel
