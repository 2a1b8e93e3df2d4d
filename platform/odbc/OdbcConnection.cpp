#include "platform/odbc/OdbcConnection.h"

#include "platform/odbc/OdbcCommand.h"
#include "platform/odbc/OdbcDynamicResultSet.h"
#include "platform/odbc/OdbcResultSet.h"
#include "platform/text.h"

#include <algorithm>

namespace tavrel {
namespace {

OdbcSession::Effect EffectOf(std::string_view statement) {
    constexpr std::string_view question = "SELECT";
    const auto start = std::min(statement.find_first_not_of(" \t\r\n"), statement.size());
    return SameInAnyCase(statement.substr(start, question.size()), question) ? OdbcSession::Effect::Reads
                                                                             : OdbcSession::Effect::Changes;
}

} // namespace

void OdbcConnection::Open(std::string_view connectionText, std::string_view user, std::string_view password) {
    session_->Open(connectionText, user, password);
}

std::unique_ptr<ResultSet> OdbcConnection::OpenResultSet(std::string_view statement, Cursor cursor) {
    return session_->Run(EffectOf(statement), [&]() -> std::unique_ptr<ResultSet> {
        if (cursor == Cursor::Dynamic)
            return std::make_unique<OdbcDynamicResultSet>(session_, statement);
        return std::make_unique<OdbcResultSet>(session_, statement);
    });
}

std::unique_ptr<Command> OdbcConnection::NewCommand() {
    return std::make_unique<OdbcCommand>(session_);
}

} // namespace tavrel
