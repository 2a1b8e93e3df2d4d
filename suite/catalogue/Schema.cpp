#include "suite/catalogue/Schema.h"

#include "platform/code_tables.h"
#include "platform/error.h"
#include "platform/limits.h"

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
    std::size_t size = 0; ///< in characters
};

struct Index {
    std::string_view name;
    std::string_view table;
    std::string_view columns;
};

using namespace longest;

constexpr Column Patient[] = {{"ID", Type::Key, LongString},
                              {"PatientName", Type::Text, TextColumn},
                              {"BirthDate", Type::Text, ShortColumn},
                              {"Sex", Type::Text, ShortColumn}};
constexpr Column Study[] = {
    {"StudyInstanceUID", Type::Key, Uid},           {"StudyPath", Type::Text, LongColumn},
    {"IDPatient", Type::Text, LongString},          {"StudyDate", Type::Text, ShortColumn},
    {"StudyTime", Type::Text, ShortColumn},         {"StudyDescription", Type::Text, TextColumn},
    {"ReferringPhysician", Type::Text, TextColumn}, {"AccessionNumber", Type::Text, ShortColumn}};
constexpr Column Series[] = {{"SeriesInstanceUID", Type::Key, Uid},        {"StudyInstanceUID", Type::Text, Uid},
                             {"SeriesDir", Type::Text, TextColumn},        {"Modality", Type::Text, ShortColumn},
                             {"SeriesStatus", Type::Text, ShortColumn},    {"SeriesNumber", Type::Integer},
                             {"SeriesDescription", Type::Text, TextColumn}};
// The counter keeps a series' rows in the order of their storing: the last one is the newest.
constexpr Column Image[] = {
    {"ImageID", Type::Counter},          {"SeriesInstanceUID", Type::Text, Uid}, {"ImageFile", Type::Text, TextColumn},
    {"SOPInstanceUID", Type::Text, Uid}, {"SOPClassUID", Type::Text, Uid},       {"InstanceNumber", Type::Integer}};
constexpr Column SiteData[] = {{"BaseUID", Type::Text, Uid}, {"Organization", Type::Text, TextColumn}};
constexpr Column Users[] = {{"UserName", Type::Key, TextColumn}, {"Signature", Type::Text, TextColumn}};
constexpr Column DicomServer[] = {{"AETitle", Type::Text, AeTitle}};
constexpr Column Port[] = {{"Port", Type::Integer}, {"AETitle", Type::Text, AeTitle}};
constexpr Column History[] = {{"HistoryID", Type::Counter},
                              {"ActionTime", Type::Now},
                              {"Node", Type::Text, TextColumn},
                              {"Username", Type::Text, TextColumn},
                              {"PatientName", Type::Text, TextColumn},
                              {"PatientID", Type::Text, LongString},
                              {"StudyUID", Type::Text, Uid},
                              {"SeriesUID", Type::Text, Uid},
                              {"ActionVal", Type::Text, LongString},
                              {"Description", Type::Text, TextColumn}};
constexpr Column Report[] = {{"PatientName", Type::Text, TextColumn},
                             {"BirthDate", Type::Text, TextColumn},
                             {"Age", Type::Text, TextColumn},
                             {"Sex", Type::Text, TextColumn},
                             {"PatientID", Type::Text, TextColumn},
                             {"StudyDate", Type::Text, TextColumn},
                             {"StudyDescription", Type::Text, TextColumn},
                             {"StudyPhysician", Type::Text, TextColumn},
                             {"ReportHeading", Type::Text, TextColumn},
                             {"ReportTitle", Type::Text, TextColumn},
                             {"ReadingPhysician", Type::Text, TextColumn},
                             {"LastUpdated", Type::Text, TextColumn},
                             {"ApprovingPhysician", Type::Text, TextColumn},
                             {"ApprovingDate", Type::Text, TextColumn},
                             {"Reading", Type::Text, LongColumn}};
constexpr Column Codes[] = {{"CodeScheme", Type::Text, LongString},
                            {"CodeValue", Type::Code, LongString},
                            {"CodeMeaning", Type::Text, TextColumn}};

constexpr std::array<std::string_view, 14> TableNames = {"Patient",
                                                         "Study",
                                                         "Series",
                                                         "Image",
                                                         "SiteData",
                                                         "Users",
                                                         "DicomServer",
                                                         "Port",
                                                         "History",
                                                         "Report",
                                                         code_table::Titles,
                                                         code_table::BodyParts,
                                                         code_table::Findings,
                                                         code_table::Diagnoses};
constexpr std::array<std::span<const Column>, TableNames.size()> TableColumns = {
    Patient, Study, Series, Image, SiteData, Users, DicomServer, Port, History, Report, Codes, Codes, Codes, Codes};

constexpr Index Indexes[] = {
    {"StudyByPatient", "Study", "IDPatient"},        {"SeriesByStudy", "Series", "StudyInstanceUID"},
    {"ImageBySeries", "Image", "SeriesInstanceUID"}, {"ImageByInstance", "Image", "SOPInstanceUID"},
    {"HistoryBySeries", "History", "SeriesUID"},
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

std::string CreateIndex(const Index& index) {
    return "CREATE INDEX IF NOT EXISTS " + std::string(index.name) + " ON " + std::string(index.table) + " (" +
           std::string(index.columns) + ")";
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
        connection.OpenResultSet(CreateIndex(index));
    for (const std::string_view table : code_table::All)
        connection.OpenResultSet(CreateIndex({std::string(table) + "ByValue", table, "CodeValue"}));
    connection.Commit();
}

std::span<const std::string_view> CatalogueTables() {
    return TableNames;
}

} // namespace tavrel
