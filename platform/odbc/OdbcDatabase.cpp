#include "platform/odbc/OdbcDatabase.h"

#include "platform/odbc/OdbcConnection.h"

namespace tavrel {

std::unique_ptr<Connection> OdbcDatabase::NewConnection() {
    return std::make_unique<OdbcConnection>(patience_);
}

} // namespace tavrel
