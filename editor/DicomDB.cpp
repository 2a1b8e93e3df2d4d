#include "editor/DicomDB.h"

#include "host/Startup.h"

namespace tavrel {

DicomDB::DicomDB(Database& database) : refert_(database.NewConnection()) {
    std::string connectionText;
    Refert_WillConnect(connectionText);
    refert_->Open(connectionText);
}

std::unique_ptr<ResultSet> DicomDB::Report() {
    return refert_->OpenResultSet("SELECT * FROM Report");
}

void DicomDB::Refert_WillConnect(std::string& connectionText) {
    connectionText = CatalogueConnectionText;
}

} // namespace tavrel
