#include "platform/odbc/OdbcCursor.h"

#include "platform/odbc/OdbcError.h"
#include "platform/text.h"

#include <sqlext.h>
#include <sqlucode.h>

#include <algorithm>
#include <array>

namespace tavrel {

namespace {

/// A longer value is read by a call of its own. Room for more would slow every row down: the SQLite
/// driver fills a buffer to its end.
constexpr std::size_t ColumnBufferSize = 256;

} // namespace

OdbcCursor::OdbcCursor(std::shared_ptr<OdbcSession> session, std::string_view statement)
    : statement_(std::move(session)) {
    statement_.Run(statement);
    DescribeColumns();
    BindColumns();
}

void OdbcCursor::DescribeColumns() {
    columns_.resize(static_cast<std::size_t>(statement_.ColumnCount()));
    SQLUSMALLINT number = 0;
    for (Column& column : columns_) {
        std::array<SQLCHAR, 512> name{};
        SQLSMALLINT nameLength = 0;
        SQLSMALLINT digits = 0;
        SQLSMALLINT nullable = 0;
        statement_.Check(SQLDescribeCol(statement_.Handle(), ++number, name.data(),
                                        static_cast<SQLSMALLINT>(name.size()), &nameLength, &column.sqlType,
                                        &column.size, &digits, &nullable));
        column.name = reinterpret_cast<const char*>(name.data());
        column.padded = IsFixedWidthText(number, column.sqlType);
    }
}

/// The SQLite driver calls every text variable; only the declared type's name tells.
bool OdbcCursor::IsFixedWidthText(SQLUSMALLINT number, SQLSMALLINT sqlType) const {
    if (sqlType != SQL_VARCHAR)
        return sqlType == SQL_CHAR || sqlType == SQL_WCHAR;
    const std::string type = Attribute(number, SQL_DESC_TYPE_NAME);
    return SameInAnyCase(type, "CHAR") || SameInAnyCase(type, "CHARACTER") || SameInAnyCase(type, "NCHAR");
}

std::string OdbcCursor::Attribute(SQLUSMALLINT number, SQLUSMALLINT attribute) const {
    std::array<char, 512> text{};
    SQLSMALLINT length = 0;
    statement_.Check(SQLColAttribute(statement_.Handle(), number, attribute, text.data(),
                                     static_cast<SQLSMALLINT>(text.size()), &length, nullptr));
    return text.data();
}

void OdbcCursor::BindColumns() {
    row_.resize(columns_.size() * ColumnBufferSize);
    char* buffer = row_.data();
    SQLUSMALLINT number = 0;
    for (Column& column : columns_) {
        column.buffer = buffer;
        statement_.Check(SQLBindCol(statement_.Handle(), ++number, SQL_C_CHAR, buffer,
                                    static_cast<SQLLEN>(ColumnBufferSize), &column.length));
        buffer += ColumnBufferSize;
    }
}

bool OdbcCursor::Next() {
    onRow_ = false;
    if (columns_.empty())
        return false;
    const SQLRETURN result = SQLFetch(statement_.Handle());
    if (result == SQL_NO_DATA) {
        Close();
        return false;
    }
    if (result != SQL_SUCCESS || longValues_) {
        statement_.Check(result);
        ReadLongValues();
    }
    onRow_ = true;
    return true;
}

void OdbcCursor::ReadLongValues() {
    longValues_ = false;
    SQLUSMALLINT number = 0;
    for (Column& column : columns_) {
        ++number;
        column.overflowing = column.length == SQL_NO_TOTAL || column.length >= static_cast<SQLLEN>(ColumnBufferSize);
        if (column.overflowing) {
            ReadLongValue(number, column);
            longValues_ = true;
        }
    }
}

void OdbcCursor::ReadLongValue(SQLUSMALLINT number, Column& column) {
    std::array<char, 32768> part{};
    column.longText.clear();
    for (;;) {
        SQLLEN left = 0;
        const SQLRETURN result =
            SQLGetData(statement_.Handle(), number, SQL_C_CHAR, part.data(), static_cast<SQLLEN>(part.size()), &left);
        if (result == SQL_NO_DATA)
            return;
        statement_.Check(result);
        const bool last = left != SQL_NO_TOTAL && left < static_cast<SQLLEN>(part.size());
        column.longText.append(part.data(), last ? static_cast<std::size_t>(left) : part.size() - 1);
        if (last)
            return;
    }
}

void OdbcCursor::Close() {
    onRow_ = false;
    if (statement_.Handle() != nullptr)
        SQLFreeStmt(statement_.Handle(), SQL_CLOSE);
}

std::vector<OdbcCursor::Column>::const_iterator OdbcCursor::Find(std::string_view name) const {
    // Engines fold letter case each in their own way.
    return std::ranges::find_if(columns_, [&](const Column& column) { return SameInAnyCase(column.name, name); });
}

int OdbcCursor::FieldIndex(std::string_view name) const {
    const auto found = Find(name);
    if (found == columns_.end())
        throw OdbcError(OdbcFailure::UnknownField, "The result has no field \"" + std::string(name) + "\".");
    return static_cast<int>(found - columns_.begin());
}

std::optional<std::string_view> OdbcCursor::Field(int index) const {
    if (!onRow_)
        throw NoCurrentRow();
    const Column& column = columns_.at(static_cast<std::size_t>(index));
    if (column.length == SQL_NULL_DATA)
        return std::nullopt;
    const std::string_view text = column.overflowing
                                      ? std::string_view(column.longText)
                                      : std::string_view(column.buffer, static_cast<std::size_t>(column.length));
    return column.padded ? TrimmedRight(text) : text;
}

OdbcCursor::Origin OdbcCursor::OriginOf(int index) const {
    const auto number = static_cast<SQLUSMALLINT>(index + 1);
    const Column& column = columns_.at(static_cast<std::size_t>(index));
    return {statement_.ColumnAttribute(number, SQL_DESC_BASE_TABLE_NAME),
            statement_.ColumnAttribute(number, SQL_DESC_BASE_COLUMN_NAME), column.sqlType, column.size};
}

} // namespace tavrel
