#include "suite/porvane/ObjectCatalogue.h"

#include "platform/error.h"
#include "platform/limits.h"
#include "platform/sql.h"
#include "suite/catalogue/Rows.h"

#include <charconv>

namespace tavrel {
namespace {

/// What PostgreSQL calls the locks of study trees: "porv".
constexpr std::int32_t LockKind = 0x706F7276;

std::string TextOrEmpty(const ResultSet& rows, std::string_view column) {
    return std::string(rows.Field(column).value_or(""));
}

/// A number that an object does not have is left out.
ColumnTexts With(ColumnTexts row, const char* column, std::optional<int> number) {
    if (number)
        row.emplace_back(column, std::to_string(*number));
    return row;
}

} // namespace

ObjectCatalogue::ObjectCatalogue(Database& database, std::string dataSource)
    : connection_(database.NewConnection()), dataSource_(std::move(dataSource)) {}

void ObjectCatalogue::Open() {
    if (connection_->IsOpen())
        return;
    connection_->Open("DSN=" + dataSource_);
    engine_ = DetectEngine(*connection_);
    // The entry's own setting may leave the last commits to a power failure; the servers' do not. FULL would do for a
    // log; a journal's end has to be synced as well, lest it take the commit back.
    if (engine_ == Engine::Sqlite)
        connection_->OpenResultSet("PRAGMA synchronous=EXTRA");
}

void ObjectCatalogue::EndFormerTransaction() {
    EndHolder();
    connection_->BeginTransaction(); // which waits for other writers on SQLite, where a process's work ends with it
    TakeLock();
    connection_->Commit();
}

/// A session whose client is gone may go on for hours, and one that commits ends when it has.
void ObjectCatalogue::EndHolder() {
    if (engine_ == Engine::PostgreSql)
        connection_->OpenResultSet(
            "SELECT pg_terminate_backend(pid) FROM pg_locks WHERE locktype='advisory' AND granted"
            " AND database=(SELECT oid FROM pg_database WHERE datname=current_database())"
            " AND classid=" +
            std::to_string(LockKind) + " AND objid=" + std::to_string(tree_) +
            " AND objsubid=2 AND pid<>pg_backend_pid()");
    if (engine_ != Engine::MariaDb)
        return;
    const auto holder = Answer("SELECT NULLIF(IS_USED_LOCK(" + LockName() + "), CONNECTION_ID())");
    try {
        if (holder)
            connection_->OpenResultSet("KILL " + *holder);
    } catch (const Error&) {
        return; // it has ended by itself; else the lock tells
    }
}

/// The transaction's, on MariaDB the session's.
void ObjectCatalogue::TakeLock() {
    constexpr const char* seconds = "10";
    if (engine_ == Engine::PostgreSql) {
        connection_->OpenResultSet(std::string("SELECT set_config('lock_timeout', '") + seconds +
                                   "s', true), pg_advisory_xact_lock(" + std::to_string(LockKind) + ", " +
                                   std::to_string(tree_) + ")");
    } else if (engine_ == Engine::MariaDb && Answer("SELECT GET_LOCK(" + LockName() + ", " + seconds + ")") != "1") {
        throw Error(Fault::OfTheSuite, "Catalogue", "an earlier object is still being stored");
    }
}

std::optional<std::string> ObjectCatalogue::Answer(const std::string& query) {
    const auto rows = connection_->OpenResultSet(query);
    const auto field = rows->Field(0);
    return field ? std::optional<std::string>(*field) : std::nullopt;
}

std::optional<ObjectCatalogue::Service> ObjectCatalogue::ReadService() {
    const auto rows = connection_->OpenResultSet("SELECT * FROM Port");
    if (rows->AtEnd())
        return std::nullopt;
    const std::string port = TextOrEmpty(*rows, "Port");
    Service service{0, TextOrEmpty(*rows, "AETitle")};
    const auto [stop, failure] = std::from_chars(port.data(), port.data() + port.size(), service.port);
    const bool validPort =
        failure == std::errc() && stop == port.data() + port.size() && service.port > 0 && service.port <= 0xFFFF;
    if (!validPort || service.aeTitle.empty() || service.aeTitle.size() > longest::AeTitle)
        return std::nullopt;
    return service;
}

std::vector<ObjectPlace> ObjectCatalogue::PlacesOf(const std::string& sopInstanceUid) {
    std::vector<ObjectPlace> places;
    const auto rows =
        connection_->OpenResultSet("SELECT Study.StudyPath, Series.SeriesDir, Image.ImageFile FROM Image, Series, Study"
                                   " WHERE Image.SOPInstanceUID=" +
                                   Quoted(sopInstanceUid) +
                                   " AND Series.SeriesInstanceUID=Image.SeriesInstanceUID"
                                   " AND Study.StudyInstanceUID=Series.StudyInstanceUID ORDER BY Image.ImageID");
    for (; !rows->AtEnd(); rows->MoveNext())
        places.push_back({rows->Text("StudyPath"), rows->Text("SeriesDir"), rows->Text("ImageFile")});
    return places;
}

bool ObjectCatalogue::Holds(const ObjectPlace& place) {
    return Exists("SELECT Image.ImageID FROM Image, Series, Study WHERE Image.ImageFile=" + Quoted(place.imageFile) +
                  " AND Series.SeriesDir=" + Quoted(place.seriesDir) +
                  " AND Study.StudyPath=" + Quoted(place.studyPath) +
                  " AND Series.SeriesInstanceUID=Image.SeriesInstanceUID"
                  " AND Study.StudyInstanceUID=Series.StudyInstanceUID");
}

std::optional<std::string> ObjectCatalogue::StudyPath(const std::string& studyUid) {
    return StudyColumn("StudyPath", studyUid);
}

std::optional<std::string> ObjectCatalogue::PatientOf(const std::string& studyUid) {
    return StudyColumn("IDPatient", studyUid);
}

std::optional<std::string> ObjectCatalogue::StudyColumn(const std::string& column, const std::string& studyUid) {
    const auto rows =
        connection_->OpenResultSet("SELECT " + column + " FROM Study WHERE StudyInstanceUID=" + Quoted(studyUid));
    return rows->AtEnd() ? std::nullopt : std::optional(TextOrEmpty(*rows, column));
}

std::optional<ObjectCatalogue::SeriesRow> ObjectCatalogue::Series(const std::string& seriesUid) {
    const auto rows = connection_->OpenResultSet(
        "SELECT StudyInstanceUID, SeriesDir, Modality FROM Series WHERE SeriesInstanceUID=" + Quoted(seriesUid));
    if (rows->AtEnd())
        return std::nullopt;
    return SeriesRow{TextOrEmpty(*rows, "StudyInstanceUID"), TextOrEmpty(*rows, "SeriesDir"),
                     TextOrEmpty(*rows, "Modality")};
}

void ObjectCatalogue::Add(const ObjectHeader& header, const ObjectPlace& place) {
    const bool newPatient = !Exists("SELECT ID FROM Patient WHERE ID=" + Quoted(header.patientId));
    const bool newStudy = !StudyPath(header.studyUid);
    const bool newSeries = !Series(header.seriesUid);

    connection_->BeginTransaction();
    TakeLock();
    if (newPatient && newStudy)
        InsertRow(*connection_, "Patient",
                  {{"ID", header.patientId},
                   {"PatientName", header.patientName},
                   {"BirthDate", header.birthDate},
                   {"Sex", header.sex}});
    if (newStudy)
        InsertRow(*connection_, "Study",
                  {{"StudyInstanceUID", header.studyUid},
                   {"StudyPath", place.studyPath},
                   {"IDPatient", header.patientId},
                   {"StudyDate", header.studyDate},
                   {"StudyTime", header.studyTime},
                   {"StudyDescription", header.studyDescription},
                   {"ReferringPhysician", header.referringPhysician},
                   {"AccessionNumber", header.accessionNumber}});
    if (newSeries)
        InsertRow(*connection_, "Series",
                  With({{"SeriesInstanceUID", header.seriesUid},
                        {"StudyInstanceUID", header.studyUid},
                        {"SeriesDir", place.seriesDir},
                        {"Modality", header.modality},
                        {"SeriesStatus", ""},
                        {"SeriesDescription", header.seriesDescription}},
                       "SeriesNumber", header.seriesNumber));
    InsertRow(*connection_, "Image",
              With({{"SeriesInstanceUID", header.seriesUid},
                    {"ImageFile", place.imageFile},
                    {"SOPInstanceUID", header.sopInstanceUid},
                    {"SOPClassUID", header.sopClassUid}},
                   "InstanceNumber", header.instanceNumber));
}

bool ObjectCatalogue::Exists(const std::string& query) {
    return !connection_->OpenResultSet(query)->AtEnd();
}

} // namespace tavrel
