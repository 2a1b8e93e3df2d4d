#include "platform/odbc/OdbcConnection.h"

#include "platform/odbc/OdbcCommand.h"
#include "platform/odbc/OdbcDynamicResultSet.h"
#include "platform/odbc/OdbcResultSet.h"

namespace tavrel {

void OdbcConnection::Open(std::string_view connectionText, std::string_view user, std::string_view password) {
    session_->Open(connectionText, user, password);
}

std::unique_ptr<ResultSet> OdbcConnection::OpenResultSet(std::string_view statement, Cursor cursor) {
    return session_->Run(OdbcSession::EffectOf(statement), [&]() -> std::unique_ptr<ResultSet> {
        if (cursor == Cursor::Dynamic)
            return std::make_unique<OdbcDynamicResultSet>(session_, statement);
        return std::make_unique<OdbcResultSet>(session_, statement);
    });
}

std::unique_ptr<Command> OdbcConnection::NewCommand() {
    return std::make_unique<OdbcCommand>(session_);
}

} // namespace tavrel
