#include "platform/odbc/OdbcResultSet.h"

#include "platform/odbc/OdbcError.h"

namespace tavrel {

namespace {

Error ReadOnly() {
    return OdbcError(OdbcFailure::ReadOnly, "This result set only reads: its rows cannot be changed.");
}

} // namespace

OdbcResultSet::OdbcResultSet(std::shared_ptr<OdbcSession> session, std::string_view statement)
    : session_(session), cursor_(std::move(session), statement), empty_(!cursor_.Next()) {}

void OdbcResultSet::MoveNext() {
    if (AtEnd())
        throw NoCurrentRow();
    session_->Guarded([this] { cursor_.Next(); });
}

std::string OdbcResultSet::Text(std::string_view name) const {
    return NotNull(Field(name), name);
}

void OdbcResultSet::AddNew() {
    throw ReadOnly();
}
void OdbcResultSet::SetField(std::string_view, std::string_view) {
    throw ReadOnly();
}
void OdbcResultSet::Update() {
    throw ReadOnly();
}

} // namespace tavrel
