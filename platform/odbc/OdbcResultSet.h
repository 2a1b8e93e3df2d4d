#pragma once

#include "platform/database.h"
#include "platform/odbc/OdbcCursor.h"

#include <memory>
#include <string>
#include <string_view>

namespace tavrel {

/// The rows of a statement, read once from the first to the last. A field is a view into the
/// cursor's buffer: nothing is copied.
class OdbcResultSet final : public ResultSet {
public:
    OdbcResultSet(std::shared_ptr<OdbcSession> session, std::string_view statement);

    bool AtEnd() const override { return !cursor_.HasRow(); }
    bool AtBeginning() const override { return empty_; }
    void MoveNext() override;
    bool HasField(std::string_view name) const override { return cursor_.HasField(name); }
    int FieldIndex(std::string_view name) const override { return cursor_.FieldIndex(name); }
    using ResultSet::Field;
    std::optional<std::string_view> Field(int index) const override { return cursor_.Field(index); }
    std::string Text(std::string_view name) const override;
    void Close() override { cursor_.Close(); }

    // This kind only reads: each of these is an error.
    void AddNew() override;
    void SetField(std::string_view name, std::string_view value) override;
    void Update() override;

private:
    std::shared_ptr<OdbcSession> session_;
    OdbcCursor cursor_;
    bool empty_;
};

} // namespace tavrel
