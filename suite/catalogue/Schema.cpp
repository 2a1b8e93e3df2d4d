#include "suite/catalogue/Schema.h"

#include "platform/code_tables.h"
#include "platform/error.h"
#include "platform/limits.h"
#include "platform/sql.h"
#include "platform/text_blocks.h"
#include "suite/catalogue/CatalogueVersion.h"
#include "suite/catalogue/SchemaParts.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <string>

namespace tavrel {
namespace {

using schema::Column;
using schema::Index;
using schema::Table;
using enum schema::Type;
using namespace longest;

constexpr std::array Patient{
    Column{"ID", Key, LongString},
    Column{"PatientName", Text, TextColumn},
    Column{"BirthDate", Text, ShortColumn},
    Column{"Sex", Text, ShortColumn},
};
constexpr std::array Study{
    Column{"StudyInstanceUID", Key, Uid},           Column{"StudyPath", Text, LongColumn},
    Column{"IDPatient", Text, LongString},          Column{"StudyDate", Text, ShortColumn},
    Column{"StudyTime", Text, ShortColumn},         Column{"StudyDescription", Text, TextColumn},
    Column{"ReferringPhysician", Text, TextColumn}, Column{"AccessionNumber", Text, ShortColumn},
};
constexpr std::array Series{
    Column{"SeriesInstanceUID", Key, Uid},         Column{"StudyInstanceUID", Text, Uid},
    Column{"SeriesDir", Text, TextColumn},         Column{"Modality", Text, ShortColumn},
    Column{"SeriesStatus", Text, ShortColumn},     Column{"SeriesNumber", Integer},
    Column{"SeriesDescription", Text, TextColumn},
};
// The counter keeps a series' rows in the order of their storing: the last one is the newest. Objects of one UID with
// other contents are twins, numbered from 0: two services that store the same object at once make one row.
constexpr std::array Image{
    Column{"ImageID", Counter},          Column{"SeriesInstanceUID", Text, Uid}, Column{"ImageFile", Text, TextColumn},
    Column{"SOPInstanceUID", Text, Uid}, Column{"SOPClassUID", Text, Uid},       Column{"InstanceNumber", Integer},
    Column{"Twin", Integer, 0, 4},
};
constexpr std::array SiteData{
    Column{"BaseUID", Text, Uid},
    Column{"Organization", Text, TextColumn},
    Column{"ReportForm", Text, ShortColumn, 2},
};
constexpr std::array Users{
    Column{"UserName", Key, TextColumn},
    Column{"Signature", Text, TextColumn},
};
constexpr std::array DicomServer{
    Column{"AETitle", Text, AeTitle},
};
constexpr std::array Port{
    Column{"Port", Integer},
    Column{"AETitle", Text, AeTitle},
};
constexpr std::array History{
    Column{"HistoryID", Counter},
    Column{"ActionTime", Now},
    Column{"Node", Text, TextColumn},
    Column{"Username", Text, TextColumn},
    Column{"PatientName", Text, TextColumn},
    Column{"PatientID", Text, LongString},
    Column{"StudyUID", Text, Uid},
    Column{"SeriesUID", Text, Uid},
    Column{"ActionVal", Text, LongString},
    Column{"Description", Text, TextColumn},
};
constexpr std::array Report{
    Column{"PatientName", Text, TextColumn},
    Column{"BirthDate", Text, TextColumn},
    Column{"Age", Text, TextColumn},
    Column{"Sex", Text, TextColumn},
    Column{"PatientID", Text, TextColumn},
    Column{"StudyDate", Text, TextColumn},
    Column{"StudyDescription", Text, TextColumn},
    Column{"StudyPhysician", Text, TextColumn},
    Column{"ReportHeading", Text, TextColumn},
    Column{"ReportTitle", Text, TextColumn},
    Column{"ReadingPhysician", Text, TextColumn},
    Column{"LastUpdated", Text, TextColumn},
    Column{"ApprovingPhysician", Text, TextColumn},
    Column{"ApprovingDate", Text, TextColumn},
    Column{"Reading", Text, LongColumn},
};
constexpr std::array Archive{
    Column{"AETitle", Text, AeTitle},   Column{"Host", Text, TextColumn},    Column{"Port", Integer},
    Column{"CallingAE", Text, AeTitle}, Column{"Images", Text, ShortColumn}, Column{"Tls", Text, ShortColumn},
};
constexpr std::array Outgoing{
    Column{"ImageID", RowOf},
    Column{"SeriesInstanceUID", Text, Uid},
    Column{"SOPClassUID", Text, Uid},
    Column{"SOPInstanceUID", Text, Uid},
    Column{"Turn", Integer},
    Column{"State", Text, ShortColumn},
    Column{"Attempts", Integer},
    Column{"QueuedTime", Moment},
    Column{"NextTime", Moment},
    Column{"LastWords", Text, TextColumn},
    Column{"TransactionUID", Text, Uid},
};
constexpr std::array OutgoingClaim{
    Column{"SeriesInstanceUID", Key, Uid},
    Column{"Claimant", Text, LongString},
    Column{"ClaimedUntil", Moment},
};
constexpr std::array StorageArea{
    Column{"Number", RowOf},
    Column{"Turn", Integer},
};
/// A row for each version that the catalogue has had since it was made or its versions were counted.
constexpr std::array Versions{
    Column{"Version", RowOf},
    Column{"OldestWriter", Integer},
    Column{"MadeTime", Now},
};
constexpr std::array Codes{
    Column{"CodeScheme", Text, LongString},
    Column{"CodeValue", Code, LongString},
    Column{"CodeMeaning", Text, TextColumn},
};
constexpr std::array TextBlocks{
    Column{"Kind", Text, ShortColumn},
    Column{"Name", Text, TextColumn},
    Column{"Body", Text, longest::TextBlock},
};
constexpr std::array Writing{
    Column{"UserName", Key, TextColumn},
    Column{"Spelling", Text, TextColumn},
    Column{"Dictation", Text, LongColumn},
};

// The number is never another one's, not even of one that has left.
constexpr std::array Workstation{
    Column{"Number", Counter},
    Column{"Name", Text, LongestAccount},
    Column{"Machine", Text, TextColumn},
};
/// What stands before the columns of a workstation's own table, where the rows of all are.
constexpr std::array OfAll{
    Column{"RowID", Counter},
    Column{"Workstation", Maker, LongestAccount},
};

template <std::size_t Count> Table Of(std::string_view name, const std::array<Column, Count>& columns, int since = 1) {
    return {std::string(name), {columns.begin(), columns.end()}, since};
}

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

std::optional<std::string> Answer(Connection& connection, std::string_view query) {
    try {
        return connection.OpenResultSet(query)->Text("Version");
    } catch (const Error&) {
        return std::nullopt;
    }
}

std::vector<Column> ColumnsOf(std::string_view table) {
    const auto tables = schema::Tables();
    return std::ranges::find(tables, table, &Table::name)->columns;
}

} // namespace

namespace schema {

std::vector<Table> Tables() {
    return {
        Of("Patient", Patient),
        Of("Study", Study),
        Of("Series", Series),
        Of("Image", Image),
        Of("SiteData", SiteData),
        Of("Users", Users),
        Of("DicomServer", DicomServer),
        Of("Port", Port),
        Of("History", History),
        Of("Report", Report),
        Of(code_table::Titles, Codes),
        Of(code_table::BodyParts, Codes),
        Of(code_table::Findings, Codes),
        Of(code_table::Diagnoses, Codes),
        Of(text_block::Table, TextBlocks, 7),
        Of("Writing", Writing, 7),
        Of("Archive", Archive, 3),
        Of("Outgoing", Outgoing, 3),
        Of("OutgoingClaim", OutgoingClaim, 3),
        Of("StorageArea", StorageArea, 5),
        Of(VersionTable, Versions, FirstWritten),
    };
}

std::vector<Index> Indexes() {
    std::vector<Index> indexes = {
        {"StudyByPatient", "Study", "IDPatient"},
        {"SeriesByStudy", "Series", "StudyInstanceUID"},
        {"ImageBySeries", "Image", "SeriesInstanceUID"},
        {"ImageByInstance", "Image", "SOPInstanceUID"},
        {"HistoryBySeries", "History", "SeriesUID"},
        {"OutgoingBySeries", "Outgoing", "SeriesInstanceUID", false, 3},
        {"OutgoingByState", "Outgoing", "State", false, 3},
        {"OutgoingByInstance", "Outgoing", "SOPInstanceUID", false, 3},
        {"ImageOnce", "Image", "SOPInstanceUID, Twin", true, 4},
    };
    for (const std::string_view table : code_table::All)
        indexes.push_back({std::string(table) + "ByValue", std::string(table), "CodeValue"});
    return indexes;
}

std::vector<Table> DepartmentTables() {
    std::vector<Table> tables = {Of("Workstation", Workstation), Of(DepartmentSite, SiteData)};
    for (const std::string_view ownTable : OwnTables) {
        Table table = Of(TableOfAll(ownTable), OfAll);
        std::ranges::copy(ColumnsOf(ownTable), std::back_inserter(table.columns));
        tables.push_back(std::move(table));
    }
    return tables;
}

std::vector<Index> DepartmentIndexes() {
    std::vector<Index> indexes;
    for (const std::string_view ownTable : OwnTables) {
        const std::string table = TableOfAll(ownTable);
        indexes.push_back({table + "ByWorkstation", table, "Workstation"});
    }
    return indexes;
}

std::string TypeText(const Column& column, Engine engine) {
    const std::string size = std::string("(").append(std::to_string(column.size)).append(")");
    switch (column.type) {
    case Key:
        return "VARCHAR" + size + " NOT NULL PRIMARY KEY";
    case Code:
        // PostgreSQL pads fixed-width columns only, SQLite needs the collation, MariaDB always pads.
        if (engine == Engine::PostgreSql)
            return "CHAR" + size;
        return "VARCHAR" + size + (engine == Engine::Sqlite ? " COLLATE RTRIM" : "");
    case Integer:
        return "INTEGER";
    case Counter:
        return CounterType(engine);
    case Now:
        // MariaDB would renew a TIMESTAMP with every change of the row.
        return std::string(engine == Engine::MariaDb ? "DATETIME" : "TIMESTAMP") + " DEFAULT CURRENT_TIMESTAMP";
    case RowOf:
        return "BIGINT NOT NULL PRIMARY KEY";
    case Moment:
        return "BIGINT";
    case Maker:
        return "VARCHAR" + size + " NOT NULL DEFAULT " +
               (engine == Engine::MariaDb ? "(" + CurrentAccount(engine) + ")" : CurrentAccount(engine));
    case Text:
        break;
    }
    return "VARCHAR" + size;
}

std::string CreateTable(const Table& table, Engine engine) {
    std::string statement = "CREATE TABLE IF NOT EXISTS " + table.name + " (";
    std::string_view separator;
    for (const Column& column : table.columns) {
        statement.append(separator).append(column.name).append(" ").append(TypeText(column, engine));
        separator = ", ";
    }
    statement += ")";
    if (engine == Engine::MariaDb)
        statement += " ENGINE=InnoDB DEFAULT CHARACTER SET utf8mb4 COLLATE utf8mb4_bin";
    return statement;
}

std::string CreateIndex(const Index& index) {
    return std::string(index.unique ? "CREATE UNIQUE INDEX" : "CREATE INDEX") + " IF NOT EXISTS " + index.name +
           " ON " + index.table + " (" + index.columns + ")";
}

std::string WriteVersion(int version) {
    const std::string table(VersionTable);
    const std::string number = std::to_string(version);
    return "INSERT INTO " + table + " (Version, OldestWriter) SELECT " + number + ", " + std::to_string(OldestWriter) +
           " FROM (SELECT 1 AS One) Once WHERE NOT EXISTS (SELECT Version FROM " + table + " WHERE Version=" + number +
           ")";
}

} // namespace schema

Engine DetectEngine(Connection& connection) {
    if (Answer(connection, "SELECT sqlite_version() AS Version"))
        return Engine::Sqlite;
    const std::string version = Answer(connection, "SELECT version() AS Version").value_or("an unknown engine");
    if (version.find("PostgreSQL") != std::string::npos)
        return Engine::PostgreSql;
    if (version.find("MariaDB") != std::string::npos)
        return Engine::MariaDb;
    throw Error(Fault::OfTheSuite, "Catalogue",
                "The catalogue must be on SQLite, PostgreSQL or MariaDB; this data source leads to " + version);
}

void CreateSchema(Connection& connection, Engine engine) {
    connection.BeginTransaction();
    for (const Table& table : schema::Tables())
        connection.OpenResultSet(CreateTable(table, engine));
    for (const Index& index : schema::Indexes())
        connection.OpenResultSet(CreateIndex(index));
    connection.OpenResultSet(schema::WriteVersion(SchemaVersion));
    connection.Commit();
}

std::string CurrentAccount(Engine engine) {
    return engine == Engine::MariaDb ? "SUBSTRING_INDEX(USER(),'@',1)" : "current_user";
}

std::string TableOfAll(std::string_view ownTable) {
    return "Workstation" + std::string(ownTable);
}

std::string ColumnNames(std::string_view table) {
    std::vector<std::string> names;
    for (const Column& column : ColumnsOf(table))
        names.emplace_back(column.name);
    return Listed(names);
}

void CreateDepartmentTables(Connection& connection, Engine engine) {
    for (const Table& table : schema::DepartmentTables())
        connection.OpenResultSet(CreateTable(table, engine));
    for (const Index& index : schema::DepartmentIndexes())
        connection.OpenResultSet(CreateIndex(index));
}

std::vector<std::string> CatalogueTables() {
    std::vector<std::string> names;
    for (const Table& table : schema::Tables())
        names.push_back(table.name);
    return names;
}

} // namespace tavrel
