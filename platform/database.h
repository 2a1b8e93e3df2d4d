#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tavrel {

enum class Cursor {
    ForwardOnly, ///< read once, from the first row to the last
    Dynamic,     ///< rows can be changed and added (`SetField`, `AddNew`, `Update`)
};

/// The rows that a statement yields. Opened on the first row, or at the end when there is none. At
/// its end it holds nothing open in the engine. Text is UTF-8; trailing blanks of a fixed-width
/// character column are not data.
class ResultSet {
public:
    virtual ~ResultSet() = default;

    virtual bool AtEnd() const = 0;
    /// Before the first row: only when there is no row at all.
    virtual bool AtBeginning() const = 0;
    virtual void MoveNext() = 0;

    virtual bool HasField(std::string_view name) const = 0;
    /// The position of a column, by its name in any letter case. An unknown name is an error.
    virtual int FieldIndex(std::string_view name) const = 0;
    /// The current row's field; nothing when it is null. Valid until the row is left. An error when
    /// there is no current row.
    virtual std::optional<std::string_view> Field(int index) const = 0;

    std::optional<std::string_view> Field(std::string_view name) const { return Field(FieldIndex(name)); }
    /// The field as text; null is an error that names the column.
    virtual std::string Text(std::string_view name) const = 0;

    /// Starts a new row, whose fields are then set and stored with `Update`. Dynamic only.
    virtual void AddNew() = 0;
    /// Sets a field of the new or the current row; `Update` stores it. Dynamic only.
    virtual void SetField(std::string_view name, std::string_view value) = 0;
    /// Stores the new row, or the changes of the current one. A row that another writer has changed
    /// meanwhile is an error and stays as that writer left it; of rows that are equal in all the fields of
    /// the query one is changed.
    virtual void Update() = 0;

    virtual void Close() = 0;
};

enum class ParameterType {
    VariableCharacter = 200,     ///< `size` counts characters
    LongVariableCharacter = 201, ///< `size` counts characters
};

/// One input parameter of a command. A value longer than `size` is an error before anything is sent.
struct Parameter {
    std::string name;
    ParameterType type = ParameterType::VariableCharacter;
    int size = 0;
    std::string value;
};

/// A statement with "?" in place of its parameters, in their order.
class Command {
public:
    virtual ~Command() = default;
    virtual void Text(std::string_view statement) = 0;
    virtual void Append(Parameter parameter) = 0;
    /// Removes the parameter at the 0-based `index`.
    virtual void Delete(int index) = 0;
    virtual void Execute() = 0;
};

/// A connection to the catalogue. Errors carry the driver's own number and text. One statement a
/// call: text after a statement's end is refused. A statement that fails inside a transaction makes
/// the engine drop that transaction at once, so that nobody waits for its locks.
class Connection {
public:
    virtual ~Connection() = default;

    /// `connectionText` is "DSN=name"; an empty user and password leave the entry's own in force.
    virtual void Open(std::string_view connectionText, std::string_view user = {}, std::string_view password = {}) = 0;
    virtual bool IsOpen() const = 0;
    virtual void Close() = 0;

    virtual void BeginTransaction() = 0;
    virtual void Commit() = 0;

    /// Runs a statement, a query or a change alike; a change yields a result set at its end.
    virtual std::unique_ptr<ResultSet> OpenResultSet(std::string_view statement,
                                                     Cursor cursor = Cursor::ForwardOnly) = 0;
    virtual std::unique_ptr<Command> NewCommand() = 0;
};

class Database {
public:
    virtual ~Database() = default;
    /// A closed connection.
    virtual std::unique_ptr<Connection> NewConnection() = 0;
};

} // namespace tavrel
