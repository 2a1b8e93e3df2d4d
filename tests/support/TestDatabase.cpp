#include "tests/support/TestDatabase.h"

#include "platform/odbc/OdbcDatabase.h"
#include "tests/support/SqliteEntry.h"
#include "tests/support/TemporaryFolder.h"

#include <array>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace tavrel {

namespace {

/// Holds the SQLite file and its ODBC entry until the process ends. The path is one for the whole
/// process because the driver manager remembers an entry's values for a while.
class Folder {
public:
    static const std::filesystem::path& Path() {
        static const Folder folder;
        return folder.path_;
    }

private:
    Folder() {
        if (const char* engines = std::getenv("ENGINES_FOLDER")) {
            path_ = engines;
            return;
        }
        path_ = own_.emplace().Path();
        UseSqliteEntry(path_);
    }

    std::optional<TemporaryFolder> own_;
    std::filesystem::path path_;
};

/// How an engine declares a code: `WHERE CodeValue = 'X '` finds the code X.
std::string_view CodeType(TestDatabase::Engine engine) {
    switch (engine) {
    case TestDatabase::Engine::Sqlite:
        return "CHAR(64) COLLATE RTRIM";
    case TestDatabase::Engine::Postgresql:
        return "CHAR(64)";
    case TestDatabase::Engine::Mariadb:
        return "VARCHAR(64) COLLATE utf8mb4_bin";
    }
    return {};
}

} // namespace

TestDatabase::TestDatabase(Engine engine) : engine_(engine), adapter_(std::make_unique<OdbcDatabase>()) {
    Folder::Path();
    MakeEmpty();
    connection_ = Connect();
    MakeTables();
}

std::string TestDatabase::ConnectionText() const {
    // SQLite's driver waits twice this long for another writer; with the entry's own time a test would take 5 s.
    constexpr std::array entries = {"DSN=DicomFDB;Timeout=400", "DSN=DicomFDB_postgresql", "DSN=DicomFDB_mariadb"};
    return entries.at(static_cast<std::size_t>(engine_));
}

std::unique_ptr<Connection> TestDatabase::Connect() const {
    auto connection = adapter_->NewConnection();
    connection->Open(ConnectionText());
    return connection;
}

void TestDatabase::Run(std::string_view statement) const {
    connection_->OpenResultSet(statement);
}

std::vector<TestDatabase::Row> TestDatabase::Rows(std::string_view query, int columns) const {
    std::vector<Row> rows;
    for (const auto result = connection_->OpenResultSet(query); !result->AtEnd(); result->MoveNext()) {
        Row& row = rows.emplace_back();
        for (int index = 0; index < columns; ++index)
            row.emplace_back(result->Field(index));
    }
    return rows;
}

std::string TestDatabase::Value(std::string_view query) const {
    const auto rows = Rows(query, 1);
    if (rows.size() != 1)
        throw std::runtime_error(std::to_string(rows.size()) + " rows for " + std::string(query));
    return rows[0][0].value_or("NULL");
}

void TestDatabase::MakeEmpty() const {
    if (engine_ == Engine::Sqlite) {
        for (const char* file : {"catalogue.db", "catalogue.db-wal", "catalogue.db-shm"})
            std::filesystem::remove(Folder::Path() / file);
        return;
    }
    const auto connection = Connect();
    if (engine_ == Engine::Postgresql) {
        connection->OpenResultSet("DROP SCHEMA public CASCADE");
        connection->OpenResultSet("CREATE SCHEMA public");
    } else {
        connection->OpenResultSet("DROP DATABASE orbenta");
        connection->OpenResultSet("CREATE DATABASE orbenta CHARACTER SET utf8mb4 COLLATE utf8mb4_bin");
    }
}

void TestDatabase::MakeTables() const {
    for (const char* table :
         {"Patient (ID VARCHAR(64) PRIMARY KEY, PatientName VARCHAR(255))",
          "Series (SeriesInstanceUID VARCHAR(64) PRIMARY KEY, SeriesDir VARCHAR(255), SeriesStatus VARCHAR(16), "
          "SeriesNumber INTEGER)",
          "SiteData (BaseUID VARCHAR(64), Organization VARCHAR(255))", "Port (Port INTEGER, AETitle VARCHAR(16))",
          "Report (PatientName VARCHAR(255), BirthDate VARCHAR(255), Age VARCHAR(255), Sex VARCHAR(255), "
          "PatientID VARCHAR(255), StudyDate VARCHAR(255), StudyDescription VARCHAR(255), "
          "StudyPhysician VARCHAR(255), ReportHeading VARCHAR(255), ReportTitle VARCHAR(255), "
          "ReadingPhysician VARCHAR(255), LastUpdated VARCHAR(255), ApprovingPhysician VARCHAR(255), "
          "ApprovingDate VARCHAR(255), Reading TEXT)"})
        Run("CREATE TABLE " + std::string(table));
    Run("CREATE TABLE StdTitles (CodeScheme VARCHAR(16), CodeValue " + std::string(CodeType(engine_)) +
        ", CodeMeaning VARCHAR(255))");
}

} // namespace tavrel
