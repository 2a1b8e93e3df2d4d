#include "suite/catalogue/Schema.h"

#include "platform/code_tables.h"
#include "platform/error.h"
#include "platform/limits.h"
#include "platform/sql.h"

#include <algorithm>
#include <array>
#include <iterator>
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
    RowOf,   ///< the counter of another table's row, which identifies this one too
    Moment,  ///< seconds since 1970, by the catalogue's own clock
    Maker,   ///< the account that made the row
};

struct Column {
    std::string_view name;
    Type type;
    std::size_t size = 0; ///< in characters
    bool mayLack = false; ///< in a catalogue of before, without a fault
};

struct Index {
    std::string_view name;
    std::string_view table;
    std::string_view columns;
    bool unique = false;
};

using enum Type;
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
constexpr Column Twin{"Twin", Integer, 0, true};
// The counter keeps a series' rows in the order of their storing: the last one is the newest. Objects of one UID with
// other contents are twins, numbered from 0: two services that store the same object at once make one row.
constexpr std::array Image{
    Column{"ImageID", Counter},
    Column{"SeriesInstanceUID", Text, Uid},
    Column{"ImageFile", Text, TextColumn},
    Column{"SOPInstanceUID", Text, Uid},
    Column{"SOPClassUID", Text, Uid},
    Column{"InstanceNumber", Integer},
    Twin,
};
constexpr std::array SiteData{
    Column{"BaseUID", Text, Uid},
    Column{"Organization", Text, TextColumn},
    Column{"ReportForm", Text, ShortColumn, true},
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
constexpr std::array Codes{
    Column{"CodeScheme", Text, LongString},
    Column{"CodeValue", Code, LongString},
    Column{"CodeMeaning", Text, TextColumn},
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

constexpr std::array<std::string_view, 18> TableNames = {
    "Patient",
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
    code_table::Diagnoses,
    "Archive",
    "Outgoing",
    "OutgoingClaim",
    "StorageArea",
};
constexpr std::array<std::span<const Column>, TableNames.size()> TableColumns = {
    Patient, Study, Series, Image, SiteData, Users,   DicomServer, Port,          History,
    Report,  Codes, Codes,  Codes, Codes,    Archive, Outgoing,    OutgoingClaim, StorageArea};
/// Of a catalogue that was made before it, without a fault.
constexpr std::array<std::string_view, 4> TablesThatMayLack = {"Archive", "Outgoing", "OutgoingClaim", "StorageArea"};

constexpr std::array Indexes{
    Index{"StudyByPatient", "Study", "IDPatient"},        Index{"SeriesByStudy", "Series", "StudyInstanceUID"},
    Index{"ImageBySeries", "Image", "SeriesInstanceUID"}, Index{"ImageByInstance", "Image", "SOPInstanceUID"},
    Index{"HistoryBySeries", "History", "SeriesUID"},     Index{"OutgoingBySeries", "Outgoing", "SeriesInstanceUID"},
    Index{"OutgoingByState", "Outgoing", "State"},        Index{"OutgoingByInstance", "Outgoing", "SOPInstanceUID"},
};
constexpr Index ImageOnce{"ImageOnce", "Image", "SOPInstanceUID, Twin", true};

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
    return std::string(index.unique ? "CREATE UNIQUE INDEX" : "CREATE INDEX") + " IF NOT EXISTS " +
           std::string(index.name) + " ON " + std::string(index.table) + " (" + std::string(index.columns) + ")";
}

std::optional<std::string> Answer(Connection& connection, std::string_view query) {
    try {
        return connection.OpenResultSet(query)->Text("Version");
    } catch (const Error&) {
        return std::nullopt;
    }
}

std::span<const Column> ColumnsOf(std::string_view table) {
    return TableColumns.at(static_cast<std::size_t>(std::ranges::find(TableNames, table) - TableNames.begin()));
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
    throw Error(Fault::OfTheSuite, "Catalogue",
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
    try {
        connection.OpenResultSet(CreateIndex(ImageOnce));
    } catch (const Error&) { // it was made before
        AddColumn(connection, engine, {"Image", Twin.name});
        connection.OpenResultSet(CreateIndex(ImageOnce));
    }
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
    connection.OpenResultSet(CreateTable("Workstation", Workstation, engine));
    connection.OpenResultSet(CreateTable(DepartmentSite, SiteData, engine));
    for (const std::string_view ownTable : OwnTables) {
        const std::string table = TableOfAll(ownTable);
        std::vector<Column> columns(OfAll.begin(), OfAll.end());
        std::ranges::copy(ColumnsOf(ownTable), std::back_inserter(columns));
        connection.OpenResultSet(CreateTable(table, columns, engine));
        connection.OpenResultSet(CreateIndex({table + "ByWorkstation", table, "Workstation"}));
    }
}

std::vector<AbsentColumn> AbsentColumns(Connection& connection) {
    std::vector<AbsentColumn> absent;
    for (std::size_t table = 0; table < TableNames.size(); ++table) {
        if (MayLackTable(TableNames[table]))
            continue;
        const auto rows = connection.OpenResultSet("SELECT * FROM " + std::string(TableNames[table]) + " WHERE 1=0");
        for (const Column& column : TableColumns[table])
            if (!column.mayLack && !rows->HasField(column.name))
                absent.push_back({TableNames[table], column.name});
    }
    return absent;
}

void AddColumn(Connection& connection, Engine engine, const AbsentColumn& absent) {
    const Column& column = *std::ranges::find(ColumnsOf(absent.table), absent.name, &Column::name);
    if (column.type == Key || column.type == Counter)
        throw Error(Fault::OfTheSuite, "Catalogue", "it identifies the row");
    connection.OpenResultSet("ALTER TABLE " + std::string(absent.table) + " ADD COLUMN " + std::string(absent.name) +
                             " " + TypeText(column, engine));
}

std::span<const std::string_view> CatalogueTables() {
    return TableNames;
}

bool MayLackTable(std::string_view table) {
    return std::ranges::find(TablesThatMayLack, table) != TablesThatMayLack.end();
}

} // namespace tavrel
