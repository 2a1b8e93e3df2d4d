#pragma once

#include "platform/database.h"
#include "suite/catalogue/Schema.h"
#include "suite/porvane/ObjectHeader.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tavrel {

/// Where a stored object lies, as the catalogue writes it: `studyPath` absolute with "\" between the
/// folders, `seriesDir` inside it, `imageFile` inside that.
struct ObjectPlace {
    std::string studyPath;
    std::string seriesDir;
    std::string imageFile;

    std::string Path() const { return studyPath + "\\" + seriesDir + "\\" + imageFile; }
    bool operator==(const ObjectPlace&) const = default;
};

/// The `Patient`, `Study`, `Series` and `Image` rows of stored objects. One thread at a time. Errors
/// are the database's own.
class ObjectCatalogue {
public:
    /// `dataSource`: the name of the ODBC entry.
    ObjectCatalogue(Database& database, std::string dataSource);

    /// The study tree whose rows these are, among all that share the catalogue. Its transactions hold a lock by this
    /// number until the database has ended them, also when whoever began one is gone.
    void OfTree(std::uint32_t number) { tree_ = number; }

    /// Opens the connection when it is not open.
    void Open();
    bool IsOpen() const { return connection_->IsOpen(); }

    struct Service {
        int port = 0;
        std::string aeTitle;
    };
    /// Where the service is called, from table `Port`; nothing when the table has no usable row.
    std::optional<Service> ReadService();

    /// Ends what a former connection of the tree may still be committing, of this process or an earlier one, and
    /// waits until it has ended: what `Holds` answers from then on is final. An error when it cannot be ended.
    void EndFormerTransaction();

    /// Every stored object with this SOP Instance UID, the oldest first.
    std::vector<ObjectPlace> PlacesOf(const std::string& sopInstanceUid);
    bool Holds(const ObjectPlace& place);

    std::optional<std::string> StudyPath(const std::string& studyUid);
    /// The `IDPatient` of a known study.
    std::optional<std::string> PatientOf(const std::string& studyUid);
    struct SeriesRow {
        std::string studyUid;
        std::string seriesDir;
        std::string modality;
    };
    std::optional<SeriesRow> Series(const std::string& seriesUid);

    /// Writes the object's row, and those of its patient, study and series where they are new, in a
    /// transaction that `Commit` ends. A failure leaves no row.
    void Add(const ObjectHeader& header, const ObjectPlace& place);
    /// After a failure only `Holds` knows whether the rows are there, after `EndFormerTransaction`.
    void Commit() { connection_->Commit(); }

private:
    void TakeLock();
    void EndHolder();
    std::string LockName() const { return "'porvane-" + std::to_string(tree_) + "'"; }
    std::optional<std::string> Answer(const std::string& query);
    bool Exists(const std::string& query);
    std::optional<std::string> StudyColumn(const std::string& column, const std::string& studyUid);

    std::unique_ptr<Connection> connection_;
    std::string dataSource_;
    Engine engine_ = Engine::Sqlite;
    std::uint32_t tree_ = 0;
};

} // namespace tavrel
