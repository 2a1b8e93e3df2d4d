#include "platform/odbc/OdbcDynamicResultSet.h"

#include "platform/odbc/OdbcError.h"
#include "platform/sql.h"

namespace tavrel {

OdbcDynamicResultSet::OdbcDynamicResultSet(std::shared_ptr<OdbcSession> session, std::string_view statement)
    : session_(session), cursor_(std::move(session), statement) {
    for (int index = 0; index < cursor_.ColumnCount(); ++index)
        origins_.push_back(cursor_.OriginOf(index));
    while (cursor_.Next()) {
        Row& row = rows_.emplace_back();
        for (int index = 0; index < cursor_.ColumnCount(); ++index)
            row.emplace_back(cursor_.Field(index));
    }
}

void OdbcDynamicResultSet::MoveNext() {
    if (AtEnd())
        throw NoCurrentRow();
    changes_.clear();
    ++position_;
}

std::optional<std::string_view> OdbcDynamicResultSet::Field(int index) const {
    if (AtEnd())
        throw NoCurrentRow();
    return rows_[position_].at(static_cast<std::size_t>(index));
}

std::string OdbcDynamicResultSet::Text(std::string_view name) const {
    return NotNull(Field(name), name);
}

void OdbcDynamicResultSet::AddNew() {
    changes_.clear();
    adding_ = true;
}

void OdbcDynamicResultSet::SetField(std::string_view name, std::string_view value) {
    if (!adding_ && AtEnd())
        throw NoCurrentRow();
    changes_[static_cast<std::size_t>(FieldIndex(name))] = value;
}

void OdbcDynamicResultSet::Update() {
    if (changes_.empty())
        throw OdbcError(OdbcFailure::NoCurrentRow, "There is nothing to store: no field was set.");
    session_->Run(OdbcSession::Effect::Changes, [this] {
        if (adding_)
            Insert();
        else
            ChangeCurrent();
    });
}

void OdbcDynamicResultSet::Insert() {
    std::vector<std::string> columns;
    std::vector<BoundText> values;
    for (const auto& [index, value] : changes_) {
        columns.push_back(ColumnName(index));
        values.push_back(Bound(index, value));
    }
    Run(InsertStatement(Table(), columns), values);

    ApplyChangesTo(rows_.emplace_back(origins_.size()));
    position_ = rows_.size() - 1;
    adding_ = false;
}

void OdbcDynamicResultSet::ChangeCurrent() {
    Row& row = rows_[position_];
    std::vector<std::string> assignments;
    std::string condition;
    std::vector<BoundText> values;
    for (const auto& [index, value] : changes_) {
        assignments.push_back(ColumnName(index) + " = ?");
        values.push_back(Bound(index, value));
    }
    for (std::size_t index = 0; index < row.size(); ++index) {
        condition += (condition.empty() ? "" : " AND ") + ColumnName(index) + (row[index] ? " = ?" : " IS NULL");
        if (row[index])
            values.push_back(Bound(index, *row[index]));
    }
    const std::string table = Table();
    if (Run("UPDATE " + table + " SET " + Listed(assignments) + session_->WhereOneRow(table, condition), values) < 1)
        throw OdbcError(OdbcFailure::RowChangedMeanwhile,
                        "The row was not stored: someone else has changed or deleted it in the meantime.");
    ApplyChangesTo(row);
}

SQLLEN OdbcDynamicResultSet::Run(std::string_view statement, std::span<const BoundText> values) {
    OdbcStatement change(session_);
    change.Run(statement, values);
    return change.RowCount();
}

std::string OdbcDynamicResultSet::Table() const {
    for (const OdbcCursor::Origin& origin : origins_)
        if (origin.table.empty() || origin.table != origins_.front().table)
            throw OdbcError(OdbcFailure::ReadOnly,
                            "The row cannot be stored: its fields are not the columns of one table.");
    return Identifier(origins_.front().table);
}

std::string OdbcDynamicResultSet::ColumnName(std::size_t index) const {
    return Identifier(origins_[index].column);
}

BoundText OdbcDynamicResultSet::Bound(std::size_t index, std::string_view value) const {
    return {value, origins_[index].sqlType, origins_[index].size};
}

std::string OdbcDynamicResultSet::Identifier(std::string_view name) const {
    const std::string& quote = session_->IdentifierQuote();
    return quote + std::string(name) + quote;
}

void OdbcDynamicResultSet::ApplyChangesTo(Row& row) {
    for (auto& [index, value] : changes_)
        row[index] = std::move(value);
    changes_.clear();
}

void OdbcDynamicResultSet::Close() {
    rows_.clear();
    position_ = 0;
    changes_.clear();
    adding_ = false;
}

} // namespace tavrel
