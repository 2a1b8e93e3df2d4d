#include "suite/catalogue/CatalogueVersion.h"
#include "suite/catalogue/SchemaParts.h"
#include "tests/support/DocumentTable.h"
#include "tests/support/ForwardingDatabase.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

constexpr std::string_view TableHeading = "### ";

std::string ColumnALine(std::string_view statements) {
    std::string text;
    for (const char character : statements)
        text += character == ',' ? ",\n" : std::string(1, character);
    return text;
}

/// Takes the statements down that would make a catalogue.
class MakingNothing : public ForwardingConnection {
public:
    MakingNothing() : ForwardingConnection(nullptr) {}
    void BeginTransaction() override {}
    void Commit() override {}
    std::unique_ptr<ResultSet> OpenResultSet(std::string_view statement, Cursor) override {
        statements += ColumnALine(statement) + "\n";
        return nullptr;
    }

    std::string statements;
};

std::string Replaced(std::string text, std::string_view what, std::string_view by) {
    if (const auto found = text.find(what); found != std::string::npos)
        text.replace(found, what.size(), by);
    return text;
}

/// The page read as the statements of one engine, whose types stand in the column `engineColumn`.
class Page {
public:
    explicit Page(std::size_t engineColumn) : engineColumn_(engineColumn) {}

    std::string Statements() const {
        std::string statements;
        for (const auto& table : TablesOf(CATALOGUE_DOCUMENT))
            if (table.heading.starts_with(TableHeading))
                statements += Tables(table);
        for (const auto& index : TableUnder("## Indexes", CATALOGUE_DOCUMENT))
            statements += Index(index[0], index[1], index[2], index[3] == "yes");
        return ColumnALine(statements);
    }

    std::string DepartmentStatements() const {
        std::string statements = Table("Workstation", Columns(Rows("#### Workstation"))) +
                                 Table("DepartmentSite", Columns(Rows("### SiteData")));
        for (const std::string_view own : OwnTables) {
            const std::string table = TableOfAll(own);
            statements += Table(table, Columns(Rows("#### The rows of all")) + ", " +
                                           Columns(Rows(std::string(TableHeading).append(own))));
        }
        for (const std::string_view own : OwnTables)
            statements += Index(TableOfAll(own) + "ByWorkstation", TableOfAll(own), "Workstation");
        return ColumnALine(statements);
    }

private:
    static std::vector<DocumentRow> Rows(const std::string& heading) { return TableUnder(heading, CATALOGUE_DOCUMENT); }

    std::string Columns(const std::vector<DocumentRow>& rows) const {
        std::string columns;
        for (const auto& row : rows)
            columns += (columns.empty() ? "" : ", ") + row[0] + " " + Type(row[1]);
        return columns;
    }

    std::string Table(const std::string& name, const std::string& columns) const {
        const auto end = Type("the table itself");
        return "CREATE TABLE IF NOT EXISTS " + name + " (" + columns + ")" + (end.empty() ? "" : " " + end) + "\n";
    }

    static std::string Index(const std::string& name, const std::string& table, const std::string& column,
                             bool unique = false) {
        return std::string(unique ? "CREATE UNIQUE INDEX" : "CREATE INDEX") + " IF NOT EXISTS " + name + " ON " +
               table + " (" + column + ")\n";
    }

    /// Tables with the same columns share a heading: "### One, Two".
    std::string Tables(const DocumentTable& table) const {
        std::string statements;
        std::string names = table.heading.substr(TableHeading.size()) + ", ";
        for (; !names.empty(); names.erase(0, names.find(", ") + 2))
            statements += Table(names.substr(0, names.find(',')), Columns(table.rows));
        return statements;
    }

    /// "text 64" by the row "text N" of the page's types.
    std::string Type(const std::string& documented) const {
        const auto digits = documented.find_first_of("0123456789");
        const auto size = digits == std::string::npos ? "" : documented.substr(digits);
        for (const auto& type : TableUnder("## Types", CATALOGUE_DOCUMENT))
            if (Replaced(type[0], "N", size) == documented)
                return Replaced(type[engineColumn_], "(N)", "(" + size + ")");
        return "a type that the page does not explain: " + documented;
    }

    std::size_t engineColumn_;
};

std::string MadeBy(Engine engine) {
    MakingNothing connection;
    CreateSchema(connection, engine);
    return connection.statements.substr(0, connection.statements.find("INSERT INTO CatalogueVersion"));
}

TEST(CatalogueDocument, SaysWhatIsMadeOnSqlite) {
    EXPECT_EQ(Page(1).Statements(), MadeBy(Engine::Sqlite));
}

TEST(CatalogueDocument, SaysWhatIsMadeOnPostgreSql) {
    EXPECT_EQ(Page(2).Statements(), MadeBy(Engine::PostgreSql));
}

TEST(CatalogueDocument, SaysWhatIsMadeOnMariaDb) {
    EXPECT_EQ(Page(3).Statements(), MadeBy(Engine::MariaDb));
}

/// What a version brought, as a cell of the page says it.
std::string BroughtBy(int version) {
    std::string names;
    const auto add = [&](int since, const std::string& name) {
        if (since == version)
            names += (names.empty() ? "" : "`, `") + name;
    };
    for (const auto& table : schema::Tables()) {
        add(table.since, table.name);
        for (const auto& column : table.columns)
            if (column.since > 1)
                add(column.since, table.name + "." + std::string(column.name));
    }
    for (const auto& index : schema::Indexes())
        add(index.since, index.name);
    return names;
}

TEST(CatalogueDocument, SaysWhatEachVersionBrought) {
    const auto rows = TableUnder("## The catalogue's version", CATALOGUE_DOCUMENT);
    ASSERT_EQ(rows.size(), SchemaVersion);
    for (int version = 2; version <= SchemaVersion; ++version) {
        const auto& row = rows.at(static_cast<std::size_t>(version) - 1);
        EXPECT_EQ(row[0], std::to_string(version));
        EXPECT_EQ(row[1], BroughtBy(version));
    }
}

std::string MadeForADepartmentBy(Engine engine) {
    MakingNothing connection;
    CreateDepartmentTables(connection, engine);
    return connection.statements;
}

TEST(CatalogueDocument, SaysWhatADepartmentHasOnPostgreSql) {
    EXPECT_EQ(Page(2).DepartmentStatements(), MadeForADepartmentBy(Engine::PostgreSql));
}

TEST(CatalogueDocument, SaysWhatADepartmentHasOnMariaDb) {
    EXPECT_EQ(Page(3).DepartmentStatements(), MadeForADepartmentBy(Engine::MariaDb));
}

} // namespace
} // namespace tavrel::test
