#include "suite/catalogue/Settings.h"

#include <algorithm>

namespace tavrel {
namespace {

constexpr int LongestText = 255;

void Run(Connection& connection, const std::string& statement, const std::vector<std::string>& texts) {
    const auto command = connection.NewCommand();
    command->Text(statement);
    for (const std::string& text : texts)
        command->Append({"value", ParameterType::VariableCharacter, LongestText, text});
    command->Execute();
}

} // namespace

int OneRowTable::Rows() {
    int count = 0;
    for (const auto rows = connection_.OpenResultSet("SELECT * FROM " + table_); !rows->AtEnd(); rows->MoveNext())
        ++count;
    return count;
}

std::optional<std::string> OneRowTable::Value(const std::string& column) {
    const auto rows = connection_.OpenResultSet("SELECT " + column + " FROM " + table_);
    if (rows->AtEnd())
        return std::nullopt;
    const auto field = rows->Field(column);
    return field ? std::optional(std::string(*field)) : std::nullopt;
}

void OneRowTable::Set(const std::vector<std::pair<std::string, std::string>>& values) {
    const bool oneRow = Rows() == 1;
    std::string changes;
    std::string columns;
    std::string places;
    std::vector<std::string> texts;
    for (const auto& [column, text] : values) {
        const std::string separator = texts.empty() ? "" : ", ";
        changes += separator + column + "=?";
        columns += separator + column;
        places += separator + "?";
        texts.push_back(text);
    }
    connection_.BeginTransaction();
    if (oneRow) {
        Run(connection_, "UPDATE " + table_ + " SET " + changes, texts);
    } else {
        connection_.OpenResultSet("DELETE FROM " + table_);
        Run(connection_, "INSERT INTO " + table_ + " (" + columns + ") VALUES (" + places + ")", texts);
    }
    connection_.Commit();
}

std::vector<User> ReadUsers(Connection& connection) {
    std::vector<User> users;
    const auto rows = connection.OpenResultSet("SELECT UserName, Signature FROM Users ORDER BY UserName");
    for (; !rows->AtEnd(); rows->MoveNext())
        users.push_back({rows->Text("UserName"), std::string(rows->Field("Signature").value_or(""))});
    return users;
}

void SetUser(Connection& connection, const User& user) {
    connection.BeginTransaction();
    Run(connection, "DELETE FROM Users WHERE UserName=?", {user.name});
    Run(connection, "INSERT INTO Users (UserName, Signature) VALUES (?, ?)", {user.name, user.signature});
    connection.Commit();
}

bool RemoveUser(Connection& connection, const std::string& name) {
    const auto users = ReadUsers(connection);
    const bool known = std::ranges::any_of(users, [&](const User& user) { return user.name == name; });
    Run(connection, "DELETE FROM Users WHERE UserName=?", {name});
    return known;
}

} // namespace tavrel
