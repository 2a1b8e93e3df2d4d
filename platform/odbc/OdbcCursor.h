#pragma once

#include "platform/odbc/OdbcStatement.h"

#include <sql.h>
#include <sqltypes.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// The driver's cursor over a statement's rows: one fetch a row into bound columns. It starts before
/// the first row and is closed at the end of data, so that a reader that stays open locks nothing.
class OdbcCursor {
public:
    OdbcCursor(std::shared_ptr<OdbcSession> session, std::string_view statement);
    OdbcCursor(const OdbcCursor&) = delete;
    OdbcCursor& operator=(const OdbcCursor&) = delete;

    /// Fetches the next row; false at the end of data.
    bool Next();
    bool HasRow() const { return onRow_; }
    void Close();

    int ColumnCount() const { return static_cast<int>(columns_.size()); }
    /// By name in any letter case; an unknown name is an error.
    bool HasField(std::string_view name) const { return Find(name) != columns_.end(); }
    int FieldIndex(std::string_view name) const;
    /// The current row's field, without the padding of a fixed-width character column; nothing when
    /// it is null. Valid until the next fetch.
    std::optional<std::string_view> Field(int index) const;

    /// Where a column comes from, for statements that change its row.
    struct Origin {
        std::string table; ///< empty for an expression
        std::string column;
        SQLSMALLINT sqlType = SQL_VARCHAR;
        SQLULEN size = 0;
    };
    /// Only before the end of data.
    Origin OriginOf(int index) const;

private:
    struct Column {
        std::string name;
        SQLSMALLINT sqlType = SQL_VARCHAR;
        SQLULEN size = 0;
        bool padded = false;
        const char* buffer = nullptr;
        SQLLEN length = 0;
        bool overflowing = false; ///< the current row's value did not fit: it is in `longText`
        std::string longText;
    };

    std::vector<Column>::const_iterator Find(std::string_view name) const;
    void DescribeColumns();
    bool IsFixedWidthText(SQLUSMALLINT number, SQLSMALLINT sqlType) const;
    std::string Attribute(SQLUSMALLINT number, SQLUSMALLINT attribute) const;
    void BindColumns();
    void ReadLongValues();
    void ReadLongValue(SQLUSMALLINT number, Column& column);

    OdbcStatement statement_;
    std::vector<Column> columns_;
    std::vector<char> row_;
    bool onRow_ = false;
    bool longValues_ = false;
};

} // namespace tavrel
