#pragma once

#include "platform/database.h"

#include <memory>
#include <string>

namespace tavrel {

/// The data environment of the printed report: the print table, read on a connection of its own.
class DicomDB {
public:
    explicit DicomDB(Database& database);

    /// The rows of the print table; valid while this object lives.
    std::unique_ptr<ResultSet> Report();

private:
    /// Called just before connecting: whatever the connection text was, the catalogue is meant.
    static void Refert_WillConnect(std::string& connectionText);

    std::unique_ptr<Connection> refert_;
};

} // namespace tavrel
