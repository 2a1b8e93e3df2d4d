#pragma once

#include "platform/database.h"

#include <memory>

namespace tavrel {

/// The catalogue behind ODBC: a site's entry picks the engine.
class OdbcDatabase final : public Database {
public:
    std::unique_ptr<Connection> NewConnection() override;
};

} // namespace tavrel
