#include "suite/catalogue/SchemaFaults.h"

#include "platform/text.h"
#include "suite/catalogue/Rows.h"
#include "suite/catalogue/SchemaParts.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <map>
#include <string_view>
#include <utility>

namespace tavrel {
namespace {

using schema::Column;
using schema::Index;
using schema::Table;
using schema::Type;

/// Engines keep names in letter cases of their own.
std::string Lower(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), ToLower);
    return lower;
}

struct ColumnThere {
    std::string type;       ///< in the engine's own words
    std::size_t length = 0; ///< in characters; 0 where there is none to speak of
};
struct IndexThere {
    std::string columns; ///< "a, b"
    bool unique = false;
};

std::string ColumnQuery(Engine engine) {
    // SQLite holds a text of any length in a column of any size.
    if (engine == Engine::Sqlite)
        return "SELECT m.name AS table_name, c.name AS column_name, '' AS data_type, 0 AS longest"
               " FROM sqlite_master m, pragma_table_info(m.name) c WHERE m.type IN ('table', 'view')";
    const std::string query = "SELECT table_name, column_name, data_type, character_maximum_length AS longest"
                              " FROM information_schema.columns WHERE table_schema";
    return query + (engine == Engine::MariaDb ? "=DATABASE()" : "=ANY(current_schemas(false))");
}

/// A row for each column of each index, in their order.
std::string IndexQuery(Engine engine) {
    switch (engine) {
    case Engine::Sqlite:
        return "SELECT m.name AS table_name, l.name AS index_name, 1-l.\"unique\" AS non_unique, i.name AS column_name"
               " FROM sqlite_master m, pragma_index_list(m.name) l, pragma_index_info(l.name) i"
               " WHERE m.type='table' AND l.partial=0 ORDER BY m.name, l.name, i.seqno";
    case Engine::PostgreSql:
        return "SELECT t.relname AS table_name, i.relname AS index_name,"
               " CASE WHEN x.indisunique THEN 0 ELSE 1 END AS non_unique, a.attname AS column_name"
               " FROM pg_index x JOIN pg_class t ON t.oid=x.indrelid JOIN pg_class i ON i.oid=x.indexrelid"
               " JOIN pg_namespace n ON n.oid=t.relnamespace"
               " CROSS JOIN LATERAL unnest(CAST(x.indkey AS int2[])) WITH ORDINALITY AS k(attnum, place)"
               " JOIN pg_attribute a ON a.attrelid=t.oid AND a.attnum=k.attnum"
               " WHERE n.nspname=ANY(current_schemas(false)) AND x.indisvalid AND x.indpred IS NULL"
               " ORDER BY t.relname, i.relname, k.place";
    case Engine::MariaDb:
        break;
    }
    return "SELECT table_name, index_name, non_unique, column_name FROM information_schema.statistics"
           " WHERE table_schema=DATABASE() ORDER BY table_name, index_name, seq_in_index";
}

/// What there is, whatever it should be.
class Present {
public:
    Present(Connection& catalogue, Engine engine) {
        for (const auto rows = catalogue.OpenResultSet(ColumnQuery(engine)); !rows->AtEnd(); rows->MoveNext()) {
            ColumnThere column{TextOrEmpty(*rows, "data_type")};
            const std::string longest = TextOrEmpty(*rows, "longest");
            std::from_chars(longest.data(), longest.data() + longest.size(), column.length);
            columns_[Lower(rows->Text("table_name"))][Lower(rows->Text("column_name"))] = std::move(column);
        }
        std::map<std::pair<std::string, std::string>, IndexThere> named;
        for (const auto rows = catalogue.OpenResultSet(IndexQuery(engine)); !rows->AtEnd(); rows->MoveNext()) {
            IndexThere& index = named[{Lower(rows->Text("table_name")), rows->Text("index_name")}];
            index.unique = TextOrEmpty(*rows, "non_unique") == "0";
            index.columns += (index.columns.empty() ? "" : ", ") + Lower(TextOrEmpty(*rows, "column_name"));
        }
        for (auto& [name, index] : named)
            indexes_[name.first].push_back(std::move(index));
    }

    bool HasTable(std::string_view table) const { return columns_.contains(Lower(table)); }
    const ColumnThere* Find(std::string_view table, std::string_view column) const {
        const auto& columns = columns_.at(Lower(table));
        const auto found = columns.find(Lower(column));
        return found == columns.end() ? nullptr : &found->second;
    }
    /// Whatever its name is: an administrator's own serves as well.
    bool HasIndex(std::string_view table, std::string_view columns, bool unique) const {
        const auto indexes = indexes_.find(Lower(table));
        return indexes != indexes_.end() && std::ranges::any_of(indexes->second, [&](const IndexThere& index) {
                   return index.columns == Lower(columns) && (index.unique || !unique);
               });
    }

private:
    std::map<std::string, std::map<std::string, ColumnThere>> columns_;
    std::map<std::string, std::vector<IndexThere>> indexes_;
};

class Comparison {
public:
    Comparison(Connection& catalogue, Engine engine) : engine_(engine), present_(catalogue, engine) {}

