#include "platform/odbc/OdbcStatement.h"

#include "platform/odbc/SingleStatement.h"

#include <sqlext.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tavrel {

OdbcStatement::OdbcStatement(std::shared_ptr<OdbcSession> session)
    : session_(std::move(session)), handle_(session_->NewStatement()) {}

void OdbcStatement::Run(std::string_view text, std::span<const BoundText> parameters) {
    RequireSingleStatement(text);
    struct Texts {
        std::string statement;
        std::vector<std::string> values;
        std::vector<SQLLEN> lengths;
    };
    const auto texts = std::make_shared<Texts>();
    texts->statement = text;
    texts->lengths.resize(parameters.size());
    for (const BoundText& parameter : parameters)
        texts->values.emplace_back(parameter.text);
    for (std::size_t index = 0; index < parameters.size(); ++index) {
        std::string& value = texts->values[index];
        texts->lengths[index] = static_cast<SQLLEN>(value.size());
        Check(SQLBindParameter(Handle(), static_cast<SQLUSMALLINT>(index + 1), SQL_PARAM_INPUT, SQL_C_CHAR,
                               parameters[index].sqlType, std::max<SQLULEN>(parameters[index].size, 1), 0, value.data(),
                               static_cast<SQLLEN>(value.size()), &texts->lengths[index]));
    }
    const SQLRETURN result = session_->Await(OdbcSession::EffectOf(text), [handle = Handle(), texts] {
        return SQLExecDirect(handle, reinterpret_cast<SQLCHAR*>(texts->statement.data()),
                             static_cast<SQLINTEGER>(texts->statement.size()));
    });
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

std::string OdbcStatement::ColumnAttribute(SQLUSMALLINT number, SQLUSMALLINT attribute) const {
    const auto text = std::make_shared<std::array<char, 512>>();
    Check(session_->Await(OdbcSession::Effect::Reads, [handle = Handle(), number, attribute, text] {
        SQLSMALLINT length = 0;
        return SQLColAttribute(handle, number, attribute, text->data(), static_cast<SQLSMALLINT>(text->size()), &length,
                               nullptr);
    }));
    return text->data();
}

void OdbcStatement::Check(SQLRETURN result) const {
    if (!SQL_SUCCEEDED(result))
        session_->Fail(Handle());
}

} // namespace tavrel
