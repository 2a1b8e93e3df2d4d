#pragma once

#include "platform/database.h"
#include "suite/catalogue/CatalogueVersion.h"
#include "suite/catalogue/Schema.h"
#include "suite/porvane/ObjectHeader.h"

#include <cstdint>
#include <map>
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

/// The `Patient`, `Study`, `Series` and `Image` rows of stored objects. Several services may write them at once: of two
/// that make the same row one fails, and finds the other's when it tries again. One thread at a time. Errors are the
/// database's own.
class ObjectCatalogue {
public:
    /// `dataSource`: the name of the ODBC entry.
    ObjectCatalogue(Database& database, std::string dataSource);

    /// The area in which the service works, among those of all services that share the catalogue. Its transactions
    /// hold a lock by this number until the database has ended them, also when whoever began one is gone.
    void OfArea(std::uint32_t number) { area_ = number; }

    /// Opens the connection when it is not open. An error where later programs have left a catalogue in which this one
    /// must not write.
    void Open();
    /// Of the catalogue as it was opened; nothing for one that was made before versions were.
    std::optional<CatalogueVersion> Version() const { return version_; }
    bool IsOpen() const { return connection_->IsOpen(); }

    struct Service {
        int port = 0;
        std::string aeTitle;
    };
    /// Where the service is called, from table `Port`; nothing when the table has no usable row.
    std::optional<Service> ReadService();

    /// Ends what a former connection of the area may still be committing, of this process or an earlier one, and
    /// waits until it has ended: what is read from then on is final. An error when it cannot be ended.
    void EndFormerTransaction(std::uint32_t area);

    /// What is known of an object.
    struct Rows {
        std::vector<ObjectPlace> places; ///< every stored object with its SOP Instance UID, the oldest first
        int nextTwin = 0;                ///< the number among them that is free
    };
    Rows RowsOf(const std::string& sopInstanceUid);
    bool Holds(const ObjectPlace& place);

    struct Study {
        std::string path;
        std::string patientId;
    };
    struct Series {
        std::string studyUid;
        std::string folder;
        std::string modality;
    };
    /// What is known of the study and the series that an object belongs to.
    struct Home {
        std::optional<Study> study;
        std::optional<Series> series;
    };
    Home HomeOf(const ObjectHeader& header);
    /// The SOP Instance UIDs of a series' files by their names, of those from this name on.
    std::map<std::string, std::string> FilesOf(const std::string& seriesUid, const std::string& fromName);

    /// From now on an object's row queues it for the archive too, an image's where `images` are asked for.
    void QueueForArchive(bool images) { queuesImages_ = images; }

    /// What is read and added from here on belongs together, until `Commit` ends it; a failure before leaves no row.
    void Begin();
    /// Writes the object's row, and those of its patient, study and series where they are new.
    void Add(const ObjectHeader& header, const ObjectPlace& place, const Home& home, int twin);
    /// After a failure only the rows tell whether they are there, after `EndFormerTransaction` where the connection was
    /// lost.
    void Commit() { CommitAndRelease(); }
    /// Takes all back that was added since `Begin`.
    void Drop();

private:
    void CommitAndRelease();
    void TakeTurn(std::uint32_t area);
    void TakeLock(std::uint32_t area);
    void EndHolder(std::uint32_t area);
    /// A catalogue that was made before has no column for it.
    bool NumbersTwins();
    std::optional<std::string> Answer(const std::string& query);
    bool Exists(const std::string& query);
    /// Unless the catalogue has one of that ID.
    void AddPatient(const ObjectHeader& header);

    std::unique_ptr<Connection> connection_;
    std::string dataSource_;
    Engine engine_ = Engine::Sqlite;
    std::optional<CatalogueVersion> version_;
    std::optional<bool> numbersTwins_;
    bool countsTurns_ = false; ///< of the area's transactions, on a cluster
    std::uint32_t area_ = 0;
    std::optional<bool> queuesImages_; ///< nothing where no archive is set
};

} // namespace tavrel
