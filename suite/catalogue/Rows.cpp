#include "suite/catalogue/Rows.h"

#include "platform/limits.h"
#include "platform/sql.h"

namespace tavrel {

std::string TextOrEmpty(const ResultSet& rows, std::string_view column) {
    return std::string(rows.Field(column).value_or(""));
}

void RunChange(Connection& connection, std::string_view statement, std::span<const std::string> texts) {
    const auto command = connection.NewCommand();
    command->Text(statement);
    for (const std::string& text : texts)
        command->Append({"value", ParameterType::VariableCharacter, static_cast<int>(longest::TextBlock), text});
    command->Execute();
}

void InsertRow(Connection& connection, std::string_view table, const ColumnTexts& row) {
    std::vector<std::string> columns;
    std::vector<std::string> texts;
    for (const auto& [column, text] : row) {
        columns.push_back(column);
        texts.push_back(text);
    }
    RunChange(connection, InsertStatement(table, columns), texts);
}

} // namespace tavrel