    std::vector<SchemaFault> Faults() {
        for (const Table& table : schema::Tables())
            Judge(table);
        for (const Index& index : schema::Indexes())
            Judge(index);
        if (present_.HasTable("Workstation"))
            JudgeDepartment();
        std::ranges::stable_sort(faults_, {}, &SchemaFault::since);
        return std::move(faults_);
    }
    bool NothingThere() const {
        return std::ranges::none_of(CatalogueTables(), [&](const auto& table) { return present_.HasTable(table); });
    }

private:
    /// The rows of all are the owner's alone, who sees them.
    void JudgeDepartment() {
        for (const Table& table : schema::DepartmentTables())
            if (present_.HasTable(table.name))
                Judge(table);
        for (const Index& index : schema::DepartmentIndexes())
            if (present_.HasTable(index.table))
                Judge(index);
    }

    void Judge(const Table& table) {
        if (!present_.HasTable(table.name)) {
            std::vector<std::string> statements = {schema::CreateTable(table, engine_)};
            for (const Index& index : schema::Indexes())
                if (index.table == table.name)
                    statements.push_back(schema::CreateIndex(index));
            return faults_.push_back({SchemaFault::Kind::NoTable, "the catalogue lacks the table " + table.name,
                                      table.since, std::move(statements)});
        }
        for (const Column& column : table.columns)
            Judge(table, column);
    }

    void Judge(const Table& table, const Column& column) {
        const std::string name(column.name);
        const std::string change = "ALTER TABLE " + table.name;
        const auto add = [&](SchemaFault::Kind kind, const std::string& words, const std::string& statement) {
            faults_.push_back({kind, words, std::max(table.since, column.since), {}});
            if (!statement.empty())
                faults_.back().statements = {change + statement};
        };
        const ColumnThere* there = present_.Find(table.name, column.name);
        if (!there)
            return add(SchemaFault::Kind::NoColumn, "table " + table.name + " lacks the column " + name,
                       column.IdentifiesRow() ? "" : " ADD COLUMN " + name + " " + schema::TypeText(column, engine_));
        if (const std::string words = WrongType(column, *there); !words.empty())
            add(SchemaFault::Kind::ShortType, "the column " + name + " of table " + table.name + " " + words,
                RightType(column));
        const bool numbered = column.type == Type::Counter && engine_ == Engine::Sqlite; // as every row is
        if (column.IdentifiesRow() && !numbered && !present_.HasIndex(table.name, column.name, true))
            add(SchemaFault::Kind::NoIndex, "table " + table.name + " lacks its key " + name,
                engine_ == Engine::Sqlite ? "" : " ADD PRIMARY KEY (" + name + ")");
    }

    void Judge(const Index& index) {
        if (present_.HasTable(index.table) && !present_.HasIndex(index.table, index.columns, index.unique))
            faults_.push_back({SchemaFault::Kind::NoIndex,
                               "table " + index.table + " lacks the index " + index.name,
                               index.since,
                               {schema::CreateIndex(index)}});
    }

    /// What is wrong with it, in words; empty when nothing is.
    std::string WrongType(const Column& column, const ColumnThere& there) const {
        if (there.length > 0 && there.length < column.size)
            return "holds " + std::to_string(there.length) + " characters and must hold " + std::to_string(column.size);
        if (column.type == Type::Code && engine_ == Engine::PostgreSql && there.type != "character")
            return "tells codes apart by the blanks behind them";
        const bool small = there.type == "smallint" || there.type == "tinyint" || there.type == "mediumint";
        const bool middle = there.type == "integer" || there.type == "int";
        return small || (middle && column.type != Type::Integer) ? "is too small for its numbers (" + there.type + ")"
                                                                 : "";
    }

    std::string RightType(const Column& column) const {
        const std::string type = schema::TypeText(column, engine_);
        const std::string name(column.name);
        if (engine_ == Engine::MariaDb)
            return " MODIFY COLUMN " + name + " " + type.substr(0, type.find(" PRIMARY KEY"));
        // Whatever else the column has stays.
        return " ALTER COLUMN " + name + " TYPE " +
               type.substr(0, column.size > 0 ? type.find(')') + 1 : type.find(' '));
    }

    Engine engine_;
    Present present_;
    std::vector<SchemaFault> faults_;
};

} // namespace

CatalogueVersion SchemaComparison::Version() const {
    if (written)
        return *written;
    if (nothingThere)
        return {};
    const int lacking = faults.empty() ? FirstWritten : faults.front().since;
    return {std::min(lacking, FirstWritten) - 1, OldestWriter};
}

std::vector<SchemaFault> SchemaComparison::Damage() const {
    std::vector<SchemaFault> damage;
    const int version = Version().number;
    std::ranges::copy_if(faults, std::back_inserter(damage),
                         [&](const SchemaFault& fault) { return fault.since <= version; });
    return damage;
}

SchemaComparison CompareWithSchema(Connection& catalogue, Engine engine) {
    Comparison comparison(catalogue, engine);
    SchemaComparison found{comparison.NothingThere(), {}, comparison.Faults()};
    if (!found.nothingThere)
        found.written = ReadCatalogueVersion(catalogue);
    return found;
}

} // namespace tavrel
