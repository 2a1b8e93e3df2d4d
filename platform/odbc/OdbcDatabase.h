#pragma once

#include "platform/database.h"
#include "platform/odbc/OdbcPatience.h"

#include <memory>

namespace tavrel {

/// The catalogue behind ODBC: a site's entry picks the engine.
class OdbcDatabase final : public Database {
public:
    explicit OdbcDatabase(OdbcPatience patience = {}) : patience_(patience) {}
    std::unique_ptr<Connection> NewConnection() override;

private:
    OdbcPatience patience_;
};

} // namespace tavrel
