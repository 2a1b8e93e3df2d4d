#include "suite/catalogue/CodeTable.h"

#include "platform/limits.h"
#include "platform/text.h"
#include "suite/catalogue/CsvReader.h"
#include "suite/catalogue/Rows.h"
#include "suite/catalogue/TextRules.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>

namespace tavrel {
namespace {

struct Column {
    const char* name;
    std::size_t longest;
};
constexpr std::array Columns{Column{"CodeScheme", longest::CodeScheme}, Column{"CodeValue", longest::CodeValue},
                             Column{"CodeMeaning", longest::CodeMeaning}};
using Code = std::array<std::string, Columns.size()>;
constexpr std::size_t CodeValue = 1;

/// Where each column stands in the file; empty when the first row does not say so.
std::vector<std::size_t> Order(const CsvRow& header) {
    std::vector<std::size_t> order;
    for (const Column& column : Columns) {
        const auto place = std::ranges::find(header.fields, column.name);
        if (place == header.fields.end() || header.fields.size() != Columns.size() || !header.fault.empty())
            return {};
        order.push_back(static_cast<std::size_t>(place - header.fields.begin()));
    }
    return order;
}

std::string RowFault(const CsvRow& row) {
    if (!row.fault.empty())
        return row.fault;
    if (row.fields.size() != Columns.size())
        return "has " + std::to_string(row.fields.size()) + " fields, not " + std::to_string(Columns.size());
    return {};
}

class CodeFile {
public:
    explicit CodeFile(std::string_view csv) {
        const std::vector<CsvRow> rows = ReadCsv(csv);
        const auto order = rows.empty() ? std::vector<std::size_t>() : Order(rows.front());
        if (order.empty()) {
            faults.emplace_back("line 1: the first row must name the columns CodeScheme, CodeValue, CodeMeaning");
            return;
        }
        for (std::size_t i = 1; i < rows.size(); ++i)
            Read(rows[i], order);
    }

    std::vector<std::string> faults;
    std::vector<Code> codes;

private:
    void Read(const CsvRow& row, const std::vector<std::size_t>& order) {
        std::string fault = RowFault(row);
        Code code;
        for (std::size_t i = 0; fault.empty() && i < Columns.size(); ++i) {
            code[i] = ForCatalogue(row.fields[order[i]]);
            if (const std::string bad = TextFault(code[i], Columns[i].longest); !bad.empty())
                fault = std::string(Columns[i].name) + " " + bad;
        }
        // Blanks behind a code do not tell it from another one.
        code[CodeValue] = TrimmedRight(code[CodeValue]);
        if (fault.empty()) {
            const auto [first, isNew] = lines_.try_emplace(code[CodeValue], row.line);
            if (!isNew)
                fault = "CodeValue \"" + code[CodeValue] + "\" stands in line " + std::to_string(first->second) +
                        " already";
        }
        if (fault.empty())
            codes.push_back(std::move(code));
        else
            faults.push_back("line " + std::to_string(row.line) + ": " + fault);
    }

    std::map<std::string, int> lines_;
};

std::set<std::string> KnownValues(Connection& connection, const std::string& table) {
    std::set<std::string> known;
    const auto rows = connection.OpenResultSet("SELECT CodeValue FROM " + table);
    for (; !rows->AtEnd(); rows->MoveNext())
        known.emplace(TrimmedRight(rows->Field("CodeValue").value_or("")));
    return known;
}

void Insert(Connection& connection, const std::string& table, const Code& code) {
    ColumnTexts row;
    for (std::size_t i = 0; i < Columns.size(); ++i)
        row.emplace_back(Columns[i].name, code[i]);
    InsertRow(connection, table, row);
}

} // namespace

CodeImport ImportCodes(Connection& connection, const std::string& table, std::string_view csv, bool replace) {
    const CodeFile file(csv);
    if (!file.faults.empty())
        return {file.faults};

    CodeImport result;
    connection.BeginTransaction();
    if (replace)
        connection.OpenResultSet("DELETE FROM " + table);
    const std::set<std::string> known = KnownValues(connection, table);
    for (const Code& code : file.codes) {
        const bool knownCode = known.contains(code[CodeValue]);
        if (!knownCode)
            Insert(connection, table, code);
        ++(knownCode ? result.known : result.added);
    }
    connection.Commit();
    return result;
}

} // namespace tavrel
