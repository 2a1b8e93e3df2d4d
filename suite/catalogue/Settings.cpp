#include "suite/catalogue/Settings.h"

#include "platform/error.h"
#include "platform/sql.h"
#include "suite/catalogue/Department.h"

#include <algorithm>
#include <array>

namespace tavrel {
int OneRowTable::Rows() {
    int count = 0;
    for (const auto rows = connection_.OpenResultSet("SELECT * FROM " + table_); !rows->AtEnd(); rows->MoveNext())
        ++count;
    return count;
}

std::optional<std::string> OneRowTable::Value(const std::string& column) {
    const auto rows = connection_.OpenResultSet("SELECT * FROM " + table_);
    if (rows->AtEnd() || !rows->HasField(column))
        return std::nullopt;
    const auto field = rows->Field(column);
    return field ? std::optional(std::string(*field)) : std::nullopt;
}

void OneRowTable::Set(const std::vector<std::pair<std::string, std::string>>& values) {
    const bool oneRow = Rows() == 1;
    connection_.BeginTransaction();
    if (oneRow) {
        std::vector<std::string> changes;
        std::vector<std::string> texts;
        for (const auto& [column, text] : values) {
            changes.push_back(column + "=?");
            texts.push_back(text);
        }
        RunChange(connection_, "UPDATE " + table_ + " SET " + Listed(changes), texts);
    } else {
        connection_.OpenResultSet("DELETE FROM " + table_);
        InsertRow(connection_, table_, values);
    }
    connection_.Commit();
}

void SetSiteData(Connection& connection, const ColumnTexts& values) {
    if (Department(connection).Exists())
        return OneRowTable(connection, std::string(DepartmentSite)).Set(values);
    const bool form = std::ranges::any_of(values, [](const auto& value) { return value.first == "ReportForm"; });
    if (form && !connection.OpenResultSet("SELECT * FROM SiteData")->HasField("ReportForm"))
        throw Error(Fault::OfTheSuite, "Catalogue",
                    "The catalogue is of an older version, whose reports are classic; \"orbenta-catalogue upgrade\" "
                    "brings it up");
    OneRowTable(connection, "SiteData").Set(values);
}

ReportForm SiteReportForm(Connection& connection) {
    const auto site = connection.OpenResultSet("SELECT * FROM SiteData");
    return site->AtEnd() ? ReportForm::Classic : ReportFormOf(*site);
}

std::vector<WritingRow> ReadWriting(Connection& connection) try {
    std::vector<WritingRow> settings;
    const auto rows = connection.OpenResultSet("SELECT * FROM Writing ORDER BY UserName");
    for (; !rows->AtEnd(); rows->MoveNext())
        settings.push_back({rows->Text("UserName"), std::string(rows->Field("Spelling").value_or("")),
                            std::string(rows->Field("Dictation").value_or(""))});
    return settings;
} catch (const Error&) {
    if (!connection.IsOpen())
        throw;
    throw Error(Fault::OfTheSuite, "Catalogue",
                "The catalogue has no table for the help in writing; \"orbenta-catalogue upgrade\" makes it");
}

void ChangeWriting(Connection& connection, const WritingRow& given) {
    WritingRow row{given.userName, {}, {}};
    for (const WritingRow& known : ReadWriting(connection))
        if (known.userName == given.userName)
            row = known;
    const auto set = [&](std::string& what, const std::string& to) {
        if (!to.empty()) // the site has nothing to switch off but its own
            what = to == "off" && row.userName.empty() ? std::string() : to;
    };
    set(row.spelling, given.spelling);
    set(row.dictation, given.dictation);
    connection.BeginTransaction();
    RemoveWriting(connection, row.userName);
    if (!row.spelling.empty() || !row.dictation.empty())
        InsertRow(connection, "Writing",
                  {{"UserName", row.userName}, {"Spelling", row.spelling}, {"Dictation", row.dictation}});
    connection.Commit();
}

void RemoveWriting(Connection& connection, const std::string& userName) {
    RunChange(connection, "DELETE FROM Writing WHERE UserName=?", std::array{userName});
}

std::string DescribeWriting(const std::vector<WritingRow>& settings) {
    const auto line = [](const std::string& whose, const WritingRow& row, const std::string& none) {
        return whose + ": spelling " + (row.spelling.empty() ? none : row.spelling) + ", dictation " +
               (row.dictation.empty() ? none : row.dictation) + "\n";
    };
    WritingRow site;
    std::string ofUsers;
    for (const WritingRow& row : settings)
        if (row.userName.empty())
            site = row;
        else
            ofUsers += line(row.userName, row, "as the site");
    return line("The site", site, "off") + ofUsers;
}

std::vector<User> ReadUsers(Connection& connection) {
    std::vector<User> users;
    const auto rows = connection.OpenResultSet("SELECT UserName, Signature FROM Users ORDER BY UserName");
    for (; !rows->AtEnd(); rows->MoveNext())
        users.push_back({rows->Text("UserName"), std::string(rows->Field("Signature").value_or(""))});
    return users;
}

namespace {

void Delete(Connection& connection, const std::string& userName) {
    RunChange(connection, "DELETE FROM Users WHERE UserName=?", std::array{userName});
}

} // namespace

void SetUser(Connection& connection, const User& user) {
    connection.BeginTransaction();
    Delete(connection, user.name);
    InsertRow(connection, "Users", {{"UserName", user.name}, {"Signature", user.signature}});
    connection.Commit();
}

bool RemoveUser(Connection& connection, const std::string& name) {
    const auto users = ReadUsers(connection);
    const bool known = std::ranges::any_of(users, [&](const User& user) { return user.name == name; });
    Delete(connection, name);
    return known;
}

} // namespace tavrel
