#pragma once

#include "suite/catalogue/Schema.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// What the schema is made of, for those who compare a catalogue with it.
namespace tavrel::schema {

enum class Type {
    Key,     ///< text that identifies the row
    Text,    ///< text of at most `size` characters
    Code,    ///< text that compares without regard to trailing blanks
    Integer, ///< a whole number
    Counter, ///< numbers the rows in the order of their making, and identifies them
    Now,     ///< the time at which the row was made
    RowOf,   ///< a number of 64 bits that identifies the row, as another table's counter
    Moment,  ///< seconds since 1970, by the catalogue's own clock
    Maker,   ///< the account that made the row
};

struct Column {
    std::string_view name;
    Type type = Type::Text;
    std::size_t size = 0; ///< in characters
    int since = 1;        ///< the version of the catalogue that brought it

    bool IdentifiesRow() const { return type == Type::Key || type == Type::Counter || type == Type::RowOf; }
};

struct Table {
    std::string name;
    std::vector<Column> columns;
    int since = 1;
};

struct Index {
    std::string name;
    std::string table;
    std::string columns; ///< "a, b"
    bool unique = false;
    int since = 1;
};

std::vector<Table> Tables();
std::vector<Index> Indexes();
/// What a department has besides.
std::vector<Table> DepartmentTables();
std::vector<Index> DepartmentIndexes();

/// As it stands behind a column's name in a statement.
std::string TypeText(const Column& column, Engine engine);
std::string CreateTable(const Table& table, Engine engine);
std::string CreateIndex(const Index& index);
/// Says in the catalogue that it has this version now; once more it changes nothing.
std::string WriteVersion(int version);

} // namespace tavrel::schema
