#pragma once

#include "platform/odbc/OdbcHandle.h"
#include "platform/odbc/OdbcSession.h"

#include <sql.h>
#include <sqltypes.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace tavrel {

/// A text that takes the place of a "?". It must live until the statement has run.
struct BoundText {
    std::string_view text;
    SQLSMALLINT sqlType = SQL_VARCHAR;
    SQLULEN size = 0; ///< in characters
};

/// One statement of a session: runs a text, answers the driver's failures as errors.
class OdbcStatement {
public:
    explicit OdbcStatement(std::shared_ptr<OdbcSession> session);

    /// Runs a single statement; a change that meets no row is no failure.
    void Run(std::string_view text, std::span<const BoundText> parameters = {});

    /// What a column is, which a driver may have to ask the server for.
    std::string ColumnAttribute(SQLUSMALLINT number, SQLUSMALLINT attribute) const;

    /// Null when the session was closed meanwhile.
    SQLHSTMT Handle() const { return handle_->Get(); }
    SQLSMALLINT ColumnCount() const;
    /// The number of rows that a change met.
    SQLLEN RowCount() const;
    /// Raises the error of the last call when it failed.
    void Check(SQLRETURN result) const;

private:
    std::shared_ptr<OdbcSession> session_;
    std::shared_ptr<OdbcHandle> handle_;
};

} // namespace tavrel
