#pragma once

#include "host/ReportForm.h"
#include "suite/catalogue/Rows.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tavrel {

/// A table that is to hold exactly one row.
class OneRowTable {
public:
    OneRowTable(Connection& connection, std::string table) : connection_(connection), table_(std::move(table)) {}

    int Rows();
    /// A column of the first row; nothing when there is no row, no such column or no value.
    std::optional<std::string> Value(const std::string& column);
    /// Makes `values` the table's one row. Columns that are not named keep what a
    /// single row holds.
    void Set(const ColumnTexts& values);

private:
    Connection& connection_;
    std::string table_;
};

/// Sets columns of `SiteData`, of a department those that all its workstations share. An error for `ReportForm` in an
/// older catalogue, which knows no form.
void SetSiteData(Connection& connection, const ColumnTexts& values);
/// The form in which the site's reports are written; an error for one that no program knows.
ReportForm SiteReportForm(Connection& connection);

/// What the site, or a physician for themselves, has set of the help in writing.
struct WritingRow {
    std::string userName; ///< empty: the site
    std::string spelling;
    std::string dictation;
};

/// The site's first. An error when the catalogue has no table for them.
std::vector<WritingRow> ReadWriting(Connection& connection);
/// Sets what the row gives of that user's settings; "off" switches the site's off for a physician.
void ChangeWriting(Connection& connection, const WritingRow& given);
/// From now on the site's count for the user.
void RemoveWriting(Connection& connection, const std::string& userName);
/// A line of the site, and one for each physician who has set something.
std::string DescribeWriting(const std::vector<WritingRow>& settings);

struct User {
    std::string name;
    std::string signature;
};

std::vector<User> ReadUsers(Connection& connection);
/// Adds the user or gives a known one this signature.
void SetUser(Connection& connection, const User& user);
/// False when there is no such user.
bool RemoveUser(Connection& connection, const std::string& name);

} // namespace tavrel
