#include "suite/porvane/ObjectCatalogue.h"

#include "platform/error.h"
#include "platform/limits.h"
#include "platform/person_name.h"
#include "platform/sql.h"
#include "platform/text.h"
#include "suite/catalogue/Rows.h"
#include "suite/porvane/ObjectRows.h"
#include "suite/porvane/ServiceLog.h"
#include "suite/porvane/forwarding/OutgoingQueue.h"

#include <algorithm>
#include <charconv>

namespace tavrel {
namespace {

/// After which a server ends a transaction that nobody goes on with: its service's machine is gone. Another
/// workstation's account may not end it, and has to wait. The commit of a service whose disk hangs for longer fails, as
/// any may.
constexpr const char* LongestIdleSeconds = "60";

/// What PostgreSQL calls the locks of areas: "porv".
constexpr std::int32_t LockKind = 0x706F7276;

std::string LockName(std::uint32_t area) {
    return "'porvane-" + std::to_string(area) + "'";
}

} // namespace

ObjectCatalogue::ObjectCatalogue(Database& database, std::string dataSource)
    : connection_(database.NewConnection()), dataSource_(std::move(dataSource)) {}

void ObjectCatalogue::Open() {
    if (connection_->IsOpen())
        return;
    connection_->Open("DSN=" + dataSource_);
    version_ = ReadCatalogueVersion(*connection_);
    if (version_ && !version_->LetsWrite()) {
        connection_->Close();
        throw Error(Fault::OfTheSuite, "Catalogue",
                    version_->Words() +
                        ", too old to store there: install the porvane of the catalogue's version. What is saved "
                        "meanwhile waits in files and is stored then");
    }
    engine_ = DetectEngine(*connection_);
    // The entry's own setting may leave the last commits to a power failure; the servers' do not. FULL would do for a
    // log; a journal's end has to be synced as well, lest it take the commit back.
    if (engine_ == Engine::Sqlite)
        connection_->OpenResultSet("PRAGMA synchronous=EXTRA");
    if (engine_ == Engine::MariaDb)
        connection_->OpenResultSet(std::string("SET SESSION idle_transaction_timeout=") + LongestIdleSeconds);
    numbersTwins_.reset();
    // A catalogue that was made before has no table for it.
    countsTurns_ = engine_ == Engine::MariaDb &&
                   Exists("SELECT table_name FROM information_schema.tables, information_schema.global_variables"
                          " WHERE table_schema=DATABASE() AND table_name='StorageArea'"
                          " AND variable_name='WSREP_ON' AND variable_value='ON'");
}

bool ObjectCatalogue::NumbersTwins() {
    if (!numbersTwins_)
        numbersTwins_ = connection_->OpenResultSet("SELECT * FROM Image WHERE 1=0")->HasField("Twin");
    return *numbersTwins_;
}

void ObjectCatalogue::EndFormerTransaction(std::uint32_t area) {
    EndHolder(area);
    try {
        TakeTurn(area);
    } catch (const Error& error) {
        constexpr int gaveWay = 1213; // to the former one, which was committed on another node
        if (error.number != gaveWay)
            throw;
        TakeTurn(area);
    }
}

void ObjectCatalogue::TakeTurn(std::uint32_t area) {
    connection_->BeginTransaction(); // which waits for other writers on SQLite, where a process's work ends with it
    TakeLock(area);
    CommitAndRelease();
}

void ObjectCatalogue::Drop() {
    connection_->BeginTransaction();
    CommitAndRelease();
}

/// MariaDB's lock is the session's, which lasts as long as the server takes it for alive.
void ObjectCatalogue::CommitAndRelease() {
    connection_->Commit();
    if (engine_ == Engine::MariaDb)
        Answer("SELECT RELEASE_ALL_LOCKS()");
}

void ObjectCatalogue::Begin() {
    connection_->BeginTransaction();
    TakeLock(area_);
}

/// A session whose client is gone may go on for hours, and one that commits ends when it has. One of another account
/// may not be ended, or has ended meanwhile: the lock tells.
void ObjectCatalogue::EndHolder(std::uint32_t area) try {
    if (engine_ == Engine::PostgreSql)
        connection_->OpenResultSet(
            "SELECT pg_terminate_backend(pid) FROM pg_locks WHERE locktype='advisory' AND granted"
            " AND database=(SELECT oid FROM pg_database WHERE datname=current_database())"
            " AND classid=" +
            std::to_string(LockKind) + " AND objid=" + std::to_string(area) +
            " AND objsubid=2 AND pid<>pg_backend_pid()");
    if (engine_ != Engine::MariaDb)
        return;
    if (const auto holder = Answer("SELECT NULLIF(IS_USED_LOCK(" + LockName(area) + "), CONNECTION_ID())"))
        connection_->OpenResultSet("KILL " + *holder);
} catch (const Error&) {
    if (!connection_->IsOpen())
        throw;
}

void ObjectCatalogue::TakeLock(std::uint32_t area) {
    constexpr const char* seconds = "10";
    if (engine_ == Engine::PostgreSql) {
        connection_->OpenResultSet(std::string("SELECT set_config('lock_timeout', '") + seconds +
                                   "s', true), set_config('idle_in_transaction_session_timeout', '" +
                                   LongestIdleSeconds + "s', true), pg_advisory_xact_lock(" + std::to_string(LockKind) +
                                   ", " + std::to_string(area) + ")");
    } else if (engine_ == Engine::MariaDb &&
               Answer("SELECT GET_LOCK(" + LockName(area) + ", " + seconds + ")") != "1") {
        throw Error(Fault::OfTheSuite, "Catalogue", "an earlier object is still being stored");
    }
    // A lock of MariaDB's is its node's. Of two transactions of a cluster that change one row the later one fails.
    if (countsTurns_)
        connection_->OpenResultSet("INSERT INTO StorageArea (Number, Turn) VALUES (" + std::to_string(area) +
                                   ", 1) ON DUPLICATE KEY UPDATE Turn=Turn+1");
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

ObjectCatalogue::Rows ObjectCatalogue::RowsOf(const std::string& sopInstanceUid) {
    Rows known;
    const auto rows = connection_->OpenResultSet(
        std::string("SELECT Study.StudyPath, Series.SeriesDir, Image.ImageFile, ") +
        (NumbersTwins() ? "Image.Twin" : "0") +
        " FROM Image LEFT JOIN Series ON Series.SeriesInstanceUID=Image.SeriesInstanceUID"
        " LEFT JOIN Study ON Study.StudyInstanceUID=Series.StudyInstanceUID WHERE Image.SOPInstanceUID=" +
        Quoted(sopInstanceUid) + " ORDER BY Image.ImageID");
    for (; !rows->AtEnd(); rows->MoveNext()) {
        if (const auto studyPath = rows->Field(0))
            known.places.push_back({std::string(*studyPath), rows->Text("SeriesDir"), rows->Text("ImageFile")});
        const std::string_view twin = rows->Field(3).value_or("0");
        int number = 0;
        std::from_chars(twin.data(), twin.data() + twin.size(), number);
        known.nextTwin = std::max(known.nextTwin, number + 1);
    }
    return known;
}

bool ObjectCatalogue::Holds(const ObjectPlace& place) {
    return Exists("SELECT Image.ImageID FROM Image, Series, Study WHERE Image.ImageFile=" + Quoted(place.imageFile) +
                  " AND Series.SeriesDir=" + Quoted(place.seriesDir) +
                  " AND Study.StudyPath=" + Quoted(place.studyPath) +
                  " AND Series.SeriesInstanceUID=Image.SeriesInstanceUID"
                  " AND Study.StudyInstanceUID=Series.StudyInstanceUID");
}

ObjectCatalogue::Home ObjectCatalogue::HomeOf(const ObjectHeader& header) {
    Home home;
    if (const auto rows = connection_->OpenResultSet(
            "SELECT StudyInstanceUID, SeriesDir, Modality FROM Series WHERE SeriesInstanceUID=" +
            Quoted(header.seriesUid));
        !rows->AtEnd())
        home.series = Series{TextOrEmpty(*rows, "StudyInstanceUID"), TextOrEmpty(*rows, "SeriesDir"),
                             TextOrEmpty(*rows, "Modality")};
    if (const auto rows = connection_->OpenResultSet("SELECT StudyPath, IDPatient FROM Study WHERE StudyInstanceUID=" +
                                                     Quoted(header.studyUid));
        !rows->AtEnd())
        home.study = Study{TextOrEmpty(*rows, "StudyPath"), TextOrEmpty(*rows, "IDPatient")};
    return home;
}

void ObjectCatalogue::Add(const ObjectHeader& header, const ObjectPlace& place, const Home& home, int twin) {
    if (!home.study) {
        AddPatient(header);
        InsertStudyRow(*connection_, header, place.studyPath);
    }
    if (!home.series)
        InsertSeriesRow(*connection_, header, place.seriesDir);
    InsertImageRow(*connection_, header, place.imageFile, NumbersTwins() ? std::optional(twin) : std::nullopt);
    if (queuesImages_)
        QueueStoredObject(*connection_, engine_, header.seriesUid, place.imageFile, *queuesImages_);
}

void ObjectCatalogue::AddPatient(const ObjectHeader& header) {
    const auto known =
        connection_->OpenResultSet("SELECT PatientName FROM Patient WHERE ID=" + Quoted(header.patientId));
    if (known->AtEnd())
        InsertPatientRow(*connection_, header);
    else if (!SameInAnyCase(WrittenName(TextOrEmpty(*known, "PatientName")), WrittenName(header.patientName)))
        LogLine("study " + header.studyUid +
                " names its patient otherwise than the catalogue does, which has one name for a patient's ID; it is "
                "listed under that one");
}

std::map<std::string, std::string> ObjectCatalogue::FilesOf(const std::string& seriesUid, const std::string& fromName) {
    std::map<std::string, std::string> files;
    const auto rows = connection_->OpenResultSet(
        "SELECT ImageFile, SOPInstanceUID FROM Image WHERE SeriesInstanceUID=" + Quoted(seriesUid) +
        " AND ImageFile>=" + Quoted(fromName));
    for (; !rows->AtEnd(); rows->MoveNext())
        files.emplace(rows->Text("ImageFile"), TextOrEmpty(*rows, "SOPInstanceUID"));
    return files;
}

bool ObjectCatalogue::Exists(const std::string& query) {
    return !connection_->OpenResultSet(query)->AtEnd();
}

} // namespace tavrel
