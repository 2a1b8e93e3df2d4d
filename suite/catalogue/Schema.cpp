#include "suite/catalogue/Schema.h"

#include "platform/error.h"

#include <array>
#include <string>

namespace tavrel {
namespace {

enum class Type {
    Key,     ///< text that identifies the row
    Text,    ///< text of at most `size` characters
    Code,    ///< text that compares without regard to trailing blanks
    Integer, ///< a whole number
    Counter, ///< numbers the rows in the order of their making, and identifies them
    Now,     ///< the time at which the row was made
};

struct Column {
    std::string_view name;
    Type type;
    int size = 0;
};

struct Index {
    std::string_view name;
    std::string_view table;
    std::string_view columns;
};

// Sizes: a UID and an LO have 64 characters, an AE title and a CS 16 (DICOM PS3.5, 6.2).
constexpr Column Patient[] = {
    {"ID", Type::Key, 64}, {"PatientName", Type::Text, 255}, {"BirthDate", Type::Text, 16}, {"Sex", Type::Text, 16}};
constexpr Column Study[] = {{"StudyInstanceUID", Type::Key, 64},     {"StudyPath", Type::Text, 1024},
                            {"IDPatient", Type::Text, 64},           {"StudyDate", Type::Text, 16},
                            {"StudyTime", Type::Text, 16},           {"StudyDescription", Type::Text, 255},
                            {"ReferringPhysician", Type::Text, 255}, {"AccessionNumber", Type::Text, 16}};
constexpr Column Series[] = {{"SeriesInstanceUID", Type::Key, 64},  {"StudyInstanceUID", Type::Text, 64},
                             {"SeriesDir", Type::Text, 255},        {"Modality", Type::Text, 16},
                             {"SeriesStatus", Type::Text, 16},      {"SeriesNumber", Type::Integer},
                             {"SeriesDescription", Type::Text, 255}};
// The counter keeps a series' rows in the order of their storing: the last one is the newest.
constexpr Column Image[] = {{"ImageID", Type::Counter},      {"SeriesInstanceUID", Type::Text, 64},
                            {"ImageFile", Type::Text, 255},  {"SOPInstanceUID", Type::Text, 64},
                            {"SOPClassUID", Type::Text, 64}, {"InstanceNumber", Type::Integer}};
constexpr Column SiteData[] = {{"BaseUID", Type::Text, 64}, {"Organization", Type::Text, 255}};
constexpr Column Users[] = {{"UserName", Type::Key, 255}, {"Signature", Type::Text, 255}};
constexpr Column DicomServer[] = {{"AETitle", Type::Text, 16}};
constexpr Column Port[] = {{"Port", Type::Integer}, {"AETitle", Type::Text, 16}};
constexpr Column History[] = {{"HistoryID", Type::Counter},     {"ActionTime", Type::Now},
                              {"Node", Type::Text, 255},        {"Username", Type::Text, 255},
                              {"PatientName", Type::Text, 255}, {"PatientID", Type::Text, 64},
                              {"StudyUID", Type::Text, 64},     {"SeriesUID", Type::Text, 64},
                              {"ActionVal", Type::Text, 64},    {"Description", Type::Text, 255}};
constexpr Column Report[] = {{"PatientName", Type::Text, 255},
                             {"BirthDate", Type::Text, 255},
                             {"Age", Type::Text, 255},
                             {"Sex", Type::Text, 255},
                             {"PatientID", Type::Text, 255},
                             {"StudyDate", Type::Text, 255},
                             {"StudyDescription", Type::Text, 255},
                             {"StudyPhysician", Type::Text, 255},
                             {"ReportHeading", Type::Text, 255},
                             {"ReportTitle", Type::Text, 255},
                             {"ReadingPhysician", Type::Text, 255},
                             {"LastUpdated", Type::Text, 255},
                             {"ApprovingPhysician", Type::Text, 255},
                             {"ApprovingDate", Type::Text, 255},
                             {"Reading", Type::Text, 1024}};
constexpr Column Codes[] = {
    {"CodeScheme", Type::Text, 64}, {"CodeValue", Type::Code, 64}, {"CodeMeaning", Type::Text, 255}};

constexpr std::array<std::string_view, 14> TableNames = {
    "Patient", "Study",   "Series", "Image",     "SiteData",    "Users",      "DicomServer",
    "Port",    "History", "Report", "StdTitles", "StdBodyPart", "StdFinding", "StdDiagnosis"};
constexpr std::array<std::span<const Column>, TableNames.size()> TableColumns = {
    Patient, Study, Series, Image, SiteData, Users, DicomServer, Port, History, Report, Codes, Codes, Codes, Codes};

constexpr Index Indexes[] = {
    {"StudyByPatient", "Study", "IDPatient"},
    {"SeriesByStudy", "Series", "StudyInstanceUID"},
    {"ImageBySeries", "Image", "SeriesInstanceUID"},
    {"ImageByInstance", "Image", "SOPInstanceUID"},
    {"HistoryBySeries", "History", "SeriesUID"},
    {"StdTitlesByValue", "StdTitles", "CodeValue"},
    {"StdBodyPartByValue", "StdBodyPart", "CodeValue"},
    {"StdFindingByValue", "StdFinding", "CodeValue"},
    {"StdDiagnosisByValue", "StdDiagnosis", "CodeValue"},
};

std::string CounterType(Engine engine) {
    switch (engine) {
    case Engine::Sqlite:
        return "INTEGER PRIMARY KEY AUTOINCREMENT";
    case Engine::PostgreSql:
        return "BIGINT GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY";
    case Engine::MariaDb:
        break;
    }
    return "BIGINT NOT NULL AUTO_INCREMENT PRIMARY KEY";
}

std::string TypeText(const Column& column, Engine engine) {
    const std::string size = std::string("(").append(std::to_string(column.size)).append(")");
    switch (column.type) {
    case Type::Key:
        return "VARCHAR" + size + " NOT NULL PRIMARY KEY";
    case Type::Code:
        // PostgreSQL pads fixed-width columns only, SQLite needs the collation, MariaDB always pads.
        if (engine == Engine::PostgreSql)
            return "CHAR" + size;
        return "VARCHAR" + size + (engine == Engine::Sqlite ? " COLLATE RTRIM" : "");
    case Type::Integer:
        return "INTEGER";
    case Type::Counter:
        return CounterType(engine);
    case Type::Now:
        // MariaDB would renew a TIMESTAMP with every change of the row.
        return std::string(engine == Engine::MariaDb ? "DATETIME" : "TIMESTAMP") + " DEFAULT CURRENT_TIMESTAMP";
    case Type::Text:
        break;
    }
    return "VARCHAR" + size;
}

std::string CreateTable(std::string_view name, std::span<const Column> columns, Engine engine) {
    std::string statement = "CREATE TABLE IF NOT EXISTS " + std::string(name) + " (";
    std::string_view separator;
    for (const Column& column : columns) {
        statement.append(separator).append(column.name).append(" ").append(TypeText(column, engine));
        separator = ", ";
    }
    statement += ")";
    if (engine == Engine::MariaDb)
        statement += " ENGINE=InnoDB DEFAULT CHARACTER SET utf8mb4 COLLATE utf8mb4_bin";
    return statement;
}

std::optional<std::string> Answer(Connection& connection, std::string_view query) {
    try {
        return connection.OpenResultSet(query)->Text("Version");
    } catch (const Error&) {
        return std::nullopt;
    }
}

} // namespace

Engine DetectEngine(Connection& connection) {
    if (Answer(connection, "SELECT sqlite_version() AS Version"))
        return Engine::Sqlite;
    const std::string version = Answer(connection, "SELECT version() AS Version").value_or("an unknown engine");
    if (version.find("PostgreSQL") != std::string::npos)
        return Engine::PostgreSql;
    if (version.find("MariaDB") != std::string::npos)
        return Engine::MariaDb;
    throw Error(1, "Catalogue",
                "The catalogue must be on SQLite, PostgreSQL or MariaDB; this data source leads to " + version);
}

void CreateSchema(Connection& connection, Engine engine) {
    connection.BeginTransaction();
    for (std::size_t table = 0; table < TableNames.size(); ++table)
        connection.OpenResultSet(CreateTable(TableNames[table], TableColumns[table], engine));
    for (const Index& index : Indexes)
        connection.OpenResultSet("CREATE INDEX IF NOT EXISTS " + std::string(index.name) + " ON " +
                                 std::string(index.table) + " (" + std::string(index.columns) + ")");
    connection.Commit();
}

std::span<const std::string_view> CatalogueTables() {
    return TableNames;
}

} // namespace tavrel
