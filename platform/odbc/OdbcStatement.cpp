#include "platform/odbc/OdbcStatement.h"

#include "platform/odbc/SingleStatement.h"

#include <sqlext.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace tavrel {

OdbcStatement::OdbcStatement(std::shared_ptr<OdbcSession> session)
    : session_(std::move(session)), handle_(session_->NewStatement()) {}

void OdbcStatement::Run(std::string_view text, std::span<const BoundText> parameters) {
    RequireSingleStatement(text);
    std::vector<SQLLEN> lengths(parameters.size());
    for (std::size_t index = 0; index < parameters.size(); ++index) {
        const BoundText& parameter = parameters[index];
        lengths[index] = static_cast<SQLLEN>(parameter.text.size());
        // The C API takes input parameters by a pointer that is not const; no driver writes to them.
        // A view of nothing may have no address, which a driver would take for null.
        auto* const data = const_cast<char*>(parameter.text.empty() ? "" : parameter.text.data());
        Check(SQLBindParameter(Handle(), static_cast<SQLUSMALLINT>(index + 1), SQL_PARAM_INPUT, SQL_C_CHAR,
                               parameter.sqlType, std::max<SQLULEN>(parameter.size, 1), 0, data,
                               static_cast<SQLLEN>(parameter.text.size()), &lengths[index]));
    }
    std::string statement(text);
    const SQLRETURN result = SQLExecDirect(Handle(), reinterpret_cast<SQLCHAR*>(statement.data()),
                                           static_cast<SQLINTEGER>(statement.size()));
    if (result != SQL_NO_DATA)
        Check(result);
    SQLFreeStmt(Handle(), SQL_RESET_PARAMS);
}

SQLSMALLINT OdbcStatement::ColumnCount() const {
    SQLSMALLINT count = 0;
    Check(SQLNumResultCols(Handle(), &count));
    return count;
}

SQLLEN OdbcStatement::RowCount() const {
    SQLLEN count = 0;
    Check(SQLRowCount(Handle(), &count));
    return count;
}

void OdbcStatement::Check(SQLRETURN result) const {
    if (!SQL_SUCCEEDED(result))
        session_->Fail(Handle());
}

} // namespace tavrel
