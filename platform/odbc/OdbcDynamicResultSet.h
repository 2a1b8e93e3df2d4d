#pragma once

#include "platform/database.h"
#include "platform/odbc/OdbcCursor.h"

#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// The rows of a query over one table, read whole when it is opened, so that nothing stays locked
/// while a person looks at them. A row is changed by an UPDATE that names all its original values: it
/// meets no row when another writer came first, and one when several rows are equal. Meant for a handful of rows.
class OdbcDynamicResultSet final : public ResultSet {
public:
    OdbcDynamicResultSet(std::shared_ptr<OdbcSession> session, std::string_view statement);

    bool AtEnd() const override { return position_ >= rows_.size(); }
    bool AtBeginning() const override { return rows_.empty(); }
    void MoveNext() override;
    bool HasField(std::string_view name) const override { return cursor_.HasField(name); }
    int FieldIndex(std::string_view name) const override { return cursor_.FieldIndex(name); }
    using ResultSet::Field;
    std::optional<std::string_view> Field(int index) const override;
    std::string Text(std::string_view name) const override;
    void AddNew() override;
    void SetField(std::string_view name, std::string_view value) override;
    void Update() override;
    void Close() override;

private:
    using Row = std::vector<std::optional<std::string>>;

    void Insert();
    void ChangeCurrent();
    /// Runs a change with `values` and answers how many rows it met.
    SQLLEN Run(std::string_view statement, std::span<const BoundText> values);
    std::string Table() const;
    std::string ColumnName(std::size_t index) const;
    BoundText Bound(std::size_t index, std::string_view value) const;
    std::string Identifier(std::string_view name) const;
    void ApplyChangesTo(Row& row);

    std::shared_ptr<OdbcSession> session_;
    OdbcCursor cursor_;
    std::vector<OdbcCursor::Origin> origins_;
    std::vector<Row> rows_;
    std::size_t position_ = 0;
    bool adding_ = false;
    std::map<std::size_t, std::string> changes_; ///< by column, not yet stored
};

} // namespace tavrel
